// The functions of platform/media_index.h as symbols that this library exports; all else in it is hidden.
#pragma once

#include <stddef.h>
#include <stdint.h>

#pragma GCC visibility push(default)
#include "platform/media_index.h"
#pragma GCC visibility pop

// The functions of platform/photo_db.h as symbols that this library exports; all else in it is hidden.
#pragma once

#include <stdint.h>

#pragma GCC visibility push(default)
#include "platform/photo_db.h"
#pragma GCC visibility pop

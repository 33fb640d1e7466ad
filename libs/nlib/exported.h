// The functions of platform/sdk.h as symbols that this library exports; all else in it is hidden.
#pragma once

#include <stdint.h>

#pragma GCC visibility push(default)
#include "platform/sdk.h"
#pragma GCC visibility pop

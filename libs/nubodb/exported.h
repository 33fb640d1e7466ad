// The functions of platform/db_access.h as symbols that this library exports; all else in it is hidden.
#pragma once

#pragma GCC visibility push(default)
#include "platform/db_access.h"
#pragma GCC visibility pop

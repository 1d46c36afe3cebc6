// Which version of the library this is. Compiles as C11 and as C++.
#pragma once

#include "export.h"

// Of the headers that a program was compiled with. Within a major version functions and fields are
// only added.
#define SONX_VERSION_MAJOR 1
#define SONX_VERSION_MINOR 0
#define SONX_VERSION_PATCH 0

SONX_C_BEGIN

// Of the library that the program runs with: "1.0.0".
SONX_EXPORT const char* sonx_version(void);

SONX_C_END

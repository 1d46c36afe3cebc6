// The one way to the log. On the phone this is the platform's; elsewhere log.cpp has a weak
// definition that writes to standard error, so that a host that defines the symbol gets the lines.
#pragma once

#include "export.h"

constexpr int kLogDebug = 3;
constexpr int kLogWarning = 5;

extern "C" SONX_EXPORT int __android_log_print(int priority, const char* tag, const char* format,
                                               ...) __attribute__((format(printf, 3, 4)));

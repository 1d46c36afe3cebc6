// Visibility of the interface. The library is built with hidden visibility: what carries
// SONX_EXPORT is the interface, nothing else. Compiles as C11 and as C++.
#pragma once

#if defined(__GNUC__)
#define SONX_EXPORT __attribute__((visibility("default")))
#else
#define SONX_EXPORT
#endif

// Around functions that a C caller can use.
#ifdef __cplusplus
#define SONX_C_BEGIN extern "C" {
#define SONX_C_END }
#else
#define SONX_C_BEGIN
#define SONX_C_END
#endif

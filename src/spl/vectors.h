// Vector utilities for 16-bit and 32-bit samples: fill, copy, extremes, energy, norms, square root.
//
// x is an array of n values. n < 1 is an empty vector: nothing is written, extremes and energy are
// 0, an index is -1. All results are exact; nothing here saturates, wraps or keeps state.
#pragma once

#ifndef __cplusplus
#error "The functions of this header have C++ linkage."
#endif

#include "../export.h"

// out[0..n) = value.
SONX_EXPORT void tekaSpl_Fill16(short* out, int n, short value);
SONX_EXPORT void tekaSpl_Fill32(int* out, int n, int value);

// out[0..n) = x[0..n). The two may overlap in any way.
SONX_EXPORT void tekaSpl_Copy16(const short* x, short* out, int n);
SONX_EXPORT void tekaSpl_Copy32(const int* x, int* out, int n);

// Largest and smallest value, and the largest magnitude. The magnitude has the wider type, so that
// the lowest value has one too: 32768 and 2147483648.
SONX_EXPORT short tekaSpl_MaxValue16(const short* x, int n);
SONX_EXPORT short tekaSpl_MinValue16(const short* x, int n);
SONX_EXPORT int tekaSpl_MaxAbsValue16(const short* x, int n);
SONX_EXPORT int tekaSpl_MaxValue32(const int* x, int n);
SONX_EXPORT int tekaSpl_MinValue32(const int* x, int n);
SONX_EXPORT unsigned int tekaSpl_MaxAbsValue32(const int* x, int n);

// The index of that value, the first one if it occurs more than once.
SONX_EXPORT int tekaSpl_MaxIndex16(const short* x, int n);
SONX_EXPORT int tekaSpl_MinIndex16(const short* x, int n);
SONX_EXPORT int tekaSpl_MaxAbsIndex16(const short* x, int n);
SONX_EXPORT int tekaSpl_MaxIndex32(const int* x, int n);
SONX_EXPORT int tekaSpl_MinIndex32(const int* x, int n);
SONX_EXPORT int tekaSpl_MaxAbsIndex32(const int* x, int n);

// Energy of 16-bit samples as a mantissa and an exponent: the result is floor(E / 2^*scale) with
// E = sum of x[i]^2 in full precision and *scale the smallest shift, 0 or more, that brings E into
// 0..2147483647. One rounding for the whole sum, so the order of the samples doesn't matter.
SONX_EXPORT int tekaSpl_Energy16(const short* x, int n, int* scale);

// Norms: how far a value can be shifted to the left before it loses its highest bit, so that
// value << norm fills its type. Signed: the sign bit stays a sign bit (32767 -> 0, 1 -> 14 at 16
// bits, -1 -> 15). Unsigned: the leading zeros. A value of 0 has the norm 0.
SONX_EXPORT int tekaSpl_Norm16(short value);
SONX_EXPORT int tekaSpl_Norm32(int value);
SONX_EXPORT int tekaSpl_NormU32(unsigned int value);

// Integer square root, floor(sqrt(value)): 0..65535, exact for every value.
SONX_EXPORT int tekaSpl_SqrtFloor(unsigned int value);

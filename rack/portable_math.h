// Sine, cosine, powers and logarithms in double precision that give the same bits on every
// platform: they compute with +, -, *, / and square root alone, which IEEE 754 defines to the last
// bit, and the build allows no fused multiply-add (-ffp-contract=off). A platform's own functions
// may differ in the last bit, and with them the words made from them.
//
// Methods: argument reduction in two parts after W. J. Cody and W. Waite, "Software Manual for the
// Elementary Functions" (1980), then Taylor series; the logarithm by the series of artanh. Errors
// are measured against long double: see tests/rack/portable_math_test.cpp.
#pragma once

// In radians, |x| <= 1000. Within 1.8e-16 of the true value.
double portable_sin(double x);
double portable_cos(double x);

// 2^x, -1000 <= x <= 1000, with a relative error below 5e-16.
double portable_exp2(double x);

// Base 2, for a normal number above 0, within 3e-16 of the true value or of its size, whichever is
// the larger.
double portable_log2(double x);

// 10^(decibels / 20), within +-200 dB with a relative error below 4e-15; and back, between -20 and
// 20 dB within 4e-14 dB.
double db_to_linear(double decibels);
double linear_to_db(double linear);

// The functions of mathematics that results stand on. C libraries differ in the last bit, one of them with the
// processor that it finds; these give one result everywhere. They work with twice the digits of a double and round
// once, so that but for cases that are rarer than one in 10^12 the result is the double nearest to the true one.
// Arguments out of a function's domain give not-a-number; infinities and zeros give what C's Annex F says.
#pragma once

/// Of any angle in radians, however large. An infinite one gives not-a-number.
double KwSin(double x);
double KwCos(double x);
double KwTan(double x);
/// Radians.
double KwAsin(double x);
double KwAcos(double x);
double KwAtan2(double y, double x);

double KwExp(double x);
double KwLog(double x);
double KwPow(double x, double y);

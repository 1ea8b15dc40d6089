// Text helpers shared by the model files, the data parser and the flat
// interface: number <-> text conversion that knows the reserved doubles,
// identifier repair, and thin wrappers over the C runtime's clock.
//
// The reserved doubles are tiny normal numbers that no computation produces
// by chance. They mark special entries (undefined, illegal, not available)
// in number fields and survive a round trip through text exactly.
#ifndef ORVIL_TEXTUTIL_H
#define ORVIL_TEXTUTIL_H

#include <string>

// Bit pattern 0x0020000000000000; text "0.0E-2" (also read from "UNDEF.").
constexpr double QEL_UNDEFINED_DOUBLE = 0x1p-1021;
// Bit pattern 0x0028000000000000; text "0.0E-3" (also read from "ILLEGAL").
constexpr double QEL_ILLEGAL_DOUBLE = 0x1.8p-1021;
// Bit pattern 0x0030000000000000; text "0.0E-4" (also read from "NA").
constexpr double QEL_NA_DOUBLE = 0x1p-1020;

// Reads a double from `text`. The reserved texts ("0.0E-2", "UNDEF.",
// "0.0E-3", "ILLEGAL", "0.0E-4", "NA", matched exactly) give their reserved
// value and 0. Otherwise `out` receives strtod's result, and the result is 0
// when at least one character was consumed (trailing text is accepted), -2
// when none was. A null `text` stores 0.0 and gives -2.
int QEL_stringToDouble(const char* text, double& out);
// Writes `value` to `out`: a reserved value as its text, any other with
// "%.8f". `precision` is not used. `out` must have room (a value near the
// double's range needs some 320 characters). Returns 0.
int QEL_doubleToString(double value, char* out, int precision);
// Writes `value` with "%d" (at most 12 characters with the NUL). Returns 0.
int QEL_intToString(int value, char* out);
// Reads a base-10 int with strtol (0 when nothing is read, also for null
// text). Always returns 0.
int QEL_stringToInt(const char* text, int& out);
// Appends `value` written with "%d".
void QEL_appendInt(std::string& text, int value);
// Appends `value` written with "%g".
void QEL_appendDouble(std::string& text, double value);
// Leaves a valid identifier (non-empty, a letter first, then letters,
// digits or "_") alone and returns false. Otherwise rewrites `name`: with
// `ordinal` >= 0 the result opens with "o__<ordinal>__", then each character
// of `name` follows, alphanumerics as they are and anything else as "_";
// returns true. With a negative `ordinal` the result may still start with a
// digit or be empty.
bool QEL_nameToIdentifier(std::string& name, int ordinal);
// The quiet NaN with bit pattern 0x7FF8000000000000.
double QEL_nan();
// time() of the C runtime; also stored through `out` when it is not null.
long QEL_time(long* out);
// clock() of the C runtime.
long QEL_clock();

#endif

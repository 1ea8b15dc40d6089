// strarray: the bridge from a caller's plain array of C strings (the flat
// interface's outcome names and string definitions) to an owned string
// array. Capacity is twice the count so that a few later additions need no
// regrowth.
#include "orvil/stringarray.h"

strarray::strarray(int count, const char* const* strings)
    : QEL_stringArray(count > 0 ? 2 * count : 0, defaultDelta) {
    if (count <= 0 || strings == nullptr) return;
    UseAsList(count);
    for (int i = 0; i < count; i++) ChangeString(i, strings[i]);
}

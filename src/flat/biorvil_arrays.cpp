// Flat access to the engine's int and string arrays: creation and release
// of caller-owned int arrays, and views into arrays the engine owns. No
// checks: handles are the caller's responsibility.
#include "orvil/biorvil.h"
#include "orvil/intarray.h"
#include "orvil/stringarray.h"

void* new_intArray(void) {
    return new QEL_intArray;
}

void delete_intArray(void* intArray) {
    delete static_cast<QEL_intArray*>(intArray);
}

int intArray_NumItems(void* intArray) {
    return static_cast<QEL_intArray*>(intArray)->NumItems();
}

int* intArray_Items(void* intArray) {
    return static_cast<QEL_intArray*>(intArray)->Items();
}

const char** stringArray_Items(void* stringArray) {
    return const_cast<const char**>(static_cast<QEL_stringArray*>(stringArray)->Items());
}

// Copying and replacing the owned texts of the descriptive records.
#include "core/record_text.h"

#include <string.h>

char* QEL_copyText(const char* text) {
    if (text == nullptr) return nullptr;
    size_t length = strlen(text) + 1;
    char* copy = new char[length];
    memcpy(copy, text, length);
    return copy;
}

void QEL_replaceText(char*& slot, const char* text) {
    // Copy before freeing: callers may pass the slot's own text back in.
    char* copy = QEL_copyText(text);
    delete[] slot;
    slot = copy;
}

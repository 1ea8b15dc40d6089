// Sinks for the error log: the abstract redirect and the one that prints
// each entry to a caller's FILE*.
#include "orvil/errors.h"

QEL_errorStringRedirect::~QEL_errorStringRedirect() = default;

QEL_errorStringFileRedirect::QEL_errorStringFileRedirect(FILE* file, const char* format)
    : file(file), format(format) {}

void QEL_errorStringFileRedirect::LogError(int code, const char* message) {
    if (file == nullptr) return;
    // The format is the caller's, so the compiler cannot check it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    fprintf(file, format != nullptr ? format : "%d: %s\n", code, message);
#pragma GCC diagnostic pop
}

// Text conversion helpers. Numbers are written with fixed formats so that
// model files are stable across runs, and the reserved doubles travel as
// their own short texts, which strtod would read as plain zeros.
#include "orvil/textutil.h"

#include <ctype.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

namespace {

struct ReservedText {
    const char* text;
    double value;
};

// In the order the texts are tried; each value is written as its first text.
const ReservedText reservedTexts[] = {
    {"0.0E-2", QEL_UNDEFINED_DOUBLE}, {"UNDEF.", QEL_UNDEFINED_DOUBLE},
    {"0.0E-3", QEL_ILLEGAL_DOUBLE},   {"ILLEGAL", QEL_ILLEGAL_DOUBLE},
    {"0.0E-4", QEL_NA_DOUBLE},        {"NA", QEL_NA_DOUBLE},
};

bool IsIdentifier(const std::string& name) {
    if (name.empty() || !isalpha(static_cast<unsigned char>(name[0]))) return false;
    for (char c : name) {
        if (!isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
    }
    return true;
}

}  // namespace

int QEL_stringToDouble(const char* text, double& out) {
    if (text == nullptr) {
        out = 0.0;
        return -2;
    }
    for (const ReservedText& r : reservedTexts) {
        if (strcmp(text, r.text) == 0) {
            out = r.value;
            return 0;
        }
    }
    char* end = nullptr;
    out = strtod(text, &end);
    return end != text ? 0 : -2;
}

int QEL_doubleToString(double value, char* out, int /*precision*/) {
    for (const ReservedText& r : reservedTexts) {
        if (value == r.value) {
            strcpy(out, r.text);
            return 0;
        }
    }
    // Written, read back and written again, so that the text is exactly what
    // reading it gives.
    sprintf(out, "%.8f", value);
    double reread = 0.0;
    QEL_stringToDouble(out, reread);
    sprintf(out, "%.8f", reread);
    return 0;
}

int QEL_intToString(int value, char* out) {
    sprintf(out, "%d", value);
    return 0;
}

int QEL_stringToInt(const char* text, int& out) {
    out = text != nullptr ? static_cast<int>(strtol(text, nullptr, 10)) : 0;
    return 0;
}

void QEL_appendInt(std::string& text, int value) {
    char buffer[16];
    snprintf(buffer, sizeof buffer, "%d", value);
    text += buffer;
}

void QEL_appendDouble(std::string& text, double value) {
    char buffer[32];
    snprintf(buffer, sizeof buffer, "%g", value);
    text += buffer;
}

bool QEL_nameToIdentifier(std::string& name, int ordinal) {
    if (IsIdentifier(name)) return false;
    std::string result;
    if (ordinal >= 0) {
        result = "o__";
        QEL_appendInt(result, ordinal);
        result += "__";
    }
    for (char c : name) result += isalnum(static_cast<unsigned char>(c)) ? c : '_';
    name = result;
    return true;
}

double QEL_nan() {
    const uint64_t bits = 0x7FF8000000000000ULL;
    double value;
    memcpy(&value, &bits, sizeof value);
    return value;
}

long QEL_time(long* out) {
    long now = static_cast<long>(time(nullptr));
    if (out != nullptr) *out = now;
    return now;
}

long QEL_clock() {
    return static_cast<long>(clock());
}

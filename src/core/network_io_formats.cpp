// The table of model file formats: which extension means which format
// number, and which class reads and writes it. Formats whose classes are
// not in this build answer with a message that says so, so that a caller
// who tries one learns why rather than meeting a silent failure.
#include "core/network_io_formats.h"

#include <stdio.h>
#include <string.h>
#include <strings.h>

#include "orvil/bif.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/xqelspeaker.h"

namespace {

struct FormatName {
    const char* extension;
    int format;
};

// Extensions of the formats, the native XML format under both of its own.
const FormatName formatNames[] = {
    {"erg", QEL_FORMAT_ERGO},  {"dne", QEL_FORMAT_NETICA}, {"dsc", QEL_FORMAT_MICROSOFT},
    {"qel", QEL_FORMAT_QEL},   {"net", QEL_FORMAT_HUGIN},  {"xml03", QEL_FORMAT_XML03},
    {"dxp", QEL_FORMAT_KI},    {"xqel", QEL_FORMAT_NATIVE}, {"qqel", QEL_FORMAT_NATIVE},
    {"bif", QEL_FORMAT_BIF},
};

const char* ExtensionOf(int format) {
    for (const FormatName& name : formatNames) {
        if (name.format == format) return name.extension;
    }
    return nullptr;
}

}  // namespace

int QEL_formatFromFileName(const char* fileName) {
    const char* dot = fileName != nullptr ? strrchr(fileName, '.') : nullptr;
    if (dot == nullptr) return QEL_OUT_OF_RANGE;
    for (const FormatName& name : formatNames) {
        if (strcasecmp(dot + 1, name.extension) == 0) return name.format;
    }
    return QEL_OUT_OF_RANGE;
}

QEL_fileFormat* QEL_createSpeaker(int format, QEL_network* net) {
    if (format == QEL_FORMAT_BIF) return new QEL_speakerFormat<QEL_bifSpeaker>(net);
    if (format == QEL_FORMAT_NATIVE) return new QEL_speakerFormat<QEL_xqelSpeaker>(net);
    const char* extension = ExtensionOf(format);
    if (extension == nullptr) {
        QEL_errorH().LogError(QEL_OUT_OF_RANGE, "Unknown File Format");
        return nullptr;
    }
    char message[128];
    snprintf(message, sizeof message, "The file format \"%s\" (number %d) is not available in this build.",
             extension, format);
    QEL_errorH().LogError(QEL_OUT_OF_RANGE, message);
    return nullptr;
}

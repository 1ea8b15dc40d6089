// Flat functions of model files. Each is the engine's ReadFile or WriteFile
// with the format chosen by extension and no extra parameter; the status is
// dropped, as the flat interface fixes, so a caller learns of a failure from
// the error log.
#include "orvil/biorvil.h"

#include "orvil/network.h"

void ReadFile(void* net, const char* fileName) {
    static_cast<QEL_network*>(net)->ReadFile(fileName, QEL_FORMAT_BY_EXTENSION, nullptr);
}

void WriteFile(void* net, const char* fileName) {
    static_cast<QEL_network*>(net)->WriteFile(fileName, QEL_FORMAT_BY_EXTENSION, nullptr);
}

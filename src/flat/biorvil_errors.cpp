// Flat access to the process-wide error log, so that callers without the
// engine's classes can read what a failed call logged.
#include "orvil/biorvil.h"
#include "orvil/errors.h"

int errorH_GetNumberOfErrors(void) {
    return QEL_errorH().GetNumberOfErrors();
}

int errorH_GetLastError(void) {
    return QEL_errorH().GetLastError();
}

const char* errorH_GetLastErrorMessage(void) {
    return QEL_errorH().GetLastErrorMessage();
}

int errorH_GetError(int index) {
    return QEL_errorH().GetError(index);
}

const char* errorH_GetErrorMessage(int index) {
    return QEL_errorH().GetErrorMessage(index);
}

void errorH_Flush(void) {
    QEL_errorH().Flush();
}

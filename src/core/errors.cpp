// The error log: a list of (code, message) entries that grows until it is
// flushed, with an optional sink that takes entries in its place. One
// handler serves the whole process; the engine runs on one thread, so there
// is no lock.
#include "orvil/errors.h"

#include <string>

namespace {

const char noErrorsText[] = "NO ERRORS SO FAR";

}  // namespace

QEL_errorStringHandler ErrorH;

QEL_errorStringHandler& QEL_errorH() {
    static QEL_errorStringHandler handler;
    return handler;
}

QEL_errorStringHandler::QEL_errorStringHandler() : redirect(nullptr), ownsRedirect(false) {}

QEL_errorStringHandler::~QEL_errorStringHandler() {
    DropOwnedRedirect();
}

void QEL_errorStringHandler::DropOwnedRedirect() {
    if (ownsRedirect) delete redirect;
    redirect = nullptr;
    ownsRedirect = false;
}

int QEL_errorStringHandler::LogError(int code, const char* message, const char* prefix) {
    if (code == 0) return 0;
    if (message == nullptr) message = GetDefaultErrorString(code);
    std::string text;
    if (prefix != nullptr) {
        text = prefix;
        text += message;
        message = text.c_str();
    }
    if (redirect != nullptr) {
        redirect->LogError(code, message);
        return code;
    }
    errorCodes.Add(code);
    QEL_stringArray::Add(message);
    return code;
}

int QEL_errorStringHandler::GetLastError() const {
    int n = errorCodes.NumItems();
    return n > 0 ? errorCodes.Subscript(n - 1) : 0;
}

const char* QEL_errorStringHandler::GetLastErrorMessage() const {
    int n = NumItems();
    return n > 0 ? (*this)[n - 1] : noErrorsText;
}

int QEL_errorStringHandler::GetError(int index) const {
    if (index < 0 || index > errorCodes.NumItems()) return 0;
    // Position NumItems() is let through and reads the spare slot, which
    // holds a stale code after Flush; without such a slot there is nothing
    // to read.
    if (index >= errorCodes.GetSize()) return 0;
    return errorCodes.Subscript(index);
}

const char* QEL_errorStringHandler::GetErrorMessage(int index) const {
    if (index < 0 || index > NumItems()) return nullptr;
    return Subscript(index);
}

int QEL_errorStringHandler::GetNumberOfErrors() const {
    return NumItems();
}

const char* QEL_errorStringHandler::GetDefaultErrorString(int code) {
    switch (code) {
    case QEL_OKAY:
    case QEL_GENERAL_ERROR:
    case QEL_INVALID_VALUE:
    case QEL_NOT_APPLICABLE:
    case QEL_NO_USEFUL_SAMPLES:
    case QEL_TOO_FEW_STATES:
    case QEL_READ_FAILED:
    case QEL_WRITE_FAILED:
    case QEL_READ_LENGTH_ERROR:
    case QEL_SYNTAX_ERROR:
    case QEL_OBJECT_NOT_READY:
    case QEL_OBJECT_NOT_CONSISTENT:
        return "NO ERROR";
    case QEL_OUT_OF_RANGE:
        return "OUT OF RANGE";
    case QEL_ILLEGAL_IDENTIFIER:
        return "ILLEGAL IDENTIFIER";
    case QEL_DUPLICATED_IDENTIFIER:
        return "DUPLICATED IDENTIFIER";
    case QEL_OUT_OF_MEMORY:
        return "OUT OF MEMORY";
    case QEL_WRONG_NODE_TYPE:
        return "WRONG NODE TYPE";
    case QEL_FILE_IO_FAILED:
        return "FILE I/O FAILED";
    case QEL_NO_MORE_TOKENS:
        return "NO MORE TOKENS";
    case QEL_LEXICAL_ERROR:
        return "LEXICAL ERROR. CHARACTER UNKNOWN";
    case QEL_UNEXPECTED_EOF:
        return "UNEXPECTED END OF FILE";
    default:
        return "UNKNOWN ERROR CODE";
    }
}

void QEL_errorStringHandler::Flush() {
    errorCodes.Flush();
    QEL_stringArray::Flush();
}

void QEL_errorStringHandler::Redirect(QEL_errorStringRedirect* sink) {
    DropOwnedRedirect();
    redirect = sink;
}

void QEL_errorStringHandler::RedirectToFile(FILE* file, const char* format) {
    DropOwnedRedirect();
    if (file == nullptr) return;
    redirect = new QEL_errorStringFileRedirect(file, format);
    ownsRedirect = true;
}

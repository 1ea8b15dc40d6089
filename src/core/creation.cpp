// QEL_creation: three owned texts (creator, creation and change dates) that
// the file formats read and write as they are.
#include "orvil/creation.h"

#include "core/record_text.h"
#include "orvil/errors.h"

QEL_creation::QEL_creation() : creator(nullptr), created(nullptr), modified(nullptr) {
    SetObjectReady();
}

QEL_creation::QEL_creation(const QEL_creation& other)
    : QEL_object(), creator(QEL_copyText(other.creator)), created(QEL_copyText(other.created)),
      modified(QEL_copyText(other.modified)) {
    SetObjectReady();
}

QEL_creation::~QEL_creation() {
    delete[] creator;
    delete[] created;
    delete[] modified;
}

int QEL_creation::operator=(const QEL_creation& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    SetCreator(other.creator);
    SetCreated(other.created);
    SetModified(other.modified);
    return 0;
}

int QEL_creation::SetCreator(const char* text) {
    QEL_replaceText(creator, text);
    return 0;
}

int QEL_creation::SetCreated(const char* text) {
    QEL_replaceText(created, text);
    return 0;
}

int QEL_creation::SetModified(const char* text) {
    QEL_replaceText(modified, text);
    return 0;
}

int QEL_creation::CleanUp(int /*deep*/) {
    QEL_replaceText(creator, nullptr);
    QEL_replaceText(created, nullptr);
    QEL_replaceText(modified, nullptr);
    SetObjectReady();
    return 0;
}

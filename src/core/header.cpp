// QEL_header: owned id, name and comment, and the id rule. A header inside
// a node asks the node's network before taking a new id, so that ids stay
// unique per network; the network also lets equation children rewrite
// their text while it has both ids at hand.
#include "orvil/header.h"

#include <ctype.h>

#include "core/record_text.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/stringarray.h"

QEL_header::QEL_header() : id(nullptr), name(nullptr), comment(nullptr), node(nullptr) {
    SetObjectReady();
}

QEL_header::QEL_header(const QEL_header& other)
    : QEL_object(), id(nullptr), name(nullptr), comment(nullptr), node(nullptr) {
    if (other.IsReady()) CopyTexts(other);
    SetObjectReady();
}

QEL_header::~QEL_header() {
    delete[] id;
    delete[] name;
    delete[] comment;
}

int QEL_header::operator=(const QEL_header& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&other != this) CopyTexts(other);
    return 0;
}

void QEL_header::CopyTexts(const QEL_header& other) {
    // A null id cannot pass SetId; a copy then keeps whatever id it had.
    if (other.id != nullptr) SetId(other.id);
    SetName(other.name);
    SetComment(other.comment);
}

int QEL_header::IsThisIdValid(const char* text) {
    if (text == nullptr || text[0] == '\0') return 0;
    if (text[0] == '@') return 1;
    if (!isalpha(static_cast<unsigned char>(text[0]))) return 0;
    for (const char* c = text + 1; *c != '\0'; c++) {
        if (!isalnum(static_cast<unsigned char>(*c)) && *c != '_') return 0;
    }
    return 1;
}

int QEL_header::MakeValidId(char* text) {
    return QEL_idArray::MakeValidId(text);
}

int QEL_header::SetId(const char* newId) {
    if (IsThisIdValid(newId) != 1) {
        return QEL_errorH().LogError(QEL_ILLEGAL_IDENTIFIER, "Illegal identifier");
    }
    if (node != nullptr && node->GetNetwork() != nullptr) {
        if (!node->GetNetwork()->OnNodeIdChanging(node->GetHandle(), id, newId)) {
            return QEL_ILLEGAL_IDENTIFIER;
        }
    }
    QEL_replaceText(id, newId);
    return 0;
}

int QEL_header::SetName(const char* text) {
    QEL_replaceText(name, text);
    return 0;
}

int QEL_header::SetComment(const char* text) {
    QEL_replaceText(comment, text);
    return 0;
}

int QEL_header::CleanUp(int /*deep*/) {
    QEL_replaceText(id, nullptr);
    QEL_replaceText(name, nullptr);
    QEL_replaceText(comment, nullptr);
    SetObjectReady();
    return 0;
}

int QEL_header::CheckConsistency(int /*deep*/) {
    SetObjectConsistent();
    return 0;
}

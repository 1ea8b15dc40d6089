// QEL_documentation: parallel title and path lists. No rule binds the
// texts, so the two lists only have to move together.
#include "orvil/documentation.h"

#include "orvil/errors.h"

QEL_documentation::QEL_documentation() {
    SetObjectReady();
}

QEL_documentation::QEL_documentation(const QEL_documentation& other)
    : QEL_object(), titles(other.titles), paths(other.paths) {
    SetObjectReady();
}

int QEL_documentation::operator=(const QEL_documentation& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&other == this) return 0;
    titles = other.titles;
    paths = other.paths;
    return 0;
}

int QEL_documentation::AddDocument(const char* title, const char* path) {
    return InsertDocument(GetNumberOfDocuments(), title, path);
}

int QEL_documentation::InsertDocument(int pos, const char* title, const char* path) {
    int rc = titles.Insert(pos, title);
    if (rc != 0) return rc;
    return paths.Insert(pos, path);
}

static bool IsEntry(int index, int count) {
    return index >= 0 && index < count;
}

int QEL_documentation::ChangeDocumentTitle(int index, const char* title) {
    if (!IsEntry(index, GetNumberOfDocuments())) return QEL_OUT_OF_RANGE;
    return titles.SetString(index, title);
}

int QEL_documentation::ChangeDocumentPath(int index, const char* path) {
    if (!IsEntry(index, GetNumberOfDocuments())) return QEL_OUT_OF_RANGE;
    return paths.SetString(index, path);
}

int QEL_documentation::FindDocument(const char* title) const {
    return titles.FindPosition(title);
}

int QEL_documentation::DeleteDocument(int index) {
    if (!IsEntry(index, GetNumberOfDocuments())) return QEL_OUT_OF_RANGE;
    titles.Delete(index);
    paths.Delete(index);
    return 0;
}

int QEL_documentation::DeleteAllDocuments() {
    titles.Flush();
    paths.Flush();
    return 0;
}

int QEL_documentation::CleanUp(int /*deep*/) {
    titles.CleanUp();
    paths.CleanUp();
    SetObjectReady();
    return 0;
}

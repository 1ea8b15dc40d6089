// QEL_documentation: a list of documents (a title and a path or address)
// attached to a node or a network, kept for the user and the file formats.
// Titles and paths are two parallel string lists; unlike property names,
// any text and repeated titles are allowed.
#ifndef ORVIL_DOCUMENTATION_H
#define ORVIL_DOCUMENTATION_H

#include "orvil/object.h"
#include "orvil/stringarray.h"

class QEL_documentation : public QEL_object {
public:
    // No documents; ready.
    QEL_documentation();
    QEL_documentation(const QEL_documentation& other);
    // Copies both lists. Returns 0, or -567 when `other` is not ready.
    int operator=(const QEL_documentation& other);

    // Appends a document. Returns InsertDocument's status.
    int AddDocument(const char* title, const char* path);
    // Inserts the title at `pos` and, if that succeeded, the path. -2 when
    // `pos` is outside 0..count; else 0.
    int InsertDocument(int pos, const char* title, const char* path);
    // Replace the title or path of entry `index`. -2 for a bad index.
    int ChangeDocumentTitle(int index, const char* title);
    int ChangeDocumentPath(int index, const char* path);
    // Index of the first document with this title, or -2.
    int FindDocument(const char* title) const;
    // Removes entry `index` from both lists. -2 for a bad index.
    int DeleteDocument(int index);
    int GetNumberOfDocuments() const { return titles.NumItems(); }
    // Removes all entries. Returns 0.
    int DeleteAllDocuments();

    // Title and path at `index`; unchecked.
    const char* GetDocumentTitle(int index) const { return titles[index]; }
    const char* GetDocumentPath(int index) const { return paths[index]; }

    // Frees both lists. Returns 0.
    int CleanUp(int deep = 0) override;

private:
    QEL_stringArray titles;
    QEL_stringArray paths;
};

#endif

// QEL_header: the identifier, display name and comment of a node, of a
// submodel, or of the network itself (the root submodel's header).
//
// The three texts are owned heap copies, null meaning "none". A header that
// belongs to a node keeps a pointer to it, because a node's id must stay
// unique within its network: every id change is first put to the network,
// which may refuse it. Headers of submodels and of the network have no such
// rule.
#ifndef ORVIL_HEADER_H
#define ORVIL_HEADER_H

#include "orvil/object.h"

class QEL_node;

class QEL_header : public QEL_object {
public:
    // No texts, no node; ready.
    QEL_header();
    // Copies the three texts of a ready `other` through the setters; a
    // source that is not ready gives an empty header. The copy belongs to
    // no node.
    QEL_header(const QEL_header& other);
    ~QEL_header() override;

    // Copies id, name and comment through the setters, so that an id copied
    // into a node's header still has to be unique in the network; a refused
    // id is not reported and the old one stays. The node link is kept.
    // Returns 0, or -567 when `other` is not ready.
    int operator=(const QEL_header& other);

    // 1 when `id` may serve as an identifier, else 0. Null and "" are not
    // ids. An id starting with "@" is accepted whatever follows: such ids
    // mark nodes for internal use. Otherwise a letter first, then letters,
    // digits or "_".
    static int IsThisIdValid(const char* id);
    // Edits `text` in place into a valid id of the same length (see
    // QEL_idArray::MakeValidId). -2 for null or empty text, else 0.
    static int MakeValidId(char* text);

    // Replaces the id with a copy of `id`. -30 (logged as "Illegal
    // identifier") when IsThisIdValid fails; -30 without a log entry when
    // the owning node's network refuses the id (in use by another node or
    // a submodel). 0 on success.
    int SetId(const char* id);
    // Replace the name or comment; null stores null. Always 0.
    int SetName(const char* text);
    int SetComment(const char* text);

    // The stored texts themselves (not copies), or null.
    const char* GetId() const { return id; }
    const char* GetName() const { return name; }
    const char* GetComment() const { return comment; }

    // Ties the header to the node that owns it (null for none).
    void AssociateWithNode(QEL_node* owner) { node = owner; }
    QEL_node* GetNode() const { return node; }

    // Frees the three texts; the node link stays. Returns 0.
    int CleanUp(int deep = 0) override;
    // Always leaves the header consistent, also with an invalid id: a bad
    // id is refused by SetId and never marks a header inconsistent.
    // Returns 0.
    int CheckConsistency(int deep = 0) override;

private:
    void CopyTexts(const QEL_header& other);

    char* id;
    char* name;
    char* comment;
    QEL_node* node;
};

#endif

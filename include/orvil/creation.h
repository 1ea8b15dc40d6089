// QEL_creation: who made a model and when, as the texts the file formats
// carry (no date arithmetic is done on them). Each text is an owned heap
// copy, null meaning "none".
#ifndef ORVIL_CREATION_H
#define ORVIL_CREATION_H

#include "orvil/object.h"

class QEL_creation : public QEL_object {
public:
    // No texts; ready.
    QEL_creation();
    QEL_creation(const QEL_creation& other);
    ~QEL_creation() override;
    // Copies the three texts. Returns 0, or -567 when `other` is not ready.
    int operator=(const QEL_creation& other);

    // Replace a text with a copy; null stores null. Always 0.
    int SetCreator(const char* text);
    int SetCreated(const char* text);
    int SetModified(const char* text);
    // The stored texts themselves, or null.
    const char* GetCreator() const { return creator; }
    const char* GetCreated() const { return created; }
    const char* GetModified() const { return modified; }

    // Frees the three texts. Returns 0.
    int CleanUp(int deep = 0) override;

private:
    char* creator;
    char* created;
    char* modified;
};

#endif

// QEL_progress: the caller's hook into long-running operations (learning,
// sampling). The caller owns the object and passes a pointer, or null for no
// reporting. The engine never deletes it, so the destructor is protected and
// Tick is the one and only virtual operation.
#ifndef ORVIL_PROGRESS_H
#define ORVIL_PROGRESS_H

class QEL_progress {
public:
    // Reports progress. `percent` is 0 to 100, or -1.0 when no figure is
    // known; `message` may be null. Returning false asks the operation to
    // stop: it then returns QEL_INTERRUPTED (-99).
    virtual bool Tick(double percent, const char* message) = 0;

protected:
    QEL_progress() = default;
    QEL_progress(const QEL_progress&) = default;
    QEL_progress& operator=(const QEL_progress&) = default;
    ~QEL_progress() = default;
};

#endif

// QEL_object: the common base of the engine's model classes.
//
// Most engine objects are built in stages (a network is filled node by node,
// a definition learns its parents one at a time), so each carries two state
// bits in one word: "ready" (the object may be used) and "consistent" (its
// contents agree with each other). Operations that need a ready object and
// find the bit clear return QEL_OBJECT_NOT_READY (-567).
#ifndef ORVIL_OBJECT_H
#define ORVIL_OBJECT_H

#include <initializer_list>

class QEL_object {
public:
    // Bit 1 of `flags`: the object is ready for use.
    static const int readyFlag = 1;
    // Bit 2 of `flags`: the object is consistent.
    static const int consistentFlag = 2;

    // Starts consistent but not ready: the most derived constructor calls
    // SetObjectReady() once it has finished building the object.
    QEL_object() : flags(consistentFlag) {}
    QEL_object(const QEL_object&) = default;
    QEL_object& operator=(const QEL_object&) = default;

    // Frees what the object holds. The base sets the ready bit and returns 0.
    // `deep` is 1 to clean members too, 0 for this object alone.
    virtual int CleanUp(int deep = 0);
    // Re-derives the ready bit from the object's contents. The base sets the
    // bit and returns 0; overrides return 0 when ready, else
    // QEL_OBJECT_NOT_READY.
    virtual int CheckReadiness(int deep = 0);
    // Re-derives the consistent bit. The base sets the bit and returns 0;
    // overrides return 0 when consistent, else QEL_OBJECT_NOT_CONSISTENT.
    virtual int CheckConsistency(int deep = 0);
    virtual ~QEL_object();

    bool IsReady() const { return (flags & readyFlag) != 0; }
    bool IsConsistent() const { return (flags & consistentFlag) != 0; }

    // The state word. Bits above 2 belong to derived classes.
    int flags;

protected:
    void SetObjectReady() { flags |= readyFlag; }
    void SetObjectNotReady() { flags &= ~readyFlag; }
    void SetObjectConsistent() { flags |= consistentFlag; }
    void SetObjectNotConsistent() { flags &= ~consistentFlag; }

    // For objects made of parts: with `deep`, each part that is there first
    // runs its own deep pass; then the bit is set when every part is there
    // and has it, and cleared otherwise. Return 0, or QEL_OBJECT_NOT_READY
    // (-567) and QEL_OBJECT_NOT_CONSISTENT (-568) respectively.
    int CheckPartsReadiness(std::initializer_list<QEL_object*> parts, int deep);
    int CheckPartsConsistency(std::initializer_list<QEL_object*> parts, int deep);
};

#endif

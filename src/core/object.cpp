// The base class's default passes: they only raise the state bits, because
// an object with nothing of its own to check is ready and consistent. An
// object made of parts (a node of its record, definition and value; a
// record of its four sub-records) is ready or consistent exactly when all
// of its parts are, which the parts passes below decide once for all.
#include "orvil/object.h"

#include "orvil/errors.h"

namespace {

// With `deep`, runs `check` deep on every part that is there; then tells
// whether no part is missing and every part `holds`. All deep passes run
// before any bit is read, so a missing part still lets the others check.
bool AllPartsPass(std::initializer_list<QEL_object*> parts, int deep, int (QEL_object::*check)(int),
                  bool (QEL_object::*holds)() const) {
    if (deep != 0) {
        for (QEL_object* part : parts) {
            if (part != nullptr) (part->*check)(1);
        }
    }
    for (QEL_object* part : parts) {
        if (part == nullptr || !(part->*holds)()) return false;
    }
    return true;
}

}  // namespace

int QEL_object::CleanUp(int /*deep*/) {
    SetObjectReady();
    return 0;
}

int QEL_object::CheckReadiness(int /*deep*/) {
    SetObjectReady();
    return 0;
}

int QEL_object::CheckConsistency(int /*deep*/) {
    SetObjectConsistent();
    return 0;
}

QEL_object::~QEL_object() = default;

int QEL_object::CheckPartsReadiness(std::initializer_list<QEL_object*> parts, int deep) {
    if (!AllPartsPass(parts, deep, &QEL_object::CheckReadiness, &QEL_object::IsReady)) {
        SetObjectNotReady();
        return QEL_OBJECT_NOT_READY;
    }
    SetObjectReady();
    return 0;
}

int QEL_object::CheckPartsConsistency(std::initializer_list<QEL_object*> parts, int deep) {
    if (!AllPartsPass(parts, deep, &QEL_object::CheckConsistency, &QEL_object::IsConsistent)) {
        SetObjectNotConsistent();
        return QEL_OBJECT_NOT_CONSISTENT;
    }
    SetObjectConsistent();
    return 0;
}

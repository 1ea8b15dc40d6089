// QEL_userProperties: a name list of unique identifiers beside a value list,
// kept in step. Insertion of a name that already exists moves the entry
// rather than duplicating it, so a property name always has one value.
#include "orvil/userproperties.h"

#include "orvil/errors.h"

QEL_userProperties::QEL_userProperties() : names(false) {
    SetObjectReady();
}

QEL_userProperties::QEL_userProperties(const QEL_userProperties& other)
    : QEL_object(), names(false) {
    names = other.names;
    values = other.values;
    SetObjectReady();
}

int QEL_userProperties::operator=(const QEL_userProperties& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&other == this) return 0;
    names = other.names;
    values = other.values;
    return 0;
}

int QEL_userProperties::AddProperty(const char* name, const char* value) {
    return InsertProperty(GetNumberOfProperties(), name, value);
}

int QEL_userProperties::InsertProperty(int pos, const char* name, const char* value) {
    int existing = FindProperty(name);
    if (existing == pos) return values.SetString(existing, value);
    if (existing >= 0) {
        DeleteProperty(existing);
        // The target position counts the old entry, wherever it stood.
        pos--;
    }
    int rc = names.Insert(pos, name);
    if (rc != 0) return rc;
    values.Insert(pos, value);
    return 0;
}

int QEL_userProperties::FindProperty(const char* name) const {
    return names.FindPosition(name);
}

int QEL_userProperties::ChangePropertyName(int index, const char* name) {
    return names.SetString(index, name);
}

int QEL_userProperties::ChangePropertyValue(int index, const char* value) {
    return values.SetString(index, value);
}

int QEL_userProperties::DeleteProperty(int index) {
    if (index < 0 || index >= GetNumberOfProperties()) return QEL_OUT_OF_RANGE;
    names.Delete(index);
    values.Delete(index);
    return 0;
}

int QEL_userProperties::DeleteAllProperties() {
    names.Flush();
    values.Flush();
    return 0;
}

int QEL_userProperties::CleanUp(int /*deep*/) {
    names.CleanUp();
    values.CleanUp();
    SetObjectReady();
    return 0;
}

int QEL_userProperties::CheckConsistency(int /*deep*/) {
    if (names.CheckConsistency() != 0) {
        SetObjectNotConsistent();
        return QEL_OBJECT_NOT_CONSISTENT;
    }
    SetObjectConsistent();
    return 0;
}

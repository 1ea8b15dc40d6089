// QEL_userProperties: named text values that callers attach to a node or a
// network. The engine reads a few by their literal names (for example
// "DIAG_TESTGROUPCOST" and the learning switches); all others are carried
// through files untouched.
//
// Names and values are two parallel lists. The names live in a QEL_idArray
// without blanks, so every name is a valid identifier and no name occurs
// twice.
#ifndef ORVIL_USERPROPERTIES_H
#define ORVIL_USERPROPERTIES_H

#include "orvil/object.h"
#include "orvil/stringarray.h"

class QEL_userProperties : public QEL_object {
public:
    // No properties; ready.
    QEL_userProperties();
    QEL_userProperties(const QEL_userProperties& other);
    // Copies both lists. Returns 0, or -567 when `other` is not ready.
    int operator=(const QEL_userProperties& other);

    // InsertProperty(GetNumberOfProperties(), name, value): a name already
    // present moves to the end with the new value.
    int AddProperty(const char* name, const char* value);
    // Inserts the property at `pos`. A name already at `pos` only gets the
    // new value. A name found elsewhere is deleted first and `pos` drops by
    // one, wherever the old entry was. -2 when `name` is not a valid
    // identifier or `pos` is out of 0..count (the old entry is then gone
    // already if it was moved); else 0.
    int InsertProperty(int pos, const char* name, const char* value);
    // Index of the property `name`, or -2.
    int FindProperty(const char* name) const;
    // Name and value at `index`; unchecked.
    const char* GetPropertyName(int index) const { return names[index]; }
    const char* GetPropertyValue(int index) const { return values[index]; }
    // Renames entry `index`. -2 for an invalid or duplicate name or an index
    // outside the store (which, as for any string array, may reach past the
    // last property: such a slot takes the string and the count stays);
    // else 0.
    int ChangePropertyName(int index, const char* name);
    // Replaces the value of entry `index`. -2 for an index outside the store,
    // under the same rule; else 0.
    int ChangePropertyValue(int index, const char* value);
    // Removes entry `index` from both lists. -2 for a bad index; else 0.
    int DeleteProperty(int index);
    // Removes all entries. Returns 0.
    int DeleteAllProperties();
    int GetNumberOfProperties() const { return names.NumItems(); }

    // Frees both lists. Returns 0.
    int CleanUp(int deep = 0) override;
    // Consistent when the names are valid, unique identifiers. Returns 0,
    // or -568.
    int CheckConsistency(int deep = 0) override;

private:
    QEL_idArray names;
    QEL_stringArray values;
};

#endif

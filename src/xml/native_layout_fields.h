// The screen record as the layout block writes it: one attribute per field,
// in a fixed order, each compared with a fresh record so that only changed
// fields are written. Shared by the reading and the writing side, so that
// the two cannot disagree about a name.
#ifndef ORVIL_NATIVE_LAYOUT_FIELDS_H
#define ORVIL_NATIVE_LAYOUT_FIELDS_H

#include "orvil/screeninfo.h"

struct XmlScreenField {
    const char* attribute;
    int& (*field)(QEL_screenInfo&);
};

extern const XmlScreenField xmlScreenFields[];
extern const int xmlScreenFieldCount;

#endif

// Attribute names of the screen record's fields in the layout block.
#include "xml/native_layout_fields.h"

const XmlScreenField xmlScreenFields[] = {
    {"x", [](QEL_screenInfo& s) -> int& { return s.position.center_X; }},
    {"y", [](QEL_screenInfo& s) -> int& { return s.position.center_Y; }},
    {"width", [](QEL_screenInfo& s) -> int& { return s.position.width; }},
    {"height", [](QEL_screenInfo& s) -> int& { return s.position.height; }},
    {"color", [](QEL_screenInfo& s) -> int& { return s.color; }},
    {"selcolor", [](QEL_screenInfo& s) -> int& { return s.selColor; }},
    {"font", [](QEL_screenInfo& s) -> int& { return s.font; }},
    {"fontcolor", [](QEL_screenInfo& s) -> int& { return s.fontColor; }},
    {"borderthickness", [](QEL_screenInfo& s) -> int& { return s.borderThickness; }},
    {"bordercolor", [](QEL_screenInfo& s) -> int& { return s.borderColor; }},
    {"flags", [](QEL_screenInfo& s) -> int& { return s.flags; }},
};

const int xmlScreenFieldCount = sizeof xmlScreenFields / sizeof xmlScreenFields[0];

// QEL_rectangle and QEL_screenInfo: copying and filling in defaults. A new
// node takes the screen defaults of the root submodel for whatever it has
// not set itself, which is why "not set" has a reserved value.
#include "orvil/screeninfo.h"

#include "orvil/errors.h"

QEL_rectangle::QEL_rectangle() : center_X(0), center_Y(0), width(0), height(0) {
    SetObjectReady();
}

QEL_rectangle::QEL_rectangle(const QEL_rectangle& other)
    : QEL_object(), center_X(other.center_X), center_Y(other.center_Y), width(other.width),
      height(other.height) {
    SetObjectReady();
}

int QEL_rectangle::operator=(const QEL_rectangle& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    Set(other.center_X, other.center_Y, other.width, other.height);
    return 0;
}

void QEL_rectangle::Set(int centerX, int centerY, int newWidth, int newHeight) {
    center_X = centerX;
    center_Y = centerY;
    width = newWidth;
    height = newHeight;
}

bool QEL_rectangle::IsInside(int x, int y) const {
    // Wide arithmetic: the fields are unchecked, and editors store anything.
    long long left = static_cast<long long>(center_X) - width / 2;
    long long top = static_cast<long long>(center_Y) - height / 2;
    return left <= x && x <= left + width && top <= y && y <= top + height;
}

int QEL_rectangle::FillDefaultValues(const QEL_rectangle& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (width == 0) width = other.width;
    if (height == 0) height = other.height;
    return 0;
}

QEL_screenInfo::QEL_screenInfo()
    : color(notSet), selColor(notSet), font(notSet), fontColor(notSet), borderThickness(notSet),
      borderColor(notSet), flags(showInArcsFlag | showOutArcsFlag) {
    SetObjectReady();
}

QEL_screenInfo::QEL_screenInfo(const QEL_screenInfo& other)
    : QEL_object(), position(other.position), color(other.color), selColor(other.selColor),
      font(other.font), fontColor(other.fontColor), borderThickness(other.borderThickness),
      borderColor(other.borderColor), flags(other.flags) {
    SetObjectReady();
}

int QEL_screenInfo::operator=(const QEL_screenInfo& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    position = other.position;
    color = other.color;
    selColor = other.selColor;
    font = other.font;
    fontColor = other.fontColor;
    borderThickness = other.borderThickness;
    borderColor = other.borderColor;
    flags = other.flags;
    return 0;
}

static void FillField(int& field, int fallback) {
    if (field == QEL_screenInfo::notSet) field = fallback;
}

int QEL_screenInfo::FillDefaultValues(const QEL_screenInfo& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    position.FillDefaultValues(other.position);
    FillField(color, other.color);
    FillField(selColor, other.selColor);
    FillField(font, other.font);
    FillField(fontColor, other.fontColor);
    FillField(borderThickness, other.borderThickness);
    FillField(borderColor, other.borderColor);
    return 0;
}

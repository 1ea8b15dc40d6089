// Screen records: QEL_rectangle, a box given by its centre and extent, and
// QEL_screenInfo, the position and colours with which a node or submodel is
// drawn. The engine draws nothing; it keeps these so that files round-trip
// and editors built on it find their layout again.
//
// Both are plain data with public fields, read and written directly by the
// file formats and the flat interface.
#ifndef ORVIL_SCREENINFO_H
#define ORVIL_SCREENINFO_H

#include "orvil/object.h"

class QEL_rectangle : public QEL_object {
public:
    // All four fields 0; ready.
    QEL_rectangle();
    QEL_rectangle(const QEL_rectangle& other);
    // Copies the four fields. Returns 0, or -567 when `other` is not ready
    // (nothing is copied then).
    int operator=(const QEL_rectangle& other);

    // Sets the four fields in their order.
    void Set(int centerX, int centerY, int newWidth, int newHeight);
    // True when (x, y) lies in the box, edges included. The left and top
    // edges are the centre less half the extent, rounded toward zero.
    bool IsInside(int x, int y) const;
    // A width or height of 0 takes the one of `other`; the centre stays.
    // Returns 0, or -567 when `other` is not ready.
    int FillDefaultValues(const QEL_rectangle& other);

    int center_X;
    int center_Y;
    int width;
    int height;
};

class QEL_screenInfo : public QEL_object {
public:
    // The value of a colour or font field that has not been set.
    static const int notSet = -2147483647;
    // Bits of `flags`: in-arcs and out-arcs are shown.
    static const int showInArcsFlag = 1;
    static const int showOutArcsFlag = 2;

    // An empty position, every colour and font field not set, both arc
    // kinds shown; ready.
    QEL_screenInfo();
    QEL_screenInfo(const QEL_screenInfo& other);
    // Copies every field. Returns 0, or -567 when `other` is not ready.
    int operator=(const QEL_screenInfo& other);

    // Fills the position as QEL_rectangle::FillDefaultValues does, and each
    // colour or font field that is not set takes the field of `other`.
    // Returns 0, or -567 when `other` is not ready.
    int FillDefaultValues(const QEL_screenInfo& other);

    bool ShowInArcs() const { return (flags & showInArcsFlag) != 0; }
    bool ShowOutArcs() const { return (flags & showOutArcsFlag) != 0; }
    void SetShowInArcs() { flags |= showInArcsFlag; }
    void SetHideInArcs() { flags &= ~showInArcsFlag; }
    void SetShowOutArcs() { flags |= showOutArcsFlag; }
    void SetHideOutArcs() { flags &= ~showOutArcsFlag; }

    QEL_rectangle position;
    int color;
    int selColor;
    int font;
    int fontColor;
    int borderThickness;
    int borderColor;
    // Arc display bits (above). Not the object's state word, which is
    // QEL_object::flags.
    int flags;
};

#endif

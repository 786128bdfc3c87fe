#pragma once

#include <string>

#include "QelExport.h"

// Identifiers of the built-in units of measure. Identifiers 0 to 127 are the library's, 128 to 255
// the clients'.
enum QelUnitId : int {
    QEL_UNIT_ARBITRARY = 0,
    QEL_UNIT_PIXEL = 1,
    QEL_UNIT_WIDTH_RELATIVE = 2,
    QEL_UNIT_HEIGHT_RELATIVE = 3,
    QEL_UNIT_NORMALIZED = 4,
    QEL_UNIT_METER = 5,
    QEL_UNIT_SECOND = 6,
    QEL_UNIT_RADIAN = 7,
    QEL_UNIT_DEGREE = 10,
    QEL_UNIT_GRAD = 11,
    QEL_UNIT_ARC_MINUTE = 12,
    QEL_UNIT_ARC_SECOND = 13,
    QEL_UNIT_MINUTE = 20,
    QEL_UNIT_HOUR = 21,
    QEL_UNIT_FRAME = 22,        // 1/24 of a second
    QEL_UNIT_VIDEO_FRAME = 23,  // 1/30 of a second
    QEL_UNIT_MICRON = 30,
    QEL_UNIT_MILLIMETER = 31,
    QEL_UNIT_CENTIMETER = 32,
    QEL_UNIT_DECIMETER = 33,
    QEL_UNIT_MIL = 40,
    QEL_UNIT_POINT = 41,  // 1/72 of an inch
    QEL_UNIT_PICA = 42,
    QEL_UNIT_INCH = 43
};

// One unit of measure. A plain record; the registry's own rows are read through
// QelValue::getUnitInfo().
struct QelUnitInfo {
    std::string singularName;  // for a value of 1, and in messages about one unit
    std::string pluralName;
    int id = 0;
    int standardId = 0;       // the unit that conversions go through
    double multiplier = 0.0;  // how many standard units one of this unit is; 0.0 for the units that
                              // convert to no other: arbitrary, pixel and the relative ones
    double tolerance = 0.0;   // the largest difference of equal values, in this unit
    bool isRegistered = false;
    bool isStandard = false;  // id == standardId
};

// Whether the unit is relative to the size of an image: width relative, height relative,
// normalized.
QEL_API bool isRelativeUnit(int id);
QEL_API bool isPixelUnit(int id);

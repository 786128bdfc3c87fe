#include "QelXyCoordSpace.h"

#include <cmath>
#include <utility>

#include "QelError.h"
#include "QelPixelLimits.h"
#include "QelTextStream.h"

namespace {

using Owned = QelCoordSpace::OwnedDimension;

Owned newAxis(char const * name, QelValue const & width) {
    return std::make_unique<QelXyDimension>(name, width);
}

Owned newAxis(char const * name, unsigned pixels) {
    return std::make_unique<QelXyDimension>(name, pixels);
}

unsigned checkedWidth(unsigned width) {
    if (width == 0)
        qelRaise(QelErrorCode::zeroPixelsWide, "Cannot construct zero pixel-wide coordinate space");
    return width;
}

unsigned checkedHeight(unsigned height) {
    if (height == 0)
        qelRaise(QelErrorCode::zeroPixelsHigh, "Cannot construct zero pixel-high coordinate space");
    return height;
}

[[noreturn]] void raiseBadSize(int code, char const * text, QelValue const & size) {
    QelTextStream message;
    message << text << size;
    qelRaise(code, message.str());
}

void checkSize(QelValue const & width, QelValue const & height) {
    if (!(width.value() > 0.0)) {
        raiseBadSize(QelErrorCode::illegalWorldWidth,
                     "Cannot create coordinate space with world-width = ", width);
    }
    if (!(height.value() > 0.0)) {
        raiseBadSize(QelErrorCode::illegalWorldHeight,
                     "Cannot create coordinate space with world-height = ", height);
    }
    if (isRelativeUnit(width.unit())) {
        qelRaise(QelErrorCode::unsuitableUnit,
                 "Cannot create coordinate space with relative unit of measure AND size "
                 "information");
    }
}

unsigned roundedPixels(QelValue const & size) {
    return qelCheckedPixels(std::floor(size.valueIn(QEL_UNIT_PIXEL) + 0.5));
}

// The axes of a space of this size; y is made after x has been checked.
Owned xAxisOf(QelValue const & width, QelValue const & height) {
    checkSize(width, height);
    if (isPixelUnit(width.unit())) return newAxis("x", checkedWidth(roundedPixels(width)));
    return std::make_unique<QelXyDimension>("x", QelValue(0.0, width.unit()), width, 0);
}

Owned yAxisOf(QelValue const & width, QelValue const & height) {
    if (isPixelUnit(width.unit())) return newAxis("y", checkedHeight(roundedPixels(height)));
    return std::make_unique<QelXyDimension>("y", QelValue(0.0, width.unit()), height, 0);
}

[[noreturn]] void raiseBadResolution(int code, char const * text, double value) {
    QelTextStream message;
    message << "Cannot construct coordinate space from resolution object " << text << value;
    qelRaise(code, message.str());
}

void checkResolution(QelResolution const & horz, QelResolution const & vert) {
    if (isPixelUnit(horz.unit) && (horz.dpu != 1.0 || vert.dpu != 1.0)) {
        qelRaise(QelErrorCode::unsuitableResolution,
                 "Cannot create pixel-based coordinate space with resolution other than 1.0 dots "
                 "per unit");
    }
    if (isRelativeUnit(horz.unit)) {
        qelRaise(QelErrorCode::unsuitableResolution,
                 "Cannot create coordinate space with relative unit of measure AND resolution "
                 "information.");
    }
    if (!(horz.dpu > 0.0)) {
        raiseBadResolution(QelErrorCode::illegalDotsPerUnit,
                           "with horizontal dots-per-unit = ", horz.dpu);
    }
    if (!(vert.dpu > 0.0))
        raiseBadResolution(QelErrorCode::illegalDotsPerUnit,
                           "with vertical dots-per-unit = ", vert.dpu);
    if (horz.pixels == 0)
        raiseBadResolution(QelErrorCode::zeroPixelsWide, "with width-in-pixels = ", horz.pixels);
    if (vert.pixels == 0)
        raiseBadResolution(QelErrorCode::zeroPixelsHigh, "with height-in-pixels = ", vert.pixels);
}

// The axis that holds the pixels of one half of a resolution, in `unit`.
Owned newAxis(char const * name, QelResolution const & half, int unit) {
    QelResolution row(half.getDpu(unit), unit);
    row.pixels = half.pixels;
    QelValue const extent(half.pixels / row.dpu, unit);
    if (isPixelUnit(unit)) return newAxis(name, half.pixels);
    return std::make_unique<QelXyDimension>(name, QelValue(0.0, unit), extent, row, 0);
}

Owned xAxisOf(QelXyCoordSpace::Resolution const & resolution) {
    checkResolution(resolution.horz, resolution.vert);
    return newAxis("x", resolution.horz, resolution.horz.unit);
}

[[noreturn]] void raiseNotAnAxis(unsigned index) {
    QelTextStream text;
    text << "index value " << index << " into coord space with 2 dimensions of an image";
    qelRaise(QelErrorCode::outOfRange, text.str());
}

void checkAxis(unsigned index) {
    if (index > 1) raiseNotAnAxis(index);
}

[[noreturn]] void raiseBadFactor(char const * what, double factor) {
    QelTextStream text;
    text << "Cannot scale coord space " << what << factor;
    qelRaise(QelErrorCode::illegalFactor, text.str());
}

}  // namespace

// Braces: the x axis is made, and refused, first.
QelXyCoordSpace::QelXyCoordSpace(int unit)
    : QelCoordSpace{newAxis("x", QelValue(1.0, unit)), newAxis("y", QelValue(1.0, unit))} {
    recomputeSelection();
}

QelXyCoordSpace::QelXyCoordSpace(unsigned width, unsigned height)
    : QelCoordSpace{newAxis("x", checkedWidth(width)), newAxis("y", checkedHeight(height))} {
    recomputeSelection();
}

QelXyCoordSpace::QelXyCoordSpace(QelValue const & width, QelValue const & height)
    : QelCoordSpace{xAxisOf(width, height), yAxisOf(width, height)} {
    recomputeSelection();
}

QelXyCoordSpace::QelXyCoordSpace(Resolution const & resolution)
    : QelCoordSpace{xAxisOf(resolution), newAxis("y", resolution.vert, resolution.horz.unit)} {
    recomputeSelection();
}

QelXyCoordSpace::QelXyCoordSpace(QelXyCoordSpace const & other)
    : ZanRefCount(), QelCoordSpace(other), QelPixelExtent(), selected_(other.selected_) {}

QelXyCoordSpace & QelXyCoordSpace::operator=(QelXyCoordSpace const & other) {
    shareBody(other);
    selected_ = other.selected_;
    return *this;
}

QelXyCoordSpace::~QelXyCoordSpace() = default;

MoxSmartPtr<QelCoordSpace> QelXyCoordSpace::clone() const {
    return cloneXy();
}

MoxSmartPtr<QelXyCoordSpace> QelXyCoordSpace::cloneXy() const {
    return new QelXyCoordSpace(*this);
}

// ---- Selection

void QelXyCoordSpace::recomputeSelection() {
    for (unsigned i = 0; i < numResolutions(); ++i) {
        Resolution const row = getResolution(i);
        if (row.horz.isArbitrary() || row.vert.isArbitrary()) continue;
        selected_ = row;
        return;
    }
    if (!isPixelBased()) selected_ = Resolution();
}

void QelXyCoordSpace::refreshSelection(unsigned index, bool keepDpu) {
    if (isPixelBased()) {
        recomputeSelection();
        return;
    }
    QelResolution & half = selectedOn(index);
    if (half.isArbitrary()) return;
    QelResolution kept = keepDpu ? half : QelResolution::ofPixels(half.pixels);
    if (keepDpu) kept.pixels = 0;
    half = axis(index).specify(kept);
}

void QelXyCoordSpace::clearSelection() {
    if (!isPixelBased()) selected_ = Resolution();
}

bool QelXyCoordSpace::hasSelectedResolution() const {
    return !selected_.horz.isArbitrary() && !selected_.vert.isArbitrary();
}

std::int32_t QelXyCoordSpace::selectedPixelWidth() const {
    return qelCheckedSigned(numPixelsWide());
}

std::int32_t QelXyCoordSpace::selectedPixelHeight() const {
    return qelCheckedSigned(numPixelsHigh());
}

// ---- Units

void QelXyCoordSpace::setXyUnit(int wanted) {
    if (wanted == unit()) return;
    QelValue::getUnitInfo(wanted);
    if (isPixelUnit(wanted)) {
        becomePixelBased();
    } else if (isRelativeUnit(wanted)) {
        becomeRelative(wanted);
    } else {
        edit([wanted](QelXyCoordSpace & copy) {
            copy.uniqueAxis(0).setUnit(wanted);
            copy.uniqueAxis(1).setUnit(wanted);
            for (unsigned i = 0; i < 2; ++i) {
                QelResolution & half = copy.selectedOn(i);
                if (half.dpu == 0.0) continue;
                half.dpu = half.getDpu(wanted);
                half.unit = wanted;
            }
        });
    }
}

void QelXyCoordSpace::becomePixelBased() {
    if (!hasSelectedResolution()) {
        qelRaise(QelErrorCode::noSelectedResolution,
                 "Cannot convert QelXyCoordSpace unit to QEL_UNIT_PIXEL, unless there is a "
                 "selected resolution.");
    }
    setPixelSize(numPixelsWide(), numPixelsHigh());
}

// Makes both axes pixel based, whatever they were.
void QelXyCoordSpace::setPixelSize(std::uint32_t width, std::uint32_t height) {
    Owned x = std::make_unique<QelXyDimension>(xDimension().name(), width);
    Owned y = std::make_unique<QelXyDimension>(yDimension().name(), height);
    DimensionSet & set = uniqueBody();
    set.dimensions[0] = std::move(x);
    set.dimensions[1] = std::move(y);
    recomputeSelection();
}

void QelXyCoordSpace::becomeRelative(int wanted) {
    Owned x = std::make_unique<QelXyDimension>(xDimension().name(), QelValue(1.0, wanted));
    Owned y = std::make_unique<QelXyDimension>(yDimension().name(), QelValue(1.0, wanted));
    DimensionSet & set = uniqueBody();
    set.dimensions[0] = std::move(x);
    set.dimensions[1] = std::move(y);
    selected_ = Resolution();
}

void QelXyCoordSpace::setDimensionUnit(unsigned index, int wanted) {
    checkIndex(index);
    if (index < 2) {
        setXyUnit(wanted);
        return;
    }
    if (isPixelUnit(wanted) || isRelativeUnit(wanted)) {
        qelRaise(QelErrorCode::cannotConvertDimension,
                 "Cannot convert dimension \"" + dimension(index).name() +
                     "\" to unit of measure \"" + QelValue::getUnitInfo(wanted).singularName +
                     "\". QelXyCoordSpace reserves that unit for the x and y dimensions only");
    }
    QelCoordSpace::setDimensionUnit(index, wanted);
}

void QelXyCoordSpace::setUnit(int wanted) {
    edit([wanted](QelXyCoordSpace & copy) {
        copy.setXyUnit(wanted);
        for (unsigned i = 2; i < copy.numDimensions(); ++i)
            copy.setDimensionUnit(i, wanted);
    });
}

// ---- Extents

void QelXyCoordSpace::checkFree(unsigned index, char const * operation) const {
    if (index > 1) return;
    qelRaise(QelErrorCode::unsupported, std::string("Cannot override ") + (index == 0 ? "x" : "y") +
                                            "-dimension of QelXyCoordSpace by calling " +
                                            operation + "( )");
}

void QelXyCoordSpace::extentsChanged() {
    refreshSelection(0, false);
    refreshSelection(1, false);
}

void QelXyCoordSpace::setDimension(unsigned index, QelDimension const & dimension) {
    checkIndex(index);
    checkFree(index, "setDimension");
    QelCoordSpace::setDimension(index, dimension);
}

QelValue QelXyCoordSpace::resolveSpan(unsigned index, QelValue const & value) const {
    double const number = value.value();
    switch (value.unit()) {
        case QEL_UNIT_WIDTH_RELATIVE: return {number * width().value(), unit()};
        case QEL_UNIT_HEIGHT_RELATIVE: return {number * height().value(), unit()};
        case QEL_UNIT_NORMALIZED: return {number * axis(index).width().value(), unit()};
        case QEL_UNIT_PIXEL: break;
        default: return value;
    }
    if (isPixelBased()) return value;
    double const dpu = selectedOn(index).dpu;
    if (dpu == 0.0) {
        qelRaise(QelErrorCode::unsuitableUnit,
                 "cannot pass values to coord space in units of pixels, if coord space has no "
                 "selected resolution");
    }
    return {number / dpu, unit()};
}

// A pixel position is the pixel's centre.
QelValue QelXyCoordSpace::resolvePosition(unsigned index, QelValue const & value) const {
    bool const inPixels = isPixelUnit(value.unit());
    if (!inPixels && !isRelativeUnit(value.unit())) return value;
    return resolveSpan(index, inPixels ? value + 0.5 : value) + axis(index).origin();
}

void QelXyCoordSpace::setOrigin(unsigned index, QelValue const & origin) {
    checkAxis(index);
    if (isPixelBased()) return;
    if (isRelative()) {
        qelRaise(QelErrorCode::unsuitableUnit,
                 "Cannot change origin of coordinate space based on relative unit of measure");
    }
    QelValue const resolved = resolvePosition(index, origin);
    uniqueAxis(index).setOrigin(resolved);
}

void QelXyCoordSpace::translateDimension(unsigned index, QelValue const & distance) {
    checkIndex(index);
    if (index > 1) {
        QelCoordSpace::translateDimension(index, distance);
    } else {
        setOrigin(index, axis(index).origin() + distance);
    }
}

void QelXyCoordSpace::setWidth(unsigned index, QelValue const & width, bool keepDpu) {
    checkAxis(index);
    if (isRelative()) {
        qelRaise(
            QelErrorCode::unsuitableUnit,
            "Cannot change width/height of coordinate space based on relative unit of measure");
    }
    QelValue resolved = resolveSpan(index, width);
    if (isPixelBased()) {
        resolved.convertTo(QEL_UNIT_PIXEL);
        resolved.round();
        if (!(resolved.value() >= 1.0)) {
            QelTextStream text;
            text << "attempt to set " << (index == 0 ? "width " : "height ")
                 << "of pixel based coordinate space to " << width.value()
                 << "(unit id = " << width.unit() << ") "
                 << "resulted in an illegal dimension length of " << resolved.value();
            qelRaise(QelErrorCode::illegalExtent, text.str());
        }
    }
    edit([&](QelXyCoordSpace & copy) {
        copy.uniqueAxis(index).setWidth(resolved, keepDpu);
        copy.refreshSelection(index, keepDpu);
    });
}

void QelXyCoordSpace::scaleAxis(unsigned index, double factor, bool keepDpu) {
    if (factor == 0.0) raiseBadFactor(index == 0 ? "x dimension by " : "y dimension by ", factor);
    edit([&](QelXyCoordSpace & copy) {
        copy.uniqueAxis(index).scale(factor, keepDpu);
        copy.refreshSelection(index, keepDpu);
    });
}

void QelXyCoordSpace::scaleExtent(unsigned index, double factor, bool keepDpu) {
    if (!(factor > 0.0)) raiseBadFactor(index == 0 ? "width by " : "height by ", factor);
    edit([&](QelXyCoordSpace & copy) {
        copy.uniqueAxis(index).setWidth(copy.axis(index).width() * factor, keepDpu);
        copy.refreshSelection(index, keepDpu);
    });
}

void QelXyCoordSpace::scaleDimension(unsigned index, double factor) {
    scaleDimension(index, factor, false);
}

void QelXyCoordSpace::scale(double factor) {
    scale(factor, false);
}

void QelXyCoordSpace::scaleDimension(unsigned index, double factor, bool keepDpu) {
    checkIndex(index);
    if (index > 1) {
        QelCoordSpace::scaleDimension(index, factor);
    } else if (index == 0) {
        scaleX(factor, keepDpu);
    } else {
        scaleY(factor, keepDpu);
    }
}

void QelXyCoordSpace::scale(double factor, bool keepDpu) {
    edit([&](QelXyCoordSpace & copy) {
        copy.scaleXY(factor, keepDpu);
        for (unsigned i = 2; i < copy.numDimensions(); ++i)
            copy.QelCoordSpace::scaleDimension(i, factor);
    });
}

void QelXyCoordSpace::scaleX(double factor, bool keepDpu) {
    scaleAxis(0, factor, keepDpu);
}

void QelXyCoordSpace::scaleY(double factor, bool keepDpu) {
    scaleAxis(1, factor, keepDpu);
}

void QelXyCoordSpace::scaleXY(double factor, bool keepDpu) {
    edit([&](QelXyCoordSpace & copy) {
        copy.scaleX(factor, keepDpu);
        copy.scaleY(factor, keepDpu);
    });
}

void QelXyCoordSpace::scaleWidth(double factor, bool keepDpu) {
    scaleExtent(0, factor, keepDpu);
}

void QelXyCoordSpace::scaleHeight(double factor, bool keepDpu) {
    scaleExtent(1, factor, keepDpu);
}

void QelXyCoordSpace::scaleWidthHeight(double factor, bool keepDpu) {
    edit([&](QelXyCoordSpace & copy) {
        copy.scaleWidth(factor, keepDpu);
        copy.scaleHeight(factor, keepDpu);
    });
}

void QelXyCoordSpace::swapXY() {
    std::string const x = xDimension().name();
    std::string const y = yDimension().name();
    edit([&](QelXyCoordSpace & copy) {
        DimensionSet & set = copy.uniqueBody();
        set.dimensions[0]->setName(y);
        set.dimensions[1]->setName(x);
        set.dimensions[0].swap(set.dimensions[1]);
        std::swap(copy.selected_.horz, copy.selected_.vert);
    });
}

MoxSmartPtr<QelXyCoordSpace> QelXyCoordSpace::newSpace(QelValue const & width,
                                                       QelValue const & height) const {
    MoxSmartPtr<QelXyCoordSpace> space = cloneXy();
    if (isPixelBased()) {
        std::uint32_t const wide = roundedPixels(width);
        std::uint32_t const high = roundedPixels(height);
        if (wide == numPixelsWide() && high == numPixelsHigh()) return space;
        QelTextStream text;
        text << "It is illegal to create a new QEL_UNIT_PIXEL coordinate space from an old "
                "QEL_UNIT_PIXEL coord space that has a different number of pixels: ("
             << wide << ',' << high << ") vs. (" << numPixelsWide() << ',' << numPixelsHigh()
             << ')';
        qelRaise(QelErrorCode::pixelCountsDiffer, text.str());
    }
    // Relative to both old extents.
    QelValue const wide = resolveSpan(0, width);
    QelValue const high = resolveSpan(1, height);
    space->setWidth(0, wide, true);
    space->setWidth(1, high, true);
    return space;
}

bool QelXyCoordSpace::isCompatible(QelXyCoordSpace const & other) const {
    if (!other.hasSelectedResolution()) return false;
    if (sharesBody(other)) return true;
    if (unit() != other.unit()) return false;
    if (!hasPixelResolution(other.numPixelsWide(), other.numPixelsHigh())) return false;
    double const dpuX = other.selected_.horz.dpu;
    double const dpuY = other.selected_.vert.dpu;
    if (dpuX == 0.0 || dpuY == 0.0) return false;
    return std::fabs(width().value() - other.width().value()) < 1.0 / dpuX &&
           std::fabs(height().value() - other.height().value()) < 1.0 / dpuY;
}

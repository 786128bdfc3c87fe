#include "QelXyDimension.h"

#include <cmath>
#include <iomanip>
#include <utility>

#include "QelError.h"
#include "QelPixelLimits.h"
#include "QelTextStream.h"

namespace {

std::string const & singular(int unit) {
    return QelValue::getUnitInfo(unit).singularName;
}

[[noreturn]] void raiseNoSamples(QelDimension const & dimension, QelResolution const & given,
                                 double dpu, double count) {
    QelTextStream text;
    text << "Specified sampling rate is too low given image extent information -- no samples"
         << "\nDimension width =" << std::fixed << dimension.width().value()
         << singular(dimension.unit()) << "\nInput res=" << given.dpu << "Dots Per "
         << singular(given.unit) << "\nConverted Res=" << dpu << "Dots Per "
         << singular(dimension.unit()) << "\nComputed Samples=" << std::setprecision(0) << count;
    qelRaise(QelErrorCode::noSamples, text.str());
}

// `factor` is a number, or two with words between them.
[[noreturn]] void raiseScaledToNothing(std::uint32_t count, std::string const & factor) {
    qelRaise(QelErrorCode::noSamples, "scaling pixel value " + std::to_string(count) +
                                          " by scale factor " + factor + " results in zero pixels");
}

std::string shown(double factor) {
    QelTextStream text;
    text << factor;
    return text.str();
}

std::string shown(int denominator, int numerator) {
    return std::to_string(numerator) + " over " + std::to_string(denominator);
}

void checkFactor(double factor) {
    if (!(factor > 0.0))
        qelRaise(QelErrorCode::illegalFactor, "Cannot scale number of pixels by " + shown(factor));
}

void checkRatio(int denominator, int numerator) {
    if (numerator == 0)
        qelRaise(QelErrorCode::illegalFactor, "Cannot scale resolution information by zero");
    if (denominator == 0) qelRaise(QelErrorCode::illegalFactor, "Denominator of ratio is zero");
}

std::uint32_t scaled(std::uint32_t count, double factor) {
    return qelCheckedPixels(count * factor);
}

// Also 0 if the ratio is negative.
std::uint32_t scaled(std::uint32_t count, int denominator, int numerator) {
    std::int64_t const result = std::int64_t{count} * numerator / denominator;
    return qelCheckedPixels(static_cast<double>(result));
}

}  // namespace

QelXyDimension::QelXyDimension(std::string name, unsigned pixels)
    : QelDimension(std::move(name), pixels) {
    addOwnResolution();
}

QelXyDimension::QelXyDimension(std::string name, QelValue const & width)
    : QelDimension(std::move(name), width) {
    addOwnResolution();
}

QelXyDimension::QelXyDimension(std::string name, QelValue const & origin, QelValue const & width,
                               int discrete)
    : QelDimension(std::move(name), origin, width, discrete) {
    addOwnResolution();
}

QelXyDimension::QelXyDimension(std::string name, QelValue const & origin, QelValue const & width,
                               QelResolution const & resolution, int discrete)
    : QelDimension(std::move(name), origin, width, discrete) {
    if (isRelative()) {
        qelRaise(QelErrorCode::unsuitableUnit,
                 "Cannot construct QelXyDimension based on relative unit of measure AND define "
                 "resolution information");
    }
    if (isPixelBased()) {
        checkPixelBased(resolution);
        addOwnResolution();
    } else {
        resolutions_.push_back(specify(resolution));
    }
}

QelXyDimension::QelXyDimension(std::string name, QelValue const & origin, QelValue const & width,
                               std::vector<QelResolution> const & resolutions, int discrete)
    : QelDimension(std::move(name), origin, width, discrete) {
    if (isRelative() && !resolutions.empty()) {
        qelRaise(QelErrorCode::unsuitableUnit,
                 "Cannot construct QelXyDimension based on relative unit of measure AND define "
                 "resolution information");
    }
    if (isPixelBased()) {
        if (resolutions.size() > 1) {
            qelRaise(QelErrorCode::unsuitableUnit,
                     "Cannot construct pixel based QelXyDimension with multiple resolutions");
        }
        if (!resolutions.empty()) checkPixelBased(resolutions.front());
        addOwnResolution();
        return;
    }
    for (QelResolution const & each : resolutions)
        addResolution(each);
}

QelXyDimension::~QelXyDimension() = default;

std::unique_ptr<QelDimension> QelXyDimension::clone() const {
    return std::make_unique<QelXyDimension>(*this);
}

// The one resolution of a pixel based dimension.
void QelXyDimension::addOwnResolution() {
    if (isPixelBased()) resolutions_.push_back(specify(QelResolution(1.0, QEL_UNIT_PIXEL)));
}

void QelXyDimension::checkPixelBased(QelResolution const & resolution) const {
    bool const good =
        resolution.pixels != 0 ? resolution.pixels == width().value() : resolution.dpu == 1.0;
    if (good) return;
    qelRaise(QelErrorCode::unsuitableUnit,
             "Cannot construct QelXyDimension with pixel based coords and resolution != 1.0 dpu");
}

// Undoes everything if it, or updating the resolutions, raises.
template <class Change>
void QelXyDimension::change(bool keepDpu, Change const & apply) {
    QelValueRange const oldRange = range();
    std::vector<QelResolution> oldResolutions = resolutions_;
    try {
        apply();
        refresh(keepDpu);
    } catch (...) {
        restoreRange(oldRange);
        resolutions_.swap(oldResolutions);
        throw;
    }
}

void QelXyDimension::refresh(bool keepDpu) {
    for (QelResolution & entry : resolutions_) {
        if (entry.isArbitrary()) continue;
        QelResolution kept = entry;
        if (keepDpu) {
            kept.pixels = 0;
        } else {
            kept = QelResolution::ofPixels(entry.pixels);
        }
        entry = specify(kept);
    }
}

void QelXyDimension::setUnit(int unit) {
    change(false, [&] {
        QelDimension::setUnit(unit);
        if (!isPixelBased() && !isRelative()) return;
        dropResolutions();
        addOwnResolution();
    });
}

void QelXyDimension::setWidth(QelValue const & width) {
    setWidth(width, isPixelBased());
}

void QelXyDimension::setRange(QelValueRange const & range) {
    setRange(range, isPixelBased());
}

void QelXyDimension::scale(double factor) {
    scale(factor, isPixelBased());
}

void QelXyDimension::setWidth(QelValue const & width, bool keepDpu) {
    change(keepDpu || isPixelBased(), [&] { QelDimension::setWidth(width); });
}

// The base's setRange() would come back here for the width.
void QelXyDimension::setRange(QelValueRange const & range, bool keepDpu) {
    change(keepDpu || isPixelBased(), [&] {
        QelDimension::setWidth(range.width());
        if (!isPixelBased()) setOrigin(range.min());
    });
}

void QelXyDimension::scale(double factor, bool keepDpu) {
    change(keepDpu || isPixelBased(), [&] { QelDimension::scale(factor); });
}

QelResolution QelXyDimension::specify(QelResolution const & resolution) const {
    double const extent = width().value();
    if (extent == 0.0) {
        qelRaise(QelErrorCode::unsuitableUnit,
                 "Cannot call QelXyDimension::specify( ) for dimension " + name() +
                     " where unit of measure is \"" + singular(unit()) + '"');
    }
    if (resolution.isArbitrary()) return resolution;
    QelResolution full = resolution;
    full.unit = unit();
    if (resolution.isPixelsOnly()) {
        full.dpu = resolution.pixels / extent;
        return full;
    }
    full.dpu = resolution.getDpu(unit());
    double const count = std::floor(full.dpu * extent - 0.5) + 1.0;
    if (!(count > 0.0)) raiseNoSamples(*this, resolution, full.dpu, count);
    full.pixels = qelCheckedPixels(count);
    return full;
}

void QelXyDimension::addResolution(QelResolution const & resolution) {
    bool const isOwn = resolution.dpu == 1.0 && isPixelUnit(resolution.unit);
    if (isRelative() || (isPixelBased() && !(resolutions_.empty() && isOwn))) {
        refuse("Cannot add resolution to dimension object defined in units of ");
    }
    resolutions_.push_back(resolution.isArbitrary() ? resolution : specify(resolution));
}

void QelXyDimension::clearResolutions() {
    if (isPixelBased() && !resolutions_.empty()) {
        refuse("Cannot clear resolution info from dimension object defined in units of ");
    }
    resolutions_.clear();
}

void QelXyDimension::checkIndex(unsigned index, char const * operation) const {
    if (index < numResolutions()) return;
    QelTextStream text;
    text << "index value " << index << " passed to QelXyDimension::" << operation
         << "(), but object has only " << numResolutions() << " resolution entries";
    qelRaise(QelErrorCode::outOfRange, text.str());
}

void QelXyDimension::checkListChange(char const * action) const {
    if (isPixelBased() || isRelative()) refuse(action);
}

void QelXyDimension::removeResolution(unsigned index) {
    checkListChange("Cannot remove resolution from dimension object defined in units of ");
    checkIndex(index, "removeResolution");
    resolutions_.erase(resolutions_.begin() + static_cast<std::ptrdiff_t>(index));
}

void QelXyDimension::replaceResolution(unsigned index, QelResolution const & resolution) {
    checkListChange("Cannot replace resolution in dimension object defined in units of ");
    checkIndex(index, "replaceResolution");
    resolutions_[index] = resolution.isArbitrary() ? resolution : specify(resolution);
}

QelResolution const & QelXyDimension::resolution(unsigned index) const {
    checkIndex(index, "resolution");
    return resolutions_[index];
}

void QelXyDimension::setSamples(QelResolution & entry, std::uint32_t count) {
    entry = specify(QelResolution::ofPixels(count));
}

void QelXyDimension::scalePixels(double factor) {
    checkFactor(factor);
    if (isPixelBased()) {
        scale(factor);
        return;
    }
    for (QelResolution & entry : resolutions_) {
        if (entry.isArbitrary()) continue;
        std::uint32_t const count = scaled(entry.pixels, factor);
        if (count == 0) raiseScaledToNothing(entry.pixels, shown(factor));
        setSamples(entry, count);
    }
}

void QelXyDimension::scalePixels(unsigned index, double factor) {
    checkFactor(factor);
    if (isPixelBased()) {
        scale(factor);
        return;
    }
    checkIndex(index, "scalePixels");
    QelResolution & entry = resolutions_[index];
    if (entry.isArbitrary()) return;
    std::uint32_t const count = scaled(entry.pixels, factor);
    if (count == 0) {
        qelRaise(QelErrorCode::noSamples,
                 "Cannot scale resolution number " + std::to_string(index) + " by scale factor " +
                     shown(factor) + " because pixel width " + std::to_string(entry.pixels) +
                     " ends up being set to zero");
    }
    setSamples(entry, count);
}

void QelXyDimension::scalePixels(int denominator, int numerator) {
    checkRatio(denominator, numerator);
    for (QelResolution & entry : resolutions_) {
        if (entry.isArbitrary()) continue;
        std::uint32_t const count = scaled(entry.pixels, denominator, numerator);
        if (count == 0) raiseScaledToNothing(entry.pixels, shown(denominator, numerator));
        if (isPixelBased()) {
            setWidth(QelValue(count, QEL_UNIT_PIXEL), true);
        } else {
            setSamples(entry, count);
        }
    }
}

void QelXyDimension::scalePixels(unsigned index, int denominator, int numerator) {
    checkIndex(index, "scalePixels");
    checkRatio(denominator, numerator);
    // A known peculiarity: in pixels, the ratio is passed on as an index and a factor.
    if (isPixelBased()) {
        scalePixels(static_cast<unsigned>(denominator), static_cast<double>(numerator));
        return;
    }
    QelResolution & entry = resolutions_[index];
    if (entry.isArbitrary()) return;
    std::uint32_t const count = scaled(entry.pixels, denominator, numerator);
    if (count == 0) raiseScaledToNothing(entry.pixels, shown(denominator, numerator));
    setSamples(entry, count);
}

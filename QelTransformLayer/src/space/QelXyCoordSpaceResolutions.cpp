#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "QelError.h"
#include "QelPixelLimits.h"
#include "QelTextStream.h"
#include "QelXyCoordSpace.h"

namespace {

using Resolution = QelXyCoordSpace::Resolution;

// Whether it is a number of pixels, or the one sampling of a pixel based space.
bool saysPixels(QelResolution const & half) {
    return half.pixels != 0 || half.dpu == 1.0;
}

bool isFull(QelResolution const & half) {
    return !half.isArbitrary();
}

// Whether a half has this many pixels, or any number.
bool offers(QelResolution const & half, std::uint32_t count) {
    return half.pixels == 0 || half.pixels == count;
}

bool offers(Resolution const & row, std::uint32_t width, std::uint32_t height) {
    return offers(row.horz, width) && offers(row.vert, height);
}

}  // namespace

// ---- The list

QelXyCoordSpace::Resolution QelXyCoordSpace::getResolution(unsigned index) const {
    return {xDimension().resolution(index), yDimension().resolution(index)};
}

void QelXyCoordSpace::checkResolutionsChangeable() const {
    if (!isRelative()) return;
    qelRaise(QelErrorCode::unsuitableUnit,
             "Cannot modify resolution information for coordinate space whose unit of measure is "
             "\"" +
                 QelValue::getUnitInfo(unit()).singularName + '"');
}

void QelXyCoordSpace::checkRowIndex(unsigned index) const {
    if (index < numResolutions()) return;
    QelTextStream text;
    text << "resolution index value " << index
         << " passed to QelXyCoordSpace::removeResolution(), but object has only "
         << numResolutions() << " resolution entries";
    qelRaise(QelErrorCode::outOfRange, text.str());
}

QelXyCoordSpace::Resolution QelXyCoordSpace::specified(Resolution const & resolution) const {
    return {xDimension().specify(resolution.horz), yDimension().specify(resolution.vert)};
}

// `row` is specified: only memory can run out now, and both lists keep the same length.
void QelXyCoordSpace::addRow(Resolution const & row) {
    DimensionSet & set = uniqueBody();
    std::vector<QelResolution> & horz = axisOf(set, 0).resolutions_;
    std::vector<QelResolution> & vert = axisOf(set, 1).resolutions_;
    horz.push_back(row.horz);
    try {
        vert.push_back(row.vert);
    } catch (...) {
        horz.pop_back();
        throw;
    }
}

void QelXyCoordSpace::dropRows() {
    DimensionSet & set = uniqueBody();
    axisOf(set, 0).dropResolutions();
    axisOf(set, 1).dropResolutions();
}

void QelXyCoordSpace::addResolution(Resolution const & resolution) {
    checkResolutionsChangeable();
    Resolution row = specified(resolution);
    if (!isPixelBased()) {
        addRow(row);
        return;
    }
    if (resolution.horz.pixels != 0) row.horz.pixels = resolution.horz.pixels;
    if (resolution.vert.pixels != 0) row.vert.pixels = resolution.vert.pixels;
    if (!saysPixels(resolution.horz) || !saysPixels(resolution.vert)) {
        qelRaise(QelErrorCode::unsuitableUnit,
                 "Cannot add resolution to dimension object defined in units of \"pixels\"");
    }
    setPixelSize(row.horz.pixels, row.vert.pixels);
}

void QelXyCoordSpace::addResolution(std::uint32_t widthPixels, std::uint32_t heightPixels) {
    checkResolutionsChangeable();
    if (widthPixels == 0) {
        qelRaise(QelErrorCode::zeroPixelsWide,
                 "Cannot add resolution to coordinate space and specify a width in pixels of zero");
    }
    if (heightPixels == 0) {
        qelRaise(QelErrorCode::zeroPixelsHigh,
                 "Cannot add resolution to coordinate space and specify a height in pixels of "
                 "zero");
    }
    addResolution(
        Resolution{QelResolution::ofPixels(widthPixels), QelResolution::ofPixels(heightPixels)});
}

void QelXyCoordSpace::removeResolution(unsigned index) {
    checkResolutionsChangeable();
    checkRowIndex(index);
    if (isPixelBased()) return;
    DimensionSet & set = uniqueBody();
    axisOf(set, 0).removeResolution(index);
    axisOf(set, 1).removeResolution(index);
    // If the selected row was removed, the selection stays.
    if (hasPixelResolution(numPixelsWide(), numPixelsHigh())) {
        selectResolution(numPixelsWide(), numPixelsHigh());
    }
}

bool QelXyCoordSpace::isArbitraryRes() const {
    for (unsigned i = 0; i < numResolutions(); ++i) {
        Resolution const row = getResolution(i);
        if (row.horz.isArbitrary() && row.vert.isArbitrary()) return true;
    }
    return false;
}

bool QelXyCoordSpace::hasPixelResolution(std::uint32_t widthPixels,
                                         std::uint32_t heightPixels) const {
    if (widthPixels == 0 || heightPixels == 0) return false;
    for (unsigned i = 0; i < numResolutions(); ++i) {
        if (offers(getResolution(i), widthPixels, heightPixels)) return true;
    }
    return false;
}

bool QelXyCoordSpace::supportsResolution(Resolution const & resolution) const {
    Resolution const row = specified(resolution);
    return hasPixelResolution(row.horz.pixels, row.vert.pixels);
}

// ---- Selecting

void QelXyCoordSpace::selectResolution(std::uint32_t widthPixels, std::uint32_t heightPixels) {
    if (widthPixels == 0) {
        qelRaise(QelErrorCode::zeroPixelsWide,
                 "request to select zero pixel-wide resolution of coordinate space");
    }
    if (heightPixels == 0) {
        qelRaise(QelErrorCode::zeroPixelsWide,
                 "request to select zero pixel-high resolution of coordinate space");
    }
    for (unsigned i = 0; i < numResolutions(); ++i) {
        Resolution row = getResolution(i);
        if (!offers(row, widthPixels, heightPixels)) continue;
        if (row.horz.pixels == 0) {
            row.horz = xDimension().specify(QelResolution::ofPixels(widthPixels));
        }
        if (row.vert.pixels == 0) {
            row.vert = yDimension().specify(QelResolution::ofPixels(heightPixels));
        }
        selected_ = row;
        return;
    }
    QelTextStream text;
    text << "requested resolution, " << widthPixels << 'x' << heightPixels
         << " pixels, is not supported by coordinate space\n    [";
    for (unsigned i = 0; i < numResolutions(); ++i) {
        Resolution const row = getResolution(i);
        text << '(' << row.horz.pixels << ',' << row.vert.pixels << ')';
    }
    text << ']';
    qelRaise(QelErrorCode::noSuchResolution, text.str());
}

void QelXyCoordSpace::selectResolution(Resolution const & resolution) {
    Resolution const row = specified(resolution);
    selectResolution(row.horz.pixels, row.vert.pixels);
}

// ---- Finding

// Among the rows whose half on `given`'s axis matches: the other half of the first that is not
// arbitrary there. `given` itself, on the other axis, if all are arbitrary.
QelResolution QelXyCoordSpace::findPartner(unsigned givenAxis, QelResolution const & given) const {
    unsigned const otherAxis = 1 - givenAxis;
    QelResolution const full = axis(givenAxis).specify(given);
    for (std::uint32_t const wanted : {full.pixels, std::uint32_t{0}}) {
        bool met = false;
        for (unsigned i = 0; i < numResolutions(); ++i) {
            if (axis(givenAxis).resolution(i).pixels != wanted) continue;
            QelResolution const & partner = axis(otherAxis).resolution(i);
            if (isFull(partner)) return partner;
            met = true;
        }
        if (!met) continue;
        QelResolution request = full;
        request.pixels = 0;
        return axis(otherAxis).specify(request);
    }
    return {};
}

QelResolution QelXyCoordSpace::findHorzResolution(QelResolution const & y) const {
    if (y.isArbitrary()) {
        qelRaise(QelErrorCode::arbitraryResolution,
                 "Cannot find matching horizontal resolution for \"arbitrary\" y-resolution");
    }
    QelResolution const found = findPartner(1, y);
    if (isFull(found)) return found;
    qelRaise(QelErrorCode::noSuchResolution,
             "the y-resolution specified to findHorzResolution() is not supported by the "
             "coordinate space");
}

QelResolution QelXyCoordSpace::findVertResolution(QelResolution const & x) const {
    if (x.isArbitrary()) {
        qelRaise(QelErrorCode::arbitraryResolution,
                 "Cannot find matching vertical resolution for \"arbitrary\" x-resolution");
    }
    QelResolution const found = findPartner(0, x);
    if (isFull(found)) return found;
    qelRaise(QelErrorCode::noSuchResolution,
             "the x-resolution specified to findVertResolution() is not supported by the "
             "coordinate space");
}

namespace {

constexpr std::uint64_t refused = std::numeric_limits<std::uint64_t>::max();

// How far a half is from a request; 0 for what matches, `refused` for what `mode` does not allow.
std::uint64_t distanceOf(QelResolution const & half, std::uint32_t wanted, unsigned mode) {
    if (wanted == 0) return 0;
    if (half.pixels == 0) return (mode & QelXyCoordSpace::excludeArbitrary) != 0 ? refused : 0;
    if (half.pixels < wanted) {
        return (mode & QelXyCoordSpace::allowSmaller) != 0 ? wanted - half.pixels : refused;
    }
    if (half.pixels > wanted) {
        return (mode & QelXyCoordSpace::allowLarger) != 0 ? half.pixels - wanted : refused;
    }
    return 0;
}

std::uint64_t distanceOf(Resolution const & row, std::uint32_t width, std::uint32_t height,
                         unsigned mode) {
    std::uint64_t const horz = distanceOf(row.horz, width, mode);
    std::uint64_t const vert = distanceOf(row.vert, height, mode);
    return horz == refused || vert == refused ? refused : horz + vert;
}

// The same for dots per unit, in the unit of the axis; infinite if not allowed.
double distanceOf(QelResolution const & half, QelResolution const & wanted, unsigned mode) {
    constexpr double never = std::numeric_limits<double>::infinity();
    if (half.isArbitrary()) return (mode & QelXyCoordSpace::excludeArbitrary) != 0 ? never : 0.0;
    if (half.isEquivalent(wanted, 1.0, false)) return 0.0;
    unsigned const needed =
        half.dpu < wanted.dpu ? QelXyCoordSpace::allowSmaller : QelXyCoordSpace::allowLarger;
    return (mode & needed) != 0 ? std::fabs(half.dpu - wanted.dpu) : never;
}

// A half of a row that was found, with the requested samples if it has none.
QelResolution filled(QelXyDimension const & axis, QelResolution const & half,
                     std::uint32_t wanted) {
    if (isFull(half) || wanted == 0) return half;
    return axis.specify(QelResolution::ofPixels(wanted));
}

// The samples of the entry closest to a request; 0 if `mode` allows none.
std::uint32_t closestSamples(QelXyDimension const & axis, QelResolution const & wanted,
                             unsigned mode) {
    double best = std::numeric_limits<double>::infinity();
    std::uint32_t samples = 0;
    for (unsigned i = 0; i < axis.numResolutions(); ++i) {
        QelResolution const & half = axis.resolution(i);
        double const distance = distanceOf(half, wanted, mode);
        if (!(distance < best)) continue;
        best = distance;
        samples = isFull(half) ? half.pixels : axis.specify(wanted).pixels;
        if (distance == 0.0) break;
    }
    return samples;
}

// Dots per unit of the axis.
QelResolution inUnitOf(QelXyDimension const & axis, QelResolution const & wanted) {
    if (wanted.isPixelsOnly()) return axis.specify(wanted);
    return QelResolution(wanted.getDpu(axis.unit()), axis.unit());
}

}  // namespace

bool QelXyCoordSpace::findClosestResolution(Resolution & found, std::uint32_t widthPixels,
                                            std::uint32_t heightPixels, unsigned mode) const {
    if (widthPixels == 0 && heightPixels == 0) return false;
    std::uint64_t best = refused;
    unsigned row = 0;
    for (unsigned i = 0; i < numResolutions() && best != 0; ++i) {
        std::uint64_t const distance =
            distanceOf(getResolution(i), widthPixels, heightPixels, mode);
        if (distance >= best) continue;
        best = distance;
        row = i;
    }
    if (best == refused) return false;
    Resolution const winner = getResolution(row);
    found = {filled(xDimension(), winner.horz, widthPixels),
             filled(yDimension(), winner.vert, heightPixels)};
    return true;
}

bool QelXyCoordSpace::findClosestResolution(Resolution & found, Resolution const & wanted,
                                            unsigned mode) const {
    std::uint32_t counts[2] = {0, 0};
    for (unsigned i = 0; i < 2; ++i) {
        QelResolution const & half = i == 0 ? wanted.horz : wanted.vert;
        if (half.isArbitrary()) continue;
        counts[i] = closestSamples(axis(i), inUnitOf(axis(i), half), mode);
        if (counts[i] == 0) return false;
    }
    return findClosestResolution(found, counts[0], counts[1], mode);
}

void QelXyCoordSpace::getMaxResolution(std::uint32_t & width, std::uint32_t & height) const {
    if (numResolutions() == 0)
        qelRaise(QelErrorCode::noSelectedResolution,
                 "Coordinate space contains no resolution info");
    std::uint32_t widthOnly = 0;
    std::uint32_t heightOnly = 0;
    Resolution largest;
    for (unsigned i = 0; i < numResolutions(); ++i) {
        Resolution const row = getResolution(i);
        std::uint64_t const area = std::uint64_t{row.horz.pixels} * row.vert.pixels;
        if (row.horz.isArbitrary() && row.vert.isArbitrary()) {
            width = height = 0;
            return;
        }
        if (row.horz.isArbitrary()) {
            heightOnly = std::max(heightOnly, row.vert.pixels);
        } else if (row.vert.isArbitrary()) {
            widthOnly = std::max(widthOnly, row.horz.pixels);
        } else if (area > std::uint64_t{largest.horz.pixels} * largest.vert.pixels) {
            largest = row;
        }
    }
    bool const halves = widthOnly != 0 || heightOnly != 0;
    bool const byWidth = widthOnly > heightOnly;
    width = halves ? (byWidth ? widthOnly : 0) : largest.horz.pixels;
    height = halves ? (byWidth ? 0 : heightOnly) : largest.vert.pixels;
}

// ---- Scaling the sampling

void QelXyCoordSpace::scalePixels(double x, double y, bool keepSelection) {
    edit([&](QelXyCoordSpace & copy) {
        copy.uniqueAxis(0).scalePixels(x);
        copy.uniqueAxis(1).scalePixels(y);
        copy.reselect(qelCheckedPixels(numPixelsWide() * x), qelCheckedPixels(numPixelsHigh() * y),
                      keepSelection);
    });
}

void QelXyCoordSpace::scalePixels(int denominator, int numerator, bool keepSelection) {
    edit([&](QelXyCoordSpace & copy) {
        copy.uniqueAxis(0).scalePixels(denominator, numerator);
        copy.uniqueAxis(1).scalePixels(denominator, numerator);
        if (denominator == numerator) return;
        auto const scaled = [&](std::uint32_t count) {
            return qelCheckedPixels(
                static_cast<double>(std::int64_t{count} * numerator / denominator));
        };
        copy.reselect(scaled(numPixelsWide()), scaled(numPixelsHigh()), keepSelection);
    });
}

void QelXyCoordSpace::reselect(std::uint32_t width, std::uint32_t height, bool keepSelection) {
    if (isPixelBased()) {
        recomputeSelection();
    } else if (!keepSelection) {
        clearSelection();
    } else if (hasSelectedResolution()) {
        if (!hasPixelResolution(width, height)) {
            qelRaise(QelErrorCode::unsuitableResolution,
                     "Could not reselect resolution after scaling coordinate space resolution "
                     "information");
        }
        selectResolution(width, height);
    }
}

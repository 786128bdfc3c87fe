#include <algorithm>
#include <cstdint>
#include <vector>

#include "QelError.h"
#include "QelXyCoordSpace.h"

// The resolutions that two spaces have in common.
//
// A row of a list represents a set of sampling grids: with both counts, that grid alone; arbitrary
// on one axis, all grids with the count of the other axis; arbitrary on both, every grid. A list is
// the union of its rows, and the intersection of two lists is the union of the intersections of
// their rows, taken two by two:
//
//     mine           theirs                               common
//     (w, h)         (w, h), (w, any), (any, h) or all    (w, h)
//     (any, h)       (w, h) or (w, any)                   (w, h)
//     (any, h)       (any, h) or all                      (any, h)
//     (w, any)       the same with the axes exchanged
//     all            any row                              that row
//
// Counts compare exactly, 0 being any count. Dots per unit compare by
// QelResolution::isEquivalent(), and the common rows have those of this space.

namespace {

using Resolution = QelXyCoordSpace::Resolution;
using Rows = std::vector<Resolution>;

Rows rowsOf(QelXyCoordSpace const & space) {
    Rows rows;
    for (unsigned i = 0; i < space.numResolutions(); ++i)
        rows.push_back(space.getResolution(i));
    return rows;
}

bool isFull(Resolution const & row) {
    return !row.horz.isArbitrary() && !row.vert.isArbitrary();
}

// ---- By counts

Resolution ofPixels(std::uint32_t width, std::uint32_t height) {
    return {QelResolution::ofPixels(width), QelResolution::ofPixels(height)};
}

// The grids of a list, for more queries than there are rows.
class Grids {
  public:
    explicit Grids(Rows const & rows) {
        for (Resolution const & row : rows)
            keys_.push_back(keyOf(row.horz.pixels, row.vert.pixels));
        std::sort(keys_.begin(), keys_.end());
    }

    // Whether the grid of these counts is one of them. As QelXyCoordSpace::hasPixelResolution().
    bool have(std::uint32_t width, std::uint32_t height) const {
        return hasRow(width, height) || hasRow(width, 0) || hasRow(0, height) || hasRow(0, 0);
    }

  private:
    static std::uint64_t keyOf(std::uint32_t width, std::uint32_t height) {
        return std::uint64_t{width} << 32 | height;
    }
    bool hasRow(std::uint32_t width, std::uint32_t height) const {
        return std::binary_search(keys_.begin(), keys_.end(), keyOf(width, height));
    }

    std::vector<std::uint64_t> keys_;
};

// Whether a half has this count, perhaps among others.
bool offers(QelResolution const & half, std::uint32_t count) {
    return half.pixels == 0 || half.pixels == count;
}

// Adds what a row that is arbitrary on one axis has in common with each row of theirs: its own
// count, and theirs on the other axis.
void addCommon(Rows & common, Resolution const & mine, Rows const & theirs) {
    bool const anyWidth = mine.horz.pixels == 0;
    for (Resolution const & their : theirs) {
        if (anyWidth && offers(their.vert, mine.vert.pixels)) {
            common.push_back(ofPixels(their.horz.pixels, mine.vert.pixels));
        } else if (!anyWidth && offers(their.horz, mine.horz.pixels)) {
            common.push_back(ofPixels(mine.horz.pixels, their.vert.pixels));
        }
    }
}

// Rows that stay keep their order, before those that result from rows with an arbitrary half. No
// row of `mine` is arbitrary on both axes.
Rows commonRows(Rows const & mine, Rows const & theirs) {
    Rows common;
    Grids const grids(theirs);
    for (Resolution const & row : mine) {
        if (isFull(row) && grids.have(row.horz.pixels, row.vert.pixels)) common.push_back(row);
    }
    for (Resolution const & row : mine) {
        if (!isFull(row)) addCommon(common, row, theirs);
    }
    return common;
}

// Only the counts: their dots per unit belong to other extents.
Rows countsOf(Rows const & rows) {
    Rows counts;
    for (Resolution const & row : rows)
        counts.push_back(ofPixels(row.horz.pixels, row.vert.pixels));
    return counts;
}

}  // namespace

void QelXyCoordSpace::intersectResolutions(QelXyCoordSpace const * other) {
    if (other != nullptr && other->isArbitraryRes()) return;
    if (isPixelBased()) {
        bool const stays =
            other != nullptr && other->hasPixelResolution(numPixelsWide(), numPixelsHigh());
        if (!stays) qelRaise(QelErrorCode::noCommonResolution, "No remaining resolutions");
        return;
    }
    Rows common;
    if (other != nullptr) {
        Rows const theirs = rowsOf(*other);
        common = isArbitraryRes() ? countsOf(theirs) : commonRows(rowsOf(*this), theirs);
    }
    edit([&](QelXyCoordSpace & copy) { copy.replaceRows(common); });
}

namespace {

// A row that stays is left unchanged to the last bit.
QelResolution specified(QelXyDimension const & axis, QelResolution const & half) {
    bool const isSpecified = half.dpu != 0.0 && half.pixels != 0;
    return isSpecified ? half : axis.specify(half);
}

}  // namespace

// For a copy: the list may be part of the new one when this raises. The selection is dropped with
// the rows.
void QelXyCoordSpace::replaceRows(std::vector<Resolution> const & rows) {
    dropRows();
    selected_ = Resolution();
    for (Resolution const & row : rows)
        addRow({::specified(xDimension(), row.horz), ::specified(yDimension(), row.vert)});
}

// ---- By dots per unit

namespace {

// How alike dots per unit have to be.
struct Likeness {
    double tolerance;
    bool relative;

    bool holds(QelResolution const & mine, QelResolution const & theirs) const {
        return mine.isEquivalent(theirs, tolerance, relative);
    }
    bool holds(Resolution const & mine, Resolution const & theirs) const {
        return holds(mine.horz, theirs.horz) && holds(mine.vert, theirs.vert);
    }
};

// Dots per unit without a count.
QelResolution dpuOf(QelResolution const & mine, QelResolution const & theirs) {
    QelResolution const & taken = mine.isArbitrary() ? theirs : mine;
    return taken.isArbitrary() ? QelResolution() : QelResolution(taken.dpu, taken.unit);
}

// The resolutions of an axis in another unit.
std::vector<QelResolution> resolutionsIn(QelXyDimension const & axis, int unit) {
    QelXyDimension copy(axis);
    if (copy.unit() != unit) copy.setUnit(unit);
    std::vector<QelResolution> list;
    for (unsigned i = 0; i < copy.numResolutions(); ++i)
        list.push_back(copy.resolution(i));
    return list;
}

Rows rowsIn(QelXyCoordSpace const & space, int unit) {
    std::vector<QelResolution> const horz = resolutionsIn(space.xDimension(), unit);
    std::vector<QelResolution> const vert = resolutionsIn(space.yDimension(), unit);
    Rows rows;
    for (std::size_t i = 0; i < horz.size(); ++i)
        rows.push_back({horz[i], vert[i]});
    return rows;
}

// A full row is common once, however many of theirs match it; one with an arbitrary half results in
// one row for each of them.
Rows commonRows(Rows const & mine, Rows const & theirs, Likeness const & likeness) {
    Rows common;
    for (Resolution const & row : mine) {
        for (Resolution const & their : theirs) {
            if (!likeness.holds(row, their)) continue;
            common.push_back({dpuOf(row.horz, their.horz), dpuOf(row.vert, their.vert)});
            if (isFull(row)) break;
        }
    }
    return common;
}

}  // namespace

void QelXyCoordSpace::intersectDpuResolutions(QelXyCoordSpace const * other, double tolerance,
                                              bool relative) {
    if (isPixelBased() || isRelative()) return;
    Rows common;
    if (other != nullptr) {
        if (other->isPixelBased() || other->isRelative() || other->isArbitraryRes()) return;
        common = commonRows(rowsOf(*this), rowsIn(*other, unit()), Likeness{tolerance, relative});
    }
    edit([&](QelXyCoordSpace & copy) {
        Resolution const saved = copy.selected_;
        copy.replaceRows(common);
        bool const again =
            isFull(saved) && copy.hasPixelResolution(saved.horz.pixels, saved.vert.pixels);
        if (again) copy.selectResolution(saved.horz.pixels, saved.vert.pixels);
    });
}

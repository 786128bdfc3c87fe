#include "QelCopyPlan.h"

#include <cstdlib>
#include <string>
#include <utility>

#include "QelError.h"

namespace {

// Rectangles and runs up to this length are left to the element path.
constexpr std::int64_t smallCopy = 63;

// Lets an axis run the other way.
void reverse(QelCopyAxis & axis, std::int64_t & sourceStart, std::int64_t & targetStart) {
    sourceStart += axis.source * (axis.count - 1);
    targetStart += axis.target * (axis.count - 1);
    axis.source = -axis.source;
    axis.target = -axis.target;
}

// Makes the source stride positive.
template <class Plan>
QelCopyAxis normalised(QelCopyAxis axis, Plan & plan) {
    if (axis.source < 0 && axis.count > 1) reverse(axis, plan.sourceStart, plan.targetStart);
    return axis;
}

// ---- Blocks

// Strides of an axis of one element lead nowhere; a negative one counts as 0.
QelCopyAxis normalisedForBlocks(QelCopyAxis axis, QelCopyBlocks & blocks) {
    if (axis.count > 1) return normalised(axis, blocks);
    if (axis.source < 0) axis.source = 0;
    if (axis.target < 0) axis.target = 0;
    return axis;
}

// Runs along one axis, of units of `unit` bytes.
bool planRuns(QelCopyAxis const & along, QelCopyAxis const & across, std::int64_t unit,
              QelCopyBlocks & blocks) {
    bool const contiguous = along.source == unit && along.target == unit;
    if (!contiguous && along.count != 1) return false;
    blocks.bytes = unit * along.count;
    blocks.count = across.count;
    blocks.sourceStep = across.source;
    blocks.targetStep = across.target;
    if (across.source == blocks.bytes && across.target == blocks.bytes) {
        blocks.bytes *= across.count;
        blocks.count = 1;
        return true;
    }
    return blocks.bytes > smallCopy;
}

bool planRunsOfEitherAxis(QelCopyAxis const & x, QelCopyAxis const & y, std::int64_t unit,
                          QelCopyBlocks & blocks) {
    return planRuns(x, y, unit, blocks) || planRuns(y, x, unit, blocks);
}

// ---- Loops

// Does `a` belong outside `b`?
bool isOutside(QelCopyAxis const & a, QelCopyAxis const & b) {
    if (b.count == 1) return false;
    return a.count == 1 || std::abs(a.source) > std::abs(b.source);
}

// Innermost first. Axes that compare equal keep their order.
void sortAxes(QelCopyAxis (&axes)[3]) {
    auto const order = [&](int first, int second) {
        if (isOutside(axes[first], axes[second])) std::swap(axes[first], axes[second]);
    };
    order(0, 1);
    order(1, 2);
    order(0, 1);
}

bool isContiguous(QelCopyAxis const & axis, QelCopyLayout const & layout) {
    return axis.source == layout.sourceSize && axis.target == layout.targetSize;
}

int shapeOf(QelCopyLoops const & loops) {
    if (loops.outer == 1 && loops.middle == 1) return 0;
    int const inner = (loops.sourceGap1 != 0 ? 1 : 0) | (loops.targetGap1 != 0 ? 4 : 0);
    if (loops.outer == 1) return inner;
    return inner | (loops.sourceGap2 != 0 ? 2 : 0) | (loops.targetGap2 != 0 ? 8 : 0);
}

// ---- Bands

bool isMovable(std::int64_t size) {
    return size == 1 || size == 2 || size == 4 || size == 8;
}

bool mayHaveBandsPlan(QelCopyLayout const & layout) {
    return layout.uniform && layout.band.count >= 2 && layout.band.count <= 4 &&
           isMovable(layout.sourceSize) && isMovable(layout.targetSize);
}

QelCopyBands::Kind kindOf(QelCopyAxis const & x, QelCopyLayout const & layout) {
    QelCopyAxis const & band = layout.band;
    bool const sourceInRows = x.source == layout.sourceSize;
    bool const targetInRows = x.target == layout.targetSize;
    bool const sourceInPixels =
        x.source == band.count * layout.sourceSize && std::abs(band.source) == layout.sourceSize;
    bool const targetInPixels =
        x.target == band.count * layout.targetSize && std::abs(band.target) == layout.targetSize;
    if (sourceInPixels && targetInRows) return QelCopyBands::Split;
    if (sourceInRows && targetInPixels) return QelCopyBands::Join;
    return QelCopyBands::None;
}

void takeRows(QelCopyAxis const & x, QelCopyAxis const & y, QelCopyBands & bands) {
    bool const oneRow = y.source == x.source * x.count && y.target == x.target * x.count;
    bands.pixels = oneRow ? x.count * y.count : x.count;
    bands.rows = oneRow ? 1 : y.count;
    bands.sourceStep = y.source;
    bands.targetStep = y.target;
}

// ---- Reach

void extend(QelCopyReach & reach, std::int64_t count, std::int64_t stride) {
    std::int64_t const distance = (count - 1) * stride;
    (distance < 0 ? reach.before : reach.after) += std::abs(distance);
}

}  // namespace

bool qelCopyHasPixels(QelRect const & area) {
    if (area.width == 0 || area.height == 0) return false;
    if (area.width > 0 && area.height > 0) return true;
    qelRaise(QelErrorCode::invalidValue,
             "intersection of rect buffers passed to QelRectBuffer::copyFrom was (" +
                 std::to_string(area.x) + "," + std::to_string(area.y) +
                 ") w=" + std::to_string(area.width) + " h=" + std::to_string(area.height) +
                 "-- illegal width or height");
}

QelCopyBlocks qelPlanBlocks(QelCopyLayout const & layout) {
    bool const large = layout.x.count > smallCopy || layout.y.count > smallCopy;
    std::int64_t const size = layout.sourceSize;
    if (!large || !layout.sameType || size < 1) return {};

    QelCopyBlocks blocks;
    QelCopyAxis const x = normalisedForBlocks(layout.x, blocks);
    QelCopyAxis const y = normalisedForBlocks(layout.y, blocks);
    blocks.perBand = true;
    if (planRunsOfEitherAxis(x, y, size, blocks)) return blocks;

    QelCopyAxis const & band = layout.band;
    blocks.perBand = false;
    bool const dense =
        layout.uniform && (band.count == 1 || (band.source == size && band.target == size));
    if (dense && planRunsOfEitherAxis(x, y, size * band.count, blocks)) return blocks;
    return {};
}

QelCopyLoops qelPlanLoops(QelCopyLayout const & layout, QelCopyOrder order) {
    QelCopyLoops loops{};
    QelCopyAxis axes[3] = {normalised(layout.x, loops), normalised(layout.y, loops),
                           normalised(layout.band, loops)};
    sortAxes(axes);
    if (order == QelCopyOrder::Descending) {
        for (QelCopyAxis & axis : axes) {
            bool const isRow = &axis == axes && isContiguous(axis, layout);
            if (!isRow) reverse(axis, loops.sourceStart, loops.targetStart);
        }
    }
    auto const & [inner, middle, outer] = axes;
    loops.inner = inner.count;
    loops.middle = middle.count;
    loops.outer = outer.count;
    loops.sourceStep = inner.source;
    loops.targetStep = inner.target;
    loops.sourceGap1 = middle.source - inner.count * inner.source;
    loops.targetGap1 = middle.target - inner.count * inner.target;
    loops.sourceGap2 = outer.source - middle.count * middle.source;
    loops.targetGap2 = outer.target - middle.count * middle.target;
    loops.shape = shapeOf(loops);
    return loops;
}

QelCopyBands qelPlanBands(QelCopyLayout const & layout) {
    if (!mayHaveBandsPlan(layout)) return {};
    QelCopyBands bands;
    QelCopyAxis const x = normalised(layout.x, bands);
    QelCopyAxis band = layout.band;
    bands.kind = kindOf(x, layout);
    if (bands.kind == QelCopyBands::None) return {};

    bool const split = bands.kind == QelCopyBands::Split;
    if ((split ? band.source : band.target) < 0) {
        reverse(band, bands.sourceStart, bands.targetStart);
    }
    bands.bandStep = split ? band.target : band.source;
    takeRows(x, layout.y, bands);
    // Kernels count on bands that do not overlap within a row.
    std::int64_t const rowBytes = bands.pixels * (split ? layout.targetSize : layout.sourceSize);
    bool const apart = std::abs(bands.bandStep) >= rowBytes;
    return apart ? bands : QelCopyBands{};
}

QelCopyReach qelSourceReach(QelCopyLayout const & layout) {
    QelCopyReach reach{0, layout.sourceSize};
    for (QelCopyAxis const * axis : {&layout.x, &layout.y, &layout.band}) {
        extend(reach, axis->count, axis->source);
    }
    return reach;
}

QelCopyReach qelTargetReach(QelCopyLayout const & layout) {
    QelCopyReach reach{0, layout.targetSize};
    for (QelCopyAxis const * axis : {&layout.x, &layout.y, &layout.band}) {
        extend(reach, axis->count, axis->target);
    }
    return reach;
}

bool qelCopyStridesAlike(QelCopyLayout const & layout) {
    auto const alike = [](QelCopyAxis const & axis) {
        return axis.count == 1 || axis.source == axis.target;
    };
    return layout.sourceSize == layout.targetSize && alike(layout.x) && alike(layout.y) &&
           alike(layout.band);
}

#include "QelNeighbourOp.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "QelError.h"
#include "QelPixelAccess.h"
#include "QelScratch.h"
#include "QelTileWindow.h"

class QelNeighbourOp::Workspace {
  public:
    QelScratch scratch;
    QelTileWindow window;
};

namespace {

// How many of `reach` pixels exist on each side of a part of the image.
struct Rim {
    Rim(QelRect const & part, QelRect const & image, std::int64_t reach)
        : left(std::min(reach, std::int64_t{part.x} - image.x)),
          right(std::min(reach, image.right() - part.right())),
          above(std::min(reach, std::int64_t{part.y} - image.y)),
          below(std::min(reach, image.bottom() - part.bottom())) {}

    QelRect around(QelRect const & part) const {
        return {static_cast<std::int32_t>(part.x - left), static_cast<std::int32_t>(part.y - above),
                static_cast<std::int32_t>(part.width + left + right),
                static_cast<std::int32_t>(part.height + above + below)};
    }

    std::int64_t left, right, above, below;
};

// All rows of tiles that the pixels around one row of tiles touch, so that pulling the result row
// by row, or column by column in an image that is not much higher than wide, computes each once;
// and a few more for threads that are not in step.
std::size_t windowSize(Qel2DImage const & image, std::int64_t reach) {
    std::int64_t const tileHeight = std::max(1, image.dataOrg()->tileHeight());
    std::int64_t const rows = 2 * ((reach + tileHeight - 1) / tileHeight) + 1;
    return static_cast<std::size_t>(std::min<std::int64_t>(rows, image.tilesDown()) *
                                    image.tilesAcross()) +
           16;
}

}  // namespace

QelNeighbourOp::QelNeighbourOp(MoxSmartPtr<Qel2DImage> input, std::int32_t reach)
    : QelOneInputOp(std::move(input)), reach_(reach), workspace_(std::make_unique<Workspace>()) {
    if (reach < 0) {
        qelRaise(QelErrorCode::invalidValue,
                 "An operation cannot reach over " + std::to_string(reach) + " pixels");
    }
}

QelNeighbourOp::~QelNeighbourOp() = default;

void QelNeighbourOp::computeRect(int type, QelRectBuffer & buffer, QelRect const & rect,
                                 QelOpContext) const {
    QelRect const wanted = Rim(rect, input()->imageRect(), reach_).around(rect);
    if (MoxSmartPtr<QelTile> const tile = qelCompleteTile(*input(), wanted)) {
        change(type, *tile, buffer, rect);
        return;
    }
    QelScratch::Loan const loan(workspace_->scratch, wanted, info().precision(), info().numBands());
    assemble(loan.buffer());
    change(type, loan.buffer(), buffer, rect);
}

// Tile by tile and not by fillRWBuffer(), which would compute the rims of tiles for one caller
// and drop them: in a chain of such operations each rim would be computed from rims, and their
// number would double with each operation.
//
// An image that wraps a buffer may lack some of its pixels; those are 0, as in getData().
void QelNeighbourOp::assemble(QelRectBuffer & scratch) const {
    MoxSmartPtr<Qel2DImage> const & image = input();
    if (image->tilesAcross() == 1 && image->tilesDown() == 1) {
        std::memset(scratch.getData(), 0, static_cast<std::size_t>(scratch.dataOrg()->size()));
    }
    for (Qel2DImage::TileIterator at(image, scratch.rect()); !at.done(); at.next()) {
        MoxSmartPtr<QelTile> const tile = at.getTile();
        workspace_->window.keep(tile, windowSize(*image, reach_));
        scratch.copyFrom(*tile, scratch.rect());
    }
}

// Apart from computeRect(), which a request runs through once for each operation of a chain: what
// this needs would lie on the stack as often.
[[gnu::noinline]] void QelNeighbourOp::change(int type, QelRectBuffer const & source,
                                              QelRectBuffer & target, QelRect const & rect) const {
    Rim const rim(rect, input()->imageRect(), reach_);
    qelEachBand(source, target, rect, [&](QelPixelRows const & rows, int spread) {
        QelPixelNeighbours pixels;
        pixels.rows = rows;
        pixels.spread = spread;
        pixels.left = rim.left;
        pixels.right = rim.right;
        pixels.above = rim.above;
        pixels.below = rim.below;
        changeElements(type, pixels);
    });
}

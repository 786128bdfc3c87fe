#include "QelNeighbourOp.h"

#include <algorithm>
#include <utility>

#include "QelCoreMisc.h"
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

// With one more pixel on each side, as far as the image reaches.
QelRect withRim(QelRect const & rect, QelRect const & image) {
    return QelRect(rect.x - 1, rect.y - 1, rect.width + 2, rect.height + 2).intersect(image);
}

// Three rows of tiles, so that pulling the result row by row, or column by column in an image
// that is not much higher than wide, computes each once; and some more for threads that are not
// in step.
std::size_t windowSize(Qel2DImage const & image) {
    return 3 * static_cast<std::size_t>(image.tilesAcross()) + 16;
}

}  // namespace

QelNeighbourOp::QelNeighbourOp(MoxSmartPtr<Qel2DImage> input)
    : input_(std::move(input)), workspace_(std::make_unique<Workspace>()) {}

QelNeighbourOp::~QelNeighbourOp() = default;

bool QelNeighbourOp::supports(QelDataType type) const {
    return qelIsNumber(type);
}

bool QelNeighbourOp::genOutputInfo(QelImageInfo & info, QelOpContext) {
    if (!imageOutputInfo(input_, info)) return false;
    if (supports(info.precision())) return true;
    info.setStatus(qelUnsupported(info.precision(), QelCoreMisc::classNameOf(*this)));
    return false;
}

void QelNeighbourOp::compute(QelRectBuffer * buffer, QelOpContext opContext) {
    if (!isGood(opContext)) throw ZanError(storedStatus());
    int const type = qelCheckTarget(*buffer, info());
    QelRect const rect = buffer->rect().intersect(input_->imageRect());
    if (rect.isEmpty()) return;
    QelRect const wanted = withRim(rect, input_->imageRect());
    if (MoxSmartPtr<QelTile> const tile = qelCompleteTile(*input_, wanted)) {
        change(type, *tile, *buffer, rect);
        return;
    }
    QelScratch::Loan const loan(workspace_->scratch, wanted, info().precision(), info().numBands());
    assemble(loan.buffer());
    change(type, loan.buffer(), *buffer, rect);
}

// Tile by tile and not by fillRWBuffer(), which would compute the rims of tiles for one caller
// and drop them: in a chain of such operations each rim would be computed from rims, and their
// number would double with each operation.
void QelNeighbourOp::assemble(QelRectBuffer & scratch) {
    for (Qel2DImage::TileIterator at(input_, scratch.rect()); !at.done(); at.next()) {
        MoxSmartPtr<QelTile> const tile = at.getTile();
        workspace_->window.keep(tile, windowSize(*input_));
        scratch.copyFrom(*tile, scratch.rect());
    }
}

void QelNeighbourOp::change(int type, QelRectBuffer const & source, QelRectBuffer & target,
                            QelRect const & rect) const {
    QelRect const & image = input_->imageRect();
    qelEachBand(source, target, rect, [&](QelPixelRows const & rows, int spread) {
        QelPixelNeighbours pixels;
        pixels.rows = rows;
        pixels.spread = spread;
        pixels.hasLeft = rect.x > image.x;
        pixels.hasRight = rect.right() < image.right();
        pixels.hasAbove = rect.y > image.y;
        pixels.hasBelow = rect.bottom() < image.bottom();
        changeElements(type, pixels);
    });
}

#include "QelRectIterBase.h"

#include <algorithm>
#include <limits>

#include "QelError.h"
#include "QelIterTiles.h"
#include "QelRequired.h"

namespace {

// The target of iterators without a position, so that a step from there is harmless. Constant
// memory: writing there is a mistake that shows at once.
constexpr std::uint8_t noPixel = 0;

std::uint8_t * nowhereAddress() {
    return const_cast<std::uint8_t *>(&noPixel);
}

std::int32_t edgeOf(std::int64_t position) {
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(position, std::numeric_limits<std::int32_t>::max()));
}

// Cut to the edges, which are inclusive, with room for one position outside on either side.
std::int64_t besideOrIn(std::int64_t position, std::int32_t first, std::int32_t last) {
    return std::clamp(position, std::int64_t{first} - 1, std::int64_t{last} + 1);
}

bool lies(std::int64_t position, std::int32_t first, std::int32_t last) {
    return position >= first && position <= last;
}

}  // namespace

QelRectIterBase::QelRectIterBase(Qel2DImage * image, std::int32_t left, std::int32_t top,
                                 std::int32_t right, std::int32_t bottom)
    : current_(nowhereAddress()),
      rowEnd_(nowhereAddress()),
      pixelStride_(0),
      rowStart_(nowhereAddress()),
      lineStride_(0),
      x_(left),
      y_(top),
      left_(left),
      top_(top),
      right_(right),
      bottom_(bottom),
      image_(&qelRequired(image)),
      oneTile_(image->tilesAcross() == 1 && image->tilesDown() == 1),
      dataOrg_(qelSimpleOrgOf(*image,
                              "The data organization of an image used in a QelRectConstIter is "
                              "not a QelSimpleDataOrg")) {
    pixelStride_ = dataOrg_->pixelStride();
    lineStride_ = dataOrg_->lineStride();
    bandOffsets_.assign(dataOrg_->bandOffsets().begin(), dataOrg_->bandOffsets().end());
    lastBand_ = dataOrg_->numBands() - 1;
    pixelsAreDense_ = qelPixelsAreDense(*dataOrg_);
    if (!bandOffsets_.empty()) bandOffset_ = bandOffsets_.front();
    if (right < left || bottom < top) return;
    firstTileColumn_ = tileColumnOf(left);
    columnCount_ = edgeOf(std::int64_t{tileColumnOf(right)} - firstTileColumn_ + 1);
}

QelRectIterBase::QelRectIterBase(Qel2DImage * image, QelRect const & rect)
    : QelRectIterBase(image, rect.isEmpty() ? 0 : rect.x, rect.isEmpty() ? 0 : rect.y,
                      rect.isEmpty() ? -1 : edgeOf(rect.right()),
                      rect.isEmpty() ? -1 : edgeOf(rect.bottom())) {}

QelRectIterBase::QelRectIterBase(Qel2DImage * image)
    : QelRectIterBase(image, qelRequired(image).imageRect()) {}

QelRectIterBase::~QelRectIterBase() = default;

QelRectIterBase::QelRectIterBase(QelRectIterBase const &) = default;

void QelRectIterBase::moveTo(std::int32_t x, std::int32_t y, std::int32_t band) {
    if (!lies(x, left_, right_)) qelRaise(QelErrorCode::outOfBounds, "X value out of bounds");
    if (!lies(y, top_, bottom_)) qelRaise(QelErrorCode::outOfBounds, "Y value out of bounds");
    setBand(band);
    goTo(x, y);
}

void QelRectIterBase::toStart() {
    if (columnCount_ > 0) moveTo(left_, top_);
}

void QelRectIterBase::nextRow() {
    goTo(left_, y_ + 1);
}

void QelRectIterBase::moveY(std::int32_t n) {
    if (!rowDone_) {
        Column const & column = columns_[static_cast<std::size_t>(tileColumn_)];
        if (lies(y_ + n, column.top, column.bottom)) {
            y_ += n;
            current_ += n * lineStride_;
            rowStart_ += n * lineStride_;
            rowEnd_ += n * lineStride_;
            return;
        }
    }
    goTo(x(), y_ + n);
}

void QelRectIterBase::stepX(std::int32_t n) {
    goTo(x() + n, y_);
}

void QelRectIterBase::nextRun() {
    if (!rowDone_ && !enterNextColumn()) goTo(runEndX_, y_);
}

// The way that most runs end: the row goes on in the next tile.
bool QelRectIterBase::enterNextColumn() {
    if (tileColumn_ + 1 >= columnCount_) return false;
    Column const & column = columns_[static_cast<std::size_t>(tileColumn_) + 1];
    if (!lies(runEndX_, column.left, column.right) || !lies(y_, column.top, column.bottom)) {
        return false;
    }
    ++tileColumn_;
    x_ = runEndX_;
    enter(column, static_cast<std::int32_t>(x_), static_cast<std::int32_t>(y_));
    return true;
}

// Where a step does not move the address, comparing it with the end is useless: next() then comes
// here with every pixel.
void QelRectIterBase::leaveRun() {
    if (pixelStride_ != 0) {
        nextRun();
    } else if (!rowDone_) {
        goTo(x_ + 1, y_);
    }
}

// Counting stops where the count would overflow.
void QelRectIterBase::leaveBands() {
    if (band_ < std::numeric_limits<std::int32_t>::max()) ++band_;
}

std::int64_t QelRectIterBase::runLength() const {
    if (rowDone_) return 0;
    return pixelStride_ == 0 ? runEndX_ - x_ : (rowEnd_ - current_) / pixelStride_;
}

std::int64_t QelRectIterBase::x() const {
    return rowDone_ ? x_ : runEndX_ - runLength();
}

QelTile * QelRectIterBase::tile() const {
    return rowDone_ ? nullptr : columns_[static_cast<std::size_t>(tileColumn_)].tile.get();
}

MoxSmartPtr<QelTile> QelRectIterBase::tileAt(std::int32_t x, std::int32_t y) {
    return image_->getTile(x, y);
}

MoxSmartPtr<QelTile> QelRectIterBase::tileToWrite(std::int32_t x, std::int32_t y) {
    return qelTileToWrite(*image_, x, y);
}

// An image with a single tile may wrap a buffer, to which the organisation's tile size says
// nothing.
std::int32_t QelRectIterBase::tileColumnOf(std::int32_t x) const {
    return oneTile_ ? 0 : dataOrg_->tileIndexX(x);
}

std::int32_t QelRectIterBase::tileRowOf(std::int32_t y) const {
    return oneTile_ ? 0 : dataOrg_->tileIndexY(y);
}

void QelRectIterBase::standNowhere() {
    current_ = rowStart_ = rowEnd_ = nowhereAddress();
    rowDone_ = true;
}

void QelRectIterBase::goTo(std::int64_t x, std::int64_t y) {
    standNowhere();
    done_ = true;
    if (columnCount_ == 0) return;
    x_ = besideOrIn(x, left_, right_);
    y_ = besideOrIn(y, top_, bottom_);
    if (!lies(y_, top_, bottom_)) return;
    done_ = false;
    if (!lies(x_, left_, right_)) return;
    done_ = true;  // until the tile is at hand
    place(static_cast<std::int32_t>(x_), static_cast<std::int32_t>(y_));
    rowDone_ = done_ = false;
}

void QelRectIterBase::place(std::int32_t x, std::int32_t y) {
    loadRow(tileRowOf(y));
    tileColumn_ = tileColumnOf(x) - firstTileColumn_;
    Column const & column = columns_[static_cast<std::size_t>(tileColumn_)];
    if (!lies(x, column.left, column.right) || !lies(y, column.top, column.bottom)) {
        raiseNoTile(firstTileColumn_ + tileColumn_, tileRow_);
    }
    enter(column, x, y);
}

void QelRectIterBase::enter(Column const & column, std::int32_t x, std::int32_t y) {
    current_ = column.origin + pixelStride_ * (std::int64_t{x} - column.tileLeft) +
               lineStride_ * (std::int64_t{y} - column.tileTop);
    runEndX_ = std::int64_t{column.right} + 1;
    rowStart_ = current_ - pixelStride_ * (std::int64_t{x} - column.left);
    rowEnd_ = current_ + pixelStride_ * (runEndX_ - x);
}

void QelRectIterBase::loadRow(std::int32_t row) {
    if (row == tileRow_) return;
    requireInImage(row);
    tileRow_ = nowhere;
    columns_.resize(static_cast<std::size_t>(columnCount_));
    for (std::int32_t i = 0; i < columnCount_; ++i)
        loadColumn(i, row);
    tileRow_ = row;
}

// Nothing is computed for a rectangle that leaves the image. The error names the first tile that
// the walk would miss, by the grid: a single tile is asked for whatever the column.
void QelRectIterBase::requireInImage(std::int32_t row) const {
    QelRect const all = image_->imageRect();
    if (left_ < 0) raiseNoTile(dataOrg_->tileIndexX(left_), row);
    if (right_ > all.right()) {
        raiseNoTile(std::min(dataOrg_->tileIndexX(right_), image_->tilesAcross()), row);
    }
    if (top_ < 0 || bottom_ > all.bottom()) raiseNoTile(firstTileColumn_, missingRow(row));
}

// The row that is asked for, unless it is one that the image has.
std::int32_t QelRectIterBase::missingRow(std::int32_t row) const {
    if (row < 0 || row >= image_->tilesDown()) return row;
    if (top_ < 0) return dataOrg_->tileIndexY(top_);
    return std::min(dataOrg_->tileIndexY(bottom_), image_->tilesDown());
}

void QelRectIterBase::loadColumn(std::int32_t index, std::int32_t row) {
    Column & column = columns_[static_cast<std::size_t>(index)];
    column.tile = tileAt(firstTileColumn_ + index, row);
    if (!qelIsAddressedAs(column.tile, *dataOrg_)) raiseNoTile(firstTileColumn_ + index, row);
    QelRect const & rect = column.tile->rect();
    column.origin = qelDataOf(*column.tile);
    column.tileLeft = rect.x;
    column.tileTop = rect.y;
    column.left = std::max(left_, rect.x);
    column.top = std::max(top_, rect.y);
    column.right = static_cast<std::int32_t>(std::min<std::int64_t>(right_, rect.right()));
    column.bottom = static_cast<std::int32_t>(std::min<std::int64_t>(bottom_, rect.bottom()));
}

void QelRectIterBase::raiseNoTile(std::int32_t x, std::int32_t y) const {
    qelRaiseNoTile(*image_, x, y, {left_, top_, right_, bottom_});
}

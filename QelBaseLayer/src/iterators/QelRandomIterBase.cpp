#include "QelRandomIterBase.h"

#include <algorithm>
#include <string>

#include "QelError.h"
#include "QelIterTiles.h"
#include "QelRequired.h"

QelRandomIterBase::QelRandomIterBase(Qel2DImage * image)
    : image_(&qelRequired(image)),
      dataOrg_(qelSimpleOrgOf(*image,
                              "QelRandom(Const)Iter requires inputs with data organizations that "
                              "are QelSimpleDataOrg")) {
    pixelStride_ = dataOrg_->pixelStride();
    lineStride_ = dataOrg_->lineStride();
    if (image->tilesAcross() == 1 && image->tilesDown() == 1) {
        makeTablesOfOneTile();
    } else {
        makeTables();
    }
    bandOffsets_.assign(dataOrg_->bandOffsets().begin(), dataOrg_->bandOffsets().end());
    pixelsAreDense_ = qelPixelsAreDense(*dataOrg_);
    if (!bandOffsets_.empty()) bandOffset_ = bandOffsets_.front();
}

QelRandomIterBase::~QelRandomIterBase() = default;

QelRandomIterBase::QelRandomIterBase(QelRandomIterBase const &) = default;

void QelRandomIterBase::makeTables() {
    QelRect const rect = image_->imageRect();
    std::int32_t tile = 0;
    std::int32_t skipped = 0;
    dataOrg_->tileIndexWithRemainderX(0, tile, skipped);
    columns_ = makeTable(rect.width, dataOrg_->tileWidth(), tile, skipped);
    dataOrg_->tileIndexWithRemainderY(0, tile, skipped);
    rows_ = makeTable(rect.height, dataOrg_->tileHeight(), tile, skipped);
}

// The first tile starts `skipped` pixels outside the image.
QelRandomIterBase::Table QelRandomIterBase::makeTable(std::int32_t size, std::int32_t tileSize,
                                                      std::int32_t firstTile,
                                                      std::int32_t skipped) {
    Table table(static_cast<std::size_t>(std::max(size, 0)));
    std::int32_t tile = firstTile;
    std::int32_t room = tileSize - skipped;
    for (std::int32_t & position : table) {
        if (room == 0) {
            room = tileSize;
            ++tile;
        }
        position = tile;
        --room;
    }
    return table;
}

// An image with a single tile may wrap a buffer: then the tile is there, has less than the image
// perhaps, and the organisation's tile size says nothing.
void QelRandomIterBase::makeTablesOfOneTile() {
    MoxSmartPtr<QelTile> const tile = image_->findTile(0, 0);
    QelRect const all = image_->imageRect();
    single_ = tile ? tile->rect() : all;
    columns_ = makeSingleTable(all.width, single_.x, single_.right());
    rows_ = makeSingleTable(all.height, single_.y, single_.bottom());
}

QelRandomIterBase::Table QelRandomIterBase::makeSingleTable(std::int32_t size, std::int64_t first,
                                                            std::int64_t last) {
    Table table(static_cast<std::size_t>(size), -1);
    std::int64_t const end = std::min(last + 1, std::int64_t{size});
    for (std::int64_t at = std::max<std::int64_t>(first, 0); at < end; ++at)
        table[static_cast<std::size_t>(at)] = 0;
    return table;
}

void QelRandomIterBase::setBand(std::int32_t band) {
    bandOffset_ = bandOffsets_.at(static_cast<std::size_t>(band));
    band_ = band;
}

MoxSmartPtr<QelTile> QelRandomIterBase::tileAt(std::int32_t x, std::int32_t y) {
    return image_->getTile(x, y);
}

MoxSmartPtr<QelTile> QelRandomIterBase::tileToWrite(std::int32_t x, std::int32_t y) {
    return qelTileToWrite(*image_, x, y);
}

std::uint8_t * QelRandomIterBase::turnTo(std::int32_t x, std::int32_t y) {
    if (static_cast<std::size_t>(x) >= columns_.size()) raiseOutside("X");
    if (static_cast<std::size_t>(y) >= rows_.size()) raiseOutside("Y");
    std::int32_t const tileX = columns_[static_cast<std::size_t>(x)];
    std::int32_t const tileY = rows_[static_cast<std::size_t>(y)];
    if (tileX < 0 || tileY < 0) raiseNoTile(tileX, tileY);
    MoxSmartPtr<QelTile> tile = tileAt(tileX, tileY);
    if (!isAsPlanned(tile, tileX, tileY)) raiseNoTile(tileX, tileY);
    use(std::move(tile));
    return origin_ + ((static_cast<std::uint32_t>(x) - tileLeft_) * pixelStride_ +
                      (static_cast<std::uint32_t>(y) - tileTop_) * lineStride_);
}

// An only tile may reach beyond the image.
void QelRandomIterBase::use(MoxSmartPtr<QelTile> tile) {
    QelRect rect = tile->rect();
    if (!single_.isEmpty()) rect = rect.intersect(image_->imageRect());
    std::uint8_t * const data = qelDataOf(*tile);
    origin_ = single_.isEmpty() ? data : tile->addressOf(rect.x, rect.y);
    currentTile_ = std::move(tile);
    tileLeft_ = static_cast<std::uint32_t>(rect.x);
    tileTop_ = static_cast<std::uint32_t>(rect.y);
    tileWidth_ = static_cast<std::uint32_t>(rect.width);
    tileHeight_ = static_cast<std::uint32_t>(rect.height);
}

// The tables hold for a tile that starts where the grid says; a client may have inserted another
// one.
bool QelRandomIterBase::isAsPlanned(QelTile const * tile, std::int32_t tileX,
                                    std::int32_t tileY) const {
    if (!qelIsAddressedAs(tile, *dataOrg_)) return false;
    if (!single_.isEmpty()) return tile->rect() == single_;
    return tile->rect() == dataOrg_->tileRect(tileX, tileY).intersect(image_->imageRect());
}

void QelRandomIterBase::raiseOutside(char const * axis) {
    qelRaise(QelErrorCode::outOfBounds, std::string(axis) + " value out of bounds");
}

void QelRandomIterBase::raiseNoTile(std::int32_t x, std::int32_t y) const {
    QelRect const all = image_->imageRect();
    qelRaiseNoTile(*image_, x, y, {all.x, all.y, all.right(), all.bottom()});
}

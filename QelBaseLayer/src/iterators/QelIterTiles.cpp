#include "QelIterTiles.h"

#include <array>
#include <cstddef>
#include <functional>

#include "QelError.h"
#include "QelTextStream.h"
#include "ZanMutex.h"

namespace {

// A few locks for all tiles there are, so that threads with different tiles rarely meet.
void giveMemory(QelTile & tile) {
    static std::array<ZanMutex, 16> locks;
    std::size_t const at = std::hash<void const *>()(&tile) / 64;
    ZanLock const lock(locks[at % locks.size()]);
    tile.allocate();
}

}  // namespace

MoxConstSmartPtr<QelSimpleDataOrg> qelSimpleOrgOf(Qel2DImage const & image, char const * refusal) {
    MoxSmartPtr<QelDataOrg> const org = image.dataOrg();
    QelSimpleDataOrg const * const simple = org ? org->asSimple() : nullptr;
    if (simple == nullptr) qelRaise(QelErrorCode::simpleDataOrgNeeded, refusal);
    return simple;
}

bool qelIsAddressedAs(QelTile const * tile, QelSimpleDataOrg const & org) {
    if (tile == nullptr) return false;
    QelDataOrg const * const own = tile->dataOrg();
    return own == &org || own->isCompatible(org, false);
}

// An incomplete tile may be getting its memory from another thread at this moment: not even a look
// at it is safe without the lock.
MoxSmartPtr<QelTile> qelTileToWrite(Qel2DImage & image, std::int32_t x, std::int32_t y) {
    MoxSmartPtr<QelTile> tile = image.createTile(x, y);
    if (tile && !tile->isState(QelRenderedItem::complete)) giveMemory(*tile);
    return tile;
}

std::uint8_t * qelDataOf(QelTile & tile) {
    if (!tile.isAllocated()) giveMemory(tile);
    return tile.getData();
}

bool qelPixelsAreDense(QelSimpleDataOrg const & org) {
    std::int64_t const size = org.numBands() > 0 ? org.precision().size() : 0;
    if (size == 0 || org.pixelStride() != size * org.numBands()) return false;
    for (int b = 1; b < org.numBands(); ++b) {
        if (org.bandDelta(0, b) != size * b) return false;
    }
    return true;
}

// The edges are put down as a rectangle by hand: they may be further apart than one can be wide.
void qelRaiseNoTile(Qel2DImage const & image, std::int32_t x, std::int32_t y,
                    QelIterEdges const & edges) {
    QelTextStream text;
    text << "Failed to generate tile (" << x << ',' << y << ") for an Qel2DImage of size "
         << image.tilesAcross() << " x " << image.tilesDown() << " tiles -- image rect "
         << image.imageRect() << " iteration rect (" << edges.left << ',' << edges.top << ','
         << edges.right - edges.left + 1 << ',' << edges.bottom - edges.top + 1 << ')';
    qelRaise(QelErrorCode::misuse, text.str());
}

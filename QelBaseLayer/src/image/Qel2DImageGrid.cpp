#include "Qel2DImageGrid.h"

#include <cstdint>
#include <string>

#include "QelError.h"

namespace {

// A fixed bound, and not what memory there is: what is refused depends on the image alone.
constexpr std::int64_t mostTiles = std::int64_t{1} << 31;

}  // namespace

Qel2DImage::Grid::Grid(MoxSmartPtr<QelDataOrg> organisation, std::int32_t width,
                       std::int32_t height)
    : known(true), rect(0, 0, width, height), covered(rect), org(std::move(organisation)) {
    if (rect.isEmpty()) return;
    across = org->tileIndexX(width - 1) + 1;
    down = org->tileIndexY(height - 1) + 1;
    makeSlots();
}

std::unique_ptr<Qel2DImage::Grid> Qel2DImage::Grid::ofOneTile(MoxSmartPtr<QelDataOrg> org,
                                                              QelRect const & rect,
                                                              QelRect const & covered) {
    auto grid = std::make_unique<Grid>();
    grid->known = true;
    grid->rect = rect;
    grid->covered = covered.intersect(rect);
    grid->org = std::move(org);
    grid->isOneTile = true;
    if (rect.isEmpty()) return grid;
    grid->across = 1;
    grid->down = 1;
    grid->makeSlots();
    return grid;
}

void Qel2DImage::Grid::makeSlots() {
    if (across > 0 && down > mostTiles / across) {
        qelRaise(QelErrorCode::invalidValue,
                 "A grid of " + std::to_string(across) + " by " + std::to_string(down) +
                     " tiles is too large: the most is " + std::to_string(mostTiles) + " tiles");
    }
    if (across < 1 || down < 1) {
        across = 0;
        down = 0;
        return;
    }
    slots = std::make_unique<Slot[]>(count());
}

bool Qel2DImage::Grid::equals(Grid const & other) const {
    return known == other.known && across == other.across && down == other.down &&
           rect == other.rect && covered == other.covered && org && other.org &&
           org->originX() == other.org->originX() && org->originY() == other.org->originY() &&
           org->isCompatible(*other.org, false);
}

void Qel2DImage::Grid::detachTiles(bool cached) const {
    for (std::size_t i = count(); i-- > 0;)
        detachTile(slots[i], cached);
}

void Qel2DImage::Grid::detachTile(Slot & slot, bool cached) {
    Slot::Displaced tile = slot.exchange(nullptr);
    if (cached) tile.dropCached();
}

void Qel2DImage::Grid::retire(bool cached) {
    retired_.store(true, std::memory_order_relaxed);
    detachTiles(cached);
}

#include "QelTileWindow.h"

void QelTileWindow::keep(MoxSmartPtr<QelTile> const & tile, std::size_t most) {
    Tiles dropped;  // destroyed after the lock is released, since that calls their images
    ZanLock const lock(lock_);
    auto const known = places_.find(tile.get());
    if (known != places_.end()) {
        tiles_.splice(tiles_.begin(), tiles_, known->second);
    } else {
        tiles_.push_front(tile);
        places_.emplace(tile.get(), tiles_.begin());
    }
    while (tiles_.size() > most) {
        places_.erase(tiles_.back().get());
        dropped.splice(dropped.begin(), tiles_, std::prev(tiles_.end()));
    }
}

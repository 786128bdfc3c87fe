#pragma once

#include <cstddef>
#include <list>
#include <unordered_map>

#include "MoxSmartPtr.h"
#include "QelTile.h"
#include "ZanMutex.h"

// Holds the tiles used last, so that an image that does not keep its tiles need not compute them
// again. Thread-safe.
class QelTileWindow {
  public:
    // Holds `tile`, and releases the least recently used tiles until at most `most` are left.
    void keep(MoxSmartPtr<QelTile> const & tile, std::size_t most);

  private:
    using Tiles = std::list<MoxSmartPtr<QelTile>>;

    ZanMutex lock_;
    // Most recently used first.
    Tiles tiles_ ZAN_GUARDED_BY(lock_);
    std::unordered_map<QelTile const *, Tiles::iterator> places_ ZAN_GUARDED_BY(lock_);
};

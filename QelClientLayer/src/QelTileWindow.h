#pragma once

#include <cstddef>
#include <list>
#include <unordered_map>

#include "MoxSmartPtr.h"
#include "QelTile.h"
#include "ZanMutex.h"

// Holds the tiles that were used last, so that an image which does not keep its tiles need not
// compute them again. Safe from any thread.
class QelTileWindow {
  public:
    // Holds `tile`, and lets go of the tiles that were used longest ago until at most `most` are
    // left.
    void keep(MoxSmartPtr<QelTile> const & tile, std::size_t most);

  private:
    using Tiles = std::list<MoxSmartPtr<QelTile>>;

    ZanMutex lock_;
    // Last used first.
    Tiles tiles_ ZAN_GUARDED_BY(lock_);
    std::unordered_map<QelTile const *, Tiles::iterator> places_ ZAN_GUARDED_BY(lock_);
};

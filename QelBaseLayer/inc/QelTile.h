#pragma once

#include <atomic>
#include <string>

#include "QelRectBuffer.h"
#include "QelTileId.h"

class QelThreadWork;

// A piece of an image that knows its place in the grid. Created empty, computed when needed, and
// deleted with its last holder.
//
// Held by MoxSmartPtr. Never put one on a stack into an image: the image hands out references to
// it.
class QEL_API QelTile : public QelRectBuffer {
  public:
    // The tile `id` of the grid of `org`, which is shared. A tile that starts left of or above the
    // image is clipped to it; its storage stays a full tile. `memory` and `ownsData` are as for a
    // rect buffer. Raises nullPointer (4) for a null `org`.
    QelTile(QelDataOrg * org, QelTileId const & id);
    QelTile(QelDataOrg * org, QelTileId const & id, void * memory, bool ownsData);

    // Shares the memory; belongs to no image.
    QelTile(QelTile const & other);

    // Leaves its image.
    ~QelTile() override;

    // Has its image compute it. Raises nullPointer (4) when it has no image.
    void compute() override;

    // A tile that is no longer complete gives up its memory at once.
    void setComplete(bool value) override;

    // "Tile" and the id, then what a rect buffer prints.
    void print(std::ostream & out) const override;

    QelTileId const & tileId() const { return id_; }

  private:
    friend class QelThreadWork;

    std::string destructionLine(QelEmbeddedRenderedItemContainer const * container) const;
    void traceDestruction(QelEmbeddedRenderedItemContainer const * container) const noexcept;

    QelTileId id_;
    // The thread that is computing this tile, null when there is none.
    std::atomic<QelThreadWork *> worker_{nullptr};
};

#pragma once

#include "MoxSmartPtr.h"
#include "QelError.h"
#include "QelRenderedItemContainer.h"
#include "QelTile.h"

// A container of nothing but tiles, which are found by an id.
template <class Id>
class QelTileContainer : public QelRenderedItemContainer {
  public:
    using QelRenderedItemContainer::QelRenderedItemContainer;
    using QelRenderedItemContainer::operator=;

    // Raises wrongClass (2) "Can only add tiles to a tile container".
    void add(QelRenderedItem * item) override {
        addTile(asTile(item, "Can only add tiles to a tile container"));
    }
    // discardReference() of the tile. Raises wrongClass (2) "Can only remove tiles from a tile
    // container".
    void remove(QelRenderedItem * item) override {
        discardReference(asTile(item, "Can only remove tiles from a tile container"));
    }

    virtual void addTile(QelTile * tile) = 0;
    // Null if there is none.
    virtual MoxSmartPtr<QelTile> findTile(Id const & id) = 0;
    virtual MoxSmartPtr<QelTile> findOrCreateTile(Id const & id) = 0;

    // discardReference() of the tile with this id; nothing if there is none.
    virtual void removeById(Id const & id) {
        MoxSmartPtr<QelTile> const tile = findTile(id);
        if (tile) discardReference(tile);
    }

  private:
    static QelTile * asTile(QelRenderedItem * item, char const * refusal) {
        QelTile * const tile = dynamic_cast<QelTile *>(item);
        if (tile == nullptr) qelRaise(QelErrorCode::wrongClass, refusal);
        return tile;
    }
};

#pragma once

#include <cstdint>
#include <string>

#include "MoxSmartPtr.h"
#include "QelItemOwner.h"
#include "QelRectBuffer.h"
#include "QelTile.h"

class Qel2DImage;

// An image's link to the container that keeps its tiles and can make their pixels without an op.
// Called from render threads, concurrently only for different tiles.
class QEL_API QelContainerBase {
  public:
    virtual ~QelContainerBase();

    // Builds the tile (x, y) and inserts it in the image. May request other tiles from the image;
    // requesting this one raises misuse (3) until it is inserted.
    virtual MoxSmartPtr<QelTile> createTile(Qel2DImage * image, std::int32_t x, std::int32_t y) = 0;
    // May choose an op and install it with Qel2DImage::setOp().
    virtual void determineOp(Qel2DImage * image) = 0;
    // Computes one tile without an op.
    virtual void computeTile(QelTile * tile) = 0;
    // Computes the pixels of a buffer's rectangle without an op.
    virtual void genRect(Qel2DImage * image, QelRectBuffer * buffer) = 0;
    // As computeTile, through the owner's own path.
    virtual void genTile(QelTile * tile) = 0;
    // May the owner produce this tile by genTile? May it write straight into this buffer?
    virtual bool canGenTile(QelTile * tile) = 0;
    virtual bool canGenRect(QelRectBuffer * buffer) = 0;
    // Progress: `count` tiles are done. Does nothing here.
    virtual void workDone(int count);
    virtual QelItemOwner * getOwner() const = 0;
    // "Unknown 2D Image Container Type" here.
    virtual std::string description() const;
};

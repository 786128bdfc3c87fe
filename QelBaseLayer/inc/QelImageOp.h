#pragma once

#include "MoxSmartPtr.h"
#include "QelImageInfo.h"
#include "QelOp.h"
#include "QelRectBuffer.h"
#include "QelTile.h"

// The smallest producer of pixels: it says what image it will produce and fills a buffer with any
// rectangle of it. A client derives, implements genOutputInfo() and compute(), and hands the op to
// a Qel2DImage or to qelCompute().
//
// The order of calls: outputInfo() any number of times, where the first call does the work and
// comes from the setup thread; then canFill() or isOutputOK(); then compute() any number of times,
// in any order, from any thread, with different buffers. compute() therefore treats the op as
// read-only or locks what it changes.
class QEL_API QelImageOp : public QelOp {
  public:
    QelImageOp();
    ~QelImageOp() override;
    using QelOp::operator=;

    // Takes the report on first use; true if it is good.
    bool isGood(QelOpContext opContext) override;

    // Fills `info`. Returns false, with a status in `info`, when there is no image to produce.
    virtual bool genOutputInfo(QelImageInfo & info, QelOpContext opContext) = 0;

    // The report, taken once and kept; it cannot depend on the context of later calls.
    virtual bool outputInfo(QelImageInfo & info, QelOpContext opContext = 0);

    // A hook; does nothing here.
    virtual void aboutToRender(QelOpContext a, QelOpContext b);

    // Can `buffer` take the result? False leaves the reason in the op's status:
    // wrongPixelFormat (119) for the wrong precision or number of bands, invalidInput (123) for a
    // bad report without a code. True for null and a good op.
    virtual bool isOutputOK(QelRectBuffer * buffer, QelOpContext opContext = 0);

    // Fills the whole of the buffer's rectangle, allocating it if needed. May raise anything.
    virtual void compute(QelRectBuffer * buffer, QelOpContext opContext) = 0;

    // May the op write through `org`? False for null. A good op returns
    // QelImageInfo::acceptsDataOrg(); one that needs dense memory overrides this with
    // QelImageInfo::isDense().
    virtual bool acceptsDataOrg(QelDataOrg * org, QelOpContext opContext = 0);
    // acceptsDataOrg() of the buffer's organisation: false for a buffer without one. Raises
    // nullPointer (4) for null.
    virtual bool canFill(QelRectBuffer * buffer, QelOpContext opContext = 0);

    // The whole image, computed into a new buffer. Raises the op's status as a ZanError when the
    // report is bad; renderFailed (203) when that has no code.
    virtual MoxSmartPtr<QelRectBuffer> genResult(QelOpContext opContext = 0);

    // Computes `tile` unless it is complete, and completes it. The image calls it when no other
    // thread is working on this tile. A client calls Qel2DImage::getTile(), unless the tile is not
    // shared. Raises nullPointer (4) for null, and what compute() raises.
    void getTile(QelTile * tile, QelOpContext opContext = 0);

  protected:
    QelImageInfo const & info() const { return info_; }
    // The next outputInfo() asks genOutputInfo() again.
    void discardReport() { info_.setComputed(false); }

  private:
    void takeReport(QelOpContext opContext);

    QelImageInfo info_;
    bool good_ = false;
};

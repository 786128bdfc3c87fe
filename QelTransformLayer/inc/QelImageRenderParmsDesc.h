#pragma once

#include "MoxSmartPtr.h"
#include "QelDataDesc.h"
#include "QelXyRegion.h"

// What a client asks of a sink: a region.
class QEL_API QelImageRenderParmsDesc : public QelDataDesc {
  public:
    // Shares the region.
    explicit QelImageRenderParmsDesc(MoxSmartPtr<QelXyRegion> region);
    ~QelImageRenderParmsDesc() override;

    // With a clone of the region.
    MoxSmartPtr<QelDataDesc> clone() const override;

    MoxSmartPtr<QelXyRegion> region() const { return region_; }

  private:
    MoxSmartPtr<QelXyRegion> region_;
};

#pragma once

#include "MoxSmartPtr.h"
#include "QelDataDesc.h"
#include "QelXyRegion.h"

class QelImageOutputCP;

// What a consumer asks of an image output: a region, whose selected resolution tells which of the
// output's images is meant, and the output concerned.
class QEL_API QelImageRequestDesc : public QelDataDesc {
  public:
    // Shares the region. The output is not counted and may be null.
    explicit QelImageRequestDesc(MoxSmartPtr<QelXyRegion> region,
                                 QelImageOutputCP * output = nullptr);
    ~QelImageRequestDesc() override;

    // With a clone of the region.
    MoxSmartPtr<QelDataDesc> clone() const override;

    MoxSmartPtr<QelXyRegion> region() const { return region_; }
    QelImageOutputCP * output() const { return output_; }
    void setOutput(QelImageOutputCP * output) { output_ = output; }

  private:
    MoxSmartPtr<QelXyRegion> region_;
    QelImageOutputCP * output_;
};

#pragma once

#include "MoxSmartPtr.h"
#include "QelCoordSpace.h"
#include "ZanRefCount.h"

// An area of an image in a coordinate space: what a sink asks for, and what travels backwards
// through the graph. Abstract. Held by MoxSmartPtr.
class QEL_API QelRegion : public virtual ZanRefCount {
  public:
    QelRegion() = default;
    virtual ~QelRegion();

    virtual MoxSmartPtr<QelRegion> clone() const = 0;
    // Null if the region has none yet.
    virtual MoxConstSmartPtr<QelCoordSpace> coordSpace() const = 0;
    // Maps the region into a copy of `space`.
    virtual void setCoordSpace(QelCoordSpace const * space) = 0;

  protected:
    QelRegion(QelRegion const &) : ZanRefCount() {}
    QelRegion & operator=(QelRegion const &) { return *this; }
};

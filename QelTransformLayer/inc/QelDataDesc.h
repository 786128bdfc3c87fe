#pragma once

#include "MoxSmartPtr.h"
#include "QelExport.h"
#include "ZanRefCount.h"

// Root of the descriptors: small objects that carry a request through the graph.
class QEL_API QelDataDesc : public virtual ZanRefCount {
  public:
    QelDataDesc() = default;
    QelDataDesc & operator=(QelDataDesc const &) = delete;
    virtual ~QelDataDesc();

    // A deep copy.
    virtual MoxSmartPtr<QelDataDesc> clone() const = 0;

  protected:
    QelDataDesc(QelDataDesc const &) : ZanRefCount() {}
};

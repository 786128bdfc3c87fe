#pragma once

#include <cstdint>

#include "VZanRefCount.h"
#include "ZanError.h"
#include "ZanMadeByNew.h"

// An opaque word that a caller chooses and every op call passes on unchanged.
using QelOpContext = std::uintptr_t;

// The base of everything that computes. An op is bad until it has reported.
//
// Held by MoxSmartPtr, or on a stack. There it must outlive the images that use it, and their
// references never delete it.
class QEL_API QelOp : public VZanRefCount, public ZanMadeByNew {
  public:
    QelOp();
    ~QelOp() override;

    void addRef() const noexcept override;
    bool deleteRef() const noexcept override;
    using VZanRefCount::operator=;

    // Can the op compute? False here.
    virtual bool isGood(QelOpContext opContext);
    // Asks isGood() and returns the stored status: code 0 means good, -1 not reported.
    virtual ZanError status(QelOpContext opContext);

  protected:
    ZanError const & storedStatus() const { return status_; }
    void setStatus(ZanError const & status) { status_ = status; }

  private:
    ZanError status_;
};

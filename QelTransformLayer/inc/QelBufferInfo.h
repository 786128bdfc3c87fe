#pragma once

#include "MoxSmartPtr.h"
#include "QelColorSpace.h"
#include "QelDataOrg.h"
#include "QelExport.h"
#include "ZanRefCount.h"

// What the contents of a buffer mean, and how they are laid out in memory. Either may be unknown
// (null).
//
// Held by MoxSmartPtr; used by one thread at a time.
class QEL_API QelBufferInfo : public ZanRefCount {
  public:
    // Shares its arguments.
    explicit QelBufferInfo(MoxSmartPtr<QelColorSpace> colorSpace = nullptr,
                           MoxSmartPtr<QelDataOrg> dataOrg = nullptr);
    QelBufferInfo(QelBufferInfo const &) = delete;
    QelBufferInfo & operator=(QelBufferInfo const &) = delete;
    virtual ~QelBufferInfo();

    // With clones of both.
    virtual MoxSmartPtr<QelBufferInfo> clone() const;

    // Replaces both; shares its arguments.
    void set(MoxSmartPtr<QelColorSpace> colorSpace, MoxSmartPtr<QelDataOrg> dataOrg);

    MoxSmartPtr<QelColorSpace> colorSpace() const { return colorSpace_; }
    MoxSmartPtr<QelDataOrg> dataOrg() const { return dataOrg_; }

  private:
    MoxSmartPtr<QelColorSpace> colorSpace_;
    MoxSmartPtr<QelDataOrg> dataOrg_;
};

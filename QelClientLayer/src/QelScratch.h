#pragma once

#include <vector>

#include "MoxSmartPtr.h"
#include "QelRectBuffer.h"
#include "ZanMutex.h"

// Buffers that an operation needs during a call. They are reused, since the first write to fresh
// memory costs more than most operations. Thread-safe.
class QelScratch {
  public:
    // A buffer on loan for a scope.
    class Loan {
      public:
        Loan(QelScratch & owner, QelRect const & rect, QelDataType type, int bands);
        Loan(Loan const &) = delete;
        Loan & operator=(Loan const &) = delete;
        ~Loan();

        // Has the requested rectangle, allocated, PIXEL_INTERLEAVED, with undefined content.
        QelRectBuffer & buffer() const { return *buffer_; }

      private:
        QelScratch & owner_;
        MoxSmartPtr<QelRectBuffer> buffer_;
    };

  private:
    MoxSmartPtr<QelRectBuffer> take();
    void giveBack(MoxSmartPtr<QelRectBuffer> buffer) noexcept;

    ZanMutex lock_;
    std::vector<MoxSmartPtr<QelRectBuffer>> idle_ ZAN_GUARDED_BY(lock_);
};

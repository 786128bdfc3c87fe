#include "QelScratch.h"

#include <algorithm>
#include <new>
#include <utility>

namespace {

bool serves(QelRectBuffer const * buffer, QelRect const & rect, QelDataType type, int bands) {
    if (buffer == nullptr) return false;
    QelDataOrg const & org = *buffer->dataOrg();
    return org.tileWidth() >= rect.width && org.tileHeight() >= rect.height &&
           org.numBands() == bands && org.precision() == type;
}

}  // namespace

QelScratch::Loan::Loan(QelScratch & owner, QelRect const & rect, QelDataType type, int bands)
    : owner_(owner), buffer_(owner.take()) {
    if (!serves(buffer_, rect, type, bands)) {
        buffer_.release();
        buffer_ = new QelRectBuffer(rect, bands, PIXEL_INTERLEAVED, type);
        buffer_->allocate();
    }
    buffer_->setRect(rect);
}

QelScratch::Loan::~Loan() {
    owner_.giveBack(std::move(buffer_));
}

MoxSmartPtr<QelRectBuffer> QelScratch::take() {
    ZanLock const lock(lock_);
    if (idle_.empty()) return nullptr;
    MoxSmartPtr<QelRectBuffer> buffer = std::move(idle_.back());
    idle_.pop_back();
    return buffer;
}

void QelScratch::giveBack(MoxSmartPtr<QelRectBuffer> buffer) noexcept {
    try {
        ZanLock const lock(lock_);
        idle_.push_back(std::move(buffer));
    } catch (std::bad_alloc const &) {
        // The next call allocates again.
    }
}

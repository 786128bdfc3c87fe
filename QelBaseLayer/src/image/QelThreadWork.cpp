#include "QelThreadWork.h"

#include <mutex>
#include <string>

#include "QelError.h"
#include "QelTile.h"

namespace {

std::mutex & waitersLock() {
    static std::mutex lock;
    return lock;
}

std::string placeOf(QelTile const & tile) {
    return std::to_string(tile.tileId().tileX) + "," + std::to_string(tile.tileId().tileY);
}

}  // namespace

QelThreadWork & QelThreadWork::mine() {
    thread_local QelThreadWork work;
    return work;
}

// A thread that looks for a circle may be reading this object; it holds the lock while it does.
QelThreadWork::~QelThreadWork() {
    std::lock_guard const wait(waitersLock());
}

bool QelThreadWork::isComplete(QelTile const & tile) {
    return tile.isState(QelRenderedItem::complete);
}

// Follows the workers from tile to tile. A worker that is found waiting stays so while the lock
// is held: it needs the lock to go on.
bool QelThreadWork::waitsForever(QelThreadWork const * self, QelTile const & tile) {
    QelTile const * next = &tile;
    while (next != nullptr) {
        QelThreadWork const * const worker = next->worker_.load(std::memory_order_acquire);
        if (worker == self) return true;
        if (worker == nullptr) return false;
        next = worker->waitingFor_;
    }
    return false;
}

void QelThreadWork::wait(QelThreadWork & self, QelTile & tile) {
    {
        std::lock_guard const guard(waitersLock());
        if (waitsForever(&self, tile)) {
            qelRaise(QelErrorCode::misuse,
                     "The computation of tile (" + placeOf(tile) + ") needs that tile itself");
        }
        self.waitingFor_ = &tile;
    }
    QelThreadWork * const worker = tile.worker_.load(std::memory_order_acquire);
    if (worker != nullptr) tile.worker_.wait(worker, std::memory_order_acquire);
    std::lock_guard const guard(waitersLock());
    self.waitingFor_ = nullptr;
}

QelThreadWork::Claim::Claim(QelTile & tile) : tile_(tile), won_(false) {
    QelThreadWork & self = mine();
    while (!isComplete(tile)) {
        QelThreadWork * none = nullptr;
        if (tile.worker_.compare_exchange_strong(none, &self, std::memory_order_acq_rel)) {
            won_ = true;
            break;
        }
        wait(self, tile);
    }
    // Somebody may have completed the tile between the test and the claim.
    if (won_ && isComplete(tile)) {
        tile.worker_.store(nullptr, std::memory_order_release);
        tile.worker_.notify_all();
        won_ = false;
    }
}

QelThreadWork::Claim::~Claim() {
    if (!won_) return;
    tile_.worker_.store(nullptr, std::memory_order_release);
    tile_.worker_.notify_all();
}

#include "QelThreadWork.h"

#include <mutex>
#include <string>
#include <utility>

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

QelThreadWork::Inside::Inside(Qel2DImage const & image) : image_(image) {
    QelThreadWork & self = mine();
    auto const entry = self.inside_.find(&image);
    if (entry != self.inside_.end()) {
        ++entry->second;
    } else if (self.spares_.empty()) {
        // Room first: an entry that was made without it would stay when there is none.
        self.spares_.reserve(self.inside_.size() + 1);
        self.inside_.emplace(&image, 1);
    } else {
        Depths::node_type node = std::move(self.spares_.back());
        self.spares_.pop_back();
        node.key() = &image;
        node.mapped() = 1;
        self.inside_.insert(std::move(node));
    }
}

QelThreadWork::Inside::~Inside() {
    QelThreadWork & self = mine();
    auto const entry = self.inside_.find(&image_);
    if (--entry->second == 0) self.spares_.push_back(self.inside_.extract(entry));
}

bool QelThreadWork::isInside(Qel2DImage const & image) {
    return mine().inside_.contains(&image);
}

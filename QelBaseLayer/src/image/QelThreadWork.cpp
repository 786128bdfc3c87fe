#include "QelThreadWork.h"

#include <mutex>
#include <string>

#include "QelError.h"
#include "QelTextStream.h"
#include "QelTile.h"

namespace {

std::mutex & waitersLock() {
    static std::mutex lock;
    return lock;
}

std::string place(std::int32_t x, std::int32_t y) {
    QelTextStream text;
    text << '(' << x << ',' << y << ')';
    return text.str();
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

// Follows the workers from job to job. A worker that is found waiting stays so while the lock
// is held: it needs the lock to go on.
bool QelThreadWork::waitsForever(QelThreadWork const * self, Job const & job) {
    Job const * next = &job;
    while (next != nullptr) {
        QelThreadWork const * const worker = next->load(std::memory_order_acquire);
        if (worker == self) return true;
        if (worker == nullptr) return false;
        next = worker->waitingFor_;
    }
    return false;
}

template <class Circle>
void QelThreadWork::wait(QelThreadWork & self, Job & job, Circle const & textOfCircle) {
    {
        std::lock_guard const guard(waitersLock());
        if (waitsForever(&self, job)) qelRaise(QelErrorCode::misuse, textOfCircle());
        self.waitingFor_ = &job;
    }
    QelThreadWork * const worker = job.load(std::memory_order_acquire);
    if (worker != nullptr) job.wait(worker, std::memory_order_acquire);
    std::lock_guard const guard(waitersLock());
    self.waitingFor_ = nullptr;
}

bool QelThreadWork::take(Job & job, QelThreadWork & self) {
    QelThreadWork * none = nullptr;
    return job.compare_exchange_strong(none, &self, std::memory_order_acq_rel);
}

void QelThreadWork::leave(Job & job) {
    job.store(nullptr, std::memory_order_release);
    job.notify_all();
}

QelThreadWork::Claim::Claim(QelTile & tile) : tile_(tile), won_(false) {
    QelThreadWork & self = mine();
    while (!isComplete(tile)) {
        won_ = take(tile.worker_, self);
        if (won_) break;
        wait(self, tile.worker_, [&tile] {
            return "The computation of tile " + place(tile.tileId().tileX, tile.tileId().tileY) +
                   " needs that tile itself";
        });
    }
    // Somebody may have completed the tile between the test and the claim.
    if (won_ && isComplete(tile)) {
        leave(tile.worker_);
        won_ = false;
    }
}

QelThreadWork::Claim::~Claim() {
    if (won_) leave(tile_.worker_);
}

QelThreadWork::Making::Making(Job & job, std::int32_t x, std::int32_t y) : job_(job) {
    QelThreadWork & self = mine();
    while (!take(job, self)) {
        wait(self, job, [x, y] {
            return "The container asks for tile " + place(x, y) + " while it creates that tile";
        });
    }
}

QelThreadWork::Making::~Making() {
    leave(job_);
}

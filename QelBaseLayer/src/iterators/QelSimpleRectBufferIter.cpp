#include "QelSimpleRectBufferIter.h"

#include <vector>

#include "QelError.h"
#include "QelRequired.h"
#include "ZanBorrow.h"

namespace {

// The loops of an order, innermost first, as indices of pixel (0), line (1) and band (2).
constexpr int loopsOfOrder[6][3] = {{0, 1, 2}, {1, 0, 2}, {2, 0, 1},
                                    {2, 1, 0}, {0, 2, 1}, {1, 2, 0}};

std::int64_t absolute(std::int64_t value) {
    return value < 0 ? -value : value;
}

}  // namespace

QelSimpleRectBufferIter::QelSimpleRectBufferIter(QelRectBuffer * buffer, QelRect const & rect,
                                                 std::int32_t loopOrder, bool reverseX,
                                                 bool reverseY, QelSimpleRectBufferIter * next)
    : buffer_(&qelRequired(buffer)),
      keep_(zanKeepIfOwned(buffer)),
      wanted_(rect),
      wantedOrder_(loopOrder),
      rect_(rect),
      loopOrder_(loopOrder),
      reverseX_(reverseX),
      reverseY_(reverseY),
      nextIter_(next) {}

QelSimpleRectBufferIter::QelSimpleRectBufferIter(QelRectBuffer * buffer)
    : QelSimpleRectBufferIter(buffer, qelRequired(buffer).rect()) {}

QelSimpleRectBufferIter::~QelSimpleRectBufferIter() = default;

QelSimpleRectBufferIter::QelSimpleRectBufferIter(QelSimpleRectBufferIter const &) = default;

void QelSimpleRectBufferIter::checkElements(QelSimpleDataOrg const &) const {}

// Not one inside the other: a chain may be long.
void QelSimpleRectBufferIter::initialize(bool noAddress) {
    std::vector<QelSimpleRectBufferIter *> chain;
    for (QelSimpleRectBufferIter * each = this; each != nullptr; each = each->nextIter_)
        chain.push_back(each);
    for (auto each = chain.rbegin(); each != chain.rend(); ++each)
        (*each)->initializeThis(noAddress);
}

void QelSimpleRectBufferIter::initializeThis(bool noAddress) {
    makeEmpty();
    QelDataOrg const * const anyOrg = buffer_->dataOrg();
    QelSimpleDataOrg const * const org = anyOrg != nullptr ? anyOrg->asSimple() : nullptr;
    QelRect const rect = wanted_.intersect(buffer_->rect());
    if (org == nullptr || rect.isEmpty() || org->numBands() < 1) return;
    if (!org->uniformBandOffsets()) {
        qelRaise(QelErrorCode::unevenBandOffsets,
                 "QelSimpleRectBufferIter cannot be used with RectBuffers that have non-uniform "
                 "band offsets");
    }
    checkElements(*org);
    pixelStep_ = org->pixelStride();
    lineStep_ = org->lineStride();
    bandStep_ = org->numBands() > 1 ? org->bandDelta(0, 1) : 0;
    if (!noAddress) reverse();
    chooseOrder();
    rect_ = rect;
    assignLevels(org->numBands());
    joinLevels();
    if (!noAddress) start(*org);
}

void QelSimpleRectBufferIter::reverse() {
    if (reverseX_) pixelStep_ = -pixelStep_;
    if (reverseY_) lineStep_ = -lineStep_;
}

// Done, at the corner of the buffer.
void QelSimpleRectBufferIter::makeEmpty() {
    QelRect const & whole = buffer_->rect();
    rect_ = QelRect(whole.x, whole.y, 0, 0);
    loopOrder_ = wantedOrder_;
    pixelStep_ = lineStep_ = bandStep_ = 0;
    step_ = 0;
    for (Level & level : levels_)
        level = Level();
    current_ = runEnd_ = buffer_->isAllocated() ? buffer_->getData() : nullptr;
    done_ = true;
}

// The smallest distance goes innermost. With a single band, whose distance is 0, pixels do.
void QelSimpleRectBufferIter::chooseOrder() {
    if (wantedOrder_ < 0 || wantedOrder_ > automatic)
        qelRaise(QelErrorCode::invalidDataOrg, "Invalid loop order");
    if (wantedOrder_ != automatic) return;
    std::int64_t const pixel = absolute(pixelStep_);
    std::int64_t const band = absolute(bandStep_);
    std::int64_t const line = absolute(lineStep_);
    if (pixel < band && line != band) {
        loopOrder_ = line < band ? pixelLineBand : pixelBandLine;
    } else if (band < pixel && line > band) {
        loopOrder_ = bandPixelLine;
    } else {
        qelRaise(QelErrorCode::invalidDataOrg, "Invalid data organization");
    }
}

void QelSimpleRectBufferIter::assignLevels(std::int32_t bands) {
    Level const loops[3] = {
        {pixelStep_, rect_.width}, {lineStep_, rect_.height}, {bandStep_, bands}};
    for (int i = 0; i < 3; ++i)
        levels_[i] = loops[loopsOfOrder[loopOrder_][i]];
}

// A loop of one step is none, and a loop that goes on where the one inside it ends is the same
// loop: dense pixels with all their bands are a single run. Loops that do not move stay apart,
// because no memory limits their counts.
void QelSimpleRectBufferIter::joinLevels() {
    int last = -1;
    for (Level const & level : levels_) {
        if (level.count == 1) continue;
        bool const goesOn =
            last >= 0 && level.step != 0 && level.step == joined_[last].step * joined_[last].count;
        if (goesOn) {
            joined_[last].count *= level.count;
        } else {
            joined_[++last] = level;
        }
    }
    if (last < 0) joined_[++last] = {levels_[0].step, 1};
    while (++last < 3)
        joined_[last] = Level();
}

void QelSimpleRectBufferIter::start(QelSimpleDataOrg const & org) {
    current_ = buffer_->addressOf(rect_.x, rect_.y) + org.bandOffsets().front();
    // From the far end, whose coordinate need not fit in 32 bits; the steps are negated already.
    if (reverseX_) current_ -= pixelStep_ * (std::int64_t{rect_.width} - 1);
    if (reverseY_) current_ -= lineStep_ * (std::int64_t{rect_.height} - 1);
    step_ = joined_[0].step;
    std::int64_t const runBytes = step_ * joined_[0].count;
    runEnd_ = current_ + runBytes;
    middleAdvance_ = joined_[1].step - runBytes;
    outerAdvance_ = joined_[2].step - joined_[1].step * joined_[1].count;
    repeated_ = middleIndex_ = outerIndex_ = 0;
    done_ = false;
}

std::int64_t QelSimpleRectBufferIter::runLength() const {
    if (done_) return 0;
    return step_ == 0 ? joined_[0].count - repeated_ : (runEnd_ - current_) / step_;
}

void QelSimpleRectBufferIter::nextRun() {
    if (done_) return;
    current_ = runEnd_;
    repeated_ = joined_[0].count - 1;
    leaveRun();
}

// At the end of a run; where a step does not move the address, after each step.
void QelSimpleRectBufferIter::leaveRun() {
    if (done_) return;
    if (step_ == 0 && ++repeated_ < joined_[0].count) return;
    repeated_ = 0;
    current_ += middleAdvance_;
    if (++middleIndex_ == joined_[1].count) {
        middleIndex_ = 0;
        current_ += outerAdvance_;
        done_ = ++outerIndex_ == joined_[2].count;
    }
    runEnd_ = current_ + step_ * joined_[0].count;
}

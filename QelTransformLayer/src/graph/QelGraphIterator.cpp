#include "QelGraphIterator.h"

#include <memory>

#include "QelInputConnectionPoint.h"
#include "QelOutputConnectionPoint.h"
#include "QelPointerSet.h"

namespace {

// The transform that feeds input `index`; null if there is none.
QelTransform * sourceOf(QelTransform const & transform, int index, bool resolveAliases) {
    MoxSmartPtr<QelOutputConnectionPoint> const output =
        transform.getInputCP(index)->getConnectedOutput(resolveAliases);
    return output ? output->owner() : nullptr;
}

}  // namespace

template <class Transform>
class QelBasicGraphIterator<Transform>::Visited {
  public:
    QelPointerSet delivered;
    QelPointerSet expandedDownstream;
};

template <class Transform>
QelBasicGraphIterator<Transform>::QelBasicGraphIterator(Transform * root, bool resolveAliases,
                                                        bool includeDownstream)
    : resolveAliases_(resolveAliases),
      includeDownstream_(includeDownstream),
      visited_(std::make_unique<Visited>()) {
    if (root != nullptr) stack_.push_back(root);
    next();
}

template <class Transform>
QelBasicGraphIterator<Transform>::QelBasicGraphIterator(QelBasicGraphIterator const & other)
    : current_(other.current_),
      resolveAliases_(other.resolveAliases_),
      includeDownstream_(other.includeDownstream_),
      cyclic_(other.cyclic_),
      stack_(other.stack_),
      visited_(std::make_unique<Visited>(*other.visited_)) {}

template <class Transform>
QelBasicGraphIterator<Transform> & QelBasicGraphIterator<Transform>::operator=(
    QelBasicGraphIterator const & other) {
    QelBasicGraphIterator copy(other);
    current_ = copy.current_;
    resolveAliases_ = copy.resolveAliases_;
    includeDownstream_ = copy.includeDownstream_;
    cyclic_ = copy.cyclic_;
    stack_.swap(copy.stack_);
    visited_.swap(copy.visited_);
    return *this;
}

template <class Transform>
QelBasicGraphIterator<Transform>::~QelBasicGraphIterator() = default;

// Each transform is expanded once in the whole walk, and what lies behind it breadth first.
template <class Transform>
void QelBasicGraphIterator<Transform>::pushDownstream() {
    std::vector<QelTransform const *> wave{current_.get()};
    if (!visited_->expandedDownstream.insert(current_.get())) return;
    for (std::size_t i = 0; i < wave.size(); ++i) {
        for (int output = 0; output < wave[i]->numOutputs(); ++output) {
            for (QelInputConnectionPoint const * const input :
                 wave[i]->getOutputCP(output)->connectedInputs()) {
                QelTransform * const consumer = input->owner();
                if (consumer == nullptr) continue;
                if (!visited_->expandedDownstream.insert(consumer)) continue;
                wave.push_back(consumer);
                stack_.push_back(consumer);
            }
        }
    }
}

template <class Transform>
bool QelBasicGraphIterator<Transform>::pushSources(Transform & transform) {
    std::size_t const before = stack_.size();
    for (int i = transform.numInputs() - 1; i >= 0; --i) {
        Transform * const source = sourceOf(transform, i, resolveAliases_);
        if (source != nullptr && !visited_->delivered.contains(source)) stack_.push_back(source);
    }
    return stack_.size() > before;
}

template <class Transform>
void QelBasicGraphIterator<Transform>::deliver(Transform & transform) {
    current_ = &transform;
    stack_.pop_back();
    visited_->delivered.insert(&transform);
}

template <class Transform>
void QelBasicGraphIterator<Transform>::next() {
    if (includeDownstream_ && current_) pushDownstream();
    current_ = nullptr;
    QelPointerSet path;
    while (!stack_.empty()) {
        MoxSmartPtr<Transform> const top = stack_.back();
        if (visited_->delivered.contains(top.get())) {
            stack_.pop_back();
        } else if (!path.insert(top.get())) {
            // Met again on the way to its own sources.
            cyclic_ = true;
            return deliver(*top);
        } else if (!pushSources(*top)) {
            return deliver(*top);
        }
    }
}

template class QelBasicGraphIterator<QelTransform>;
template class QelBasicGraphIterator<QelTransform const>;

// ---- Downstream

class QelDownstreamIterator::Seen {
  public:
    QelPointerSet transforms;
};

QelDownstreamIterator::QelDownstreamIterator(QelTransform const * root)
    : seen_(std::make_unique<Seen>()) {
    if (root != nullptr) expand(*root);
}

QelDownstreamIterator::QelDownstreamIterator(QelDownstreamIterator const & other)
    : reached_(other.reached_), next_(other.next_), seen_(std::make_unique<Seen>(*other.seen_)) {}

QelDownstreamIterator & QelDownstreamIterator::operator=(QelDownstreamIterator const & other) {
    QelDownstreamIterator copy(other);
    reached_.swap(copy.reached_);
    next_ = copy.next_;
    seen_.swap(copy.seen_);
    return *this;
}

QelDownstreamIterator::~QelDownstreamIterator() = default;

void QelDownstreamIterator::next() {
    // The current one stays held while it is looked at.
    expand(*reached_[next_]);
    ++next_;
}

void QelDownstreamIterator::expand(QelTransform const & transform) {
    for (int i = 0; i < transform.numOutputs(); ++i) {
        for (QelInputConnectionPoint const * const input :
             transform.getOutputCP(i)->connectedInputs()) {
            QelTransform * const consumer = input->owner();
            if (consumer != nullptr && seen_->transforms.insert(consumer))
                reached_.push_back(consumer);
        }
    }
}

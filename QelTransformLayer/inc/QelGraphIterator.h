#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelTransform.h"

// Walks all transforms that can be reached upstream from a root, each after the sources of all its
// inputs; with `includeDownstream` also those that are reached forward from any of these. Each
// comes once, in time linear in the connections:
//
//     for (QelGraphIterator i(sink, true, false); !i.done(); i.next()) use(*i.current());
//
// A circle does not end the walk: the transform at which it closes comes without its sources, and
// isCyclic() tells. Holds the current transform and those that it has yet to come back to. The
// graph stays as it is meanwhile.
template <class Transform>
class QEL_API QelBasicGraphIterator {
  public:
    // A null root is done at once. With `resolveAliases` the source of an input is the real one,
    // through aliases.
    QelBasicGraphIterator(Transform * root, bool resolveAliases, bool includeDownstream);
    QelBasicGraphIterator(QelBasicGraphIterator const &);
    QelBasicGraphIterator & operator=(QelBasicGraphIterator const &);
    ~QelBasicGraphIterator();

    bool done() const { return !current_; }
    // Null when done.
    Transform * current() const { return current_; }
    // Nothing when done.
    void next();
    QelBasicGraphIterator & operator++() {
        next();
        return *this;
    }

    bool isCyclic() const { return cyclic_; }

  private:
    class Visited;

    void pushDownstream();
    bool pushSources(Transform & transform);
    void deliver(Transform & transform);

    MoxSmartPtr<Transform> current_;
    bool resolveAliases_;
    bool includeDownstream_;
    bool cyclic_ = false;
    std::vector<MoxSmartPtr<Transform>> stack_;
    std::unique_ptr<Visited> visited_;
};

using QelGraphIterator = QelBasicGraphIterator<QelTransform>;
using QelConstGraphIterator = QelBasicGraphIterator<QelTransform const>;

extern template class QEL_API QelBasicGraphIterator<QelTransform>;
extern template class QEL_API QelBasicGraphIterator<QelTransform const>;

// Walks all transforms that can be reached downstream from a root through connected inputs, breadth
// first, the root left out unless it lies on a circle. Each comes once.
class QEL_API QelDownstreamIterator {
  public:
    explicit QelDownstreamIterator(QelTransform const * root);
    QelDownstreamIterator(QelDownstreamIterator const &);
    QelDownstreamIterator & operator=(QelDownstreamIterator const &);
    ~QelDownstreamIterator();

    bool done() const { return next_ >= reached_.size(); }
    // Requires: !done().
    QelTransform * current() const { return reached_[next_]; }
    void next();

  private:
    class Seen;

    void expand(QelTransform const & transform);

    std::vector<MoxSmartPtr<QelTransform>> reached_;
    std::size_t next_ = 0;
    std::unique_ptr<Seen> seen_;
};

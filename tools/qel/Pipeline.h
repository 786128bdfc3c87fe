#pragma once

#include <string>
#include <vector>

#include "QelClients.h"

// The operations that a user asks for, in order. Raises UsageError for a text that
// QelTransformCatalog::parse() refuses.
std::vector<QelTransformCatalog::Call> parseOps(std::vector<std::string> const & texts);

// A source and a chain of operations behind it.
class Pipeline {
  public:
    // Labels are the names of the operations, with a number where one comes again: "blur",
    // "blur-2".
    Pipeline(MoxSmartPtr<QelSourceTransform> source,
             std::vector<QelTransformCatalog::Call> const & calls);

    // From the source on; never empty.
    std::vector<MoxSmartPtr<QelTransform>> const & transforms() const { return transforms_; }
    MoxSmartPtr<QelTransform> last() const { return transforms_.back(); }

    // The images of all of them, each made from the one before it, at the largest resolution of the
    // last. Raises its error for a bad status.
    std::vector<MoxSmartPtr<Qel2DImage>> images() const;

  private:
    void append(MoxSmartPtr<QelTransform> transform);

    std::vector<MoxSmartPtr<QelTransform>> transforms_;
};

#pragma once

#include <string>

#include "QelTransform.h"
#include "QelTransformDescription.h"

// What the transforms of this layer have in common: attributes that a description lists, with their
// defaults and ranges. A value out of range makes the transform's status bad, with the text that
// QelTransformDescription::requireGood() raises; the attribute takes it.
class QEL_API QelDescribedTransform : public virtual QelTransform {
  public:
    ~QelDescribedTransform() override;

    QelTransformDescription const & description() const { return *description_; }
    std::string getClassName() const override { return description_->className; }

  protected:
    // The description lives as long as the transform, as a static one does.
    explicit QelDescribedTransform(QelTransformDescription const & description);
    QelDescribedTransform(QelDescribedTransform const &) = default;

    // For setupTransform(), ahead of all else. False with a bad status.
    bool areParametersGood();
    // Bad, with unsupportedDataType (118), unless the element type of an image input is one of the
    // eight types of numbers, or is not known.
    void requireNumbers(int inputIndex);

  private:
    QelTransformDescription const * description_;
};

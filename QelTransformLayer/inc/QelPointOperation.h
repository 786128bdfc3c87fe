#pragma once

#include "QelOperation.h"

// An operation whose output pixels depend on nothing but the pixels at the same place of its
// inputs. All inputs must be connected and good, and the output has the resolutions that all image
// inputs have.
class QEL_API QelPointOperation : public QelOperation {
  public:
    ~QelPointOperation() override;

    // As QelOperation's; a bad status with noCommonResolution (600) for an input that is not
    // connected or bad, and where the inputs have no resolution in common.
    void setupTransform() override;

    // The same region, in the coordinate space of the input.
    MoxSmartPtr<QelXyRegion> getInputRegion(QelXyRegion const & outputRegion, int inputIndex,
                                            int outputIndex) override;

  protected:
    using QelOperation::QelOperation;
    QelPointOperation(QelPointOperation const &) = default;

  private:
    bool areInputsGood();
    void describeCommonResolutions();
};

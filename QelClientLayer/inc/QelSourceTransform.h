#pragma once

#include "QelColorSpace.h"
#include "QelDescribedTransform.h"
#include "QelImageOutputCP.h"
#include "QelXyCoordSpace.h"

// Base of transforms without inputs, which get their pixels from one op: the image output "out", at
// the one resolution that the op has, and described attributes. A derived class has a constructor,
// clone() and openSource().
class QEL_API QelSourceTransform : public QelDescribedTransform {
  public:
    ~QelSourceTransform() override;

    // Opens the source anew. What openSource() raises becomes the bad status, with its own code and
    // text. Where the output was removed, the status is bad with noSuchPoint (52).
    void setupTransform() override;
    // Raises noMatchingResolution (127) for another resolution than the op's.
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int outputIndex) const override;

    // The image output of the name "out"; null once it was removed.
    QelImageOutputCP * output() const;

  protected:
    struct Source {
        MoxSmartPtr<QelImageOp> op;
        MoxSmartPtr<QelColorSpace> colorSpace;
        // With the op's size in pixels.
        QelXyCoordSpace::Resolution resolution;
    };

    explicit QelSourceTransform(QelTransformDescription const & description);
    // The copy opens a source of its own at its first set-up.
    QelSourceTransform(QelSourceTransform const &) = default;

    // What the attributes ask for, at each set-up; may raise. A class that keeps its source open,
    // or shares it with its copies, answers with that one. Without an op the status is bad with
    // nullPointer (4); with one whose report is bad it has the report's status, or invalidInput
    // (123) where that has no code.
    virtual Source openSource() = 0;

  private:
    void open();

    MoxSmartPtr<QelImageOp> op_;
};

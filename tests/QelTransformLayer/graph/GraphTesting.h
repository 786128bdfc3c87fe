#pragma once

#include <string>
#include <vector>

#include "QelGraphIterator.h"
#include "QelPointOperation.h"
#include "QelTransform.h"
#include "TestOps.h"

// Reaches into transforms for what renders and aggregates do.
class QelGraphTesting {
  public:
    static void setRendering(QelTransform & transform, bool rendering) {
        transform.rendering_ = rendering;
    }
    static void setAggregate(QelTransform & transform, QelTransform * aggregate) {
        transform.aggregate_ = aggregate;
    }
    static void setLocked(QelInputConnectionPoint & input, bool locked) { input.locked_ = locked; }
};

// A gradient plus the attribute "level" (a double), with one output "out".
class SourceTransform : public QelTransform {
  public:
    explicit SourceTransform(TestImage image = {.width = 300, .height = 200});
    SourceTransform(SourceTransform const &) = default;
    ~SourceTransform() override;

    MoxSmartPtr<QelTransform> clone() const override;
    void setupTransform() override;
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int outputIndex) const override;

    // How often it was set up.
    int setups() const { return setups_; }

  private:
    TestImage image_;
    int setups_ = 0;
};

// Adds the attribute "amount" (a double) to the image at "in"; "extra" inputs beside it are
// ignored.
class AddTransform : public QelPointOperation {
  public:
    explicit AddTransform(double amount = 1.0);
    AddTransform(AddTransform const &) = default;
    ~AddTransform() override;

    MoxSmartPtr<QelTransform> clone() const override;
    void setupTransform() override;
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int outputIndex) const override;

    int setups() const { return setups_; }

  private:
    int setups_ = 0;
};

// An operation with any number of inputs "in0", "in1", ... of which the first is the primary one,
// and outputs "out0", "out1", ... of which each adds its index to the image at the primary input.
class JointTransform : public QelOperation {
  public:
    JointTransform(int inputs, int outputs);
    JointTransform(JointTransform const &) = default;
    ~JointTransform() override;

    MoxSmartPtr<QelTransform> clone() const override;
    void setupTransform() override;
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int outputIndex) const override;

    int setups() const { return setups_; }

  private:
    int setups_ = 0;
};

// `first` and then `count` transforms that add 1, each connected to the one before.
std::vector<MoxSmartPtr<QelOperation>> chainBehind(QelTransform & first, int count);

// All pixels of an output at its largest resolution; null for a bad status.
MoxSmartPtr<QelRectBuffer> pixelsOf(QelTransform & transform, int outputIndex = 0);

QelImageInputCP & imageInput(QelTransform & transform, int index = 0);
QelImageOutputCP & imageOutput(QelTransform & transform, int index = 0);

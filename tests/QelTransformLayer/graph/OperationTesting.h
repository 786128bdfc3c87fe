#pragma once

#include <functional>
#include <optional>
#include <string>

#include "PointTesting.h"
#include "QelOperation.h"

// Points through which images flow although they are no image points.
class PictureInput : public NumbersInput {
  public:
    explicit PictureInput(std::string const & name)
        : QelConnectionPoint(name), NumbersInput(name) {}
    MoxSmartPtr<QelConnectionPoint> create(std::string const & name) const override {
        return MoxSmartPtr<QelConnectionPoint>(new PictureInput(name));
    }
    std::type_info const & getDataType() const override { return typeid(QelImageStreamData); }
};

class PictureOutput : public NumbersOutput {
  public:
    explicit PictureOutput(std::string const & name)
        : QelConnectionPoint(name), NumbersOutput(name) {
        giveData();
    }
    MoxSmartPtr<QelConnectionPoint> create(std::string const & name) const override {
        return MoxSmartPtr<QelConnectionPoint>(new PictureOutput(name));
    }
    std::type_info const & getDataType() const override { return typeid(QelImageStreamData); }
};

// Opens what is for derived classes, and runs a test's own code at the end of its set-up.
class OpenOperation : public QelOperation {
  public:
    OpenOperation(std::optional<std::string> const & inputName,
                  std::optional<std::string> const & outputName)
        : QelOperation(inputName, outputName) {}
    OpenOperation(OpenOperation const &) = default;
    ~OpenOperation() override = default;

    MoxSmartPtr<QelTransform> clone() const override {
        return MoxSmartPtr<QelTransform>(new OpenOperation(*this));
    }
    void setupTransform() override {
        ++setups;
        QelOperation::setupTransform();
        if (further) further();
    }
    using QelOperation::checkInputType;
    using QelOperation::checkInputTypeSwitch;
    using QelOperation::checkOutputType;
    using QelOperation::checkOutputTypeSwitch;
    using QelOperation::setPrimaryIO;

    QelImageInputCP & addImageInput(std::string const & name) {
        MoxSmartPtr<QelImageInputCP> const input = new QelImageInputCP(name);
        addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(input));
        return *input;
    }
    QelImageOutputCP & addImageOutput(std::string const & name) {
        MoxSmartPtr<QelImageOutputCP> const output = new QelImageOutputCP(name);
        addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(output));
        return *output;
    }

    int setups = 0;
    std::function<void()> further;
};

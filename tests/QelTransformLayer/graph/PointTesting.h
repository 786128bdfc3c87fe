#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

#include "ExpectError.h"
#include "GraphTesting.h"
#include "QelAliasCP.h"
#include "QelError.h"
#include "QelStreamData.h"

// Points and transforms for tests of connection points.

using EventLog = std::vector<std::string>;
using InputList = std::vector<QelInputConnectionPoint *>;

// What flows between points that are no image points.
class NumbersData : public QelStreamData {
  public:
    using QelStreamData::QelStreamData;
    MoxSmartPtr<QelRenderedItemContainer> getRenderedItemContainer() override { return nullptr; }
    void resetContainer() override {}
};

class NumbersInput : public QelInputConnectionPoint {
  public:
    explicit NumbersInput(std::string const & name) : QelConnectionPoint(name) {}
    MoxSmartPtr<QelConnectionPoint> clone() const override { return create(name()); }
    MoxSmartPtr<QelConnectionPoint> create(std::string const & name) const override {
        return MoxSmartPtr<QelConnectionPoint>(new NumbersInput(name));
    }
    MoxSmartPtr<QelConnectionPoint> createAlias(std::string const &) const override {
        return nullptr;
    }
    std::type_info const & getDataType() const override { return typeid(NumbersData); }
};

// Without stream data, unless it is given some.
class NumbersOutput : public QelOutputConnectionPoint {
  public:
    explicit NumbersOutput(std::string const & name) : QelConnectionPoint(name) {}
    ~NumbersOutput() override { disconnectAll(); }
    MoxSmartPtr<QelConnectionPoint> clone() const override { return create(name()); }
    MoxSmartPtr<QelConnectionPoint> create(std::string const & name) const override {
        return MoxSmartPtr<QelConnectionPoint>(new NumbersOutput(name));
    }
    MoxSmartPtr<QelConnectionPoint> createAlias(std::string const &) const override {
        return nullptr;
    }
    std::type_info const & getDataType() const override { return typeid(NumbersData); }

    void giveData() {
        data_ = std::make_unique<NumbersData>(this);
        setStreamDataPointer(data_.get());
    }

  private:
    std::unique_ptr<NumbersData> data_;
};

// An alias that has no input side.
class HalfAlias : public QelAliasConnectionPoint, public QelImageOutputCP {
  public:
    explicit HalfAlias(std::string const & name)
        : QelConnectionPoint(name), QelImageOutputCP(name) {}
};

// Notes what is asked of it, and the state in which that happens.
class NotedInput : public QelImageInputCP {
  public:
    NotedInput(std::string const & name, EventLog & log)
        : QelConnectionPoint(name), QelImageInputCP(name), log_(log) {}

    void outOfDate(bool flag) override {
        log_.push_back(name() + (flag ? " out of date, " : " reset, ") + state());
        QelImageInputCP::outOfDate(flag);
    }
    void setStreamData(QelStreamData * data) override {
        log_.push_back(name() + (data != nullptr ? " data, " : " no data, ") + state());
        QelImageInputCP::setStreamData(data);
    }
    bool getStatus() override {
        log_.push_back(name() + " status");
        return QelImageInputCP::getStatus();
    }

  private:
    std::string state() const {
        MoxSmartPtr<QelOutputConnectionPoint> const output = getConnectedOutput(false);
        return output ? "connected to " + output->transformLabel() : "unconnected";
    }

    EventLog & log_;
};

// A transform with the points that a test adds. Its status is good, unless it is given a problem.
// Its outputs are described by what a test sets.
class PlainTransform : public QelTransform {
  public:
    explicit PlainTransform(std::string const & label) { setLabel(label); }
    PlainTransform(PlainTransform const &) = default;
    ~PlainTransform() override {
        if (atEnd) atEnd();
    }

    MoxSmartPtr<QelTransform> clone() const override {
        return MoxSmartPtr<QelTransform>(new PlainTransform(*this));
    }
    void setupTransform() override {
        ++setups;
        if (atSetup) atSetup();
        if (!problem.empty()) {
            setStatusBad(QelError(QelErrorCode::invalidValue, problem, "", 0));
        } else if (settlesOutputs) {
            setStatusOK();
        } else {
            settleGood();
        }
    }
    void inputChanged(QelInputConnectionPoint * input, bool flag) override {
        changes.push_back(input->name() + (flag ? " true" : " false"));
        if (atChange) atChange(*input);
        QelTransform::inputChanged(input, flag);
    }

    template <class Input>
    Input & addInput(MoxSmartPtr<Input> const & input) {
        addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(input));
        return *input;
    }
    template <class Output>
    Output & addOutput(MoxSmartPtr<Output> const & output) {
        addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(output));
        return *output;
    }
    QelImageInputCP & addImageInput(std::string const & name) {
        return addInput<QelImageInputCP>(new QelImageInputCP(name));
    }
    QelImageOutputCP & addImageOutput(std::string const & name) {
        return addOutput<QelImageOutputCP>(new QelImageOutputCP(name));
    }
    QelImageAliasCP & addInputAlias(std::string const & name) {
        return addInput<QelImageAliasCP>(new QelImageAliasCP(name));
    }
    QelImageAliasCP & addOutputAlias(std::string const & name) {
        return addOutput<QelImageAliasCP>(new QelImageAliasCP(name));
    }
    using QelTransform::settleGood;

    std::string problem;
    // Whether a good status is passed to the outputs; aliases that are not connected refuse it.
    bool settlesOutputs = false;
    std::function<void()> atSetup;
    std::function<void()> atEnd;
    std::function<void(QelInputConnectionPoint &)> atChange;
    int setups = 0;
    EventLog changes;
};

// Makes `members` members of `aggregate` while it lives.
class MemberScope {
  public:
    MemberScope(QelTransform & aggregate, std::vector<QelTransform *> members)
        : members_(members.begin(), members.end()) {
        for (QelTransform * const member : members)
            QelGraphTesting::setAggregate(*member, &aggregate);
    }
    MemberScope(MemberScope const &) = delete;
    MemberScope & operator=(MemberScope const &) = delete;
    ~MemberScope() {
        for (MoxSmartPtr<QelTransform> const & member : members_)
            QelGraphTesting::setAggregate(*member, nullptr);
    }

  private:
    std::vector<MoxSmartPtr<QelTransform>> members_;
};

// ---- All that an edit of the connection between two points could change, as text

inline std::string addressText(void const * address) {
    return std::to_string(reinterpret_cast<std::uintptr_t>(address)) + ' ';
}

inline std::string stateOf(QelTransform const * transform) {
    if (transform == nullptr) return "none ";
    return std::to_string(transform->setupDone()) + std::to_string(transform->statusOk()) + ' ' +
           std::to_string(transform->refCount()) + ' ';
}

inline std::string stateOf(QelOutputConnectionPoint const * output) {
    if (output == nullptr) return "none ";
    std::string text = addressText(output) + stateOf(output->owner());
    for (QelInputConnectionPoint const * input : output->connectedInputs())
        text += addressText(input);
    if (QelStreamData const * const data = output->streamData(); data != nullptr)
        text += std::to_string(data->outOfDate()) + std::to_string(data->cachingCount());
    return text + std::to_string(output->caching()) + ' ';
}

inline std::string stateOf(QelInputConnectionPoint const & input,
                           QelOutputConnectionPoint const * output = nullptr) {
    return addressText(input.upstreamTransform().get()) + addressText(input.streamData()) +
           std::to_string(input.locked()) + std::to_string(input.caching()) +
           addressText(input.owner()) + stateOf(input.owner()) +
           stateOf(input.getConnectedOutput(false).get()) + stateOf(output);
}

// An address as the library prints it.
inline std::string hexText(void const * address) {
    char text[9];
    std::snprintf(text, sizeof text, "%08x",
                  static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(address)));
    return text;
}

// What print() writes.
inline std::string printed(QelConnectionPoint const & point, std::string const & prefix) {
    std::ostringstream out;
    point.print(out, prefix);
    return out.str();
}

// The first line of it, for a name of up to 20 characters.
inline std::string printedHead(QelConnectionPoint const & point, std::string const & kind,
                               std::string const & label) {
    std::string name = point.name();
    name.resize(20, ' ');
    return name + " [addr:0x" + hexText(dynamic_cast<void const *>(&point)) + ' ' + kind + ' ' +
           label + " type:" + point.getClassName() + "]\n";
}

// Expects `action` to be refused because `point` has no stream data.
template <class Action>
void expectNoStreamData(QelConnectionPoint const & point, std::string const & kind,
                        std::string const & operation, Action const & action) {
    expectRaises(QelErrorCode::nullPointer,
                 "Connection point " + point.name() + " of type " + point.getClassName() + ' ' +
                     kind + " cannot complete function " + operation +
                     "( ), because the cp's stream data object pointer is NULL",
                 action);
}

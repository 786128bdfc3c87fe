#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "GraphTesting.h"
#include "QelRenderedItemContainer.h"
#include "QelStreamData.h"

// Points that carry something other than images, and a transform whose behaviour a test writes down
// and reads back.

// An item of data that is no image.
class NumberItem : public QelRenderedItem {
  public:
    void compute() override { setComplete(true); }
};

// Holds its items, which point back to it while it lives.
class NumberItems : public QelRenderedItemContainer {
  public:
    using QelRenderedItemContainer::QelRenderedItemContainer;
    ~NumberItems() override {
        for (MoxSmartPtr<QelRenderedItem> const & item : items_)
            item->setContainer(nullptr);
    }

    void add(QelRenderedItem * item) override {
        items_.push_back(item);
        item->setContainer(this);
    }
    void discardReference(QelRenderedItem *) override {}
    void setCacheTiles(bool) override {}
    void clear() override {}
    Iterator makeIterator(QelDataDesc *) override {
        return Iterator(std::make_unique<Walk>(items_));
    }

  private:
    using Items = std::vector<MoxSmartPtr<QelRenderedItem>>;

    class Walk : public Iterator::SubIterator {
      public:
        explicit Walk(Items const & items) : items_(items) {}
        bool done() const override { return at_ >= items_.size(); }
        void next() override { ++at_; }
        MoxSmartPtr<QelRenderedItem> get() const override { return items_[at_]; }

      private:
        Items const & items_;
        std::size_t at_ = 0;
    };

    Items items_;
};

// A stream of NumberItems. It keeps them when it goes out of date.
class NumberStreamData : public QelStreamData {
  public:
    explicit NumberStreamData(QelOutputConnectionPoint * owner)
        : QelStreamData(owner), items_(new NumberItems(owner)) {}
    MoxSmartPtr<QelRenderedItemContainer> getRenderedItemContainer() override { return items_; }
    void resetContainer() override {}

  private:
    MoxSmartPtr<QelRenderedItemContainer> items_;
};

class NumberInputCP : public QelInputConnectionPoint {
  public:
    explicit NumberInputCP(std::string name) : QelConnectionPoint(std::move(name)) {}
    MoxSmartPtr<QelConnectionPoint> clone() const override { return create(name()); }
    MoxSmartPtr<QelConnectionPoint> create(std::string const & name) const override {
        return MoxSmartPtr<QelConnectionPoint>(new NumberInputCP(name));
    }
    MoxSmartPtr<QelConnectionPoint> createAlias(std::string const &) const override {
        return nullptr;
    }
    std::type_info const & getDataType() const override { return typeid(NumberStreamData); }
};

class NumberOutputCP : public QelOutputConnectionPoint {
  public:
    explicit NumberOutputCP(std::string name)
        : QelConnectionPoint(std::move(name)), data_(std::make_unique<NumberStreamData>(this)) {
        setStreamDataPointer(data_.get());
    }
    ~NumberOutputCP() override { disconnectAll(); }
    MoxSmartPtr<QelConnectionPoint> clone() const override { return create(name()); }
    MoxSmartPtr<QelConnectionPoint> create(std::string const & name) const override {
        return MoxSmartPtr<QelConnectionPoint>(new NumberOutputCP(name));
    }
    MoxSmartPtr<QelConnectionPoint> createAlias(std::string const &) const override {
        return nullptr;
    }
    std::type_info const & getDataType() const override { return typeid(NumberStreamData); }

  private:
    std::unique_ptr<NumberStreamData> data_;
};

// What happened to several transforms, in order.
class TransformLog {
  public:
    void note(std::string event) { events_.push_back(std::move(event)); }
    // All since the last call that contain `part`, separated by blanks.
    std::string take(std::string const & part) {
        std::string all;
        for (std::string const & event : events_) {
            if (event.find(part) != std::string::npos) all += (all.empty() ? "" : " ") + event;
        }
        events_.clear();
        return all;
    }

  private:
    std::vector<std::string> events_;
};

// A bare transform with image inputs "in0", "in1", ... and image outputs "out0", "out1", ... Its
// set-up asks its inputs in order and is then good, unless `onSetup` does something else. Notes in
// `log`, if it has one, as "LABEL.setup", "LABEL.changed(INPUT,FLAG)", "LABEL.propagate(FLAG)",
// "LABEL.copied" and so on.
class ScriptedTransform : public QelTransform {
  public:
    explicit ScriptedTransform(std::string const & label, int inputs = 0, int outputs = 1,
                               TransformLog * events = nullptr)
        : log(events) {
        setLabel(label);
        for (int i = 0; i < inputs; ++i)
            addInput(new QelImageInputCP("in" + std::to_string(i)));
        for (int i = 0; i < outputs; ++i)
            addOutput(new QelImageOutputCP("out" + std::to_string(i)));
    }
    ScriptedTransform(ScriptedTransform const &) = default;

    TransformLog * log;
    std::function<void(ScriptedTransform &)> onSetup;
    std::function<void(ScriptedTransform const &)> onClone;

    QelInputConnectionPoint * addInput(MoxSmartPtr<QelInputConnectionPoint> point) {
        return addConnectionPoint(std::move(point));
    }
    QelOutputConnectionPoint * addOutput(MoxSmartPtr<QelOutputConnectionPoint> point) {
        return addConnectionPoint(std::move(point));
    }
    int setups() const { return setups_; }

    MoxSmartPtr<QelTransform> clone() const override {
        note("copied");
        if (onClone) onClone(*this);
        return MoxSmartPtr<QelTransform>(new ScriptedTransform(*this));
    }
    void setupTransform() override {
        ++setups_;
        note("setup");
        if (onSetup) return onSetup(*this);
        for (int i = 0; i < numInputs(); ++i)
            getInputCP(i)->getStatus();
        setStatusOK();
    }
    void inputChanged(QelInputConnectionPoint * input, bool flag) override {
        note("changed(" + input->name() + (flag ? ",true)" : ",false)"));
        QelTransform::inputChanged(input, flag);
    }
    void propagateOutOfDate(bool flag) override {
        note(flag ? "propagate(true)" : "propagate(false)");
        QelTransform::propagateOutOfDate(flag);
    }
    void cloneForRender(std::string const & outputName, QelInputConnectionPoint * inputOfClone,
                        QelTransform * requester) override {
        noteRequest("cloneFor", requester);
        QelTransform::cloneForRender(outputName, inputOfClone, requester);
    }
    void clearClonePtr(QelTransform * requester) override {
        noteRequest("clear", requester);
        QelTransform::clearClonePtr(requester);
    }

  private:
    void note(std::string const & event) const {
        if (log != nullptr) log->note(getLabel() + '.' + event);
    }
    void noteRequest(char const * event, QelTransform const * requester) const {
        note(std::string(event) + '(' + (requester ? requester->getLabel() : "NULL") + ')');
    }

    int setups_ = 0;
};

// A graph of ScriptedTransforms that write one log.
class ScriptedGraph {
  public:
    MoxSmartPtr<ScriptedTransform> add(std::string const & label, int inputs = 0, int outputs = 1) {
        return new ScriptedTransform(label, inputs, outputs, &log_);
    }
    // A chain of them, one for each letter of `labels`, the first without an input.
    std::vector<MoxSmartPtr<ScriptedTransform>> chain(std::string const & labels) {
        std::vector<MoxSmartPtr<ScriptedTransform>> made;
        for (char const label : labels) {
            made.push_back(add(std::string(1, label), made.empty() ? 0 : 1));
            if (made.size() > 1) made.back()->connect(0, made[made.size() - 2], 0);
        }
        return made;
    }
    std::string takeLog(std::string const & part = "") { return log_.take(part); }

  private:
    TransformLog log_;
};

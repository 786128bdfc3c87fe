#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "QelInputConnectionPoint.h"
#include "QelOutputConnectionPoint.h"
#include "QelRenderedItemContainer.h"
#include "QelStreamData.h"
#include "StreamTesting.h"

// Stream data that are no image: their items are whatever the test puts there.

class PlainItem : public QelRenderedItem {
  public:
    explicit PlainItem(QelEmbeddedRenderedItemContainer * container = nullptr)
        : QelRenderedItem(container) {}
    void compute() override {}
};

// Notes what it is told, and has the items that the test says.
class PlainContainer : public QelRenderedItemContainer {
  public:
    using QelRenderedItemContainer::QelRenderedItemContainer;

    std::vector<bool> cachings;
    std::vector<MoxSmartPtr<QelRenderedItem>> items;
    QelDataDesc * lastRequest = nullptr;

    void discardReference(QelRenderedItem *) override {}
    void setCacheTiles(bool cache) override { cachings.push_back(cache); }
    void clear() override { items.clear(); }
    Iterator makeIterator(QelDataDesc * desc) override {
        lastRequest = desc;
        return Iterator(std::make_unique<Walk>(items));
    }

  private:
    class Walk : public Iterator::SubIterator {
      public:
        explicit Walk(std::vector<MoxSmartPtr<QelRenderedItem>> const & items) : items_(items) {}
        bool done() const override { return at_ == items_.size(); }
        void next() override { ++at_; }
        MoxSmartPtr<QelRenderedItem> get() const override { return items_[at_]; }

      private:
        std::vector<MoxSmartPtr<QelRenderedItem>> const & items_;
        std::size_t at_ = 0;
    };
};

class PlainStreamData : public QelStreamData {
  public:
    explicit PlainStreamData(QelOutputConnectionPoint * owner)
        : QelStreamData(owner), container(new PlainContainer(owner)) {}

    MoxSmartPtr<PlainContainer> container;  // null for stream data that have none
    int resets = 0;
    int containerQuestions = 0;

    MoxSmartPtr<QelRenderedItemContainer> getRenderedItemContainer() override {
        ++containerQuestions;
        return container;
    }
    void resetContainer() override { ++resets; }
};

class PlainOutput : public QelOutputConnectionPoint {
  public:
    explicit PlainOutput(std::string name) : QelConnectionPoint(std::move(name)), data(this) {
        setStreamDataPointer(&data);
    }
    ~PlainOutput() override { disconnectAll(); }

    PlainStreamData data;

    MoxSmartPtr<QelConnectionPoint> clone() const override { return create(name()); }
    MoxSmartPtr<QelConnectionPoint> create(std::string const & name) const override {
        return static_cast<QelOutputConnectionPoint *>(new PlainOutput(name));
    }
    MoxSmartPtr<QelConnectionPoint> createAlias(std::string const &) const override {
        return nullptr;
    }
    std::type_info const & getDataType() const override { return typeid(PlainStreamData); }
};

class PlainInput : public QelInputConnectionPoint {
  public:
    explicit PlainInput(std::string name) : QelConnectionPoint(std::move(name)) {}

    MoxSmartPtr<QelConnectionPoint> clone() const override { return create(name()); }
    MoxSmartPtr<QelConnectionPoint> create(std::string const & name) const override {
        return static_cast<QelInputConnectionPoint *>(new PlainInput(name));
    }
    MoxSmartPtr<QelConnectionPoint> createAlias(std::string const &) const override {
        return nullptr;
    }
    std::type_info const & getDataType() const override { return typeid(PlainStreamData); }
};

class PlainRequest : public QelDataDesc {
  public:
    MoxSmartPtr<QelDataDesc> clone() const override { return new PlainRequest(*this); }
};

// A transform, labelled "hooked", whose second output hands out plain items.
class PlainStreamFixture : public testing::Test {
  protected:
    PlainStreamFixture() {
        output_ = new PlainOutput("data");
        transform_->addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(output_.get()));
        transform_->onSetup = [this] { transform_->setStatusOK(); };
        transform_->onDependencies = [](QelRenderedItem *, QelSmartRenderedItemVector *) {};
    }

    PlainStreamData & data() { return output_->data; }
    PlainContainer & container() { return *data().container; }
    MoxSmartPtr<QelRenderedItem> ownItem() { return new PlainItem(data().container.get()); }
    // Makes the setup fail with this.
    void failWith(ZanError const & error) {
        transform_->onSetup = [this, error] { transform_->setStatusBad(error); };
    }
    void expectState(bool outOfDate, bool statusOk) {
        EXPECT_EQ(outOfDate, data().outOfDate());
        EXPECT_EQ(statusOk, data().statusOk());
    }

    MoxSmartPtr<HookTransform> transform_{new HookTransform};
    MoxSmartPtr<PlainOutput> output_;
};

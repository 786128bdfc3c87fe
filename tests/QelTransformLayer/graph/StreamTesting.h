#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "GraphTesting.h"
#include "QelError.h"
#include "QelUnitInfo.h"
#include "QelVectorTileContainer.h"
#include "QelXySimpleRegion.h"
#include "TestOps.h"

// Transforms and spaces for tests of stream data and tile containers.

// A size in pixels, of one resolution of an image; 0 for an axis without limit.
struct PixelSize {
    unsigned width;
    unsigned height;
};

// A space of 3 by 2 inches with these resolutions; none is selected.
inline MoxSmartPtr<QelXyCoordSpace> spaceWith(std::initializer_list<PixelSize> sizes) {
    MoxSmartPtr<QelXyCoordSpace> space(
        new QelXyCoordSpace(QelValue(3.0, QEL_UNIT_INCH), QelValue(2.0, QEL_UNIT_INCH)));
    auto const half = [](unsigned count) {
        return count == 0 ? QelResolution() : QelResolution::ofPixels(count);
    };
    for (PixelSize const & size : sizes)
        space->addResolution(QelXyCoordSpace::Resolution{half(size.width), half(size.height)});
    return space;
}

// The region `rect` of an output, at its resolution of that size.
inline MoxSmartPtr<QelXySimpleRegion> regionOf(QelImageOutputCP & output, PixelSize size,
                                               QelRect const & rect) {
    MoxSmartPtr<QelXyCoordSpace> const space = output.getCoordSpace()->cloneXy();
    space->selectResolution(size.width, size.height);
    return new QelXySimpleRegion(space, rect.x, rect.y, rect.width, rect.height);
}

inline QelTileId idOf(PixelSize size, std::int32_t x = 0, std::int32_t y = 0) {
    return QelTileId(x, y, static_cast<std::int32_t>(size.width),
                     static_cast<std::int32_t>(size.height));
}

// An output of `width` by `height` pixels in tiles of 128 by 128, labelled "hooked", that does what
// the test says: it describes itself and has a gradient as its op unless a hook says otherwise.
// Hooks are set before the transform is used; notes are safe from any thread.
class HookTransform : public QelTransform {
  public:
    explicit HookTransform(TestImage image = {.width = 300, .height = 200})
        : image_(std::move(image)) {
        setLabel("hooked");
        addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP("out")));
    }

    std::function<void()> onSetup;
    std::function<MoxSmartPtr<QelImageOp>(QelTileId const &, int)> onDetermineOp;
    std::function<MoxSmartPtr<QelTile>(MoxSmartPtr<QelTile>, QelImageRequestDesc const &)>
        onGetTile;
    std::function<void(QelRectBuffer &, QelImageRequestDesc const &)> onGenRect;
    std::function<bool(QelDataOrg const *, int)> onCanGenRectForData;
    std::function<void(QelRenderedItem *, QelSmartRenderedItemVector *)> onDependencies;

    QelImageOutputCP & output(int index = 0) { return imageOutput(*this, index); }
    // What it was asked, as "determineOp(0,0,200,300;0)", in order and separated by blanks.
    std::string calls() const {
        std::lock_guard const guard(lock_);
        std::string all;
        for (std::string const & call : calls_)
            all += (all.empty() ? "" : " ") + call;
        return all;
    }
    int count(std::string const & operation) const {
        std::lock_guard const guard(lock_);
        int found = 0;
        for (std::string const & call : calls_)
            found += call.substr(0, call.find('(')) == operation ? 1 : 0;
        return found;
    }
    void forgetCalls() {
        std::lock_guard const guard(lock_);
        calls_.clear();
    }

    MoxSmartPtr<QelTransform> clone() const override { return nullptr; }

    // The default description; for onSetup.
    void describe() {
        MoxSmartPtr<QelXyCoordSpace> const space(new QelXyCoordSpace(
            static_cast<unsigned>(image_.width), static_cast<unsigned>(image_.height)));
        output().setAttributes(image_.dataOrg(), space, nullptr, nullptr, true);
        setStatusOK();
    }
    // The same with several resolutions.
    void describe(std::initializer_list<PixelSize> sizes) {
        output().setAttributes(image_.dataOrg(), spaceWith(sizes), nullptr, nullptr, true);
        setStatusOK();
    }

    void setupTransform() override {
        note("setup()");
        if (onSetup) return onSetup();
        describe();
    }
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int outputIndex) const override {
        std::ostringstream text;
        text << "determineOp(" << id << ";" << outputIndex << ')';
        note(text.str());
        if (onDetermineOp) return onDetermineOp(id, outputIndex);
        return gradient(id);
    }
    MoxSmartPtr<QelTile> getTile(MoxSmartPtr<QelTile> tile,
                                 MoxSmartPtr<QelImageRequestDesc> request) override {
        note("getTile", tile->rect());
        return onGetTile ? onGetTile(tile, *request) : QelTransform::getTile(tile, request);
    }
    void genRect(MoxSmartPtr<QelRectBuffer> buffer,
                 MoxSmartPtr<QelImageRequestDesc> request) override {
        note("genRect", buffer->rect());
        if (onGenRect) return onGenRect(*buffer, *request);
        QelTransform::genRect(buffer, request);
    }
    bool canGenRectForData(QelDataOrg const * org, int outputIndex) override {
        note("canGenRectForData(" + std::to_string(outputIndex) + ')');
        return onCanGenRectForData ? onCanGenRectForData(org, outputIndex)
                                   : QelTransform::canGenRectForData(org, outputIndex);
    }
    void generateDependencies(QelRenderedItem * item,
                              QelSmartRenderedItemVector * dependencies) override {
        note("generateDependencies()");
        if (onDependencies) return onDependencies(item, dependencies);
        QelTransform::generateDependencies(item, dependencies);
    }

    // An op for the size in pixels of `id`.
    MoxSmartPtr<QelImageOp> gradient(QelTileId const & id) const {
        TestImage image = image_;
        image.width = id.resolutionWidth;
        image.height = id.resolutionHeight;
        return MoxSmartPtr<QelImageOp>(new GradientOp(image));
    }

    // For onDetermineOp: the transform has no ops.
    static MoxSmartPtr<QelImageOp> noOp(QelTileId const &, int) { return nullptr; }

  private:
    void note(std::string call) const {
        std::lock_guard const guard(lock_);
        calls_.push_back(std::move(call));
    }
    void note(char const * operation, QelRect const & rect) const {
        std::ostringstream text;
        text << operation << rect;
        note(text.str());
    }

    TestImage image_;
    mutable std::mutex lock_;
    mutable std::vector<std::string> calls_;
};

// One that makes pixels without ops, in genRect(): the gradient at every resolution.
inline MoxSmartPtr<HookTransform> painterWithoutOps(TestImage image = {.width = 300,
                                                                       .height = 200}) {
    MoxSmartPtr<HookTransform> painter(new HookTransform(std::move(image)));
    painter->onDetermineOp = &HookTransform::noOp;
    painter->onGenRect = [](QelRectBuffer & buffer, QelImageRequestDesc const & request) {
        fillPixels(buffer, request.region()->pixelBounds(), gradientAt);
    };
    return painter;
}

// What an object prints.
template <class Printed>
std::string printedText(Printed const & object) {
    std::ostringstream out;
    object.print(out);
    return out.str();
}

// A transform labelled "hooked" with the output "out", 300 by 200 pixels in tiles of 128 by 128.
class ImageStreamFixture : public testing::Test {
  protected:
    QelImageOutputCP & output() { return transform_->output(); }
    QelImageStreamData & data() { return *output().imageStreamData(); }
    QelImageRequestDesc request(QelRect const & rect) {
        return QelImageRequestDesc(regionOf(output(), {300, 200}, rect));
    }
    // The transform describes its output with these resolutions, or with this space.
    void offer(std::initializer_list<PixelSize> sizes) { offer(spaceWith(sizes)); }
    void offer(MoxSmartPtr<QelXyCoordSpace> const & space) {
        transform_->onSetup = [this, space] {
            data().setAttributes(true, space, nullptr, TestImage{}.dataOrg());
            transform_->setStatusOK();
        };
    }
    void fail(std::string const & text = "No such thing") {
        transform_->onSetup = [this, text] {
            transform_->setStatusBad(
                QelError(QelErrorCode::invalidValue, text, __FILE__, __LINE__));
        };
        transform_->markOutOfDate(true);
    }

    MoxSmartPtr<HookTransform> transform_{new HookTransform};
};

// The container of the output "out" of a transform labelled "hooked": 300 by 200 pixels in tiles of
// 128 by 128.
class TileContainerFixture : public testing::Test {
  protected:
    TileContainerFixture() {
        transform_->update();
        transform_->forgetCalls();
    }

    QelImageOutputCP & output() { return transform_->output(); }
    QelVectorTileContainer<QelTileId> & container() { return *output().getTileContainer(); }
    MoxSmartPtr<QelTile> newTile(QelTileId const & id) {
        return new QelTile(container().getImage(id)->dataOrg(), id);
    }
    std::string idsOf(QelDataDesc * request = nullptr) {
        std::ostringstream text;
        for (auto i = container().makeIterator(request); !i.done(); i.next())
            text << dynamic_cast<QelTile const &>(*i.get()).tileId();
        return text.str();
    }

    MoxSmartPtr<HookTransform> transform_{new HookTransform};
};

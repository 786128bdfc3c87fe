#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Qel2DImage.h"
#include "QelContainerBase.h"

// A container that writes down what it is asked for and does what the test says. Without a hook
// createTile() makes a plain tile and inserts it, questions are answered with no, and all else
// does nothing. Recording is safe from any thread; hooks are set before the container is used.
//
//     MockContainer container;
//     container.onComputeTile = [](QelTile * tile) { ...; tile->setComplete(true); };
//     image->getTile(1, 0);
//     EXPECT_EQ("createTile(1,0) determineOp computeTile(1,0)", container.calls());
class MockContainer : public QelContainerBase {
  public:
    std::function<MoxSmartPtr<QelTile>(Qel2DImage *, std::int32_t, std::int32_t)> onCreateTile =
        [](Qel2DImage * image, std::int32_t x, std::int32_t y) {
            QelRect const whole = image->imageRect();
            MoxSmartPtr<QelTile> const tile(
                new QelTile(image->dataOrg(), QelTileId(x, y, whole.width, whole.height)));
            image->insertTile(tile);
            return tile;
        };
    std::function<void(Qel2DImage *)> onDetermineOp;
    std::function<void(QelTile *)> onComputeTile;
    std::function<void(Qel2DImage *, QelRectBuffer *)> onGenRect;
    std::function<void(QelTile *)> onGenTile;
    std::function<bool(QelTile *)> onCanGenTile;
    std::function<bool(QelRectBuffer *)> onCanGenRect;
    std::function<void(int)> onWorkDone;
    QelItemOwner * owner = nullptr;
    std::string text = "MockContainer";

    // All calls so far, separated by blanks; tiles by their position.
    std::string calls() const {
        std::string all;
        std::lock_guard const guard(lock_);
        for (std::string const & call : calls_)
            all += (all.empty() ? "" : " ") + call;
        return all;
    }
    // How many calls of one operation: count("genRect").
    int count(std::string const & operation) const {
        int found = 0;
        std::lock_guard const guard(lock_);
        for (std::string const & call : calls_) {
            if (call.substr(0, call.find('(')) == operation) ++found;
        }
        return found;
    }
    void forgetCalls() {
        std::lock_guard const guard(lock_);
        calls_.clear();
    }

    MoxSmartPtr<QelTile> createTile(Qel2DImage * image, std::int32_t x, std::int32_t y) override {
        note("createTile", x, y);
        return onCreateTile(image, x, y);
    }
    void determineOp(Qel2DImage * image) override {
        note("determineOp");
        if (onDetermineOp) onDetermineOp(image);
    }
    void computeTile(QelTile * tile) override {
        note("computeTile", tile->tileId().tileX, tile->tileId().tileY);
        if (onComputeTile) onComputeTile(tile);
    }
    void genRect(Qel2DImage * image, QelRectBuffer * buffer) override {
        note("genRect");
        if (onGenRect) onGenRect(image, buffer);
    }
    void genTile(QelTile * tile) override {
        note("genTile", tile->tileId().tileX, tile->tileId().tileY);
        if (onGenTile) onGenTile(tile);
    }
    bool canGenTile(QelTile * tile) override {
        note("canGenTile", tile->tileId().tileX, tile->tileId().tileY);
        return onCanGenTile && onCanGenTile(tile);
    }
    bool canGenRect(QelRectBuffer * buffer) override {
        note("canGenRect");
        return onCanGenRect && onCanGenRect(buffer);
    }
    void workDone(int units) override {
        note("workDone(" + std::to_string(units) + ")");
        if (onWorkDone) onWorkDone(units);
    }
    QelItemOwner * getOwner() const override { return owner; }
    std::string description() const override { return text; }

  private:
    void note(std::string call) {
        std::lock_guard const guard(lock_);
        calls_.push_back(std::move(call));
    }
    void note(std::string const & operation, std::int32_t x, std::int32_t y) {
        note(operation + "(" + std::to_string(x) + "," + std::to_string(y) + ")");
    }

    mutable std::mutex lock_;
    std::vector<std::string> calls_;
};

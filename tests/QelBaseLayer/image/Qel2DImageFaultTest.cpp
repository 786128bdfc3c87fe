#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "FaultySystem.h"
#include "ImageTesting.h"
#include "OutputCapture.h"

// Every allocation of pixels on the way through a chain of images fails once.

namespace {

// Knows how much was asked for when it was refused.
class SizedFaults : public FaultySystem {
  public:
    void * allocate(std::size_t bytes) noexcept override {
        std::uint64_t const before = failures();
        void * const memory = FaultySystem::allocate(bytes);
        if (failures() != before) refused_ = bytes;
        return memory;
    }
    std::size_t refused() const { return refused_; }

  private:
    std::size_t refused_ = 0;
};

// A source and three ops, each with an image.
struct Chain {
    explicit Chain(bool cached, bool fills) {
        // 3 by 2 tiles of 16 by 16.
        TileLimits const limits(16, 16);
        TestImage const report{.width = 40, .height = 30};
        std::vector<MoxSmartPtr<Qel2DImage>> images{imageOf(new RefusingOp(report, fills, true))};
        images.push_back(imageOf(new AddOp(images.back(), 5)));
        images.push_back(imageOf(new InvertOp(images.back())));
        images.push_back(imageOf(new AddOp(images.back(), 1)));
        for (MoxSmartPtr<Qel2DImage> const & each : images)
            each->setCacheTiles(cached);
        image = images.back();
    }
    static double picture(std::int32_t x, std::int32_t y, int band) {
        return 251 - gradientAt(x, y, band);
    }

    MoxSmartPtr<Qel2DImage> image;
};

using Render = std::function<void(Qel2DImage & image)>;

void expectPicture(MoxSmartPtr<QelRectBuffer> const & buffer, QelRect const & rect) {
    ASSERT_TRUE(buffer);
    EXPECT_TRUE(showsPixels(*buffer, rect, Chain::picture));
}

void renderTile(Qel2DImage & image) {
    expectPicture(image.getTile(1, 1), QelRect(16, 16, 16, 14));
}

void renderView(Qel2DImage & image) {
    QelRect const rect(18, 2, 4, 5);
    expectPicture(image.getData(rect, false), rect);
}

void renderCopy(Qel2DImage & image) {
    expectPicture(image.getData(QelRect(12, 12, 60, 10), true), QelRect(12, 12, 28, 10));
}

void renderStolen(Qel2DImage & image) {
    QelRect const rect(16, 0, 8, 6);
    MoxSmartPtr<QelRectBuffer> const dest = emptyBuffer(image.dataOrg(), rect);
    EXPECT_TRUE(image.fillRWBuffer(dest, true));
    expectPicture(dest, rect);
}

void renderFilled(Qel2DImage & image) {
    QelRect const rect(12, 12, 10, 8);
    MoxSmartPtr<QelRectBuffer> const dest = emptyBuffer(image.dataOrg(), rect);
    EXPECT_TRUE(image.fillRWBuffer(dest, true));
    expectPicture(dest, rect);
}

void renderShared(Qel2DImage & image) {
    for (QelRect const & rect : {QelRect(0, 0, 8, 6), QelRect(12, 12, 10, 8)}) {
        MoxSmartPtr<QelRectBuffer> const buffer = emptyBuffer(image.dataOrg(), rect);
        image.shareBuffer(buffer, rect, true);
        expectPicture(buffer, rect);
    }
}

struct Row {
    char const * name;
    Render render;
};

std::vector<Row> rows() {
    return {{"Tile", renderTile},     {"View", renderView},     {"Copy", renderCopy},
            {"Stolen", renderStolen}, {"Filled", renderFilled}, {"Shared", renderShared}};
}

class Qel2DImageFaultTest : public testing::TestWithParam<Row> {
  protected:
    Qel2DImageFaultTest()
        : bytes_(QelSystemConfig::currentBytes), blocks_(QelSystemConfig::liveBlocks) {}

    std::uint64_t allocationsOf(Chain const & chain) const {
        FaultySystem const system;
        GetParam().render(*chain.image);
        return system.allocations();
    }

    // One allocation fails; then all is well again.
    void failOnce(std::uint64_t n, bool cached, bool fills) const {
        SizedFaults system;
        {
            Chain const chain(cached, fills);
            system.failAllocation(n);
            auto const error = errorOf([&] { GetParam().render(*chain.image); });
            ASSERT_TRUE(error);
            EXPECT_EQ(QelErrorCode::unexpectedException, error->getErrcode());
            EXPECT_EQ("Failed to allocate a memory buffer of size " +
                          std::to_string(system.refused()) +
                          " bytesSystem error code = 12\n"
                          "System error string = Cannot allocate memory",
                      std::string(error->getMsg()));
            EXPECT_EQ(1U, system.failures());
            if (!cached) expectNothingHeld(system);
            GetParam().render(*chain.image);
            if (!cached) expectNothingHeld(system);
        }
        expectNothingHeld(system);
    }

    void expectNothingHeld(FaultySystem const & system) const {
        EXPECT_EQ(0U, system.liveAllocations());
        EXPECT_EQ(0U, system.foreignReleases());
        EXPECT_EQ(bytes_, QelSystemConfig::currentBytes);
        EXPECT_EQ(blocks_, QelSystemConfig::liveBlocks);
    }

    std::int64_t bytes_;
    std::int64_t blocks_;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Render, Qel2DImageFaultTest, testing::ValuesIn(rows()),
                         [](auto const & row) { return std::string(row.param.name); });

TEST_P(Qel2DImageFaultTest, EachAllocationFailsOnceAndLeavesNothingBehind) {
    for (bool const cached : {false, true}) {
        for (bool const fills : {false, true}) {
            std::uint64_t const allocations = allocationsOf(Chain(cached, fills));
            ASSERT_LT(3U, allocations);
            for (std::uint64_t n = 1; n <= allocations; ++n) {
                SCOPED_TRACE("allocation " + std::to_string(n) + " of " +
                             std::to_string(allocations) + (cached ? ", cached" : "") +
                             (fills ? "" : ", the source writes only into tiles"));
                failOnce(n, cached, fills);
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST_P(Qel2DImageFaultTest, AMemoryThatIsUsedUpIsAnErrorEachTime) {
    FaultySystem system;
    Chain const chain(true, true);
    system.failAllocationsFrom(1);
    for (int attempt = 0; attempt < 3; ++attempt) {
        auto const error = errorOf([&] { GetParam().render(*chain.image); });
        ASSERT_TRUE(error);
        EXPECT_EQ(QelErrorCode::unexpectedException, error->getErrcode());
        EXPECT_FALSE(chain.image->computing());
    }
    EXPECT_EQ(0U, system.liveAllocations());
    system.failAllocation(0);
    GetParam().render(*chain.image);
}

#include "QelOneInputOp.h"

#include <mutex>
#include <type_traits>
#include <utility>

#include "../platform/Sanitized.h"
#include "ClientTesting.h"
#include "DiagonalOrg.h"

namespace {

// The input's mirror image, left to right; remembers what it was asked for.
class MirrorOp : public QelOneInputOp {
  public:
    explicit MirrorOp(MoxSmartPtr<Qel2DImage> input) : QelOneInputOp(std::move(input)) {}

    struct Call {
        int type;
        QelRect rect;
        QelOpContext context;

        friend bool operator==(Call const &, Call const &) = default;
    };
    std::vector<Call> calls() const { return calls_; }

  protected:
    bool supports(QelDataType type) const override { return !(type == QelDataType::Double); }

    void computeRect(int type, QelRectBuffer & buffer, QelRect const & rect,
                     QelOpContext opContext) const override {
        std::int32_t const last = input()->imageRect().width - 1;
        QelRect const mirrored(last - static_cast<std::int32_t>(rect.right()), rect.y, rect.width,
                               rect.height);
        MoxSmartPtr<QelRectBuffer> const from = input()->getData(mirrored, true);
        fillPixels(buffer, rect, [&](std::int32_t x, std::int32_t y, int band) {
            return elementAt(*from, last - x, y, band);
        });
        std::lock_guard const guard(lock_);
        calls_.push_back({type, rect, opContext});
    }

  private:
    mutable std::mutex lock_;
    mutable std::vector<Call> calls_;
};

constexpr std::int32_t width = 300;
constexpr std::int32_t height = 200;

MoxSmartPtr<Qel2DImage> inputOf(QelDataType type = QelDataType::UChar) {
    return new Qel2DImage(
        new GradientOp({.width = width, .height = height, .type = type, .tileWidth = 130}));
}

double mirroredGradient(std::int32_t x, std::int32_t y, int band) {
    return gradientAt(width - 1 - x, y, band);
}

double nothing(std::int32_t, std::int32_t, int) {
    return 7;
}

#if defined(__OPTIMIZE__)
constexpr bool optimised = true;
#else
constexpr bool optimised = false;
#endif

// Tells where the stack ends that a request has built up when it comes to the source.
class DepthOp : public GradientOp {
  public:
    DepthOp() : GradientOp({.width = 16, .height = 16}) {}

    void compute(QelRectBuffer * buffer, QelOpContext opContext) override {
        GradientOp::compute(buffer, opContext);
        char const here = 0;
        deepest_ = reinterpret_cast<std::uintptr_t>(&here);
    }
    std::uintptr_t deepest() const { return deepest_; }

  private:
    std::uintptr_t deepest_ = 0;
};

// Bytes between this and the source of `length` operations.
template <class Op>
std::uintptr_t stackOfChain(int length) {
    MoxSmartPtr<DepthOp> const source = new DepthOp;
    MoxSmartPtr<Qel2DImage> image = new Qel2DImage(source);
    for (int i = 0; i < length; ++i)
        image = new Qel2DImage(new Op(image));
    image->getTile(0, 0);
    char const here = 0;
    return reinterpret_cast<std::uintptr_t>(&here) - source->deepest();
}

static_assert(std::is_base_of_v<QelOneInputOp, QelPointOp>);
static_assert(std::is_base_of_v<QelOneInputOp, QelNeighbourOp>);

TEST(QelOneInputOpTest, ReportsItsInput) {
    MoxSmartPtr<Qel2DImage> const input = inputOf(QelDataType::Short);
    MirrorOp op(input);
    QelImageInfo info;
    ASSERT_TRUE(op.outputInfo(info));
    EXPECT_EQ(width, info.width());
    EXPECT_EQ(height, info.height());
    EXPECT_EQ(3, info.numBands());
    EXPECT_TRUE(info.precision() == QelDataType::Short);
    EXPECT_EQ(input->dataOrg()->tileWidth(), info.tileRect().width);
    EXPECT_EQ(input.get(), op.input().get());
}

TEST(QelOneInputOpTest, WithoutInputItReportsABadStatus) {
    MirrorOp op(nullptr);
    QelImageInfo info;
    EXPECT_FALSE(op.outputInfo(info));
    EXPECT_EQ(nullptr, op.input().get());
    expectQelError(info.status(), QelErrorCode::misuse, "The op does not refer to any Qel2DImage");
    QelRectBuffer buffer(4, 4, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    expectRaises(QelErrorCode::misuse, "The op does not refer to any Qel2DImage",
                 [&] { op.compute(&buffer, 0); });
}

TEST(QelOneInputOpTest, ATypeThatItDoesNotSupportMakesTheReportABadOne) {
    MirrorOp op(inputOf(QelDataType::Double));
    QelImageInfo info;
    EXPECT_FALSE(op.outputInfo(info));
    expectQelError(info.status(), QelErrorCode::unsupportedDataType,
                   "The data type double is not a supported data type in " +
                       std::string(QelCoreMisc::classNameOf(op)));
}

TEST(QelOneInputOpTest, RefusesBuffersAheadOfAnyPixel) {
    MirrorOp op(inputOf());
    auto const expectRefused = [&op](int code, std::string const & text, QelRectBuffer * buffer) {
        expectRaises(code, text, [&] { op.compute(buffer, 0); });
    };
    MoxSmartPtr<QelDataOrg> const diagonal = new DiagonalOrg(4, 4);
    QelRectBuffer foreign(diagonal, 0, 0, 4, 4);
    QelRectBuffer bare(nullptr, QelRect(0, 0, 4, 4));
    QelRectBuffer floats(4, 4, 3, PIXEL_INTERLEAVED, QelDataType::Float);
    QelRectBuffer grey(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    expectRefused(QelErrorCode::nullPointer, "Argument is a NULL pointer", nullptr);
    expectRefused(QelErrorCode::nullPointer, "QelRectBuffer has no data organization", &bare);
    expectRefused(QelErrorCode::simpleDataOrgNeeded,
                  "Operations on pixels work with QelSimpleDataOrg only", &foreign);
    expectRefused(QelErrorCode::wrongPixelFormat, "Output buffer has invalid precision for Op",
                  &floats);
    expectRefused(QelErrorCode::wrongPixelFormat, "Output buffer has wrong number of bands for Op",
                  &grey);
    EXPECT_TRUE(op.calls().empty());
}

TEST(QelOneInputOpTest, ComputesWhatTheBufferHasOfTheImage) {
    MirrorOp op(inputOf());
    QelRectBuffer buffer(QelRect(-20, 190, 60, 30), 3, BAND_INTERLEAVED, QelDataType::UChar);
    fillPixels(buffer, buffer.rect(), nothing);
    op.compute(&buffer, 21);
    std::vector<MirrorOp::Call> const expected{{QelDataType::UChar, QelRect(0, 190, 40, 10), 21}};
    EXPECT_EQ(expected, op.calls());
    EXPECT_TRUE(showsPixels(buffer, QelRect(0, 190, 40, 10), mirroredGradient));
    EXPECT_TRUE(showsPixels(buffer, QelRect(-20, 190, 20, 30), nothing));
    EXPECT_TRUE(showsPixels(buffer, QelRect(0, 200, 40, 20), nothing));
}

TEST(QelOneInputOpTest, ABufferBesideTheImageIsLeftAlone) {
    MirrorOp op(inputOf());
    QelRectBuffer beside(QelRect(width, 0, 9, 9), 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    op.compute(&beside, 0);
    EXPECT_TRUE(op.calls().empty());
    EXPECT_FALSE(beside.isAllocated());
}

TEST(QelOneInputOpTest, ShowsTheSamePixelsForEveryTileSize) {
    for (std::int32_t const side : {1, 7, 64, 1000}) {
        SCOPED_TRACE(side);
        TileSize const size(side, side);
        Qel2DImage image(new MirrorOp(inputOf()));
        QelRect const part(250, 150, 50, 50);
        EXPECT_TRUE(showsPixels(*image.getData(part, true), part, mirroredGradient));
    }
}

// Each op holds its input and each image its op: dropping the last one must not recurse.
TEST(QelOneInputOpTest, AChainOfTenThousandIsMadeAndDropped) {
    MoxSmartPtr<Qel2DImage> const input = inputOf();
    MoxSmartPtr<Qel2DImage> image = input;
    for (int i = 0; i < 10'000; ++i)
        image = new Qel2DImage(new MirrorOp(image));
    EXPECT_EQ(2, input->refCount());
    image.release();
    EXPECT_EQ(1, input->refCount());
}

// A request takes a few calls for each operation. Compilers that do not optimise, and sanitizers,
// make these as large as they like.
TEST(QelOneInputOpTest, AChainOfTenThousandFitsOnAStackOfEightMegabytes) {
    if (!optimised || sanitized) GTEST_SKIP() << "for optimised code only";
    constexpr std::uintptr_t most = (8 << 20) / 10'000;
    EXPECT_GE(most, (stackOfChain<QelInvertOp>(600) - stackOfChain<QelInvertOp>(100)) / 500);
    EXPECT_GE(most, (stackOfChain<QelBlurOp>(600) - stackOfChain<QelBlurOp>(100)) / 500);
}

}  // namespace

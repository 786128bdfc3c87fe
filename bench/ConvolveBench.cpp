#include <bit>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "HandConvolve.h"
#include "QelClients.h"
#include "QelConvolveKernels.h"
#include "QelCpu.h"

// Convolutions of UChar pictures in fixed point against the loop in float arithmetic that a
// programmer would write by hand over the same memory; and the slight blur's own loops against the
// general ones. Both sides touch all their memory before the clock starts, and their pixels are
// compared.

HandConvolve const & handConvolve() {
    return *qelBestKernels<&baseline::handConvolve, &v3::handConvolve>();
}

namespace {

constexpr std::int32_t side = 2048;
constexpr std::int32_t reach = 2;

void require(bool good, char const * what) {
    if (good) return;
    std::cerr << "bench: " << what << '\n';
    std::abort();
}

// Computes tiles by copying from a buffer.
class CopyOp : public QelImageOp {
  public:
    explicit CopyOp(MoxSmartPtr<QelRectBuffer> source) : source_(std::move(source)) {}

    bool genOutputInfo(QelImageInfo & info, QelOpContext) override {
        info.setSize(side, side);
        info.setNumBands(source_->numBands());
        return true;
    }
    void compute(QelRectBuffer * buffer, QelOpContext) override {
        buffer->copyFrom(*source_, buffer->rect());
    }

  private:
    MoxSmartPtr<QelRectBuffer> source_;
};

// Some noise as one contiguous buffer, the same as an image that holds all its tiles, and two
// results.
struct Scene {
    explicit Scene(int numBands)
        : bands(numBands),
          picture(newBuffer(bands)),
          ours(newBuffer(bands)),
          theirs(newBuffer(bands)) {
        std::uint32_t state = 1;
        for (std::size_t i = 0; i < count(); ++i) {
            state = state * 1664525U + 1013904223U;
            picture->getData()[i] = static_cast<std::uint8_t>(state >> 24);
            ours->getData()[i] = theirs->getData()[i] = 0;
        }
        tiles = new Qel2DImage(new CopyOp(picture));
        tiles->setCacheTiles(true);
        for (Qel2DImage::TileIterator at(tiles, tiles->imageRect()); !at.done(); at.next())
            at.getTile();
    }

    static MoxSmartPtr<QelRectBuffer> newBuffer(int bands) {
        return new QelRectBuffer(side, side, bands, PIXEL_INTERLEAVED, QelDataType::UChar);
    }
    std::size_t count() const {
        return static_cast<std::size_t>(side) * side * static_cast<std::size_t>(bands);
    }

    void requireAgreement(int within) const {
        for (std::size_t i = 0; i < count(); ++i) {
            int const difference = ours->getData()[i] - theirs->getData()[i];
            require(std::abs(difference) <= within, "both results must agree");
        }
    }

    int bands;
    MoxSmartPtr<QelRectBuffer> picture;
    MoxSmartPtr<QelRectBuffer> ours;
    MoxSmartPtr<QelRectBuffer> theirs;
    MoxSmartPtr<Qel2DImage> tiles;
};

// The last one requested is kept.
Scene & sceneOf(int bands) {
    static std::unique_ptr<Scene> scene;
    if (!scene || scene->bands != bands) {
        scene.reset();
        scene = std::make_unique<Scene>(bands);
    }
    return *scene;
}

// A sharpening with no symmetry to exploit, and no weight of 0.
QelConvolutionKernel const & kernel() {
    static QelConvolutionKernel const made({-1, -2, -3, -2, -1, -2, 4,  9,  5,  -3, -3, 8, 40,
                                            11, -4, -2, 6,  7,  3,  -2, -1, -2, -4, -2, -1});
    return made;
}

void convolveByHand(HandConvolve::Convolve convolve, Scene & scene) {
    auto const bands = static_cast<std::size_t>(scene.bands);
    static std::vector<float> memory;
    memory.resize(HandConvolve::floatsNeeded(side, bands));
    std::vector<float> const weights(kernel().weights().begin(), kernel().weights().end());
    convolve({scene.picture->getData(), scene.theirs->getData(), side, side, bands}, weights.data(),
             memory.data());
}

template <int bands, bool fused>
void convolveHand(benchmark::State & state) {
    Scene & scene = sceneOf(bands);
    HandConvolve::Convolve const loop =
        fused ? handConvolve().convolveFused : handConvolve().convolve;
    if (loop == nullptr) {
        state.SkipWithError("this processor cannot fuse");
        return;
    }
    for (auto _ : state) {
        convolveByHand(loop, scene);
        benchmark::ClobberMemory();
    }
}

// The inner loops as the op calls them, over the whole picture at once.
class KernelCall {
  public:
    explicit KernelCall(Scene & scene) {
        int scale = 0;
        int negatives = 0;
        require(!QelCoreMisc::quantizeKernel(kernel().weights().data(), 25, 2, scale, negatives,
                                             integers_),
                "the kernel must have a form in fixed point");
        std::uint32_t clamp[8];
        QelCoreMisc::makeClampConstants(0, 255, clamp);
        plan_.reach = reach;
        plan_.weights = kernel().weights().data();
        plan_.integers = integers_;
        plan_.shift = std::countr_zero(static_cast<unsigned>(scale));
        for (int i = 0; i < 4; ++i)
            plan_.clamp[i] = static_cast<std::uint16_t>(clamp[2 * i]);
        setPixels(scene);
        workspace_.resize(kernels().bytesNeeded(pixels_.rows.count, pixels_.spread, plan_) / 8 + 1);
    }
    KernelCall(KernelCall const &) = delete;
    KernelCall & operator=(KernelCall const &) = delete;

    void run() {
        kernels().convolve[QelDataType::UChar](pixels_, plan_,
                                               reinterpret_cast<std::uint8_t *>(workspace_.data()));
    }

  private:
    static QelConvolveKernels const & kernels() {
        return *qelBestKernels<&qelOps::baseline::convolveKernels, &qelOps::v3::convolveKernels>();
    }

    void setPixels(Scene & scene) {
        pixels_.rows.from = scene.picture->getData();
        pixels_.rows.to = scene.ours->getData();
        pixels_.rows.fromStep = pixels_.rows.toStep = 1;
        pixels_.rows.fromLine = pixels_.rows.toLine = std::ptrdiff_t{side} * scene.bands;
        pixels_.rows.count = std::int64_t{side} * scene.bands;
        pixels_.rows.rows = side;
        pixels_.spread = scene.bands;
    }

    std::int32_t integers_[25];
    QelConvolvePlan plan_;
    QelPixelNeighbours pixels_;
    std::vector<std::uint64_t> workspace_;
};

template <int bands>
void convolveKernel(benchmark::State & state) {
    Scene & scene = sceneOf(bands);
    KernelCall call(scene);
    call.run();
    convolveByHand(handConvolve().convolve, scene);
    scene.requireAgreement(1);
    for (auto _ : state) {
        call.run();
        benchmark::ClobberMemory();
    }
}

// From an image of tiles into a buffer, as a client requests it.
template <int bands>
void convolveTiles(benchmark::State & state) {
    Scene & scene = sceneOf(bands);
    MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(new QelConvolveOp(scene.tiles, kernel()));
    image->fillRWBuffer(scene.ours, true);
    convolveByHand(handConvolve().convolve, scene);
    scene.requireAgreement(1);
    for (auto _ : state) {
        image->fillRWBuffer(scene.ours, true);
        benchmark::ClobberMemory();
    }
}

BENCHMARK(convolveKernel<1>)->Name("ConvolveInt5x5/qel")->Unit(benchmark::kMillisecond);
BENCHMARK(convolveHand<1, false>)->Name("ConvolveInt5x5/float")->Unit(benchmark::kMillisecond);
BENCHMARK(convolveHand<1, true>)->Name("ConvolveInt5x5/fused")->Unit(benchmark::kMillisecond);
BENCHMARK(convolveTiles<1>)->Name("ConvolveInt5x5Tiles/qel")->Unit(benchmark::kMillisecond);
BENCHMARK(convolveHand<1, false>)->Name("ConvolveInt5x5Tiles/float")->Unit(benchmark::kMillisecond);
BENCHMARK(convolveKernel<3>)->Name("ConvolveInt5x5Rgb/qel")->Unit(benchmark::kMillisecond);
BENCHMARK(convolveHand<3, false>)->Name("ConvolveInt5x5Rgb/float")->Unit(benchmark::kMillisecond);
BENCHMARK(convolveHand<3, true>)->Name("ConvolveInt5x5Rgb/fused")->Unit(benchmark::kMillisecond);
BENCHMARK(convolveTiles<3>)->Name("ConvolveInt5x5RgbTiles/qel")->Unit(benchmark::kMillisecond);
BENCHMARK(convolveHand<3, false>)
    ->Name("ConvolveInt5x5RgbTiles/float")
    ->Unit(benchmark::kMillisecond);

// ---- The slight blur

void blur(benchmark::State & state, QelImageOp * op) {
    MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(op);
    Scene & scene = sceneOf(3);
    Qel2DImage(new QelBlurOp(scene.tiles)).fillRWBuffer(scene.theirs, true);
    image->fillRWBuffer(scene.ours, true);
    scene.requireAgreement(0);
    for (auto _ : state) {
        image->fillRWBuffer(scene.ours, true);
        benchmark::ClobberMemory();
    }
}

void blurOwn(benchmark::State & state) {
    blur(state, new QelBlurOp(sceneOf(3).tiles));
}
void blurSeparable(benchmark::State & state) {
    blur(state, new QelConvolveOp(sceneOf(3).tiles, QelConvolutionKernel::blur(1)));
}
void blurSquare(benchmark::State & state) {
    QelConvolutionKernel const square({1, 2, 1, 2, 4, 2, 1, 2, 1});
    blur(state, new QelConvolveOp(sceneOf(3).tiles, square));
}
BENCHMARK(blurOwn)->Name("BlurRadius1/qel")->Unit(benchmark::kMillisecond);
BENCHMARK(blurSeparable)->Name("BlurRadius1/separable")->Unit(benchmark::kMillisecond);
BENCHMARK(blurSquare)->Name("BlurRadius1/square")->Unit(benchmark::kMillisecond);

}  // namespace

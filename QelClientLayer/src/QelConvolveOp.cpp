#include "QelConvolveOp.h"

#include <array>
#include <bit>
#include <cstdint>
#include <utility>
#include <vector>

#include "QelConvolveKernels.h"
#include "QelCoreMisc.h"
#include "QelCpu.h"

namespace {

// The level of 16-bit arithmetic.
constexpr int level = 2;

}  // namespace

QelConvolveKernels const & qelConvolveKernels() noexcept {
    static auto const * const best =
        qelBestKernels<&qelOps::baseline::convolveKernels, &qelOps::v3::convolveKernels>();
    return *best;
}

// A kernel's weights as integers.
class QelConvolveOp::FixedPoint {
  public:
    explicit FixedPoint(QelConvolutionKernel const & kernel) : integers_(kernel.weights().size()) {
        std::size_t const side = static_cast<std::size_t>(kernel.side());
        std::size_t const count = kernel.isSeparable() ? side : integers_.size();
        usable_ = quantize(kernel.weights().data(), static_cast<int>(count));
        if (kernel.isSeparable()) repeatForColumns(kernel, side);
    }

    void addTo(QelConvolvePlan & plan, int type) const {
        if (!usable_) return;
        plan.integers = integers_.data();
        plan.shift = shift_;
        plan.columnShift = shift_;
        plan.integerCentre = static_cast<std::int32_t>(plan.centre);
        addClamp(plan, type);
    }

  private:
    bool quantize(double const * weights, int count) {
        int scale = 0;
        int negativeSum = 0;
        if (QelCoreMisc::quantizeKernel(weights, count, level, scale, negativeSum,
                                        integers_.data())) {
            return false;
        }
        shift_ = std::countr_zero(static_cast<unsigned>(scale));
        return true;
    }

    // The weights of columns are those of rows, or their negatives. Quantising rounds negatives
    // differently, so even areas would not keep their values.
    void repeatForColumns(QelConvolutionKernel const & kernel, std::size_t side) {
        for (std::size_t i = 0; i < side; ++i) {
            bool const negative = kernel.weights()[side + i] < 0;
            integers_[side + i] = negative ? -integers_[i] : integers_[i];
        }
    }

    static void addClamp(QelConvolvePlan & plan, int type) {
        double least = 0;
        double most = 0;
        QelCoreMisc::getDataTypeMinMaxValues(QelDataType(type), least, most);
        std::array<std::uint32_t, 8> table{};
        QelCoreMisc::makeClampConstants(static_cast<int>(least), static_cast<int>(most),
                                        table.data());
        for (std::size_t i = 0; i < 4; ++i)
            plan.clamp[i] = static_cast<std::uint16_t>(table[2 * i]);
    }

    std::vector<std::int32_t> integers_;
    std::int32_t shift_ = 0;
    bool usable_ = false;
};

QelConvolveOp::QelConvolveOp(MoxSmartPtr<Qel2DImage> input, QelConvolutionKernel kernel)
    : QelNeighbourOp(std::move(input), kernel.reach()),
      kernel_(std::move(kernel)),
      fixedPoint_(std::make_unique<FixedPoint const>(kernel_)) {}

QelConvolveOp::~QelConvolveOp() = default;

void QelConvolveOp::changeElements(int type, QelPixelNeighbours const & pixels) const {
    QelConvolvePlan plan;
    plan.reach = kernel_.reach();
    plan.separable = kernel_.isSeparable();
    plan.weights = kernel_.weights().data();
    plan.centre = kernel_.centre();
    bool const small = type == QelDataType::UChar || type == QelDataType::Char;
    if (small) fixedPoint_->addTo(plan, type);
    QelConvolveKernels const & kernels = qelConvolveKernels();
    std::size_t const bytes = kernels.bytesNeeded(pixels.rows.count, pixels.spread, plan);
    auto const workspace = std::make_unique_for_overwrite<std::uint64_t[]>((bytes + 7) / 8);
    kernels.convolve[type](pixels, plan, reinterpret_cast<std::uint8_t *>(workspace.get()));
}

// How QelRectBuffer::copyFrom carries out the plans of QelCopyPlan.h with the kernels of
// QelCopyKernels.h.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <string>

#include "QelCopyKernels.h"
#include "QelCopyPlan.h"
#include "QelCpu.h"
#include "QelErrorFrames.h"
#include "QelRectBuffer.h"
#include "QelSimpleDataOrg.h"

namespace {

// Made when the library is loaded; null for static objects of others that copy even earlier.
QelCopyKernels const * const loadedKernels =
    qelBestKernels<&qelCopy::baseline::kernels, &qelCopy::v3::kernels>();

QelCopyKernels const & copyKernels() {
    return loadedKernels != nullptr ? *loadedKernels : qelCopy::baseline::kernels;
}

// ---- What is to be copied

QelSimpleDataOrg const & simpleOrg(QelRectBuffer const & buffer) {
    QelDataOrg const * org = buffer.dataOrg();
    QelSimpleDataOrg const * simple = org == nullptr ? nullptr : org->asSimple();
    if (simple == nullptr) {
        qelRaise(QelErrorCode::simpleDataOrgNeeded,
                 "Current implementation of QelRectBuffer::copyFrom() "
                 "only works with QelSimpleDataOrg for both src and dst");
    }
    return *simple;
}

struct Job {
    QelSimpleDataOrg const & source;
    QelSimpleDataOrg const & target;
    QelDataType const & sourceType;
    QelDataType const & targetType;
    QelCopyLayout layout;
};

Job makeJob(QelSimpleDataOrg const & source, QelSimpleDataOrg const & target,
            QelRect const & area) {
    Job job{source, target, source.bandTypes()[0], target.bandTypes()[0], {}};
    QelCopyLayout & layout = job.layout;
    layout.x = {area.width, source.pixelStride(), target.pixelStride()};
    layout.y = {area.height, source.lineStride(), target.lineStride()};
    layout.band = {std::min(source.numBands(), target.numBands()), 0, 0};
    layout.uniform = true;
    if (layout.band.count > 1) {
        layout.band.source = source.bandDelta(0, 1);
        layout.band.target = target.bandDelta(0, 1);
        layout.uniform = source.uniformBandOffsets() && target.uniformBandOffsets();
    }
    layout.sourceSize = job.sourceType.size();
    layout.targetSize = job.targetType.size();
    layout.sameType = job.sourceType == job.targetType;
    return job;
}

// ---- Choice of a routine

int indexOfSize(std::int64_t size) {
    switch (size) {
        case 1: return 0;
        case 2: return 1;
        case 4: return 2;
        case 8: return 3;
        default: return -1;
    }
}

QelCopyRoutine const & moveRoutine(std::int32_t size) {
    int const index = indexOfSize(size);
    if (index < 0) {
        qelRaise(QelErrorCode::invalidValue,
                 "src and dest data orgs in copy had a precision type whose size is not supported");
    }
    return *copyKernels().moves[index];
}

[[noreturn]] void raiseBadSource(Job const & job) {
    qelRaise(QelErrorCode::invalidValue,
             std::string("source data org in copy had a precision "
                         "type which was not a recognized QelDataType: ") +
                 job.sourceType.name() + " (destination type = " + job.targetType.name() + ")");
}

[[noreturn]] void raiseBadTarget(int code) {
    qelRaise(QelErrorCode::invalidValue,
             code == QelDataType::Error
                 ? "destination data org in copy had precision type defined as "
                   "QelDataType::Error"
                 : "destination data org in copy had a precision type which was not a "
                   "recognized QelDataType");
}

QelCopyRoutine const & chooseRoutine(Job const & job) {
    if (job.layout.sameType) return moveRoutine(job.sourceType.size());
    int const source = job.sourceType.code();
    int const target = job.targetType.code();
    if (source >= QelCopyKernels::types) raiseBadSource(job);
    if (target >= QelCopyKernels::types) raiseBadTarget(target);
    return *copyKernels().routines[source][target];
}

// ---- Block path

void copyRuns(std::uint8_t const * source, std::uint8_t * target, QelCopyBlocks const & blocks) {
    std::int64_t sourceStep = blocks.sourceStep;
    std::int64_t targetStep = blocks.targetStep;
    // Where a view is moved upwards within its own memory, later runs are still to be read when
    // earlier ones are written.
    bool const fromTheEnd = std::less<>()(source, target);
    if (fromTheEnd) {
        source += sourceStep * (blocks.count - 1);
        target += targetStep * (blocks.count - 1);
        sourceStep = -sourceStep;
        targetStep = -targetStep;
    }
    for (std::int64_t i = 0; i < blocks.count; ++i) {
        std::memmove(target, source, static_cast<std::size_t>(blocks.bytes));
        source += sourceStep;
        target += targetStep;
    }
}

void copyBlocks(Job const & job, std::uint8_t const * source, std::uint8_t * target,
                QelCopyBlocks const & blocks) {
    source += blocks.sourceStart;
    target += blocks.targetStart;
    if (!blocks.perBand) return copyRuns(source, target, blocks);
    for (int band = static_cast<int>(job.layout.band.count) - 1; band >= 0; --band) {
        copyRuns(source + job.source.bandDelta(0, band), target + job.target.bandDelta(0, band),
                 blocks);
    }
}

// ---- Element path

bool overlap(std::uint8_t const * source, std::uint8_t const * target,
             QelCopyLayout const & layout) {
    QelCopyReach const read = qelSourceReach(layout);
    QelCopyReach const written = qelTargetReach(layout);
    std::less<> const below;
    return below(source - read.before, target + written.after) &&
           below(target - written.before, source + read.after);
}

void runLoops(QelCopyRoutine const & routine, std::uint8_t const * source, std::uint8_t * target,
              QelCopyLoops const & loops) {
    source += loops.sourceStart;
    target += loops.targetStart;
    bool const inRows =
        loops.sourceStep == routine.sourceSize && loops.targetStep == routine.targetSize;
    if (inRows) {
        copyKernels().rowWalks[loops.shape](routine, source, target, loops);
    } else {
        routine.walks[loops.shape](source, target, loops);
    }
}

// Bands taken apart or put together, and converted, by way of some pixels in the caches.
class BandsConverter {
  public:
    BandsConverter(QelCopyRoutine const & routine, QelCopyBands const & bands, int count)
        : routine_(routine), bands_(bands), count_(count) {}

    void split(QelCopyBandsRow splitRow, std::uint8_t const * source, std::uint8_t * target) {
        inChunks(routine_.sourceSize, [&](std::int64_t done, std::int64_t pixels) {
            std::int64_t const bandBytes = pixels * routine_.sourceSize;
            splitRow(source + done * count_ * routine_.sourceSize, chunk_, bandBytes, pixels);
            for (int band = 0; band < count_; ++band) {
                routine_.row(chunk_ + band * bandBytes,
                             target + band * bands_.bandStep + done * routine_.targetSize, pixels);
            }
        });
    }

    void join(QelCopyBandsRow joinRow, std::uint8_t const * source, std::uint8_t * target) {
        inChunks(routine_.targetSize, [&](std::int64_t done, std::int64_t pixels) {
            std::int64_t const bandBytes = pixels * routine_.targetSize;
            for (int band = 0; band < count_; ++band) {
                routine_.row(source + band * bands_.bandStep + done * routine_.sourceSize,
                             chunk_ + band * bandBytes, pixels);
            }
            joinRow(chunk_, target + done * count_ * routine_.targetSize, bandBytes, pixels);
        });
    }

  private:
    static constexpr std::int64_t chunkBytes = 2048;

    template <class Work>
    void inChunks(std::int64_t elementSize, Work const & work) {
        std::int64_t const chunkPixels = chunkBytes / (count_ * elementSize);
        for (std::int64_t done = 0; done < bands_.pixels; done += chunkPixels)
            work(done, std::min(chunkPixels, bands_.pixels - done));
    }

    QelCopyRoutine const & routine_;
    QelCopyBands const & bands_;
    int count_;
    alignas(64) std::uint8_t chunk_[chunkBytes];
};

void runBands(QelCopyRoutine const & routine, QelCopyLayout const & layout,
              std::uint8_t const * source, std::uint8_t * target, QelCopyBands const & bands) {
    auto const count = static_cast<int>(layout.band.count);
    QelCopyKernels const & kernels = copyKernels();
    QelCopyBandsRow const split = kernels.splits[indexOfSize(layout.sourceSize)][count - 2];
    QelCopyBandsRow const join = kernels.joins[indexOfSize(layout.targetSize)][count - 2];
    bool const splits = bands.kind == QelCopyBands::Split;
    BandsConverter converter(routine, bands, count);
    source += bands.sourceStart;
    target += bands.targetStart;
    for (std::int64_t y = 0; y < bands.rows; ++y) {
        if (routine.moves) {
            (splits ? split : join)(source, target, bands.bandStep, bands.pixels);
        } else if (splits) {
            converter.split(split, source, target);
        } else {
            converter.join(join, source, target);
        }
        source += bands.sourceStep;
        target += bands.targetStep;
    }
}

// Requires: the layout's bands are uniform.
void copyElements(QelCopyRoutine const & routine, QelCopyLayout const & layout,
                  std::uint8_t const * source, std::uint8_t * target) {
    auto order = QelCopyOrder::Ascending;
    if (overlap(source, target, layout)) {
        bool const upwards = routine.moves && std::less<>()(source, target);
        if (upwards && qelCopyStridesAlike(layout)) order = QelCopyOrder::Descending;
    } else {
        QelCopyBands const bands = qelPlanBands(layout);
        if (bands.kind != QelCopyBands::None) {
            return runBands(routine, layout, source, target, bands);
        }
    }
    runLoops(routine, source, target, qelPlanLoops(layout, order));
}

void copyBandByBand(QelCopyRoutine const & routine, Job const & job, std::uint8_t const * source,
                    std::uint8_t * target) {
    QelCopyLayout layout = job.layout;
    layout.band = {1, 0, 0};
    for (int band = static_cast<int>(job.layout.band.count) - 1; band >= 0; --band) {
        copyElements(routine, layout, source + job.source.bandDelta(0, band),
                     target + job.target.bandDelta(0, band));
    }
}

// The address of the area's first pixel in band 0.
template <class Byte>
Byte * firstPixel(Byte * data, QelSimpleDataOrg const & org, QelRect const & rect,
                  QelRect const & area) {
    std::int64_t const dx = std::int64_t{area.x} - rect.x;
    std::int64_t const dy = std::int64_t{area.y} - rect.y;
    return data + org.pixelStride() * dx + org.lineStride() * dy + org.bandOffsets()[0];
}

void copyArea(QelRectBuffer & target, QelRectBuffer const & source, QelRect const & area) {
    QelSimpleDataOrg const & sourceOrg = simpleOrg(source);
    QelSimpleDataOrg const & targetOrg = simpleOrg(target);
    if (sourceOrg.numBands() < 1 || targetOrg.numBands() < 1) return;

    Job const job = makeJob(sourceOrg, targetOrg, area);
    QelCopyBlocks const blocks = qelPlanBlocks(job.layout);
    QelCopyRoutine const * routine = blocks.bytes > 0 ? nullptr : &chooseRoutine(job);

    // Nothing can be refused any more; from here on memory may be allocated.
    std::uint8_t const * from = firstPixel(source.getData(), sourceOrg, source.rect(), area);
    std::uint8_t * to = firstPixel(target.getData(), targetOrg, target.rect(), area);
    if (routine == nullptr) {
        copyBlocks(job, from, to, blocks);
    } else if (job.layout.uniform) {
        copyElements(*routine, job.layout, from, to);
    } else {
        copyBandByBand(*routine, job, from, to);
    }
}

}  // namespace

void QelRectBuffer::copyFrom(QelRectBuffer const & source, QelRect const & rect) {
    errno = 0;
    try {
        QelRect const area = rect.intersect(rect_).intersect(source.rect_);
        if (qelCopyHasPixels(area)) copyArea(*this, source, area);
    } catch (ZanError const &) {
        throw;
    } catch (...) {
        qelRaiseSystemFrame("Unexpected exception in rect buffer copy logic");
    }
}

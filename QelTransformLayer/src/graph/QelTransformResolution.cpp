#include <optional>
#include <string>

#include "QelError.h"
#include "QelImageInputCP.h"
#include "QelImageOutputCP.h"
#include "QelTextStream.h"
#include "QelTransform.h"

namespace {

using Resolution = QelXyCoordSpace::Resolution;

// What tells two kinds of resolutions apart: counts of pixels, and dots per unit.
struct ByPixels {
    static constexpr char const * operation = "getMatchingPixelInput";
    static constexpr char const * missing = "Could not find pixel resolution ";

    static bool isSame(QelResolution const & a, QelResolution const & b) {
        return a.pixels == b.pixels;
    }
    static bool isOpen(QelResolution const & half) { return half.pixels == 0; }
    static QelResolution request(QelResolution const & wanted) {
        return QelResolution::ofPixels(wanted.pixels);
    }
    static std::uint32_t shown(QelResolution const & half) { return half.pixels; }
};

struct ByDpu {
    static constexpr char const * operation = "getMatchingResolutionInput";
    static constexpr char const * missing = "Could not find dpu resolution ";
    // Dots per unit that were converted between units differ by rounding.
    static constexpr double tolerance = 1e-9;

    static bool isSame(QelResolution const & a, QelResolution const & b) {
        return a.dpu > 0.0 && b.dpu > 0.0 && a.isEquivalent(b, tolerance, true);
    }
    static bool isOpen(QelResolution const & half) { return half.isArbitrary(); }
    static QelResolution request(QelResolution const & wanted) { return wanted; }
    static double shown(QelResolution const & half) { return half.dpu; }
};

QelXyCoordSpace & inputSpace(QelTransform & transform, int outputIndex, int inputIndex,
                             std::string const & operation) {
    MoxSmartPtr<QelOutputConnectionPoint> const output =
        outputIndex >= 0 && outputIndex < transform.numOutputs()
            ? transform.getOutputCP(outputIndex)
            : nullptr;
    if (dynamic_cast<QelImageOutputCP const *>(output.get()) == nullptr)
        qelRaise(QelErrorCode::badRequest, "Bad outputCP in " + operation);
    int const index = inputIndex == -1 ? 0 : inputIndex;
    MoxSmartPtr<QelInputConnectionPoint> const input =
        index >= 0 && index < transform.numInputs() ? transform.getInputCP(index) : nullptr;
    auto const * const image = dynamic_cast<QelImageInputCP const *>(input.get());
    if (image == nullptr) qelRaise(QelErrorCode::outOfRange, "Bad index in " + operation);
    MoxSmartPtr<QelXyCoordSpace> const space = image->getCoordSpace();
    if (!space) qelRaise(QelErrorCode::outOfRange, "Bad index in " + operation);
    // The stream data holds it.
    return *space;
}

// The rows of a space that could answer a request.
template <class Kind>
struct Candidates {
    std::optional<Resolution> exact;
    std::optional<Resolution> openVert;
    std::optional<Resolution> openHorz;
    bool isArbitrary = false;

    Candidates(QelXyCoordSpace const & space, Resolution const & wanted) {
        for (unsigned i = 0; i < space.numResolutions() && !exact; ++i)
            consider(space.getResolution(i), wanted);
    }

  private:
    void consider(Resolution const & row, Resolution const & wanted) {
        bool const sameHorz = Kind::isSame(row.horz, wanted.horz);
        bool const sameVert = Kind::isSame(row.vert, wanted.vert);
        bool const isOpenHorz = Kind::isOpen(row.horz);
        bool const isOpenVert = Kind::isOpen(row.vert);
        if (sameHorz && sameVert) exact = row;
        if (sameHorz && isOpenVert) openVert = row;
        if (sameVert && isOpenHorz) openHorz = row;
        if (isOpenHorz && isOpenVert) isArbitrary = true;
    }
};

template <class Kind>
[[noreturn]] void raiseMissing(QelXyCoordSpace const & space, Resolution const & wanted) {
    QelTextStream text;
    text << Kind::missing << Kind::shown(wanted.horz) << ',' << Kind::shown(wanted.vert)
         << " in input:";
    for (unsigned i = 0; i < space.numResolutions(); ++i) {
        Resolution const row = space.getResolution(i);
        text << " (" << Kind::shown(row.horz) << ',' << Kind::shown(row.vert) << ')';
    }
    qelRaise(QelErrorCode::noMatchingResolution, text.str());
}

template <class Kind>
Resolution matching(QelXyCoordSpace & space, Resolution const & wanted) {
    Candidates<Kind> const found(space, wanted);
    if (found.exact) return *found.exact;
    auto const horz = [&] { return space.xDimension().specify(Kind::request(wanted.horz)); };
    auto const vert = [&] { return space.yDimension().specify(Kind::request(wanted.vert)); };
    if (found.openVert) return {found.openVert->horz, vert()};
    if (found.openHorz) return {horz(), found.openHorz->vert};
    if (!found.isArbitrary) raiseMissing<Kind>(space, wanted);
    Resolution const made{horz(), vert()};
    space.addResolution(made);
    return made;
}

}  // namespace

Resolution QelTransform::getMatchingPixelInput(Resolution const & wanted, int outputIndex,
                                               int inputIndex) {
    return matching<ByPixels>(inputSpace(*this, outputIndex, inputIndex, ByPixels::operation),
                              wanted);
}

Resolution QelTransform::getMatchingResolutionInput(Resolution const & wanted, int outputIndex,
                                                    int inputIndex) {
    QelXyCoordSpace & space = inputSpace(*this, outputIndex, inputIndex, ByDpu::operation);
    bool const isInPixels = wanted.horz.isPixelsOnly() || wanted.vert.isPixelsOnly();
    if (isInPixels && Candidates<ByDpu>(space, wanted).isArbitrary) {
        qelRaise(QelErrorCode::noMatchingResolution,
                 "Cannot select an input resolution for an output specified in pixels, because "
                 "the input suppports arbitrary resolution");
    }
    return matching<ByDpu>(space, wanted);
}

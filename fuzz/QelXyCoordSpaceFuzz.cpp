#include <algorithm>
#include <cmath>

#include "QelValueText.h"
#include "QelXyCoordSpace.h"
#include "ReadBack.h"

// The reader of coordinate spaces: any text gives a space or one of the known errors. All
// properties of a space that was read are queried. Its own text is refused because of the blank
// before the height; without that blank it gives the same space again.

namespace {

using Resolution = QelXyCoordSpace::Resolution;
using Pointer = MoxSmartPtr<QelXyCoordSpace>;

void require(bool good, char const * what, std::string const & text) {
    if (!good) fuzzFail(what, text);
}

// Bad text; units that do not convert; extents within the tolerance; resolutions in a relative
// unit; less than a sample; less than a pixel.
bool isRefusalOfASpace(int code) {
    for (int const known :
         {QelErrorCode::invalidValue, QelErrorCode::cannotConvertUnit, QelErrorCode::illegalWidth,
          QelErrorCode::unsuitableUnit, QelErrorCode::noSamples, QelErrorCode::zeroPixelsWide,
          QelErrorCode::zeroPixelsHigh}) {
        if (code == known) return true;
    }
    return false;
}

template <class Action>
void attempt(Action const & action) {
    try {
        action();
    } catch (ZanError const &) {
        // Not every space has a selection, or takes every unit.
    }
}

void convert(QelXyCoordSpace const & space) {
    for (int const from : {QEL_UNIT_PIXEL, QEL_UNIT_NORMALIZED, QEL_UNIT_INCH}) {
        for (int const to : {QEL_UNIT_PIXEL, QEL_UNIT_HEIGHT_RELATIVE, QEL_UNIT_CENTIMETER}) {
            QelValue const value(1.5, from);
            attempt([&] { space.convertHorzPosition(value, to, true); });
            attempt([&] { space.convertVertSpan(value, to, true); });
            attempt([&] { space.convertVertRange({value, value, 0, true, true}, to, true); });
        }
    }
}

void search(QelXyCoordSpace const & space) {
    Resolution found;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    attempt([&] { space.getMaxResolution(width, height); });
    attempt([&] { space.findClosestResolution(found, width + 1, height, 3); });
    attempt([&] { space.findClosestResolution(found, space.selectedResolution(), 3); });
    attempt([&] { space.findHorzResolution(space.selectedResolution().vert); });
    attempt([&] { space.isCompatible(space); });
}

void change(QelXyCoordSpace const & original) {
    for (int const unit : {0, 1, 2, 43}) {
        QelXyCoordSpace space(original);
        attempt([&] { space.setXyUnit(unit); });
        attempt([&] { space.scale(-0.5, unit == 0); });
        attempt([&] { space.scalePixels(3, 2, true); });
        attempt([&] { space.setWidth(0, pixels(3), true); });
        attempt([&] { space.intersectResolutions(&original); });
        attempt([&] { space.intersectDpuResolutions(&original, 1.0, false); });
        space.swapXY();
    }
}

// The last digit may change, since dots are computed from their distance.
bool alike(QelResolution const & a, QelResolution const & b) {
    return a.pixels == b.pixels && std::fabs(a.dpu - b.dpu) <= 1e-12 * a.dpu;
}

bool alike(Resolution const & a, Resolution const & b) {
    return alike(a.horz, b.horz) && alike(a.vert, b.vert);
}

bool alike(QelXyCoordSpace const & a, QelXyCoordSpace const & b) {
    bool same = fuzzWritten(a.width()) == fuzzWritten(b.width()) &&
                fuzzWritten(a.height()) == fuzzWritten(b.height()) &&
                a.numResolutions() == b.numResolutions() &&
                alike(a.selectedResolution(), b.selectedResolution());
    for (unsigned i = 0; same && i < a.numResolutions(); ++i)
        same = alike(a.getResolution(i), b.getResolution(i));
    return same;
}

bool isFinite(Resolution const & row) {
    return std::isfinite(row.horz.dpu) && std::isfinite(row.vert.dpu);
}

// Rows always have the unit's singular name, which cannot be read for a mil.
bool hasNoReadableText(QelXyCoordSpace const & space) {
    if (space.unit() == QEL_UNIT_MIL) return true;
    bool bad = ::hasNoReadableText(space.width()) || ::hasNoReadableText(space.height()) ||
               !isFinite(space.selectedResolution()) || space.numResolutions() == 0;
    for (unsigned i = 0; i < space.numResolutions(); ++i)
        bad = bad || !isFinite(space.getResolution(i));
    return bad;
}

void readAgain(QelXyCoordSpace const & space) {
    std::string text = fuzzWritten(space);
    QelXyCoordSpace again(1, 1);
    require(fuzzRefusal(text, again) == QelErrorCode::invalidValue, "its own text is not refused",
            text);
    if (hasNoReadableText(space)) return;
    text.erase(text.find(" h="), 1);
    require(!fuzzRefusal(text, again), "does not read back", text);
    require(alike(space, again), "reads back as another", text + '\n' + fuzzWritten(again));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    std::string const text(reinterpret_cast<char const *>(data), size);
    QelXyCoordSpace space(7, 8);
    std::optional<int> const code = fuzzRefusal(text, space);
    if (code) {
        require(isRefusalOfASpace(*code), "refused with another code", text);
        require(alike(space, QelXyCoordSpace(7, 8)), "changed though refused", text);
    } else {
        convert(space);
        search(space);
        change(space);
        readAgain(space);
    }
    Pointer pointer;
    std::optional<int> const pointerCode = fuzzRefusal(text, pointer);
    require(!pointerCode || isRefusalOfASpace(*pointerCode), "refused with another code", text);
    return 0;
}

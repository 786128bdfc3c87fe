#include "QelColorSpaces.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <string_view>

#include "QelColorSpaceFamily.h"

namespace {

// The index that a class passes to its base.
template <class Class, class Parent, int place>
consteval int placeIn(QelFamilyColorSpace<Class, Parent, place> const *) {
    return place;
}

// The name of a class, from the compiler's name of this function.
template <class Class>
consteval std::string_view compiledName() {
    std::string_view const text = __PRETTY_FUNCTION__;
    std::size_t const start = text.find("Class = ") + std::string_view("Class = ").size();
    return text.substr(start, text.find_first_of(";]", start) - start);
}

// The same, terminated by a 0.
template <class Class>
constexpr auto classNameOf = [] {
    std::array<char, compiledName<Class>().size() + 1> text{};
    std::ranges::copy(compiledName<Class>(), text.begin());
    return text;
}();

template <class Class>
MoxSmartPtr<QelColorSpace> create() {
    return new Class();
}

using BandNames = std::array<char const *, QelColorSpaceRow::maxBands>;
enum Alpha { opaque, alpha };
constexpr char const * none = nullptr;

// `partner` is the label of the space with alpha added or removed.
template <std::derived_from<QelColorSpace> Class>
consteval QelColorSpaceRow row(char const * name, char const * partner, int bands, Alpha kind,
                               BandNames const & bandNames, double max = 255.0) {
    return {placeIn<Class>(static_cast<Class const *>(nullptr)),
            classNameOf<Class>.data(),
            name,
            partner,
            bands,
            kind == alpha,
            bandNames,
            max,
            &create<Class>};
}

// The family. The order matters: of two rows that share a label, lookup finds the first.
constexpr std::array family{
    row<QelGenericColorSpace>("Generic", "GenericA", 3, opaque, {}),
    row<QelGenericAColorSpace>("GenericA", "Generic", 4, alpha, {}),
    row<QelNormalizedColorSpace>("Normalized", "GenericA", 3, opaque, {}, 1.0),
    row<QelRGBColorSpace>("RGB", "RGBA", 3, opaque, {"red", "green", "blue"}),
    row<QelRGBAColorSpace>("RGBA", "RGB", 4, alpha, {"red", "green", "blue", "alpha"}),
    row<QelLumColorSpace>("Lum", "LumA", 1, opaque, {"luminance"}),
    row<QelLumAColorSpace>("LumA", "Lum", 2, alpha, {"luminance", "alpha"}),
    row<QelHRZYCCColorSpace>("HRZYCC", "HRZYCCA", 3, opaque, {"Y", "C1", "C2"}),
    row<QelHRZYCCAColorSpace>("HRZYCCA", "HRZYCC", 4, alpha, {"Y", "C1", "C2", "A"}),
    row<QelHRZRGBColorSpace>("HRZRGB", "HRZRGBA", 3, opaque, {"R", "G", "B"}),
    row<QelHRZRGBAColorSpace>("HRZRGBA", "HRZRGB", 4, alpha, {"R", "G", "B", "A"}),
    row<QelYCbCrColorSpace>("YCbCr", "YCbCrA", 3, opaque, {"Y", "Cb", "Cr"}),
    row<QelYCbCrAColorSpace>("YCbCrA", "YCbCr", 4, alpha, {"Y", "Cb", "Cr", "A"}),
    row<QelHRZLumColorSpace>("HRZLum", "HRZLumA", 1, opaque, {"Y"}),
    row<QelHRZLumAColorSpace>("HRZLumA", "HRZLum", 2, alpha, {"Y", "A"}),
    row<QelFpxYCCColorSpace>("HRZYCC", "HRZYCCA", 3, opaque, {"Y", "C1", "C2"}),
    row<QelFpxYCCAColorSpace>("HRZYCCA", "HRZYCC", 4, alpha, {"Y", "C1", "C2", "A"}),
    row<QelFpxRGBColorSpace>("RGB", "RGBA", 3, opaque, {"R", "G", "B"}),
    row<QelFpxRGBAColorSpace>("RGBA", "RGB", 4, alpha, {"R", "G", "B", "A"}),
    row<QelFpxYCbCrColorSpace>("YCbCr", "YCbCrA", 3, opaque, {"Y", "Cb", "Cr"}),
    row<QelFpxYCbCrAColorSpace>("YCbCrA", "YCbCr", 4, alpha, {"Y", "Cb", "Cr", "A"}),
    row<QelFpxLumColorSpace>("Lum", "LumA", 1, opaque, {"Y"}),
    row<QelFpxLumAColorSpace>("LumA", "Lum", 2, alpha, {"Y", "A"}),
    row<QelAdobeSRGBColorSpace>("AdobeSRGB", "AdobeSRGBA", 3, opaque, {"R", "G", "B"}),
    row<QelAdobeSRGBAColorSpace>("AdobeSRGBA", "AdobeSRGB", 4, alpha, {"R", "G", "B", "A"}),
    row<QelCIEXYZColorSpace>("CIE-XYZ-D65", none, 3, opaque, {"X-D65", "Y-D65", "Z-D65"}),
    row<QelCMYColorSpace>("CMY", none, 3, opaque, {"C", "M", "Y"}),
    row<QelCMYKColorSpace>("CMYK", none, 4, opaque, {"C", "M", "Y", "K"}),
    row<QelWTBRGBColorSpace>("WTBRGB", "WTBRGBA", 3, opaque, {"R", "G", "B"}),
    row<QelWTBRGBAColorSpace>("WTBRGBA", "WTBRGB", 4, alpha, {"R", "G", "B", "A"}),
    row<QelERIMMColorSpace>("ERIMM", none, 3, opaque, {"R", "G", "B"}),
    row<QelNIF8BitColorSpace>("NIF-8bit", "NIFA-8bit", 3, opaque, {"R", "G", "B"}),
    row<QelNIFA8BitColorSpace>("NIFA-8bit", "NIF-8bit", 4, alpha, {"R", "G", "B", "A"}),
    row<QelNIFColorSpace>("NIF-Linear", "NIFA-Linear", 3, opaque, {"R", "G", "B"}),
    row<QelNIFAColorSpace>("NIFA-Linear", "NIF-Linear", 4, alpha, {"R", "G", "B", "A"}),
    row<QelNIFPColorSpace>("NIF-Prime", "NIFA-Prime", 3, opaque, {"R", "G", "B"}),
    row<QelNIFAPColorSpace>("NIFA-Prime", "NIF-Prime", 4, alpha, {"R", "G", "B", "A"}),
    row<QelPCSCIELABColorSpace>("PCS-CIELAB", none, 3, opaque, {"L", "A", "B"}),
    row<QelPCSXYZColorSpace>("PCS-XYZ", none, 3, opaque, {"X-PCS", "Y-PCS", "Z-PCS"}),
    row<QelRIMColorSpace>("RIM", "RIMA", 3, opaque, {"R", "G", "B"}),
    row<QelRIMAColorSpace>("RIMA", "RIM", 4, alpha, {"R", "G", "B", "A"}),
    row<QelRIMMColorSpace>("RIMM", "RIMMA", 3, opaque, {"R", "G", "B"}),
    row<QelRIMMAColorSpace>("RIMMA", "RIMM", 4, alpha, {"R", "G", "B", "A"}),
    row<QelRIMRGBColorSpace>("RIMRGB", none, 3, opaque, {"RIM-R", "RIM-G", "RIM-B"}),
    row<QelROMColorSpace>("ROM", "ROMA", 3, opaque, {"R", "G", "B"}),
    row<QelROMAColorSpace>("ROMA", "ROM", 4, alpha, {"R", "G", "B", "A"}),
    row<QelROMMColorSpace>("ROMM", "ROMMA", 3, opaque, {"R", "G", "B"}),
    row<QelROMMAColorSpace>("ROMMA", "ROMM", 4, alpha, {"R", "G", "B", "A"}),
    row<QelRPDColorSpace>("RPD", none, 3, opaque, {"R", "G", "B"}),
    row<QelSRGBColorSpace>("SRGB", "SRGBA", 3, opaque, {"R", "G", "B"}),
    row<QelSRGBAColorSpace>("SRGBA", "SRGB", 4, alpha, {"R", "G", "B", "A"}),
    row<QelTSpaceColorSpace>("TSpace", none, 3, opaque, {"NEU", "GM", "ILL"}),
    row<QelUSpaceColorSpace>("USpace", none, 3, opaque, {"NEU", "GM", "ILL"}),
};

// ---- Invariants of the list and of the declarations in the header

consteval bool everyClassHasTheRowOfItsPlace() {
    int place = 0;
    return std::ranges::all_of(
        family, [&](QelColorSpaceRow const & each) { return each.place == place++; });
}

consteval bool bandsHaveNamesOrNoneHas() {
    return std::ranges::all_of(family, [](QelColorSpaceRow const & each) {
        auto const named = std::ranges::find(each.bandNames, none) - each.bandNames.begin();
        return named == 0 || named == each.bands;
    });
}

// A label leads to a space with one band more, or one less if it has alpha.
consteval bool partnersDifferByAlpha() {
    return std::ranges::all_of(family, [](QelColorSpaceRow const & each) {
        if (each.partner == none) return !each.alpha;
        auto const partner = std::ranges::find_if(family, [&](QelColorSpaceRow const & other) {
            return std::string_view(other.name) == each.partner;
        });
        return partner != family.end() && partner->alpha != each.alpha &&
               partner->bands == each.bands + (each.alpha ? -1 : 1);
    });
}

static_assert(everyClassHasTheRowOfItsPlace());
static_assert(bandsHaveNamesOrNoneHas());
static_assert(partnersDifferByAlpha());
static_assert(std::string_view(family.front().className) == "QelGenericColorSpace");
static_assert(std::string_view(family.back().className) == "QelUSpaceColorSpace");

QelColorSpaceRow const & rowAt(int place) {
    return family[static_cast<std::size_t>(place)];
}

}  // namespace

std::span<QelColorSpaceRow const> qelColorSpaceRows() {
    return family;
}

char const * QelColorSpaceFamily::className(int place) {
    static_assert(family.size() == size);
    return rowAt(place).className;
}

char const * QelColorSpaceFamily::name(int place) {
    return rowAt(place).name;
}

char const * QelColorSpaceFamily::partner(int place) {
    return rowAt(place).partner;
}

char const * QelColorSpaceFamily::bandName(int place, int band) {
    BandNames const & names = rowAt(place).bandNames;
    bool const known = band >= 0 && static_cast<std::size_t>(band) < names.size();
    char const * const name = known ? names[static_cast<std::size_t>(band)] : none;
    return name != none ? name : "";
}

bool QelColorSpaceFamily::hasAlpha(int place) {
    return rowAt(place).alpha;
}

int QelColorSpaceFamily::bands(int place) {
    return rowAt(place).bands;
}

double QelColorSpaceFamily::max(int place) {
    return rowAt(place).max;
}

QelRGBLikeColorSpace::~QelRGBLikeColorSpace() = default;

bool QelRGBLikeColorSpace::isRGBLike() const {
    return true;
}

QelYCCLikeColorSpace::~QelYCCLikeColorSpace() = default;

bool QelYCCLikeColorSpace::isYCCLike() const {
    return true;
}

QelGenericColorSpace::~QelGenericColorSpace() = default;

MoxSmartPtr<QelColorSpace> QelGenericColorSpace::self() const {
    if (refCount() == 0) return clone();
    return const_cast<QelGenericColorSpace *>(this);
}

MoxSmartPtr<QelColorSpace> QelGenericColorSpace::newWithBands(int bands) const {
    if (bands == numBands()) return self();
    return new QelGenericColorSpace(bands, minValue(), maxValue());
}

MoxSmartPtr<QelColorSpace> QelGenericColorSpace::newWithRange(double min, double max) const {
    if (min == minValue() && max == maxValue()) return self();
    return new QelGenericColorSpace(numBands(), min, max);
}

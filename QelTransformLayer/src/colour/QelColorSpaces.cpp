#include "QelColorSpaces.h"

#include <array>

namespace {

// In the order in which a label that two rows share is looked up: the first one is found.
constexpr std::array<QelColorSpaceRow, qelColorSpaceRows> rows{{
    {"QelGenericColorSpace", "Generic", "GenericA", 3, false, 255.0, {"", "", "", ""}},
    {"QelGenericAColorSpace", "GenericA", "Generic", 4, true, 255.0, {"", "", "", ""}},
    {"QelNormalizedColorSpace", "Normalized", "GenericA", 3, false, 1.0, {"", "", "", ""}},
    {"QelRGBColorSpace", "RGB", "RGBA", 3, false, 255.0, {"red", "green", "blue", ""}},
    {"QelRGBAColorSpace", "RGBA", "RGB", 4, true, 255.0, {"red", "green", "blue", "alpha"}},
    {"QelLumColorSpace", "Lum", "LumA", 1, false, 255.0, {"luminance", "", "", ""}},
    {"QelLumAColorSpace", "LumA", "Lum", 2, true, 255.0, {"luminance", "alpha", "", ""}},
    {"QelHRZYCCColorSpace", "HRZYCC", "HRZYCCA", 3, false, 255.0, {"Y", "C1", "C2", ""}},
    {"QelHRZYCCAColorSpace", "HRZYCCA", "HRZYCC", 4, true, 255.0, {"Y", "C1", "C2", "A"}},
    {"QelHRZRGBColorSpace", "HRZRGB", "HRZRGBA", 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelHRZRGBAColorSpace", "HRZRGBA", "HRZRGB", 4, true, 255.0, {"R", "G", "B", "A"}},
    {"QelYCbCrColorSpace", "YCbCr", "YCbCrA", 3, false, 255.0, {"Y", "Cb", "Cr", ""}},
    {"QelYCbCrAColorSpace", "YCbCrA", "YCbCr", 4, true, 255.0, {"Y", "Cb", "Cr", "A"}},
    {"QelHRZLumColorSpace", "HRZLum", "HRZLumA", 1, false, 255.0, {"Y", "", "", ""}},
    {"QelHRZLumAColorSpace", "HRZLumA", "HRZLum", 2, true, 255.0, {"Y", "A", "", ""}},
    {"QelFpxYCCColorSpace", "HRZYCC", "HRZYCCA", 3, false, 255.0, {"Y", "C1", "C2", ""}},
    {"QelFpxYCCAColorSpace", "HRZYCCA", "HRZYCC", 4, true, 255.0, {"Y", "C1", "C2", "A"}},
    {"QelFpxRGBColorSpace", "RGB", "RGBA", 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelFpxRGBAColorSpace", "RGBA", "RGB", 4, true, 255.0, {"R", "G", "B", "A"}},
    {"QelFpxYCbCrColorSpace", "YCbCr", "YCbCrA", 3, false, 255.0, {"Y", "Cb", "Cr", ""}},
    {"QelFpxYCbCrAColorSpace", "YCbCrA", "YCbCr", 4, true, 255.0, {"Y", "Cb", "Cr", "A"}},
    {"QelFpxLumColorSpace", "Lum", "LumA", 1, false, 255.0, {"Y", "", "", ""}},
    {"QelFpxLumAColorSpace", "LumA", "Lum", 2, true, 255.0, {"Y", "A", "", ""}},
    {"QelAdobeSRGBColorSpace", "AdobeSRGB", "AdobeSRGBA", 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelAdobeSRGBAColorSpace", "AdobeSRGBA", "AdobeSRGB", 4, true, 255.0, {"R", "G", "B", "A"}},
    {"QelCIEXYZColorSpace",
     "CIE-XYZ-D65",
     nullptr,
     3,
     false,
     255.0,
     {"X-D65", "Y-D65", "Z-D65", ""}},
    {"QelCMYColorSpace", "CMY", nullptr, 3, false, 255.0, {"C", "M", "Y", ""}},
    {"QelCMYKColorSpace", "CMYK", nullptr, 4, false, 255.0, {"C", "M", "Y", "K"}},
    {"QelWTBRGBColorSpace", "WTBRGB", "WTBRGBA", 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelWTBRGBAColorSpace", "WTBRGBA", "WTBRGB", 4, true, 255.0, {"R", "G", "B", "A"}},
    {"QelERIMMColorSpace", "ERIMM", nullptr, 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelNIF8BitColorSpace", "NIF-8bit", "NIFA-8bit", 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelNIFA8BitColorSpace", "NIFA-8bit", "NIF-8bit", 4, true, 255.0, {"R", "G", "B", "A"}},
    {"QelNIFColorSpace", "NIF-Linear", "NIFA-Linear", 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelNIFAColorSpace", "NIFA-Linear", "NIF-Linear", 4, true, 255.0, {"R", "G", "B", "A"}},
    {"QelNIFPColorSpace", "NIF-Prime", "NIFA-Prime", 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelNIFAPColorSpace", "NIFA-Prime", "NIF-Prime", 4, true, 255.0, {"R", "G", "B", "A"}},
    {"QelPCSCIELABColorSpace", "PCS-CIELAB", nullptr, 3, false, 255.0, {"L", "A", "B", ""}},
    {"QelPCSXYZColorSpace", "PCS-XYZ", nullptr, 3, false, 255.0, {"X-PCS", "Y-PCS", "Z-PCS", ""}},
    {"QelRIMColorSpace", "RIM", "RIMA", 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelRIMAColorSpace", "RIMA", "RIM", 4, true, 255.0, {"R", "G", "B", "A"}},
    {"QelRIMMColorSpace", "RIMM", "RIMMA", 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelRIMMAColorSpace", "RIMMA", "RIMM", 4, true, 255.0, {"R", "G", "B", "A"}},
    {"QelRIMRGBColorSpace", "RIMRGB", nullptr, 3, false, 255.0, {"RIM-R", "RIM-G", "RIM-B", ""}},
    {"QelROMColorSpace", "ROM", "ROMA", 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelROMAColorSpace", "ROMA", "ROM", 4, true, 255.0, {"R", "G", "B", "A"}},
    {"QelROMMColorSpace", "ROMM", "ROMMA", 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelROMMAColorSpace", "ROMMA", "ROMM", 4, true, 255.0, {"R", "G", "B", "A"}},
    {"QelRPDColorSpace", "RPD", nullptr, 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelSRGBColorSpace", "SRGB", "SRGBA", 3, false, 255.0, {"R", "G", "B", ""}},
    {"QelSRGBAColorSpace", "SRGBA", "SRGB", 4, true, 255.0, {"R", "G", "B", "A"}},
    {"QelTSpaceColorSpace", "TSpace", nullptr, 3, false, 255.0, {"NEU", "GM", "ILL", ""}},
    {"QelUSpaceColorSpace", "USpace", nullptr, 3, false, 255.0, {"NEU", "GM", "ILL", ""}},
}};

}  // namespace

QelColorSpaceRow const & qelColorSpaceRow(int index) {
    return rows[static_cast<std::size_t>(index)];
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

MoxSmartPtr<QelColorSpace> QelGenericColorSpace::newWithBands(int bands) const {
    if (bands == numBands()) return const_cast<QelGenericColorSpace *>(this);
    return new QelGenericColorSpace(bands, minValue(), maxValue());
}

MoxSmartPtr<QelColorSpace> QelGenericColorSpace::newWithRange(double min, double max) const {
    if (min == minValue() && max == maxValue()) return const_cast<QelGenericColorSpace *>(this);
    return new QelGenericColorSpace(numBands(), min, max);
}

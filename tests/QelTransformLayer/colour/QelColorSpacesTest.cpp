#include "QelColorSpaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ExpectError.h"
#include "QelColorSpaceRegistry.h"
#include "QelCoreMisc.h"

namespace {

enum Kind { plain, rgb, ycc };

struct Row {
    char const * className;
    Kind kind;
    int bands;
    char const * name;
    char const * partner;
    std::vector<std::string> bandNames;
};

// The family, written out by hand: the library's own table is what is tested.
std::vector<Row> const & family() {
    static std::vector<Row> const rows{
        {"QelGenericColorSpace", plain, 3, "Generic", "GenericA", {}},
        {"QelGenericAColorSpace", plain, 4, "GenericA", "Generic", {}},
        {"QelNormalizedColorSpace", plain, 3, "Normalized", "GenericA", {}},
        {"QelRGBColorSpace", rgb, 3, "RGB", "RGBA", {"red", "green", "blue"}},
        {"QelRGBAColorSpace", rgb, 4, "RGBA", "RGB", {"red", "green", "blue", "alpha"}},
        {"QelLumColorSpace", plain, 1, "Lum", "LumA", {"luminance"}},
        {"QelLumAColorSpace", plain, 2, "LumA", "Lum", {"luminance", "alpha"}},
        {"QelHRZYCCColorSpace", ycc, 3, "HRZYCC", "HRZYCCA", {"Y", "C1", "C2"}},
        {"QelHRZYCCAColorSpace", ycc, 4, "HRZYCCA", "HRZYCC", {"Y", "C1", "C2", "A"}},
        {"QelHRZRGBColorSpace", rgb, 3, "HRZRGB", "HRZRGBA", {"R", "G", "B"}},
        {"QelHRZRGBAColorSpace", rgb, 4, "HRZRGBA", "HRZRGB", {"R", "G", "B", "A"}},
        {"QelYCbCrColorSpace", ycc, 3, "YCbCr", "YCbCrA", {"Y", "Cb", "Cr"}},
        {"QelYCbCrAColorSpace", ycc, 4, "YCbCrA", "YCbCr", {"Y", "Cb", "Cr", "A"}},
        {"QelHRZLumColorSpace", plain, 1, "HRZLum", "HRZLumA", {"Y"}},
        {"QelHRZLumAColorSpace", plain, 2, "HRZLumA", "HRZLum", {"Y", "A"}},
        {"QelFpxYCCColorSpace", ycc, 3, "HRZYCC", "HRZYCCA", {"Y", "C1", "C2"}},
        {"QelFpxYCCAColorSpace", ycc, 4, "HRZYCCA", "HRZYCC", {"Y", "C1", "C2", "A"}},
        {"QelFpxRGBColorSpace", rgb, 3, "RGB", "RGBA", {"R", "G", "B"}},
        {"QelFpxRGBAColorSpace", rgb, 4, "RGBA", "RGB", {"R", "G", "B", "A"}},
        {"QelFpxYCbCrColorSpace", ycc, 3, "YCbCr", "YCbCrA", {"Y", "Cb", "Cr"}},
        {"QelFpxYCbCrAColorSpace", ycc, 4, "YCbCrA", "YCbCr", {"Y", "Cb", "Cr", "A"}},
        {"QelFpxLumColorSpace", plain, 1, "Lum", "LumA", {"Y"}},
        {"QelFpxLumAColorSpace", plain, 2, "LumA", "Lum", {"Y", "A"}},
        {"QelAdobeSRGBColorSpace", rgb, 3, "AdobeSRGB", "AdobeSRGBA", {"R", "G", "B"}},
        {"QelAdobeSRGBAColorSpace", rgb, 4, "AdobeSRGBA", "AdobeSRGB", {"R", "G", "B", "A"}},
        {"QelCIEXYZColorSpace", plain, 3, "CIE-XYZ-D65", nullptr, {"X-D65", "Y-D65", "Z-D65"}},
        {"QelCMYColorSpace", plain, 3, "CMY", nullptr, {"C", "M", "Y"}},
        {"QelCMYKColorSpace", plain, 4, "CMYK", nullptr, {"C", "M", "Y", "K"}},
        {"QelWTBRGBColorSpace", rgb, 3, "WTBRGB", "WTBRGBA", {"R", "G", "B"}},
        {"QelWTBRGBAColorSpace", rgb, 4, "WTBRGBA", "WTBRGB", {"R", "G", "B", "A"}},
        {"QelERIMMColorSpace", rgb, 3, "ERIMM", nullptr, {"R", "G", "B"}},
        {"QelNIF8BitColorSpace", rgb, 3, "NIF-8bit", "NIFA-8bit", {"R", "G", "B"}},
        {"QelNIFA8BitColorSpace", rgb, 4, "NIFA-8bit", "NIF-8bit", {"R", "G", "B", "A"}},
        {"QelNIFColorSpace", rgb, 3, "NIF-Linear", "NIFA-Linear", {"R", "G", "B"}},
        {"QelNIFAColorSpace", rgb, 4, "NIFA-Linear", "NIF-Linear", {"R", "G", "B", "A"}},
        {"QelNIFPColorSpace", rgb, 3, "NIF-Prime", "NIFA-Prime", {"R", "G", "B"}},
        {"QelNIFAPColorSpace", rgb, 4, "NIFA-Prime", "NIF-Prime", {"R", "G", "B", "A"}},
        {"QelPCSCIELABColorSpace", plain, 3, "PCS-CIELAB", nullptr, {"L", "A", "B"}},
        {"QelPCSXYZColorSpace", plain, 3, "PCS-XYZ", nullptr, {"X-PCS", "Y-PCS", "Z-PCS"}},
        {"QelRIMColorSpace", rgb, 3, "RIM", "RIMA", {"R", "G", "B"}},
        {"QelRIMAColorSpace", rgb, 4, "RIMA", "RIM", {"R", "G", "B", "A"}},
        {"QelRIMMColorSpace", rgb, 3, "RIMM", "RIMMA", {"R", "G", "B"}},
        {"QelRIMMAColorSpace", rgb, 4, "RIMMA", "RIMM", {"R", "G", "B", "A"}},
        {"QelRIMRGBColorSpace", rgb, 3, "RIMRGB", nullptr, {"RIM-R", "RIM-G", "RIM-B"}},
        {"QelROMColorSpace", rgb, 3, "ROM", "ROMA", {"R", "G", "B"}},
        {"QelROMAColorSpace", rgb, 4, "ROMA", "ROM", {"R", "G", "B", "A"}},
        {"QelROMMColorSpace", rgb, 3, "ROMM", "ROMMA", {"R", "G", "B"}},
        {"QelROMMAColorSpace", rgb, 4, "ROMMA", "ROMM", {"R", "G", "B", "A"}},
        {"QelRPDColorSpace", rgb, 3, "RPD", nullptr, {"R", "G", "B"}},
        {"QelSRGBColorSpace", rgb, 3, "SRGB", "SRGBA", {"R", "G", "B"}},
        {"QelSRGBAColorSpace", rgb, 4, "SRGBA", "SRGB", {"R", "G", "B", "A"}},
        {"QelTSpaceColorSpace", plain, 3, "TSpace", nullptr, {"NEU", "GM", "ILL"}},
        {"QelUSpaceColorSpace", plain, 3, "USpace", nullptr, {"NEU", "GM", "ILL"}},
    };
    return rows;
}

bool isAlphaClass(Row const & row) {
    std::string const name = row.className;
    for (char const * const end : {"AColorSpace", "A8BitColorSpace", "APColorSpace"}) {
        if (name.ends_with(end)) return true;
    }
    return false;
}

std::string bandNameOf(Row const & row, std::size_t band) {
    return band < row.bandNames.size() ? row.bandNames[band] : "";
}

template <class Class>
bool isA(QelColorSpace const & space) {
    return dynamic_cast<Class const *>(&space) != nullptr;
}

void expectIs(Row const & row, QelColorSpace const & space) {
    EXPECT_STREQ(row.className, space.className());
    EXPECT_STREQ(row.name, space.name());
    EXPECT_STREQ(row.partner, space.alphaPartnerName());
    EXPECT_EQ(row.kind == rgb, space.isRGBLike());
    EXPECT_EQ(row.kind == ycc, space.isYCCLike());
    EXPECT_EQ(row.kind == rgb, isA<QelRGBLikeColorSpace>(space));
    EXPECT_EQ(row.kind == ycc, isA<QelYCCLikeColorSpace>(space));
    bool const generic =
        row.name == std::string("Generic") || row.name == std::string("Normalized");
    EXPECT_EQ(generic, isA<QelGenericColorSpace>(space));
    EXPECT_EQ(isAlphaClass(row), space.hasAlpha());
    for (int band = -2; band < 8; ++band) {
        EXPECT_EQ(band < 0 ? "" : bandNameOf(row, static_cast<std::size_t>(band)),
                  space.bandName(band));
    }
}

TEST(QelColorSpacesTest, TheFamilyIsAsItsTableHasIt) {
    std::vector<MoxConstSmartPtr<QelColorSpace>> const spaces = qelColorSpaces();
    ASSERT_EQ(53U, family().size());
    ASSERT_EQ(53U, spaces.size());
    std::size_t index = 0;
    for (Row const & row : family()) {
        SCOPED_TRACE(row.className);
        EXPECT_STREQ(row.className, spaces[index++]->className());
        MoxSmartPtr<QelColorSpace> const space = qelNewColorSpace(row.className);
        expectIs(row, *space);
        EXPECT_EQ(row.bands, space->numBands());
        EXPECT_EQ(0.0, space->minValue());
        EXPECT_EQ(std::string(row.className) == "QelNormalizedColorSpace" ? 1.0 : 255.0,
                  space->maxValue());
        EXPECT_FALSE(space->getFlag());
    }
}

TEST(QelColorSpacesTest, ALabelFindsTheFirstRowThatHasIt) {
    for (Row const & row : family()) {
        SCOPED_TRACE(row.name);
        auto const first = std::find_if(family().begin(), family().end(), [&](Row const & other) {
            return std::string(other.name) == row.name;
        });
        EXPECT_STREQ(first->className, qelFindColorSpaceName(row.name)->className());
    }
}

TEST(QelColorSpacesTest, EachIsATypeOfItsOwnWhoseNameIsItsClass) {
    for (std::size_t i = 0; i < family().size(); ++i) {
        MoxSmartPtr<QelColorSpace> const a = qelNewColorSpace(family()[i].className);
        EXPECT_STREQ(QelCoreMisc::classNameOf(*a), a->className());
        for (std::size_t j = 0; j < family().size(); ++j) {
            MoxSmartPtr<QelColorSpace> const b = qelNewColorSpace(family()[j].className);
            EXPECT_EQ(i == j, a->isSameType(*b)) << a->className() << ' ' << b->className();
            EXPECT_EQ(i == j, a->isEqual(*b));
        }
    }
}

TEST(QelColorSpacesTest, CopiesAndChangedCopiesAreOfTheSameClass) {
    for (Row const & row : family()) {
        SCOPED_TRACE(row.className);
        MoxSmartPtr<QelColorSpace> const space = qelNewColorSpace(row.className);
        space->setFlag(true);
        bool const generic = std::string(row.className) == "QelGenericColorSpace";
        MoxSmartPtr<QelColorSpace> const copy = space->clone();
        EXPECT_NE(space.get(), copy.get());
        EXPECT_TRUE(copy->isEqual(*space));
        EXPECT_TRUE(copy->getFlag());
        MoxSmartPtr<QelColorSpace> const wider = space->newWithBands(7);
        expectIs(row, *wider);
        EXPECT_EQ(7, wider->numBands());
        EXPECT_EQ(space->minValue(), wider->minValue());
        EXPECT_EQ(space->maxValue(), wider->maxValue());
        MoxSmartPtr<QelColorSpace> const deeper = space->newWithRange(-1.5, 4095.0);
        expectIs(row, *deeper);
        EXPECT_EQ(-1.5, deeper->minValue());
        EXPECT_EQ(4095.0, deeper->maxValue());
        EXPECT_EQ(space->numBands(), deeper->numBands());
        EXPECT_EQ(!generic, wider->getFlag());
        // Only the generic one is its own copy where nothing changes.
        EXPECT_EQ(generic, space->newWithBands(row.bands).get() == space.get());
        EXPECT_EQ(generic, space->newWithRange(0.0, space->maxValue()).get() == space.get());
        EXPECT_NE(space.get(), space->newWithRange(0.5, space->maxValue()).get());
        EXPECT_NE(space.get(), space->newWithRange(0.0, 4095.0).get());
    }
}

TEST(QelColorSpacesTest, AGenericOneOnAStackGivesAClone) {
    QelGenericColorSpace const space(2, 0.0, 4.0);
    for (MoxSmartPtr<QelColorSpace> const & same :
         {space.newWithBands(2), space.newWithRange(0.0, 4.0)}) {
        EXPECT_NE(&space, same.get());
        EXPECT_TRUE(same->isEqual(space));
    }
    EXPECT_EQ(0, space.refCount());
}

TEST(QelColorSpacesTest, ConstructorsTakeBandsAndRange) {
    QelSRGBColorSpace const space(4, -1.0, 1.0);
    EXPECT_EQ(4, space.numBands());
    EXPECT_EQ(-1.0, space.minValue());
    EXPECT_EQ(1.0, space.maxValue());
    QelSRGBColorSpace const copy(space);
    EXPECT_TRUE(copy.isEqual(space));
    QelNormalizedColorSpace const normalized(2, 0.0, 4.0);
    EXPECT_EQ(2, normalized.numBands());
    EXPECT_NE(nullptr, dynamic_cast<QelGenericColorSpace const *>(&normalized));
}

TEST(QelColorSpacesTest, SharedLabelsAreDistinctTypes) {
    QelRGBColorSpace const plainRgb;
    QelFpxRGBColorSpace const fpx;
    EXPECT_STREQ(plainRgb.name(), fpx.name());
    EXPECT_FALSE(plainRgb.isEqual(fpx));
    EXPECT_FALSE(plainRgb.isSameType(fpx));
}

TEST(QelColorSpacesTest, AnotherMaximumIsTheSameType) {
    QelSRGBColorSpace const eight;
    QelSRGBColorSpace const ten(3, 0.0, 1023.0);
    EXPECT_FALSE(eight.isEqual(ten));
    EXPECT_TRUE(eight.isSameType(ten));
}

}  // namespace

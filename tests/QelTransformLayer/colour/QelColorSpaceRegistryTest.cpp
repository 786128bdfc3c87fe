#include "QelColorSpaceRegistry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <limits>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ExpectError.h"
#include "QelColorSpaces.h"
#include "UnitTesting.h"

namespace {

using Space = MoxSmartPtr<QelColorSpace>;

std::string written(Space const & space) {
    std::ostringstream out;
    out << space;
    return out.str();
}

Space read(std::string const & text) {
    std::istringstream in(text);
    Space space = new QelLumColorSpace();
    in >> space;
    EXPECT_TRUE(in.good()) << text;
    return space;
}

// A client's own class.
class MoonColorSpace : public QelColorSpace {
  public:
    MoonColorSpace() : QelColorSpace(1, 0.0, 1.0) {}
    Space clone() const override { return new MoonColorSpace(*this); }
    char const * bandName(int) const override { return "glow"; }
    char const * name() const override { return "RGB"; }
    char const * className() const override { return "MoonColorSpace"; }
    Space newWithBands(int) const override { return clone(); }
    Space newWithRange(double, double) const override { return clone(); }
};

TEST(QelColorSpaceRegistryTest, FindsByClassLabelAndInstance) {
    EXPECT_STREQ("QelFpxRGBColorSpace", qelFindColorSpaceClass("QelFpxRGBColorSpace")->className());
    EXPECT_FALSE(qelFindColorSpaceClass("QelFpxRGBColorSpac"));
    EXPECT_FALSE(qelFindColorSpaceClass("QelFpxRGBColorSpaces"));
    EXPECT_FALSE(qelFindColorSpaceClass(std::string("QelRGBColorSpace\0", 17)));
    EXPECT_FALSE(qelFindColorSpaceClass("RGB"));
    EXPECT_FALSE(qelFindColorSpaceName("QelRGBColorSpace"));
    EXPECT_FALSE(qelFindColorSpaceClass(""));
    for (char const * const label : {"rgb", "RG", "RGBX", ""})
        EXPECT_FALSE(qelFindColorSpaceName(label)) << label;
    QelFpxLumColorSpace const lum(5, 1.0, 2.0);
    EXPECT_EQ(1, qelFindColorSpace(lum)->numBands());
    EXPECT_STREQ("QelFpxLumColorSpace", qelFindColorSpace(lum)->className());
}

TEST(QelColorSpaceRegistryTest, ASharedLabelGivesTheFirstOfTheTable) {
    EXPECT_STREQ("QelRGBColorSpace", qelFindColorSpaceName("RGB")->className());
    EXPECT_STREQ("QelHRZYCCColorSpace", qelFindColorSpaceName("HRZYCC")->className());
    EXPECT_STREQ("QelLumAColorSpace", qelFindColorSpaceName("LumA")->className());
}

TEST(QelColorSpaceRegistryTest, AClientsEntryIsThereWhileItLives) {
    {
        QelColorSpaceRegistryEntry const entry(new MoonColorSpace(), "RGB");
        EXPECT_STREQ("MoonColorSpace", qelNewColorSpace("MoonColorSpace")->className());
        EXPECT_TRUE(qelFindColorSpace(MoonColorSpace()));
        EXPECT_STREQ("QelRGBColorSpace", qelFindColorSpaceName("RGB")->className());
    }
    expectRaises(QelErrorCode::invalidValue,
                 "Class MoonColorSpace is not registered as an QelColorSpace.",
                 [] { qelNewColorSpace("MoonColorSpace"); });
    EXPECT_FALSE(qelFindColorSpace(MoonColorSpace()));
}

TEST(QelColorSpaceRegistryTest, AClientsEntryIsFoundByItsOwnLabelAndStaysWithThoseWhoFoundIt) {
    MoxConstSmartPtr<QelColorSpace> found;
    {
        Space const prototype = new MoonColorSpace();
        QelColorSpaceRegistryEntry const entry(prototype, "Moon");
        QelColorSpaceRegistryEntry const later(new MoonColorSpace(), "Moon");
        EXPECT_EQ("Moon", entry.name());
        EXPECT_EQ(prototype.get(), &entry.prototype());
        found = qelFindColorSpaceName("Moon");
        EXPECT_EQ(prototype.get(), found.get());
        EXPECT_NE(prototype.get(), qelNewColorSpace("MoonColorSpace").get());
    }
    EXPECT_FALSE(qelFindColorSpaceName("Moon"));
    EXPECT_STREQ("MoonColorSpace", found->className());
}

std::vector<std::string> allClasses() {
    std::vector<std::string> names;
    for (MoxConstSmartPtr<QelColorSpace> const & space : qelColorSpaces())
        names.emplace_back(space->className());
    return names;
}

TEST(QelColorSpaceRegistryTest, ListsClientsBehindItsOwn) {
    std::vector<std::string> const expected = allClasses();
    EXPECT_EQ(53U, expected.size());
    MoxConstSmartPtr<QelColorSpace> last;
    {
        class Sun : public MoonColorSpace {
          public:
            char const * className() const override { return "Sun"; }
        };
        Space const sun = new Sun();
        QelColorSpaceRegistryEntry const first(new MoonColorSpace(), "Moon");
        QelColorSpaceRegistryEntry const second(sun, "Sun");
        std::vector<std::string> more = expected;
        more.insert(more.end(), {"MoonColorSpace", "Sun"});
        EXPECT_EQ(more, allClasses());
        last = qelColorSpaces().back();
        EXPECT_EQ(sun.get(), last.get());
    }
    EXPECT_EQ(expected, allClasses());
    EXPECT_STREQ("Sun", last->className());
    EXPECT_EQ(qelFindColorSpaceName("Generic").get(), qelColorSpaces().front().get());
}

TEST(QelColorSpaceRegistryTest, RefusesANullPrototype) {
    expectRaises(QelErrorCode::nullPointer, "Null pointer passed to QelColorSpaceRegistryEntry",
                 [] { QelColorSpaceRegistryEntry(nullptr, "none"); });
}

TEST(QelColorSpaceRegistryTest, EachCallMakesANewSpace) {
    Space const a = qelNewColorSpace("QelCMYKColorSpace");
    Space const b = qelNewColorSpace("QelCMYKColorSpace");
    EXPECT_NE(a.get(), b.get());
    a->setFlag(true);
    EXPECT_FALSE(b->getFlag());
    EXPECT_FALSE(qelNewColorSpace("QelCMYKColorSpace")->getFlag());
}

TEST(QelColorSpaceRegistryTest, PartnersWithAndWithoutAlpha) {
    Space const lum = newRemoveAlpha(QelLumAColorSpace());
    EXPECT_STREQ("QelLumColorSpace", lum->className());
    EXPECT_EQ(1, lum->numBands());
    EXPECT_STREQ("QelRGBAColorSpace", newAddAlpha(QelFpxRGBColorSpace())->className());
    Space const far = newAddAlpha(QelSRGBColorSpace(3, -1.0, 2.0));
    EXPECT_EQ(0.0, far->minValue());
    EXPECT_EQ(255.0, far->maxValue());
    Space const kept = newAddAlpha(QelSRGBColorSpace(3, -1.0, 2.0), true);
    EXPECT_STREQ("QelSRGBAColorSpace", kept->className());
    EXPECT_EQ(4, kept->numBands());
    EXPECT_EQ(-1.0, kept->minValue());
    EXPECT_EQ(2.0, kept->maxValue());
    Space const without = newRemoveAlpha(QelSRGBAColorSpace(4, -1.0, 2.0), true);
    EXPECT_TRUE(without->isEqual(QelSRGBColorSpace(3, -1.0, 2.0)));
    EXPECT_TRUE(newRemoveAlpha(QelSRGBAColorSpace(4, -1.0, 2.0))->isEqual(QelSRGBColorSpace()));
    // One way only: the generic space does not lead back.
    EXPECT_STREQ("QelGenericAColorSpace", newAddAlpha(QelNormalizedColorSpace())->className());
    EXPECT_STREQ("QelGenericColorSpace", newRemoveAlpha(QelGenericAColorSpace())->className());
}

// Where the range stays a generic space is its own copy, but the registry keeps its own.
TEST(QelColorSpaceRegistryTest, APartnerIsNeverThePrototype) {
    for (bool const keepRange : {false, true}) {
        SCOPED_TRACE(keepRange);
        Space const generic = newRemoveAlpha(QelGenericAColorSpace(), keepRange);
        EXPECT_NE(qelFindColorSpaceName("Generic").get(), generic.get());
        generic->setFlag(true);
        EXPECT_FALSE(qelNewColorSpace("QelGenericColorSpace")->getFlag());
    }
}

TEST(QelColorSpaceRegistryTest, RefusalsNameTheRegistryAsTheirSource) {
    std::optional<ZanError> const error = errorOf([] { qelNewColorSpace("Moon"); });
    ASSERT_TRUE(error);
    EXPECT_TRUE(std::string(error->getFile()).ends_with("QelColorSpaceRegistry.cpp"));
}

TEST(QelColorSpaceRegistryTest, RefusesAlphaWhereThereIsSomeAndNone) {
    expectRaises(QelErrorCode::invalidValue, "Class RGBA already has alpha in newAddAlpha().",
                 [] { newAddAlpha(QelRGBAColorSpace()); });
    expectRaises(QelErrorCode::invalidValue,
                 "Class CMY has no corresponding color space with alpha.",
                 [] { newAddAlpha(QelCMYColorSpace()); });
    expectRaises(QelErrorCode::invalidValue, "Class RGB does not have alpha in newRemoveAlpha().",
                 [] { newRemoveAlpha(QelRGBColorSpace()); });
    expectRaises(QelErrorCode::invalidValue,
                 "Class CMYK has no corresponding color space with alpha.",
                 [] { newAddAlpha(QelCMYKColorSpace(), true); });
    // Classes of a client's whose partner nobody knows, or that have none.
    class Single : public QelRGBColorSpace {
      public:
        char const * alphaPartnerName() const override { return "Nothing"; }
    };
    expectRaises(QelErrorCode::invalidValue,
                 "Class RGB has no corresponding color space with alpha.",
                 [] { newAddAlpha(Single()); });
    class Bare : public QelRGBAColorSpace {
      public:
        char const * alphaPartnerName() const override { return nullptr; }
    };
    expectRaises(QelErrorCode::invalidValue,
                 "Class RGBA has no corresponding color space without alpha.",
                 [] { newRemoveAlpha(Bare()); });
    class Lone : public QelRGBAColorSpace {
      public:
        char const * alphaPartnerName() const override { return "Nothing"; }
    };
    expectRaises(QelErrorCode::invalidValue,
                 "Class RGBA has no corresponding color space without alpha.",
                 [] { newRemoveAlpha(Lone()); });
}

TEST(QelColorSpaceRegistryTextTest, IsClassBandsAndRange) {
    EXPECT_EQ("QelRGBColorSpace[b=3, min=0, max=255]", written(new QelRGBColorSpace()));
    EXPECT_EQ("QelCMYKColorSpace[b=1000, min=-0.1, max=1e+300]",
              written(new QelCMYKColorSpace(1000, -0.1, 1e300)));
    EXPECT_EQ("NULL", written(Space()));
}

template <class Printable>
std::string printed(Printable const & printable) {
    std::ostringstream out;
    out << printable;
    return out.str();
}

// Never an address.
TEST(QelColorSpaceRegistryTextTest, IsThatOfTheSpaceForEveryKindOfPointer) {
    MoxSmartPtr<QelRGBColorSpace> const derived = new QelRGBColorSpace();
    MoxConstSmartPtr<QelRGBColorSpace> const derivedConst = derived.get();
    MoxConstSmartPtr<QelColorSpace> const base = derived.get();
    QelRGBColorSpace * const raw = derived;
    QelColorSpace const * const rawConst = derived;
    std::string const expected = "QelRGBColorSpace[b=3, min=0, max=255]";
    EXPECT_EQ(expected, printed(*rawConst));
    EXPECT_EQ(expected, printed(*derived));
    EXPECT_EQ(expected, printed(Space(raw)));
    EXPECT_EQ(expected, printed(derived));
    EXPECT_EQ(expected, printed(derivedConst));
    EXPECT_EQ(expected, printed(base));
    EXPECT_EQ(expected, printed(raw));
    EXPECT_EQ(expected, printed(rawConst));
    EXPECT_EQ("NULL", printed(MoxSmartPtr<QelLumColorSpace>()));
    EXPECT_EQ("NULL", printed(MoxConstSmartPtr<QelColorSpace>()));
}

// A client's own class of any name.
class NamedColorSpace : public MoonColorSpace {
  public:
    explicit NamedColorSpace(std::string name) : name_(std::move(name)) {}
    Space clone() const override { return new NamedColorSpace(*this); }
    char const * className() const override { return name_.c_str(); }

  private:
    std::string name_;
};

// Not everything that starts as "NULL" does is null.
TEST(QelColorSpaceRegistryTextTest, ReadsBackWhateverTheNameOfTheClass) {
    for (char const * const name : {"N", "NU", "Nul", "NightColorSpace", "Night<int, 3>",
                                    "(anonymous namespace)::Night", "NUl", "N:LL"}) {
        SCOPED_TRACE(name);
        Space const prototype = new NamedColorSpace(name);
        QelColorSpaceRegistryEntry const entry(prototype, "Night");
        Space const again = read(written(prototype));
        ASSERT_TRUE(again);
        EXPECT_STREQ(name, again->className());
    }
}

TEST(QelColorSpaceRegistryTextTest, RefusesToWriteWhatDoesNotRead) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    struct Row {
        Space space;
        std::string refusal;
    };
    std::string const end = " has no text form that can be read";
    std::string const moon = " with 1 bands and a range of 0 to 1" + end;
    std::string const longest(1000, 'x');
    for (Row const & row :
         {Row{new QelRGBColorSpace(-1, 0.0, 1.0),
              "Class QelRGBColorSpace with -1 bands and a range of 0 to 1" + end},
          Row{new QelRGBColorSpace(3, -infinity, 1.0),
              "Class QelRGBColorSpace with 3 bands and a range of -inf to 1" + end},
          Row{new QelRGBColorSpace(3, 0.0, nan),
              "Class QelRGBColorSpace with 3 bands and a range of 0 to nan" + end},
          Row{new NamedColorSpace("of[2]"), "Class of[2]" + moon},
          Row{new NamedColorSpace("NULLColorSpace"), "Class NULLColorSpace" + moon},
          Row{new NamedColorSpace(""), "Class " + moon},
          Row{new NamedColorSpace(" x"), "Class  x" + moon},
          Row{new NamedColorSpace(longest + "x"), "Class " + longest + "x" + moon}}) {
        SCOPED_TRACE(row.refusal);
        std::ostringstream out;
        expectRaises(QelErrorCode::invalidValue, row.refusal, [&] { out << row.space; });
        EXPECT_EQ("", out.str());
    }
    EXPECT_EQ(longest + "[b=1, min=0, max=1]", written(new NamedColorSpace(longest)));
}

TEST(QelColorSpaceRegistryTextTest, DependsOnNoLocaleAndNoFlags) {
    GroupedLocale const grouped;
    std::ostringstream out;
    out << std::hex << std::showpos << std::fixed;
    out << Space(new QelLumColorSpace(4096, 0.5, 65535.0));
    EXPECT_EQ("QelLumColorSpace[b=4096, min=0.5, max=65535]", out.str());
    std::istringstream in(out.str());
    in >> std::hex;
    Space space;
    in >> space;
    EXPECT_EQ(4096, space->numBands());
    EXPECT_EQ(0.5, space->minValue());
}

TEST(QelColorSpaceRegistryTextTest, ReadsBackWithALostFlag) {
    std::mt19937_64 random(41201);
    std::cout << "seed 41201\n";
    std::uniform_real_distribution<double> exponent(-300.0, 300.0);
    std::vector<MoxConstSmartPtr<QelColorSpace>> const spaces = qelColorSpaces();
    for (int i = 0; i < 2000; ++i) {
        char const * const className = spaces[random() % spaces.size()]->className();
        double const min = -std::pow(10.0, exponent(random));
        double const max = std::pow(10.0, exponent(random));
        Space const space = qelNewColorSpace(className)->newWithRange(min, max)->newWithBands(
            static_cast<int>(random() % 100000));
        space->setFlag(true);
        Space const again = read(written(space));
        ASSERT_TRUE(again->isEqual(*space)) << written(space);
        ASSERT_FALSE(again->getFlag());
    }
}

TEST(QelColorSpaceRegistryTextTest, ARefusedTextLeavesASpaceThatReadsAsItWas) {
    for (char const * const text : {"[b=3, min=0, max=x]", "[b=3, min=0, max=1", "b=3"}) {
        SCOPED_TRACE(text);
        QelLumColorSpace space(2, 0.25, 0.5);
        std::istringstream in(text);
        expectRaises(QelErrorCode::invalidValue, "Invalid QelColorSpace value",
                     [&] { space.read(in); });
        EXPECT_TRUE(in.fail());
        EXPECT_TRUE(space.isEqual(QelLumColorSpace(2, 0.25, 0.5)));
    }
}

TEST(QelColorSpaceRegistryTextTest, TakesNoMoreThanItsOwn) {
    std::istringstream in("QelRGBColorSpace[b=3, min=0, max=1]QelLumColorSpace[b=1, min=2, max=3]");
    Space first;
    Space second;
    in >> first >> second;
    EXPECT_TRUE(first->isEqual(QelRGBColorSpace(3, 0.0, 1.0)));
    EXPECT_TRUE(second->isEqual(QelLumColorSpace(1, 2.0, 3.0)));
}

TEST(QelColorSpaceRegistryTextTest, NullReadsAsNull) {
    EXPECT_FALSE(read("NULL"));
    EXPECT_FALSE(read("  NULL and more"));
}

TEST(QelColorSpaceRegistryTextTest, RefusesWhatDoesNotRead) {
    struct Row {
        char const * text;
        char const * refusal;
    };
    for (Row const & row :
         {Row{"", "Class  is not registered as an QelColorSpace."},
          Row{"Moon[b=1, min=0, max=1]", "Class Moon is not registered as an QelColorSpace."},
          Row{"NUL", "Invalid QelColorSpace value"}, Row{"NLLU", "Invalid QelColorSpace value"},
          Row{"Night", "Invalid QelColorSpace value"},
          Row{"Night[", "Class Night is not registered as an QelColorSpace."},
          Row{"QelRGBColorSpace", "Invalid QelColorSpace value"},
          Row{"QelRGBColorSpace[b=", "Invalid QelColorSpace value"},
          Row{"QelRGBColorSpace[b=-1, min=0, max=1]", "Invalid QelColorSpace value"},
          Row{"QelRGBColorSpace[b=2147483648, min=0, max=1]", "Invalid QelColorSpace value"},
          Row{"QelRGBColorSpace[b=x, min=0, max=1]", "Invalid QelColorSpace value"},
          Row{"QelRGBColorSpace[b=3, min=x, max=1]", "Invalid QelColorSpace value"},
          Row{"QelRGBColorSpace[b=3, min=0, max=", "Invalid QelColorSpace value"},
          Row{"QelRGBColorSpace[b=3, min=0, max=1", "Invalid QelColorSpace value"}}) {
        SCOPED_TRACE(row.text);
        std::istringstream in(row.text);
        Space const before = new QelLumColorSpace();
        Space space = before;
        expectRaises(QelErrorCode::invalidValue, row.refusal, [&] { in >> space; });
        EXPECT_EQ(before.get(), space.get());
        EXPECT_TRUE(before->isEqual(QelLumColorSpace()));
    }
}

TEST(QelColorSpaceRegistryTextTest, NoCutOrDamagedTextHangs) {
    std::string const text = "QelRGBColorSpace[b=3, min=-0.5, max=255]";
    std::mt19937 random(41202);
    std::cout << "seed 41202\n";
    for (int i = 0; i < 5000; ++i) {
        std::string damaged = text.substr(0, random() % (text.size() + 1));
        if (!damaged.empty() && i % 2 == 0) {
            damaged[random() % damaged.size()] = static_cast<char>(random() % 256);
        }
        std::istringstream in(damaged);
        Space space;
        try {
            in >> space;
        } catch (ZanError const & error) {
            EXPECT_EQ(QelErrorCode::invalidValue, error.getErrcode());
        }
    }
}

TEST(QelColorSpaceRegistryTest, ThreadsLookUpWhileEntriesComeAndGo) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 300; ++i) {
                EXPECT_STREQ("QelROMMAColorSpace",
                             qelNewColorSpace("QelROMMAColorSpace")->className());
                QelColorSpaceRegistryEntry const entry(new MoonColorSpace(), "Moon");
                EXPECT_TRUE(qelFindColorSpaceName("Moon"));
                EXPECT_LE(53U + 1, qelColorSpaces().size());
            }
        });
    }
    for (std::thread & thread : threads)
        thread.join();
}

}  // namespace

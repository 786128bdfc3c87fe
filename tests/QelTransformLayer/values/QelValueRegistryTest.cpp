#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

#include "ExpectError.h"
#include "QelValue.h"
#include "UnitTesting.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr char const * negativeTolerance = "Negative tolerance value is illegal";

bool isRegistered(int id) {
    try {
        return QelValue::getUnitInfo(id).isRegistered;
    } catch (ZanError const &) {
        return false;
    }
}

// Units cannot be taken back, so that each test takes identifiers that nobody has yet: the highest
// ones. Tests of other classes may take some as well.
int freeId() {
    int id = 255;
    while (id >= 128 && isRegistered(id))
        --id;
    return id;
}

class QelValueRegistryTest : public testing::Test {
  protected:
    // Each refusal is to leave the identifier free.
    void expectRefusal(int code, std::string const & text, int id, int standardId,
                       double multiplier, double tolerance) {
        bool const before = isRegistered(id);
        expectRaises(code, text, [&] {
            QelValue::registerUnit("new", "news", id, standardId, multiplier, tolerance);
        });
        EXPECT_EQ(before, isRegistered(id));
    }

    KeptTolerances const tolerances_;
};

TEST_F(QelValueRegistryTest, ClientsRegisterUnitsOfTheirOwn) {
    // "Registering id 128 with multiplier 1.0 and standard id 128, then id 129 with standard 128,
    // succeeds"; only once in a process.
    if (isRegistered(128)) GTEST_SKIP() << "128 is taken already";
    QelValue::registerUnit("gram", "grams", 128, 128, 1.0, 0.5);
    QelValue::registerUnit("kilogram", "kilograms", 129, 128, 1000.0, 0.25);
    QelUnitInfo const & gram = QelValue::getUnitInfo(128);
    EXPECT_EQ("gram", gram.singularName);
    EXPECT_EQ("grams", gram.pluralName);
    EXPECT_EQ(128, gram.id);
    EXPECT_EQ(128, gram.standardId);
    EXPECT_EQ(1.0, gram.multiplier);
    EXPECT_EQ(0.5, gram.tolerance);
    EXPECT_TRUE(gram.isRegistered);
    EXPECT_TRUE(gram.isStandard);
    QelUnitInfo const & kilogram = QelValue::getUnitInfo("KILOGRAMS");
    EXPECT_EQ(129, kilogram.id);
    EXPECT_EQ(128, kilogram.standardId);
    EXPECT_EQ(1000.0, kilogram.multiplier);
    EXPECT_EQ(0.25, kilogram.tolerance);
    EXPECT_FALSE(kilogram.isStandard);
    EXPECT_EQ(2500.0, QelValue(2.5, 129).valueIn(128));
    EXPECT_TRUE(QelValue::isCompatible(128, 129));
    EXPECT_FALSE(QelValue::isCompatible(129, QEL_UNIT_METER));
    QelValue::setStandardTolerance(128, 1.0);
    EXPECT_EQ(1.0, gram.tolerance);
    EXPECT_EQ(0.001, kilogram.tolerance);
    expectRefusal(QelErrorCode::unitTaken,
                  "Unit identifier 129 has already been registered as unit \"kilogram\"", 129, 128,
                  1.0, 0.0);
}

TEST_F(QelValueRegistryTest, ClientUnitsAreWrittenAndRead) {
    int const id = freeId();
    ASSERT_GE(id, 128);
    std::string const number = std::to_string(id);  // names of their own, also in a repeated run
    QelValue::registerUnit("test ell " + number, "test ells " + number, id, QEL_UNIT_METER, 1.143,
                           0.0);
    std::istringstream in("2.5 test ells " + number + " 1 test ell " + number);
    QelValue first;
    QelValue second;
    in >> first >> second;
    EXPECT_EQ(id, first.unit());
    EXPECT_EQ(2.5, first.value());
    EXPECT_EQ(id, second.unit());
    EXPECT_EQ("1 test ell " + number, exactText(second));
    EXPECT_EQ(2.5 * 1.143, first.valueIn(QEL_UNIT_METER));
}

TEST_F(QelValueRegistryTest, TheShortFormRegistersAStandardUnit) {
    int const id = freeId();
    ASSERT_GE(id, 128);
    QelValue::registerUnit("candela", "candelas", id, 0.125);
    QelUnitInfo const & unit = QelValue::getUnitInfo(id);
    EXPECT_EQ(id, unit.standardId);
    EXPECT_EQ(1.0, unit.multiplier);
    EXPECT_EQ(0.125, unit.tolerance);
    EXPECT_TRUE(unit.isStandard);
}

TEST_F(QelValueRegistryTest, TheLookupTakesSingularNamesFirstAndTheReaderLowerIdentifiers) {
    int const upper = freeId();
    std::string const name = "quills_" + std::to_string(upper);
    QelValue::registerUnit(name, "many", upper, 1e-6);
    int const lower = freeId();
    ASSERT_GE(lower, 128);
    ASSERT_LT(lower, upper);
    QelValue::registerUnit("quill_" + std::to_string(lower), name, lower, 1e-6);
    EXPECT_EQ(upper, QelValue::getUnitInfo(name).id);
    std::istringstream in("2 " + name);
    QelValue value;
    in >> value;
    EXPECT_EQ(lower, value.unit());
}

TEST_F(QelValueRegistryTest, RegistrationIsRefused) {
    int const id = freeId();
    ASSERT_GE(id, 130);
    std::string const sid = std::to_string(id);
    std::string const unit = "Unit \"new\" (id = ";
    std::string const start = "Cannot register new unit \"new\" (id = " + sid;
    std::string const reserved = ") cannot be registered -- id is reserved for use by QEL";
    std::string const above = " ) cannot be registered -- id is not in the range 128 through 255";
    expectRefusal(QelErrorCode::unitReserved, unit + "127" + reserved, 127, 127, 1.0, 0.0);
    expectRefusal(QelErrorCode::unitReserved, unit + "0" + reserved, 0, 0, 1.0, 0.0);
    expectRefusal(QelErrorCode::unitReserved, unit + "9" + reserved, 9, 9, 1.0, 0.0);
    expectRefusal(QelErrorCode::noSuchUnit, unit + "256" + above, 256, 256, 1.0, 0.0);
    expectRefusal(QelErrorCode::noSuchUnit, unit + "-1" + above, -1, -1, 1.0, 0.0);
    expectRefusal(
        QelErrorCode::illegalUnitMultiplier,
        "Cannot register unit \"new\" (id = " + sid + ") with multiplier value not equal to 1.0",
        id, id, 1.0000000000000002, 0.0);
    expectRefusal(QelErrorCode::unitNotRegistered, "Unit identifier 9 has not been registered", id,
                  9, 2.0, 0.0);
    expectRefusal(QelErrorCode::noSuchUnit, "Unit identifier 256 is not in the range 0 through 255",
                  id, 256, 2.0, 0.0);
    std::string const asStandard = ") as the standard unit of measure";
    expectRefusal(QelErrorCode::notAStandardUnit,
                  start + ") with unit \"pixel\" (id = 1" + asStandard, id, 1, 2.0, 0.0);
    expectRefusal(QelErrorCode::notAStandardUnit,
                  start + ") with unit \"arbitrary unit\" (id = 0" + asStandard, id, 0, 1, 0);
    expectRefusal(QelErrorCode::notAStandardUnit,
                  start + ") with unit \"inch\" (id = 43" + asStandard, id, 43, 2.0, 0.0);
    std::string const negative = start + ") with negative scalew factor";
    expectRefusal(QelErrorCode::illegalUnitMultiplier, negative, id, QEL_UNIT_METER, 0.0, 0.0);
    expectRefusal(QelErrorCode::illegalUnitMultiplier, negative, id, QEL_UNIT_METER, -2.0, 0.0);
    expectRefusal(QelErrorCode::illegalUnitMultiplier, negative, id, QEL_UNIT_METER, nan, 0.0);
    expectRefusal(QelErrorCode::invalidValue, negativeTolerance, id, id, 1.0, -1e-300);
    expectRefusal(QelErrorCode::invalidValue, negativeTolerance, id, QEL_UNIT_METER, 2.0, -1.0);
    expectRefusal(QelErrorCode::invalidValue, negativeTolerance, id, id, 1.0, nan);
    expectRaises(QelErrorCode::invalidValue, negativeTolerance,
                 [&] { QelValue::registerUnit("n", "ns", id, -1.0); });
    EXPECT_FALSE(isRegistered(id));
}

TEST_F(QelValueRegistryTest, ChecksOfARegistrationRunInOrder) {
    int const id = freeId();
    ASSERT_GE(id, 128);
    std::string const sid = std::to_string(id);
    // Every argument that comes later is bad as well.
    expectRefusal(QelErrorCode::unitReserved,
                  "Unit \"new\" (id = 43) cannot be registered -- id is reserved for use by QEL",
                  43, 9, -1.0, -1.0);
    expectRefusal(QelErrorCode::noSuchUnit,
                  "Unit \"new\" (id = 256 ) cannot be registered -- id is not in the range 128 "
                  "through 255",
                  256, 9, -1.0, -1.0);
    expectRefusal(
        QelErrorCode::illegalUnitMultiplier,
        "Cannot register unit \"new\" (id = " + sid + ") with multiplier value not equal to 1.0",
        id, id, 0.0, -1.0);
    expectRefusal(QelErrorCode::unitNotRegistered, "Unit identifier 9 has not been registered", id,
                  9, -1.0, -1.0);
    expectRefusal(QelErrorCode::notAStandardUnit,
                  "Cannot register new unit \"new\" (id = " + sid +
                      ") with unit \"normalized unit\" (id = 4) as the standard unit of measure",
                  id, 4, -1.0, -1.0);
    expectRefusal(QelErrorCode::illegalUnitMultiplier,
                  "Cannot register new unit \"new\" (id = " + sid + ") with negative scalew factor",
                  id, QEL_UNIT_SECOND, 0.0, -1.0);
    QelValue::registerUnit("order", "orders", id, 0.0);
    expectRefusal(QelErrorCode::unitTaken,
                  "Unit identifier " + sid + " has already been registered as unit \"order\"", id,
                  9, -1.0, -1.0);
    EXPECT_EQ("orders", QelValue::getUnitInfo(id).pluralName);
}

TEST_F(QelValueRegistryTest, AToleranceIsSetForOneUnit) {
    QelValue::setTolerance(QEL_UNIT_INCH, 0.5);
    EXPECT_EQ(0.5, toleranceOf(QEL_UNIT_INCH));
    EXPECT_EQ(1e-6, toleranceOf(QEL_UNIT_METER));
    EXPECT_EQ(0.001, toleranceOf(QEL_UNIT_MILLIMETER));
    QelValue::setTolerance(QEL_UNIT_INCH, 0.0);
    EXPECT_EQ(0.0, toleranceOf(QEL_UNIT_INCH));
}

TEST_F(QelValueRegistryTest, ABadToleranceIsRefusedAfterTheUnit) {
    for (double bad : {-1.0, -1e-300, nan}) {
        SCOPED_TRACE(bad);
        expectRaises(QelErrorCode::invalidValue, negativeTolerance,
                     [&] { QelValue::setTolerance(QEL_UNIT_INCH, bad); });
        expectRaises(QelErrorCode::invalidValue, negativeTolerance,
                     [&] { QelValue::setStandardTolerance(QEL_UNIT_METER, bad); });
        expectRaises(QelErrorCode::unitNotRegistered, "Unit identifier 9 has not been registered",
                     [&] { QelValue::setTolerance(9, bad); });
        expectRaises(QelErrorCode::noSuchUnit,
                     "Unit identifier -1 is not in the range 0 through 255",
                     [&] { QelValue::setStandardTolerance(-1, bad); });
    }
    EXPECT_EQ(3.937007874015748e-05, toleranceOf(QEL_UNIT_INCH));
    EXPECT_EQ(1e-6, toleranceOf(QEL_UNIT_METER));
}

TEST_F(QelValueRegistryTest, AStandardToleranceIsOnePhysicalDistance) {
    // "setStandardTolerance(QEL_UNIT_METER, 0.001) sets the micron's tolerance to 1000.0 and the
    // inch's to 0.001/0.0254, and replaces the initial one of the micron for good"
    QelValue::setStandardTolerance(QEL_UNIT_METER, 0.001);
    EXPECT_EQ(1000.0, toleranceOf(QEL_UNIT_MICRON));
    EXPECT_DOUBLE_EQ(0.001 / 0.0254, toleranceOf(QEL_UNIT_INCH));
    EXPECT_EQ(0.001, toleranceOf(QEL_UNIT_METER));
    EXPECT_EQ(1.0, toleranceOf(QEL_UNIT_MILLIMETER));
    EXPECT_EQ(1e-6, toleranceOf(QEL_UNIT_SECOND));
    EXPECT_EQ(2.4e-05, toleranceOf(QEL_UNIT_FRAME));
    EXPECT_EQ(1e-6, toleranceOf(QEL_UNIT_PIXEL));
    QelValue::setStandardTolerance(QEL_UNIT_METER, 1e-6);
    EXPECT_DOUBLE_EQ(1.0, toleranceOf(QEL_UNIT_MICRON));
}

TEST_F(QelValueRegistryTest, EachFamilyFollowsItsStandard) {
    for (int standard : {QEL_UNIT_METER, QEL_UNIT_SECOND, QEL_UNIT_RADIAN}) {
        QelValue::setStandardTolerance(standard, 0.125);
        for (int id : builtInIds()) {
            QelUnitInfo const & unit = QelValue::getUnitInfo(id);
            if (unit.standardId != standard) continue;
            SCOPED_TRACE(unit.singularName);
            EXPECT_DOUBLE_EQ(0.125, unit.tolerance * unit.multiplier);
        }
        QelValue::setStandardTolerance(standard, 0.0);
        EXPECT_EQ(0.0, toleranceOf(standard));
    }
}

TEST_F(QelValueRegistryTest, AStandardToleranceOfAnInchIsRefused) {
    expectRaises(QelErrorCode::notAStandardUnit,
                 "Cannot call setStandardTolerance( ) against unit inch -- try the corresponding "
                 "standard unit: meter",
                 [] { QelValue::setStandardTolerance(QEL_UNIT_INCH, -1.0); });
    expectRaises(QelErrorCode::notAStandardUnit,
                 "Cannot call setStandardTolerance( ) against unit arc minute -- try the "
                 "corresponding standard unit: radian",
                 [] { QelValue::setStandardTolerance(QEL_UNIT_ARC_MINUTE, 1.0); });
    EXPECT_EQ(3.937007874015748e-05, toleranceOf(QEL_UNIT_INCH));
}

TEST_F(QelValueRegistryTest, AStandardToleranceOfPixelsTouchesOnlyThatRow) {
    for (int target : {0, 1, 2, 3, 4}) {
        KeptTolerances const kept;
        std::vector<double> before;
        for (int id : builtInIds())
            before.push_back(toleranceOf(id));
        QelValue::setStandardTolerance(target, 0.75);
        for (std::size_t i = 0; i < before.size(); ++i) {
            int const id = builtInIds()[i];
            EXPECT_EQ(id == target ? 0.75 : before[i], toleranceOf(id)) << target << ' ' << id;
        }
    }
}

TEST_F(QelValueRegistryTest, ErrorsNameTheirSource) {
    std::optional<ZanError> const error = errorOf([] { QelValue::getUnitInfo(9); });
    ASSERT_TRUE(error);
    EXPECT_THAT(error->getFile(), testing::EndsWith("/QelValue.cpp"));
    EXPECT_GT(error->getLine(), 0);
}

}  // namespace

#include "QelOpKernels.h"

#include <cstring>
#include <limits>

#include "ClientTesting.h"
#include "OpReference.h"
#include "QelCpu.h"

namespace {

struct Set {
    char const * name;
    QelOpKernels const & kernels;
};

std::vector<Set> setsOfThisProcessor() {
    std::vector<Set> sets{{"baseline", qelOps::baseline::kernels}};
#if defined(QEL_KERNELS_V3)
    if (qelCpuHasV3()) sets.push_back({"v3", qelOps::v3::kernels});
#endif
    return sets;
}

// One row of elements of a type, in memory that starts at an odd address.
class Row {
  public:
    Row(QelDataType type, std::vector<double> const & values)
        : bytes_(1 + values.size() * static_cast<std::size_t>(type.size())),
          buffer_(new QelRectBuffer(static_cast<std::int32_t>(values.size()), 1, 1,
                                    PIXEL_INTERLEAVED, type, bytes_.data() + 1, false)) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            setElement(*buffer_, static_cast<std::int32_t>(i), 0, 0, values[i]);
        }
    }

    double operator[](std::size_t i) const {
        return elementAt(*buffer_, static_cast<std::int32_t>(i), 0, 0);
    }
    QelPixelRows inPlace() {
        QelPixelRows rows;
        rows.from = rows.to = buffer_->getData();
        rows.fromStep = rows.toStep = buffer_->pixelStride();
        rows.count = buffer_->rect().width;
        rows.rows = 1;
        return rows;
    }

  private:
    Bytes bytes_;
    MoxSmartPtr<QelRectBuffer> buffer_;
};

std::vector<double> everyValue(QelDataType type) {
    double least = 0;
    double most = 0;
    QelCoreMisc::getDataTypeMinMaxValues(type, least, most);
    std::vector<double> values;
    for (double value = least; value <= most; ++value)
        values.push_back(value);
    return values;
}

void expectLinear(Set const & set, QelDataType type, std::vector<double> const & values,
                  double gain, double offset) {
    Row row(type, values);
    set.kernels.linear[type.code()](row.inPlace(), gain, offset);
    for (std::size_t i = 0; i < values.size(); ++i) {
        double const expected = linearElement(type, values[i], gain, offset);
        ASSERT_EQ(expected, row[i]) << set.name << ": " << gain << " * " << values[i] << " + "
                                    << offset << " as " << type.name();
    }
}

TEST(QelOpKernelsTest, LinearOfEveryValueOfNarrowTypes) {
    struct Terms {
        double gain, offset;
    };
    // Small and large: there is a faster way for small ones.
    std::vector<Terms> const table{{1, 0},      {-1, 255},   {0.5, 0},     {0.5, 0.5},
                                   {1.7, -33},  {100, 0.25}, {1e6, -3e5},  {-1e6, 1e6},
                                   {0, 1e300},  {0, -1e300}, {1e300, 1},   {-1e300, 0},
                                   {124.5, 99}, {125, 1},    {61, -10000}, {1e-300, 0}};
    for (Set const & set : setsOfThisProcessor()) {
        for (QelDataType const type :
             {QelDataType::UChar, QelDataType::Char, QelDataType::Short, QelDataType::UShort}) {
            std::vector<double> const values = everyValue(type);
            for (Terms const & terms : table) {
                expectLinear(set, type, values, terms.gain, terms.offset);
            }
        }
    }
}

TEST(QelOpKernelsTest, LinearRoundsHalvesToTheEvenNumber) {
    for (Set const & set : setsOfThisProcessor()) {
        Row row(QelDataType::UChar, {1, 3, 5, 7});
        set.kernels.linear[QelDataType::UChar](row.inPlace(), 0.5, 0);
        EXPECT_EQ(0, row[0]) << set.name;
        EXPECT_EQ(2, row[1]) << set.name;
        EXPECT_EQ(2, row[2]) << set.name;
        EXPECT_EQ(4, row[3]) << set.name;
    }
}

TEST(QelOpKernelsTest, LinearKeepsNanAndInfinityOfRealTypes) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const infinity = std::numeric_limits<double>::infinity();
    for (Set const & set : setsOfThisProcessor()) {
        for (QelDataType const type : {QelDataType::Float, QelDataType::Double}) {
            Row row(type, {nan, infinity, -infinity, 1});
            set.kernels.linear[type.code()](row.inPlace(), 2, 1);
            EXPECT_TRUE(std::isnan(row[0])) << set.name;
            EXPECT_EQ(infinity, row[1]) << set.name;
            EXPECT_EQ(-infinity, row[2]) << set.name;
            EXPECT_EQ(3, row[3]) << set.name;
        }
    }
}

// What a kernel is tried on: some rectangle of a larger buffer, into another buffer or in place.
struct Ground {
    Ground(Random & random, QelDataType elementType)
        : type(elementType),
          bands(random.between(1, 4)),
          whole(0, 0, random.between(1, 90), random.between(1, 12)),
          part(random.rectIn(whole)) {
        source = new QelRectBuffer(random.org(whole.width, whole.height, type, bands), whole);
        target = new QelRectBuffer(random.org(whole.width, whole.height, type, bands), whole);
        random.fill(*source);
        random.fill(*target);
    }

    QelPixelRows rows(int band, bool inPlace) {
        QelPixelRows rows;
        QelRectBuffer & from = inPlace ? *target : *source;
        rows.from = from.addressOf(part.x, part.y) + from.dataOrg()->offset(0, 0, band);
        rows.fromStep = from.pixelStride();
        rows.fromLine = from.lineStride();
        rows.to = target->addressOf(part.x, part.y) + target->dataOrg()->offset(0, 0, band);
        rows.toStep = target->pixelStride();
        rows.toLine = target->lineStride();
        rows.count = part.width;
        rows.rows = part.height;
        return rows;
    }

    // Nothing outside of `part` may change.
    PixelFunction within(PixelFunction const & inside, QelRectBuffer const & before) const {
        return [this, inside, &before](std::int32_t x, std::int32_t y, int band) {
            return part.contains(x, y) ? inside(x, y, band) : elementAt(before, x, y, band);
        };
    }

    QelDataType type;
    int bands;
    QelRect whole;
    QelRect part;
    MoxSmartPtr<QelRectBuffer> source;
    MoxSmartPtr<QelRectBuffer> target;
};

MoxSmartPtr<QelRectBuffer> copyOf(QelRectBuffer const & buffer) {
    MoxSmartPtr<QelRectBuffer> const copy = new QelRectBuffer(
        buffer.rect(), buffer.numBands(), PIXEL_INTERLEAVED, buffer.dataOrg()->precision());
    copy->copyFrom(buffer, buffer.rect());
    return copy;
}

TEST(QelOpKernelsTest, RandomInvertAgreesWithTheReference) {
    Random random(20240101);
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        QelDataType const type = random.oneOf(numberTypes());
        bool const inPlace = random.coin();
        for (Set const & set : setsOfThisProcessor()) {
            Ground ground(random, type);
            MoxSmartPtr<QelRectBuffer> const before = copyOf(*ground.target);
            MoxSmartPtr<QelRectBuffer> const input = inPlace ? before : ground.source;
            for (int band = 0; band < ground.bands; ++band) {
                set.kernels.invert[type.code()](ground.rows(band, inPlace));
            }
            auto const expected = [&](std::int32_t x, std::int32_t y, int band) {
                return invertedElement(type, elementAt(*input, x, y, band));
            };
            ASSERT_TRUE(showsPixels(*ground.target, ground.whole, ground.within(expected, *before)))
                << set.name << ' ' << type.name();
        }
    }
}

TEST(QelOpKernelsTest, RandomNeighbourhoodsAgreeWithTheReference) {
    Random random(20240102);
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        QelDataType const type = random.oneOf(numberTypes());
        bool const blur = random.coin();
        for (Set const & set : setsOfThisProcessor()) {
            Ground ground(random, type);
            MoxSmartPtr<QelRectBuffer> const before = copyOf(*ground.target);
            auto const kernel = blur ? set.kernels.blur : set.kernels.sharpen;
            for (int band = 0; band < ground.bands; ++band) {
                QelPixelNeighbours pixels;
                pixels.rows = ground.rows(band, false);
                pixels.left = ground.part.x > 0;
                pixels.above = ground.part.y > 0;
                pixels.right = ground.part.right() < ground.whole.right();
                pixels.below = ground.part.bottom() < ground.whole.bottom();
                kernel[type.code()](pixels);
            }
            auto const expected = [&](std::int32_t x, std::int32_t y, int band) {
                return weighedElement(blur ? blurKernel : sharpenKernel, type,
                                      pixelsOf(*ground.source), ground.whole, x, y, band);
            };
            ASSERT_TRUE(isNearly(*ground.target, ground.whole, ground.within(expected, *before)))
                << set.name << ' ' << type.name();
        }
    }
}

}  // namespace

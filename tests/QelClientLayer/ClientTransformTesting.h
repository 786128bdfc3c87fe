#pragma once

#include <algorithm>
#include <sstream>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "ClientTesting.h"

// What the tests of transforms share.

// Pictures as the source of a graph, at "out": one resolution for each, in inches where there are
// several. The first one is the largest.
class PicturesTransform : public QelTransform {
  public:
    explicit PicturesTransform(std::vector<MoxSmartPtr<QelRectBuffer>> pictures)
        : pictures_(std::move(pictures)) {
        addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP("out")));
    }
    explicit PicturesTransform(MoxSmartPtr<QelRectBuffer> picture)
        : PicturesTransform(std::vector<MoxSmartPtr<QelRectBuffer>>{std::move(picture)}) {}
    PicturesTransform(PicturesTransform const &) = default;

    MoxSmartPtr<QelTransform> clone() const override {
        return MoxSmartPtr<QelTransform>(new PicturesTransform(*this));
    }
    void setupTransform() override {
        QelRectBuffer const & first = *pictures_.front();
        MoxSmartPtr<QelDataOrg> const org = new QelSimpleDataOrg(
            64, 64, first.dataOrg()->precision(), first.numBands(), PIXEL_INTERLEAVED);
        dynamic_cast<QelImageOutputCP &>(*getOutputCP(0))
            .setAttributes(org, newSpace(), new QelRGBColorSpace, nullptr, true);
        setStatusOK();
    }
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int) const override {
        for (MoxSmartPtr<QelRectBuffer> const & picture : pictures_) {
            if (picture->rect().width == id.resolutionWidth)
                return MoxSmartPtr<QelImageOp>(new PictureOp(picture));
        }
        return nullptr;
    }

  private:
    MoxSmartPtr<QelXyCoordSpace> newSpace() const {
        QelRect const first = pictures_.front()->rect();
        if (pictures_.size() == 1) return new QelXyCoordSpace(first.width, first.height);
        MoxSmartPtr<QelXyCoordSpace> const space =
            new QelXyCoordSpace(QelValue(first.width / 100.0, QEL_UNIT_INCH),
                                QelValue(first.height / 100.0, QEL_UNIT_INCH));
        for (MoxSmartPtr<QelRectBuffer> const & picture : pictures_) {
            space->addResolution(static_cast<std::uint32_t>(picture->rect().width),
                                 static_cast<std::uint32_t>(picture->rect().height));
        }
        return space;
    }

    std::vector<MoxSmartPtr<QelRectBuffer>> pictures_;
};

// A type of elements that no operation knows.
struct Quaternion {
    float parts[4];
};

// Nothing but a description of images with elements of some type.
class TypedTransform : public QelTransform {
  public:
    explicit TypedTransform(QelDataType type) : type_(type) {
        addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP("out")));
    }
    TypedTransform(TypedTransform const &) = default;

    void setType(QelDataType type) {
        type_ = type;
        markOutOfDate(true);
    }

    MoxSmartPtr<QelTransform> clone() const override {
        return MoxSmartPtr<QelTransform>(new TypedTransform(*this));
    }
    void setupTransform() override {
        dynamic_cast<QelImageOutputCP &>(*getOutputCP(0))
            .setAttributes(new QelSimpleDataOrg(64, 64, type_, 3, PIXEL_INTERLEAVED),
                           new QelXyCoordSpace(90, 60), nullptr, nullptr, true);
        setStatusOK();
    }

  private:
    QelDataType type_;
};

// A client's own point operation, one parameter of each type: factor * v + bias.
class FactorTransform : public QelPointTransform {
  public:
    FactorTransform() : QelPointTransform(catalogEntry()) {}
    FactorTransform(FactorTransform const &) = default;

    static QelTransformDescription const & catalogEntry() {
        using Type = QelTransformParameter::Type;
        static QelTransformDescription const entry{
            "factor",
            "FactorTransform",
            "pixels times a number",
            false,
            {{"factor", "what to multiply by", Type::Integer, 3, 1, 9},
             {"bias", "what to add", Type::Number, std::nullopt, -2.5, 40},
             {"weights", "a list", Type::Numbers, std::nullopt, 0, 1e6},
             {"note", "a text", Type::Text, std::nullopt}},
            [] { return MoxSmartPtr<QelTransform>(new FactorTransform); },
            [](QelTransformValues const & values) {
                if (values[2].size() > 2) qelRaise(QelErrorCode::invalidValue, "too many weights");
            }};
        return entry;
    }

    MoxSmartPtr<QelTransform> clone() const override {
        return MoxSmartPtr<QelTransform>(new FactorTransform(*this));
    }
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int) const override {
        return MoxSmartPtr<QelImageOp>(new QelLinearOp(input(id), attributeValue<int>("factor"),
                                                       attributeValue<double>("bias")));
    }
};

inline QelImageOutputCP & outputOf(QelTransform & transform) {
    return dynamic_cast<QelImageOutputCP &>(*transform.getOutputCP(0));
}

inline MoxSmartPtr<PicturesTransform> randomSource(Random & random, std::int32_t width,
                                                   std::int32_t height, int bands = 3,
                                                   QelDataType type = QelDataType::UChar) {
    return new PicturesTransform(randomPicture(random, width, height, bands, type));
}

// "NAME=VALUE" of all attributes, in their order.
inline std::vector<std::string> attributesOf(QelTransform const & transform) {
    std::vector<std::string> found;
    for (int i = 0; i < transform.getNumAttributes(); ++i) {
        std::ostringstream text;
        text << transform.getAttributeName(i) << '=';
        transform.getAttribute(i)->writeValue(text);
        found.push_back(text.str());
    }
    return found;
}

// ---- Status

// A bad status, with that error, at the output too.
inline void expectBad(QelTransform & transform, int code, std::string const & text) {
    EXPECT_FALSE(transform.isStatusOk());
    expectQelError(transform.getStatusMessage(), code, text);
    EXPECT_FALSE(outputOf(transform).getStatus());
    EXPECT_EQ(nullptr, outputOf(transform).get2DImage(QelTileId(0, 0, 1, 1)));
}

inline void expectGood(QelTransform & transform) {
    EXPECT_TRUE(transform.isStatusOk()) << transform.getStatusMessage().getMsg();
    EXPECT_TRUE(outputOf(transform).getStatus());
}

// A value of an attribute, what is wrong with it, and one that mends it.
template <class Value>
struct BadValue {
    char const * name;
    Value bad;
    std::string text;
    Value good;
};

// The attribute takes the value, and the status alone refuses it.
template <class Value>
void expectRefusedWhileBad(QelTransform & transform, BadValue<Value> const & row) {
    SCOPED_TRACE(row.text);
    expectGood(transform);
    transform.setAttributeValue<Value>(row.name, row.bad);
    expectBad(transform, QelErrorCode::invalidValue, row.text);
    transform.setAttributeValue<Value>(row.name, row.good);
    expectGood(transform);
}

// All eight types of numbers are fine, another one is not.
inline void expectTakesNumbersOnly(QelTransform & transform) {
    MoxSmartPtr<TypedTransform> const source = new TypedTransform(QelDataType::UChar);
    transform.connect(0, source.get(), 0);
    for (QelDataType const & type : numberTypes()) {
        SCOPED_TRACE(type.name());
        source->setType(type);
        expectGood(transform);
        EXPECT_TRUE(outputOf(transform).commonPrecision() == type);
    }
    QelDataType const strange = QelDataType::of<Quaternion>();
    source->setType(strange);
    expectGood(*source);
    expectBad(transform, QelErrorCode::unsupportedDataType,
              std::string("The data type ") + strange.name() + " is not a supported data type in " +
                  transform.getClassName());
    source->setType(QelDataType::Short);
    expectGood(transform);
}

// `change` marks the transform and what is downstream of it, and nothing else.
template <class Change>
void expectMarksDownstreamOnly(QelTransform & transform, Change const & change) {
    Random random(20240401);
    MoxSmartPtr<QelTransform> const source = randomSource(random, 40, 30);
    MoxSmartPtr<QelTransform> const before = new QelInvertTransform;
    MoxSmartPtr<QelTransform> const beside = new QelInvertTransform;
    MoxSmartPtr<QelTransform> const behind = new QelInvertTransform;
    MoxSmartPtr<QelTransform> const last = new QelInvertTransform;
    if (transform.numInputs() > 0) {
        before->connect(0, source.get(), 0);
        transform.connect(0, before.get(), 0);
        beside->connect(0, before.get(), 0);
    }
    behind->connect(0, &transform, 0);
    last->connect(0, behind.get(), 0);
    std::vector<QelTransform *> const upstream{source.get(), before.get(), beside.get()};
    std::vector<QelTransform *> const downstream{&transform, behind.get(), last.get()};
    for (auto const & group : {upstream, downstream}) {
        for (QelTransform * const each : group)
            each->update();
    }
    EXPECT_TRUE(last->statusOk());
    change();
    for (QelTransform * const each : upstream)
        EXPECT_TRUE(each->setupDone()) << each->describe();
    for (QelTransform * const each : downstream)
        EXPECT_FALSE(each->setupDone()) << each->describe();
    expectGood(*last);
    for (QelTransform * const each : downstream)
        EXPECT_TRUE(each->setupDone()) << each->describe();
}

// ---- Clones

// A clone is like the transform, has no connections and goes its own way: `change` is of an
// attribute.
template <class Change>
void expectCloneIsApart(QelTransform & transform, Change const & change) {
    transform.setLabel("original");
    MoxSmartPtr<QelTransform> const before = new TypedTransform(QelDataType::UChar);
    MoxSmartPtr<QelTransform> const behind = new QelInvertTransform;
    if (transform.numInputs() > 0) transform.connect(0, before.get(), 0);
    behind->connect(0, &transform, 0);
    transform.update();
    MoxSmartPtr<QelTransform> const clone = transform.clone();
    QelTransform const & copy = *clone;
    EXPECT_TRUE(typeid(copy) == typeid(transform));
    EXPECT_EQ("original", clone->getLabel());
    EXPECT_EQ(transform.getClassName(), clone->getClassName());
    EXPECT_EQ(attributesOf(transform), attributesOf(*clone));
    EXPECT_FALSE(clone->setupDone());
    EXPECT_TRUE(transform.setupDone());
    ASSERT_EQ(transform.numInputs(), clone->numInputs());
    ASSERT_EQ(transform.numOutputs(), clone->numOutputs());
    for (int i = 0; i < clone->numInputs(); ++i)
        EXPECT_EQ(nullptr, clone->getInputCP(i)->getConnectedOutput(false));
    EXPECT_EQ(0U, clone->getOutputCP(0)->numConnectedInputs());
    EXPECT_NE(transform.getOutputCP(0), clone->getOutputCP(0));

    std::vector<std::string> const values = attributesOf(transform);
    change(*clone);
    EXPECT_EQ(values, attributesOf(transform));
    EXPECT_NE(values, attributesOf(*clone));
    EXPECT_TRUE(transform.setupDone());
}

// ---- Pixels

inline MoxSmartPtr<QelXySimpleRegion> regionOf(QelTransform & transform, QelRect const & rect) {
    MoxSmartPtr<QelXySimpleRegion> const region = outputOf(transform).getMaxResRegion();
    region->setPixelBounds(rect);
    return region;
}

// The same buffer, a copy into another layout, and a tile all show what `expected` has.
inline void expectPixels(QelTransform & transform, QelRectBuffer const & expected,
                         Random & random) {
    expectGood(transform);
    QelImageOutputCP & output = outputOf(transform);
    QelRect const whole = expected.rect();
    ASSERT_EQ(whole, output.getMaxResRegion()->pixelBounds());
    ASSERT_TRUE(output.commonPrecision() == expected.dataOrg()->precision());
    ASSERT_EQ(expected.numBands(), output.numBands());
    std::vector<QelRect> rects{whole, QelRect(whole.width / 3, whole.height / 4,
                                              (whole.width + 1) / 2, (whole.height + 1) / 2)};
    for (int i = 0; i < 5; ++i)
        rects.push_back(random.rectIn(whole));
    for (QelRect const & rect : rects) {
        QelImageRequestDesc const request(regionOf(transform, rect));
        MoxSmartPtr<QelRectBuffer> const found = output.getData(&request, true);
        ASSERT_TRUE(found);
        ASSERT_TRUE(showsPixels(*found, rect, pixelsOf(expected))) << rect;
        QelRectBuffer filled(random.org(rect.width, rect.height, expected.dataOrg()->precision(),
                                        expected.numBands()),
                             rect);
        ASSERT_TRUE(output.fillRWBuffer(&filled, &request, true));
        ASSERT_TRUE(showsPixels(filled, rect, pixelsOf(expected))) << rect;
    }
    MoxSmartPtr<QelTile> const tile = output.getTile(QelTileId(0, 0, whole.width, whole.height));
    ASSERT_TRUE(tile);
    EXPECT_TRUE(showsPixels(*tile, tile->rect().intersect(whole), pixelsOf(expected)));
}

// What the op makes of all of its image.
inline MoxSmartPtr<QelRectBuffer> madeBy(MoxSmartPtr<QelImageOp> op) {
    Qel2DImage image(std::move(op));
    return allOf(image);
}

// A transform shows what an op makes of the same picture, for all element types and some sizes:
// newOp(image).
template <class NewOp>
void expectPixelsOfOp(QelTransform & transform, Random & random, NewOp const & newOp) {
    for (QelDataType const & type : numberTypes()) {
        for (auto const & [width, height] :
             {std::pair(130, 70), std::pair(1, 1), std::pair(64, 128), std::pair(3, 90)}) {
            SCOPED_TRACE(std::string(type.name()) + " " + std::to_string(width) + " by " +
                         std::to_string(height));
            int const bands = random.between(1, 4);
            MoxSmartPtr<QelRectBuffer> const picture =
                randomPicture(random, width, height, bands, type);
            MoxSmartPtr<QelTransform> const source = new PicturesTransform(picture);
            transform.connect(0, source.get(), 0);
            MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(new PictureOp(picture));
            expectPixels(transform, *madeBy(newOp(image)), random);
            if (testing::Test::HasFatalFailure()) return;
        }
    }
}

// ---- Regions

// What `transform` needs of its input for some pixels of its output.
inline QelRect neededFor(QelTransform & transform, QelRect const & rect) {
    MoxSmartPtr<QelXyRegion> const needed =
        transform.getInputRegion(*regionOf(transform, rect), 0, 0);
    return needed ? needed->pixelBounds() : QelRect();
}

struct Reach {
    QelRect output;
    QelRect input;
};

inline void expectNeeds(QelTransform & transform, std::vector<Reach> const & table) {
    expectGood(transform);
    for (Reach const & row : table)
        EXPECT_EQ(row.input, neededFor(transform, row.output)) << row.output;
}

// By hand: the rectangle with a rim, cut at the edges of the image.
inline QelRect grown(QelRect const & rect, std::int32_t reach, QelRect const & image) {
    std::int32_t const left = std::max(rect.x - reach, image.x);
    std::int32_t const top = std::max(rect.y - reach, image.y);
    std::int32_t const right =
        static_cast<std::int32_t>(std::min(rect.right() + reach, image.right()));
    std::int32_t const bottom =
        static_cast<std::int32_t>(std::min(rect.bottom() + reach, image.bottom()));
    return QelRect(left, top, right - left + 1, bottom - top + 1);
}

inline void expectReach(QelTransform & transform, std::int32_t reach, Random & random) {
    expectGood(transform);
    QelRect const image = outputOf(transform).getMaxResRegion()->pixelBounds();
    for (int i = 0; i < 40; ++i) {
        QelRect const rect = random.rectIn(image);
        EXPECT_EQ(grown(rect, reach, image), neededFor(transform, rect)) << rect;
    }
    EXPECT_EQ(image, neededFor(transform, image));
    // Without pixels, or wholly outside.
    for (QelRect const & nothing : {QelRect(5, 5, 0, 0), QelRect(5, 5, 0, 7), QelRect(-9, -9, 3, 3),
                                    QelRect(image.width, 3, 9, 9)}) {
        EXPECT_EQ(QelRect(), neededFor(transform, nothing)) << nothing;
    }
}

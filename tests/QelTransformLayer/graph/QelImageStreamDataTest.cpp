#include "QelImageStreamData.h"

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "DiagonalOrg.h"
#include "ExpectError.h"
#include "QelColorSpaces.h"
#include "QelSystemConfig.h"
#include "ScopedSetting.h"
#include "StreamTesting.h"

namespace {

using Container = QelImageStreamData::TileContainer;

constexpr PixelSize full{300, 200};
constexpr PixelSize half{150, 100};
constexpr PixelSize huge{600, 400};

class QelImageStreamDataTest : public ImageStreamFixture {};

// ---- The container

TEST_F(QelImageStreamDataTest, StartsStaleWithAnEmptyContainerAndNoDescription) {
    EXPECT_TRUE(data().outOfDate());
    EXPECT_FALSE(data().statusOk());
    MoxSmartPtr<Container> const container = data().getTileContainer();
    ASSERT_NE(nullptr, container);
    EXPECT_EQ(&output(), container->output());
    EXPECT_EQ(0, container->numImages());
    EXPECT_FALSE(container->cacheTiles());
    EXPECT_EQ(container.get(), data().getRenderedItemContainer().get());
    EXPECT_EQ(0, transform_->count("setup"));
}

TEST_F(QelImageStreamDataTest, RequiresAnOwner) {
    expectRaises(QelErrorCode::nullPointer, "NULL ptr passed to QelStreamData constructor",
                 [] { QelImageStreamData const data(nullptr); });
}

TEST_F(QelImageStreamDataTest, ResetContainerMakesANewEmptyOneForTheOwner) {
    MoxSmartPtr<Qel2DImage> const image = data().get2DImage(idOf(full));
    MoxSmartPtr<Container> const before = data().getTileContainer();
    EXPECT_EQ(before.get(), image->container());
    data().resetContainer();
    MoxSmartPtr<Container> const after = data().getTileContainer();
    EXPECT_NE(before, after);
    EXPECT_EQ(&output(), after->output());
    EXPECT_EQ(0, after->numImages());
    EXPECT_EQ(nullptr, image->container());
    EXPECT_TRUE(data().statusOk());
    EXPECT_FALSE(data().outOfDate());
}

TEST_F(QelImageStreamDataTest, TheOldContainerBelongsToNobody) {
    MoxSmartPtr<Container> const before = data().getTileContainer();
    data().resetContainer();
    EXPECT_EQ(nullptr, before->output());
    EXPECT_EQ(nullptr, before->getOwner());
    EXPECT_EQ(0, before->numImages());
    EXPECT_EQ(1, before->refCount());
}

TEST_F(QelImageStreamDataTest, ANewContainerGetsThePresentCaching) {
    data().setCachingClient(true);
    EXPECT_TRUE(data().getTileContainer()->cacheTiles());
    data().resetContainer();
    EXPECT_TRUE(data().getTileContainer()->cacheTiles());
    data().setCachingClient(false);
    EXPECT_FALSE(data().getTileContainer()->cacheTiles());
    data().resetContainer();
    EXPECT_FALSE(data().getTileContainer()->cacheTiles());
}

// Whatever a client has told the old one.
TEST_F(QelImageStreamDataTest, ANewContainerCachesOnlyForThoseWhoWantIt) {
    data().getTileContainer()->setCacheTiles(true);
    data().resetContainer();
    EXPECT_FALSE(data().getTileContainer()->cacheTiles());
    MoxSmartPtr<Container> const held = data().getTileContainer();
    held->setCacheTiles(true);
    data().resetContainer();
    EXPECT_FALSE(data().getTileContainer()->cacheTiles());
    data().setCachingClient(true);
    data().getTileContainer()->setCacheTiles(false);
    data().resetContainer();
    EXPECT_TRUE(data().getTileContainer()->cacheTiles());
}

TEST_F(QelImageStreamDataTest, AnOutputMadeWithCachingOnCountsOnce) {
    ScopedSetting<bool> const cache(QelSystemConfig::tileCachingDefault, true);
    MoxSmartPtr<QelImageOutputCP> const point(new QelImageOutputCP("point"));
    QelImageStreamData & of = *point->imageStreamData();
    EXPECT_TRUE(point->caching());
    EXPECT_TRUE(of.caching());
    EXPECT_EQ(1, of.cachingCount());
    EXPECT_TRUE(of.getTileContainer()->cacheTiles());
    point->setCaching(false);
    EXPECT_FALSE(of.caching());
    EXPECT_EQ(0, of.cachingCount());
    EXPECT_FALSE(of.getTileContainer()->cacheTiles());
    of.resetContainer();
    EXPECT_FALSE(of.getTileContainer()->cacheTiles());
}

TEST_F(QelImageStreamDataTest, AnOutputMadeWithoutCachingDoesNotCount) {
    EXPECT_FALSE(output().caching());
    EXPECT_FALSE(data().caching());
    EXPECT_EQ(0, data().cachingCount());
}

TEST_F(QelImageStreamDataTest, CachingKeepsTilesUntilNobodyWantsIt) {
    data().setCachingClient(true);
    data().setCachingClient(true);
    data().getTile(idOf(full));
    data().setCachingClient(false);
    EXPECT_NE(nullptr, data().findTile(idOf(full)));
    data().setCachingClient(false);
    EXPECT_EQ(nullptr, data().findTile(idOf(full)));
}

// ---- Setters, by parts

struct Setter {
    char const * name;
    std::function<void(QelImageStreamData &)> set;
};

std::vector<Setter> const & setters() {
    static std::vector<Setter> const all{
        {"setDataOrg", [](QelImageStreamData & data) { data.setDataOrg(TestImage{}.dataOrg()); }},
        {"setPixelType", [](QelImageStreamData & data) { data.setPixelType(QelDataType::Float); }},
        {"setLayout", [](QelImageStreamData & data) { data.setLayout(BAND_INTERLEAVED); }},
        {"setCoordSpace", [](QelImageStreamData & data) { data.setCoordSpace(spaceWith({full})); }},
        {"setColorSpace",
         [](QelImageStreamData & data) { data.setColorSpace(1, new QelLumColorSpace); }},
        {"setAttributes",
         [](QelImageStreamData & data) {
             data.setAttributes(true, spaceWith({full}), nullptr, TestImage{}.dataOrg());
         }},
        {"setAttributes, bad", [](QelImageStreamData & data) { data.setAttributes(false, true); }},
        {"setAttributes, no more than the status",
         [](QelImageStreamData & data) { data.setAttributes(true, false); }},
    };
    return all;
}

TEST_F(QelImageStreamDataTest, SettingAnyAttributeDiscardsAllTiles) {
    for (Setter const & setter : setters()) {
        SCOPED_TRACE(setter.name);
        MoxSmartPtr<HookTransform> const transform(new HookTransform);
        QelImageStreamData & data = *transform->output().imageStreamData();
        data.setCachingClient(true);
        data.getTile(idOf(full));
        MoxSmartPtr<Qel2DImage> const image = data.get2DImage(idOf(full));
        ASSERT_NE(nullptr, image->findTile(0, 0));
        MoxSmartPtr<Container> const before = data.getTileContainer();
        setter.set(data);
        EXPECT_NE(before, data.getTileContainer());
        EXPECT_EQ(0, data.getTileContainer()->numImages());
        EXPECT_EQ(0, before->numImages());
        EXPECT_EQ(nullptr, image->container());
        EXPECT_TRUE(data.getTileContainer()->cacheTiles());
    }
}

TEST_F(QelImageStreamDataTest, SettersOfAPartLeaveTheStatus) {
    for (Setter const & setter : setters()) {
        if (std::string(setter.name).substr(0, 13) == "setAttributes") continue;
        SCOPED_TRACE(setter.name);
        MoxSmartPtr<HookTransform> const transform(new HookTransform);
        QelImageStreamData & data = *transform->output().imageStreamData();
        setter.set(data);
        EXPECT_TRUE(data.outOfDate());
        EXPECT_FALSE(data.statusOk());
        transform->update();
        setter.set(data);
        EXPECT_FALSE(data.outOfDate());
        EXPECT_TRUE(data.statusOk());
        data.setStatusError(ZanError("ABC", 5, "somewhere.cpp", 3));
        setter.set(data);
        EXPECT_FALSE(data.statusOk());
        ASSERT_NE(nullptr, data.statusError());
        EXPECT_EQ(5, data.statusError()->getErrcode());
    }
}

TEST_F(QelImageStreamDataTest, SetDataOrgShares) {
    transform_->update();
    MoxSmartPtr<QelDataOrg> const org = TestImage{.bands = 5}.dataOrg();
    data().setDataOrg(org);
    EXPECT_EQ(org, data().getDataOrg());
    EXPECT_EQ(org, data().getDefaultDataOrg());
    EXPECT_EQ(5, data().numBands());
    data().setDataOrg(nullptr);
    EXPECT_EQ(nullptr, data().getDataOrg());
    EXPECT_EQ(0, data().numBands());
    EXPECT_EQ(QelDataType(QelDataType::Error), data().commonPrecision());
}

TEST_F(QelImageStreamDataTest, SetPixelTypeChangesTheElementTypeAlone) {
    transform_->update();
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(64, 32, QelDataType::UChar, 2, LINE_INTERLEAVED));
    data().setDataOrg(org);
    data().setPixelType(QelDataType::Double, 3);
    auto const simple = data().getDataOrg();
    ASSERT_NE(nullptr, simple->asSimple());
    EXPECT_EQ(64, simple->tileWidth());
    EXPECT_EQ(32, simple->tileHeight());
    EXPECT_EQ(2, simple->numBands());
    EXPECT_EQ(LINE_INTERLEAVED, simple->asSimple()->layout());
    EXPECT_EQ(QelDataType(QelDataType::Double), data().commonPrecision());
    EXPECT_EQ(QelDataType(QelDataType::UChar), org->precision()) << "shared, so unchanged";
}

TEST_F(QelImageStreamDataTest, SetLayoutMakesASimpleOrganisationOfTheSameSizeTypeAndBands) {
    transform_->update();
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(64, 32, QelDataType::Short, 2, PIXEL_INTERLEAVED));
    data().setDataOrg(org);
    for (QelLayout const layout : {BAND_INTERLEAVED, LINE_INTERLEAVED, PIXEL_INTERLEAVED}) {
        data().setLayout(layout);
        QelSimpleDataOrg const * const simple = data().getDataOrg()->asSimple();
        ASSERT_NE(nullptr, simple);
        EXPECT_EQ(layout, simple->layout());
        EXPECT_EQ(64, simple->tileWidth());
        EXPECT_EQ(32, simple->tileHeight());
        EXPECT_EQ(2, simple->numBands());
        EXPECT_EQ(QelDataType(QelDataType::Short), data().getDataOrg()->precision());
    }
    EXPECT_EQ(PIXEL_INTERLEAVED, org->asSimple()->layout());
}

TEST_F(QelImageStreamDataTest, SetLayoutRequiresASimpleOrganisation) {
    transform_->update();
    MoxSmartPtr<QelDataOrg> const org(new DiagonalOrg(64, 32));
    data().setDataOrg(org);
    MoxSmartPtr<Container> const before = data().getTileContainer();
    expectRaises(QelErrorCode::simpleDataOrgNeeded,
                 "QelImageStreamData::setLayout requires a QelSimpleDataOrg",
                 [&] { data().setLayout(BAND_INTERLEAVED); });
    EXPECT_EQ(org, data().getDataOrg());
    EXPECT_EQ(before, data().getTileContainer());
    EXPECT_TRUE(data().statusOk());
}

// An organisation that can change nothing.
TEST_F(QelImageStreamDataTest, AnOrganisationThatCannotChangeIsKept) {
    transform_->update();
    MoxSmartPtr<QelDataOrg> const org(new DiagonalOrg(64, 32));
    data().setDataOrg(org);
    MoxSmartPtr<Container> const before = data().getTileContainer();
    expectRaises(QelErrorCode::unsupported, "Invalid pixel type option",
                 [&] { data().setPixelType(QelDataType::Short); });
    expectRaises(QelErrorCode::unsupported, "Invalid number of bands",
                 [&] { data().setColorSpace(2, new QelRGBColorSpace); });
    EXPECT_EQ(org, data().getDataOrg());
    EXPECT_EQ(nullptr, data().getColorSpace());
    EXPECT_EQ(before, data().getTileContainer());
}

TEST_F(QelImageStreamDataTest, TypeAndLayoutNeedAnOrganisation) {
    transform_->update();
    data().setDataOrg(nullptr);
    data().setPixelType(QelDataType::Double);
    data().setLayout(BAND_INTERLEAVED);
    EXPECT_EQ(nullptr, data().getDataOrg());
}

TEST_F(QelImageStreamDataTest, SetColorSpaceChangesTheNumberOfBands) {
    transform_->update();
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(64, 32, QelDataType::Short, 3, BAND_INTERLEAVED));
    data().setDataOrg(org);
    MoxSmartPtr<QelColorSpace> const space(new QelRGBAColorSpace);
    data().setColorSpace(4, space);
    EXPECT_EQ(space, data().getColorSpace());
    EXPECT_EQ(4, data().numBands());
    QelSimpleDataOrg const * const simple = data().getDataOrg()->asSimple();
    ASSERT_NE(nullptr, simple);
    EXPECT_EQ(64, simple->tileWidth());
    EXPECT_EQ(BAND_INTERLEAVED, simple->layout());
    EXPECT_EQ(QelDataType(QelDataType::Short), data().commonPrecision());
    EXPECT_EQ(3, org->numBands());
}

TEST_F(QelImageStreamDataTest, SetColorSpaceWithoutOrganisationSetsTheSpaceAlone) {
    transform_->update();
    data().setDataOrg(nullptr);
    MoxSmartPtr<QelColorSpace> const space(new QelRGBAColorSpace);
    data().setColorSpace(4, space);
    EXPECT_EQ(space, data().getColorSpace());
    EXPECT_EQ(nullptr, data().getDataOrg());
    data().setColorSpace(4, nullptr);
    EXPECT_EQ(nullptr, data().getColorSpace());
}

TEST_F(QelImageStreamDataTest, SetCoordSpaceShares) {
    transform_->update();
    MoxSmartPtr<QelXyCoordSpace> const space = spaceWith({full});
    data().setCoordSpace(space);
    EXPECT_EQ(space, data().getCoordSpace());
    data().setCoordSpace(nullptr);
    EXPECT_EQ(nullptr, data().getCoordSpace());
    EXPECT_EQ(0U, data().selectedPixelWidth());
    EXPECT_EQ(0U, data().selectedPixelHeight());
}

// ---- Setters, all at once

TEST_F(QelImageStreamDataTest, SetAttributesSetsAllAndTheStatus) {
    MoxSmartPtr<QelXyCoordSpace> const space(new QelXyCoordSpace(40U, 30U));
    MoxSmartPtr<QelColorSpace> const colours(new QelRGBColorSpace);
    MoxSmartPtr<QelDataOrg> const org = TestImage{.type = QelDataType::Float}.dataOrg();
    data().setStatusError(ZanError("ABC", 5, "somewhere.cpp", 3));
    for (bool const ok : {true, false}) {
        data().setOutOfDate(true);
        data().setAttributes(ok, space, colours, org);
        EXPECT_EQ(ok, data().statusOk());
        EXPECT_FALSE(data().outOfDate());
        EXPECT_EQ(nullptr, data().statusError());
        EXPECT_EQ(space, data().getCoordSpace());
        EXPECT_EQ(colours, data().getColorSpace());
        EXPECT_EQ(org, data().getDataOrg());
    }
    EXPECT_EQ(40U, data().selectedPixelWidth());
    EXPECT_EQ(30U, data().selectedPixelHeight());
    EXPECT_EQ(3, data().numBands());
    EXPECT_EQ(QelDataType(QelDataType::Float), data().commonPrecision());
    EXPECT_EQ(0, transform_->count("setup"));
}

TEST_F(QelImageStreamDataTest, SetAttributesOfAStatusKeepsOrDropsTheDescription) {
    transform_->update();
    MoxSmartPtr<QelXyCoordSpace> const space = data().getCoordSpace();
    data().setColorSpace(3, new QelRGBColorSpace);
    data().setAttributes(false, false);
    EXPECT_FALSE(data().statusOk());
    EXPECT_FALSE(data().outOfDate());
    EXPECT_EQ(space, data().getCoordSpace());
    EXPECT_NE(nullptr, data().getColorSpace());
    EXPECT_NE(nullptr, data().getDataOrg());
    data().setAttributes(true, true);
    EXPECT_TRUE(data().statusOk());
    EXPECT_EQ(nullptr, data().getCoordSpace());
    EXPECT_EQ(nullptr, data().getColorSpace());
    EXPECT_EQ(nullptr, data().getDataOrg());
    data().setOutOfDate(true);
    data().setAttributes(false, true);
    EXPECT_FALSE(data().outOfDate());
    EXPECT_FALSE(data().statusOk());
}

TEST_F(QelImageStreamDataTest, ThePointForwardsUnderTheSameNames) {
    MoxSmartPtr<QelXyCoordSpace> const space(new QelXyCoordSpace(40U, 30U));
    MoxSmartPtr<QelColorSpace> const colours(new QelRGBColorSpace);
    MoxSmartPtr<QelDataOrg> const org = TestImage{}.dataOrg();
    MoxSmartPtr<QelXySimpleRegion> const ignored(new QelXySimpleRegion(space, 1, 1, 1, 1));
    output().setAttributes(org, space, colours, ignored.get(), true);
    EXPECT_TRUE(data().statusOk());
    EXPECT_EQ(space, output().getCoordSpace());
    EXPECT_EQ(colours, output().getColorSpace());
    EXPECT_EQ(org, output().getDataOrg());
    EXPECT_EQ(org, output().getDefaultDataOrg());
    EXPECT_EQ(3, output().numBands());
    EXPECT_EQ(QelDataType(QelDataType::UChar), output().commonPrecision());
    EXPECT_EQ(data().getTileContainer(), output().getTileContainer());
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    output().getMaxAvailableResolution(width, height);
    EXPECT_EQ(40U, width);
    EXPECT_EQ(30U, height);
    EXPECT_EQ(QelRect(0, 0, 40, 30), output().getMaxResRegion()->pixelBounds());
    EXPECT_EQ(output().get2DImage(idOf({40, 30})), data().get2DImage(idOf({40, 30})));
    output().setPixelType(QelDataType::Short);
    EXPECT_EQ(QelDataType(QelDataType::Short), data().commonPrecision());
    output().setLayout(BAND_INTERLEAVED);
    EXPECT_EQ(BAND_INTERLEAVED, data().getDataOrg()->asSimple()->layout());
    output().setColorSpace(1, nullptr);
    EXPECT_EQ(1, data().numBands());
    output().setDataOrg(nullptr);
    EXPECT_EQ(nullptr, data().getDataOrg());
    output().setCoordSpace(nullptr);
    EXPECT_EQ(nullptr, data().getCoordSpace());
    output().setAttributes(false, true);
    EXPECT_FALSE(data().statusOk());
    EXPECT_EQ(0, transform_->count("setup"));
}

// ---- Questions

struct Question {
    char const * name;
    std::function<void(QelImageStreamData &)> ask;
};

std::vector<Question> const & questions() {
    static std::vector<Question> const all{
        {"getCoordSpace", [](QelImageStreamData & data) { data.getCoordSpace(); }},
        {"getColorSpace", [](QelImageStreamData & data) { data.getColorSpace(); }},
        {"getDefaultDataOrg", [](QelImageStreamData & data) { data.getDefaultDataOrg(); }},
        {"getDataOrg", [](QelImageStreamData & data) { data.getDataOrg(); }},
        {"numBands", [](QelImageStreamData & data) { data.numBands(); }},
        {"commonPrecision", [](QelImageStreamData & data) { data.commonPrecision(); }},
        {"selectedPixelWidth", [](QelImageStreamData & data) { data.selectedPixelWidth(); }},
        {"selectedPixelHeight", [](QelImageStreamData & data) { data.selectedPixelHeight(); }},
        {"getMaxAvailableResolution",
         [](QelImageStreamData & data) {
             std::uint32_t width = 0;
             std::uint32_t height = 0;
             data.getMaxAvailableResolution(width, height);
             EXPECT_EQ(300U, width);
             EXPECT_EQ(200U, height);
         }},
        {"getMaxResRegion", [](QelImageStreamData & data) { data.getMaxResRegion(); }},
    };
    return all;
}

TEST_F(QelImageStreamDataTest, EachQuestionBringsAStaleOneUpToDate) {
    for (Question const & question : questions()) {
        SCOPED_TRACE(question.name);
        MoxSmartPtr<HookTransform> const transform(new HookTransform);
        QelImageStreamData & data = *transform->output().imageStreamData();
        question.ask(data);
        EXPECT_EQ("setup()", transform->calls());
        EXPECT_FALSE(data.outOfDate());
        EXPECT_TRUE(data.statusOk());
        question.ask(data);
        EXPECT_EQ("setup()", transform->calls());
    }
}

TEST_F(QelImageStreamDataTest, TheContainerIsHandedOutWithoutAnUpdate) {
    EXPECT_NE(nullptr, data().getTileContainer());
    EXPECT_NE(nullptr, data().getRenderedItemContainer());
    EXPECT_EQ("", transform_->calls());
}

TEST_F(QelImageStreamDataTest, WithoutADescriptionQuestionsAnswerNothing) {
    transform_->onSetup = [this] { output().setAttributes(false, true); };
    EXPECT_EQ(nullptr, data().getCoordSpace());
    EXPECT_EQ(nullptr, data().getColorSpace());
    EXPECT_EQ(nullptr, data().getDataOrg());
    EXPECT_EQ(0, data().numBands());
    EXPECT_EQ(QelDataType(QelDataType::Error), data().commonPrecision());
    EXPECT_EQ(0U, data().selectedPixelWidth());
    EXPECT_EQ(0U, data().selectedPixelHeight());
}

TEST_F(QelImageStreamDataTest, TheLargestResolutionNeedsACoordinateSpace) {
    transform_->onSetup = [this] { output().setAttributes(true, true); };
    std::uint32_t width = 7;
    std::uint32_t height = 7;
    char const * const text = "There is no coordinate space in output out:hooked(HookTransform)";
    expectRaises(QelErrorCode::nullPointer, text,
                 [&] { data().getMaxAvailableResolution(width, height); });
    EXPECT_EQ(7U, width);
    EXPECT_EQ(7U, height);
    expectRaises(QelErrorCode::nullPointer, text, [&] { data().getMaxResRegion(); });
}

TEST_F(QelImageStreamDataTest, TheLargestResolutionNeedsResolutions) {
    offer({});
    expectRaises(QelErrorCode::noSelectedResolution, "Coordinate space contains no resolution info",
                 [&] { data().getMaxResRegion(); });
}

TEST_F(QelImageStreamDataTest, TheLargestResolutionIsThatWithTheMostPixels) {
    offer({half, huge, full});
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    data().getMaxAvailableResolution(width, height);
    EXPECT_EQ(600U, width);
    EXPECT_EQ(400U, height);
}

TEST_F(QelImageStreamDataTest, TheRegionOfTheLargestResolutionCoversTheWholeImage) {
    offer({half, huge, full});
    MoxSmartPtr<QelXySimpleRegion> const region = data().getMaxResRegion();
    ASSERT_NE(nullptr, region);
    EXPECT_EQ(QelRect(0, 0, 600, 400), region->pixelBounds());
    EXPECT_EQ(600U, region->xyCoordSpace()->numPixelsWide());
    EXPECT_EQ(400U, region->xyCoordSpace()->numPixelsHigh());
    EXPECT_FALSE(data().getCoordSpace()->hasSelectedResolution())
        << "the output's own is unchanged";
}

TEST_F(QelImageStreamDataTest, TheRegionOfTheLargestResolutionDoesNotDependOnTheSelection) {
    MoxSmartPtr<QelXyCoordSpace> const space = spaceWith({full, half});
    space->selectResolution(half.width, half.height);
    offer(space);
    EXPECT_EQ(QelRect(0, 0, 300, 200), data().getMaxResRegion()->pixelBounds());
    EXPECT_EQ(150U, data().selectedPixelWidth());
    EXPECT_EQ(100U, data().selectedPixelHeight());
}

TEST_F(QelImageStreamDataTest, ThereIsNoRegionWhereAnAxisHasNoLimit) {
    for (MoxSmartPtr<QelXyCoordSpace> const & space :
         {spaceWith({{0, 0}}), spaceWith({full, {0, 0}}), spaceWith({{300, 0}}),
          spaceWith({{0, 200}})}) {
        offer(space);
        transform_->markOutOfDate(true);
        expectRaises(QelErrorCode::noMatchingResolution,
                     "There is no max resolution to get -- any resolution is available",
                     [&] { data().getMaxResRegion(); });
    }
}

// ---- Printing

TEST_F(QelImageStreamDataTest, PrintsTheDescriptionAndTheImages) {
    offer({full, half});
    data().setColorSpace(3, new QelRGBColorSpace);
    data().get2DImage(idOf(full, 1, 0));
    transform_->onDetermineOp = &HookTransform::noOp;
    data().get2DImage(idOf(half));
    std::ostringstream out;
    data().print(out, "  ");
    std::string const text = out.str();
    std::size_t const start = text.find("  status:");
    ASSERT_NE(std::string::npos, start) << text;
    EXPECT_NE(std::string::npos, text.find("  type:        QelImageStreamData\n")) << text;
    EXPECT_EQ(
        "  status:      1\n"
        "  out-of-date: 0\n"
        "  caching:     0\n"
        "  selected-pixel-width:  0\n"
        "  selected-pixel-height: 0\n"
        "  color space: NULL\n"
        "  num-bands:   3\n"
        "  precision:   unsigned char\n"
        "  coord-space: 3 inches X 2 inches\n"
        "  resolutions: 300 X 200, 150 X 100\n"
        "  tile-maps:   0: image size 150 X 100            [id: <0,0,100,150> -- no op -- ]\n"
        "  tile-maps:   1: image size 300 X 200            [id: <1,0,200,300> GradientOp]\n",
        text.substr(start));
}

TEST_F(QelImageStreamDataTest, PrintsTheSelectedResolutionAndTheColourSpace) {
    transform_->update();
    MoxSmartPtr<QelColorSpace> const colours(new QelRGBColorSpace);
    data().setColorSpace(3, colours);
    std::ostringstream out;
    data().print(out, "");
    EXPECT_NE(std::string::npos, out.str().find(std::string("\nselected-pixel-width:  300\n"
                                                            "selected-pixel-height: 200\n"
                                                            "color space: ") +
                                                colours->name() + '\n'))
        << out.str();
}

TEST_F(QelImageStreamDataTest, PrintsThatThereIsNoDescription) {
    std::ostringstream out;
    data().print(out, "");
    EXPECT_NE(std::string::npos,
              out.str().find("\nstatus:      0\nout-of-date: 1\ncaching:     0\n"
                             "selected-pixel-width:  0\nselected-pixel-height: 0\n"
                             "color space: NULL\nnum-bands:   0\nprecision:   "))
        << out.str();
    EXPECT_EQ("", transform_->calls()) << "printing brings nothing up to date";
}

}  // namespace

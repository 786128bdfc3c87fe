#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "ImageTesting.h"
#include "MockContainer.h"
#include "OutputCapture.h"
#include "QelError.h"
#include "RigidDataOrg.h"

// How an image comes to its size and its grid.

namespace {

constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();

}  // namespace

TEST(Qel2DImageSetupTest, AnImageOfAnOpTakesItsReport) {
    MoxSmartPtr<CountingOp> const op =
        countingOp({.width = 300, .height = 200, .bands = 4, .type = QelDataType::Short});
    Qel2DImage const image(op);
    EXPECT_TRUE(image.sizeKnown());
    EXPECT_EQ(QelRect(0, 0, 300, 200), image.imageRect());
    EXPECT_EQ(3, image.tilesAcross());
    EXPECT_EQ(2, image.tilesDown());
    EXPECT_EQ(4, image.dataOrg()->numBands());
    EXPECT_EQ(QelDataType::Short, image.dataOrg()->precision().code());
    EXPECT_EQ(op.get(), image.op().get());
    EXPECT_EQ(nullptr, image.container());
    EXPECT_EQ(nullptr, image.id());
    EXPECT_EQ(0U, image.opContext());
    EXPECT_FALSE(image.cacheTiles());
    EXPECT_FALSE(image.computing());
    EXPECT_EQ(1, op->reports());
    EXPECT_EQ(0, op->computes());
}

TEST(Qel2DImageSetupTest, AnIdIsKeptAsACopy) {
    MockContainer container;
    QelTileId id(5, 6, 300, 200);
    Qel2DImage const image(id, new GradientOp({.width = 300, .height = 200}), &container);
    id.tileX = 0;
    ASSERT_NE(nullptr, image.id());
    EXPECT_EQ(QelTileId(5, 6, 300, 200), *image.id());
    EXPECT_EQ(&container, image.container());
    EXPECT_EQ("", container.calls());
    EXPECT_FALSE(image.cacheTiles());
}

TEST(Qel2DImageSetupTest, AnImageWithoutOpDoesNotKnowItsSize) {
    Qel2DImage image(static_cast<QelImageOp *>(nullptr));
    EXPECT_FALSE(image.sizeKnown());
    EXPECT_TRUE(image.imageRect().isEmpty());
    EXPECT_EQ(0, image.tilesAcross());
    EXPECT_EQ(0, image.tilesDown());
    EXPECT_EQ(nullptr, image.dataOrg().get());
    EXPECT_EQ(nullptr, image.op().get());
    EXPECT_EQ(nullptr, image.getOwner());
    image.initialize();
    EXPECT_FALSE(image.sizeKnown());

    QelImageInfo info;
    EXPECT_FALSE(image.outputInfo(info));
    expectQelError(info.status(), QelErrorCode::misuse,
                   "Qel2DImage is unable to determine its own size");
    EXPECT_EQ(nullptr, image.getData(QelRect(0, 0, 1, 1), true).get());
    EXPECT_FALSE(
        image.fillRWBuffer(paintedBuffer(TestImage().dataOrg(), QelRect(0, 0, 1, 1)), true));
}

// Tile sizes that an op reports, 0 for the size of the image, and what becomes of them.
TEST(Qel2DImageSetupTest, TileSizesAreLiftedAndLimited) {
    struct Row {
        std::int32_t image, reported, expected;
    };
    for (Row const & row :
         {Row{100, 0, 200},    Row{300, 0, 256},    Row{128, 0, 128},    Row{1, 0, 128},
          Row{64, 0, 128},     Row{127, 0, 254},    Row{129, 0, 129},    Row{256, 0, 256},
          Row{257, 0, 256},    Row{most, 0, 256},   Row{1000, 1, 128},   Row{1000, 2, 128},
          Row{1000, 3, 129},   Row{1000, 100, 200}, Row{1000, 127, 254}, Row{1000, 128, 128},
          Row{1000, 200, 200}, Row{1000, 256, 256}, Row{1000, 257, 256}, Row{1000, 300, 256},
          Row{0, 0, 128}}) {
        SCOPED_TRACE("image " + std::to_string(row.image) + ", reported tile size " +
                     std::to_string(row.reported));
        TestImage report{.width = row.image, .height = 10, .bands = 1};
        report.tileWidth = row.reported;
        EXPECT_EQ(row.expected, imageOf(new GradientOp(report))->dataOrg()->tileWidth());
        EXPECT_EQ(128, imageOf(new GradientOp(report))->dataOrg()->tileHeight());

        report = {.width = 10, .height = row.image, .bands = 1};
        report.tileHeight = row.reported;
        EXPECT_EQ(row.expected, imageOf(new GradientOp(report))->dataOrg()->tileHeight());
        EXPECT_EQ(128, imageOf(new GradientOp(report))->dataOrg()->tileWidth());
    }
}

TEST(Qel2DImageSetupTest, LimitsBelowOneCountAsOne) {
    TileLimits const limits(-5, 0);
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp({.width = 4, .height = 3}));
    EXPECT_EQ(1, image->dataOrg()->tileWidth());
    EXPECT_EQ(4, image->tilesAcross());
    EXPECT_EQ(3, image->tilesDown());
}

TEST(Qel2DImageSetupTest, ALowerLimitAboveTheUpperOneWins) {
    TileLimits const limits(100, 30);
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp({.width = 500, .height = 500}));
    EXPECT_EQ(120, image->dataOrg()->tileWidth());
    EXPECT_EQ(120, image->dataOrg()->tileHeight());
}

TEST(Qel2DImageSetupTest, AOnePixelImageWithoutTileSizeIsOneTile) {
    MoxSmartPtr<Qel2DImage> const image =
        imageOf(new GradientOp({.width = 1, .height = 1, .tileWidth = 0, .tileHeight = 0}));
    EXPECT_EQ(128, image->dataOrg()->tileWidth());
    EXPECT_EQ(128, image->dataOrg()->tileHeight());
    EXPECT_EQ(1, image->tilesAcross());
    EXPECT_EQ(1, image->tilesDown());
    MoxSmartPtr<QelTile> const tile = image->getTile(0, 0);
    EXPECT_EQ(QelRect(0, 0, 1, 1), tile->rect());
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
}

TEST(Qel2DImageSetupTest, TheLastTileOfA257PixelImageIsOnePixelWideAndStoredWhole) {
    MoxSmartPtr<Qel2DImage> const image =
        imageOf(new GradientOp({.width = 257, .height = 10, .tileWidth = 256}));
    EXPECT_EQ(2, image->tilesAcross());
    MoxSmartPtr<QelTile> const tile = image->createTile(1, 0);
    EXPECT_EQ(QelRect(256, 0, 1, 10), tile->rect());
    EXPECT_EQ(image->dataOrg()->size(), tile->dataBuffer()->size());
}

// The origin that an op reports and the one that the grid gets, for tiles of 128.
TEST(Qel2DImageSetupTest, TheGridIsAnchoredSoThatItsFirstTileHoldsTheFirstPixel) {
    struct Row {
        std::int32_t origin, expected;
    };
    for (Row const & row :
         {Row{0, 0}, Row{1, -127}, Row{127, -1}, Row{128, 0}, Row{129, -127}, Row{256, 0},
          Row{300, -84}, Row{-1, -1}, Row{-84, -84}, Row{-127, -127}, Row{-128, 0}, Row{-129, -1},
          Row{most, -1}, Row{least, 0}, Row{least + 1, -127}}) {
        SCOPED_TRACE("origin " + std::to_string(row.origin));
        TestImage report{.width = 500, .height = 400, .bands = 1};
        report.originX = row.origin;
        MoxSmartPtr<Qel2DImage> image = imageOf(new GradientOp(report));
        EXPECT_EQ(row.expected, image->dataOrg()->originX());
        EXPECT_EQ(0, image->dataOrg()->originY());
        EXPECT_EQ((499 - row.expected) / 128 + 1, image->tilesAcross());
        EXPECT_TRUE(image->createTile(0, 0)->rect().contains(0, 0));

        report.originX = 0;
        report.originY = row.origin;
        image = imageOf(new GradientOp(report));
        EXPECT_EQ(row.expected, image->dataOrg()->originY());
        EXPECT_EQ((399 - row.expected) / 128 + 1, image->tilesDown());
        EXPECT_TRUE(image->createTile(0, 0)->rect().contains(0, 0));
    }
}

TEST(Qel2DImageSetupTest, AnOpThatRefusesTheTileSizeKeepsItsOwnAndItsOwnAnchor) {
    // The limits would make the tiles 200 wide, where 150 is anchored at -50 + 100.
    TestImage report{.width = 330, .height = 90, .bands = 1, .tileWidth = 100, .tileHeight = 100};
    report.originX = 150;
    MoxSmartPtr<Qel2DImage> const image = imageOf(new RefusingOp(report, true, false));
    EXPECT_EQ(100, image->dataOrg()->tileWidth());
    EXPECT_EQ(100, image->dataOrg()->tileHeight());
    EXPECT_EQ(-50, image->dataOrg()->originX());
    EXPECT_EQ(4, image->tilesAcross());
    MoxSmartPtr<QelTile> const tile = image->getTile(0, 0);
    EXPECT_EQ(QelRect(0, 0, 50, 90), tile->rect());
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    EXPECT_TRUE(showsPixels(*image->getData(report.rect(), true), report.rect(), gradientAt));
}

TEST(Qel2DImageSetupTest, ARefusedTileSizeAnchorsFirstAndTheOpsOwnReducesThat) {
    // 280 is anchored at -232 for the 256 that the limits would make of 300, and at -20 for 300.
    TestImage report{.width = 600, .height = 90, .bands = 1, .tileWidth = 300, .tileHeight = 300};
    report.originX = 280;
    MoxSmartPtr<Qel2DImage> const image = imageOf(new RefusingOp(report, true, false));
    EXPECT_EQ(300, image->dataOrg()->tileWidth());
    EXPECT_EQ(-232, image->dataOrg()->originX());
    EXPECT_EQ(QelRect(0, 0, 68, 90), image->createTile(0, 0)->rect());
}

TEST(Qel2DImageSetupTest, AnOpThatRefusesTheTileSizeAndHasNoneGetsTheImages) {
    MoxSmartPtr<Qel2DImage> const image = imageOf(new RefusingOp(
        {.width = 300, .height = 20, .tileWidth = 0, .tileHeight = 0, .originX = 7}, true, false));
    EXPECT_EQ(300, image->dataOrg()->tileWidth());
    EXPECT_EQ(20, image->dataOrg()->tileHeight());
    EXPECT_EQ(-293, image->dataOrg()->originX());
    EXPECT_EQ(2, image->tilesAcross());
}

TEST(Qel2DImageSetupTest, AnOrganisationThatCannotChangeItsSizeStays) {
    TestImage report{.width = 50, .height = 10};
    report.org = new RigidDataOrg(20, 10, {QelDataType::UChar, QelDataType::Double});
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp(report));
    EXPECT_EQ(20, image->dataOrg()->tileWidth());
    EXPECT_EQ(3, image->tilesAcross());
    EXPECT_EQ(1, image->tilesDown());
}

TEST(Qel2DImageSetupTest, ABadReportRaises3WithItsText) {
    std::string const start =
        "The Op (BadOp) for this operation returns a bad status from outputInfo(): ";
    expectRaises(QelErrorCode::misuse, start + "QEL error 7\nno such source",
                 [] { imageOf(new BadOp(QelError(7, "no such source", __FILE__, __LINE__))); });
    expectRaises(QelErrorCode::misuse, start + ZanError().getMsg(), [] { imageOf(new BadOp); });
}

TEST(Qel2DImageSetupTest, ASizeThatIsNotTheIdsRaises3) {
    for (auto const & [width, height] : {std::tuple{301, 200}, std::tuple{300, 199}}) {
        QelTileId const id(0, 0, width, height);
        expectRaises(QelErrorCode::misuse,
                     "Qel2DImage error: its size (300,200) does not match its resolution (" +
                         std::to_string(width) + "," + std::to_string(height) + ")",
                     [&id] {
                         MoxSmartPtr<QelImageOp> const op =
                             new GradientOp({.width = 300, .height = 200});
                         Qel2DImage(id, op, nullptr);
                     });
    }
}

TEST(Qel2DImageSetupTest, AnImageWithoutPixelsHasNoTiles) {
    OutputCapture const output;
    for (auto const & [width, height] :
         {std::tuple{0, 0}, std::tuple{0, 10}, std::tuple{10, 0}, std::tuple{-1, 10}}) {
        SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height));
        for (bool const withOp : {true, false}) {
            TestImage const report{.width = width, .height = height};
            MoxSmartPtr<Qel2DImage> const image =
                withOp ? imageOf(new GradientOp(report)) : imageWithoutOp(report);
            EXPECT_TRUE(image->sizeKnown());
            EXPECT_EQ(0, image->tilesAcross());
            EXPECT_EQ(0, image->tilesDown());
            EXPECT_EQ(nullptr, image->getTile(0, 0).get());
            EXPECT_EQ(nullptr, image->getData(QelRect(0, 0, 10, 10), true).get());
        }
    }
}

TEST(Qel2DImageSetupTest, AnImageWithoutOpTakesItsTileSizeAsItStands) {
    MockContainer container;
    MoxSmartPtr<QelDataOrg> const org =
        TestImage{.tileWidth = 7, .tileHeight = 300, .originX = 10, .originY = -5}.dataOrg();
    Qel2DImage const image(QelTileId(-1, -1, 40, 20), org, 100, 310, &container);
    EXPECT_TRUE(image.sizeKnown());
    EXPECT_EQ(QelRect(0, 0, 100, 310), image.imageRect());
    EXPECT_EQ(7, image.dataOrg()->tileWidth());
    EXPECT_EQ(300, image.dataOrg()->tileHeight());
    EXPECT_EQ(-4, image.dataOrg()->originX());
    EXPECT_EQ(-5, image.dataOrg()->originY());
    EXPECT_EQ(15, image.tilesAcross());
    EXPECT_EQ(2, image.tilesDown());
    EXPECT_EQ(QelTileId(-1, -1, 40, 20), *image.id());
    EXPECT_EQ(nullptr, image.op().get());
    EXPECT_EQ(10, org->originX());
}

TEST(Qel2DImageSetupTest, AnImageWithoutOpAndWithoutTileSizeIsOneTile) {
    for (auto const & [width, height] : {std::tuple{0, 50}, std::tuple{50, 0}, std::tuple{0, 0}}) {
        SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height));
        MoxSmartPtr<Qel2DImage> const image = imageWithoutOp({.width = 400,
                                                              .height = 30,
                                                              .tileWidth = width,
                                                              .tileHeight = height,
                                                              .originX = 9,
                                                              .originY = 9});
        EXPECT_EQ(400, image->dataOrg()->tileWidth());
        EXPECT_EQ(30, image->dataOrg()->tileHeight());
        EXPECT_EQ(0, image->dataOrg()->originX());
        EXPECT_EQ(0, image->dataOrg()->originY());
        EXPECT_EQ(1, image->tilesAcross());
        EXPECT_EQ(1, image->tilesDown());
    }
}

// Ahead of any attempt to get the memory, which would tell by a bad_alloc.
TEST(Qel2DImageSetupTest, AGridOfMoreThan2To31TilesRaises13) {
    struct Row {
        std::int32_t width, height;
    };
    constexpr std::int32_t million = 1 << 20;
    TileLimits const limits(1, 1000);
    for (Row const & row : {Row{most, most}, Row{512 * million, million}, Row{2, most}}) {
        TestImage const report{
            .width = row.width, .height = row.height, .tileWidth = 1, .tileHeight = 1};
        std::string const text = "A grid of " + std::to_string(row.width) + " by " +
                                 std::to_string(row.height) +
                                 " tiles is too large: the most is 2147483648 tiles";
        expectRaises(QelErrorCode::invalidValue, text, [&report] { imageWithoutOp(report); });
        expectRaises(QelErrorCode::invalidValue, text,
                     [&report] { imageOf(new GradientOp(report)); });
    }
}

TEST(Qel2DImageSetupTest, OutputInfoTellsWhatTheImageIs) {
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp({.width = 300,
                                                                  .height = 200,
                                                                  .bands = 4,
                                                                  .type = QelDataType::Float,
                                                                  .tileWidth = 150,
                                                                  .tileHeight = 160,
                                                                  .originX = 10,
                                                                  .originY = 20}));
    QelImageInfo fresh;
    QelImageInfo used(1, 2);
    used.setDataOrg(TestImage{.bands = 1, .layout = BAND_INTERLEAVED}.dataOrg());
    for (QelImageInfo * const info : {&fresh, &used}) {
        EXPECT_TRUE(image->outputInfo(*info));
        EXPECT_EQ(0, info->status().getErrcode());
        EXPECT_EQ(300, info->width());
        EXPECT_EQ(200, info->height());
        EXPECT_EQ(4, info->numBands());
        EXPECT_EQ(QelDataType::Float, info->precision().code());
        EXPECT_EQ(QelRect(-140, -140, 150, 160), info->tileRect());
    }
    EXPECT_EQ(PIXEL_INTERLEAVED, fresh.layout());
    EXPECT_EQ(BAND_INTERLEAVED, used.layout());
}

TEST(Qel2DImageSetupTest, OutputInfoClearsABadStatusOfBefore) {
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp({.width = 300, .height = 200}));
    QelImageInfo info;
    info.setStatus(QelError(7, "of another image", __FILE__, __LINE__));
    EXPECT_TRUE(image->outputInfo(info));
    EXPECT_EQ(0, info.status().getErrcode());
    EXPECT_STREQ(QelImageInfo().status().getMsg(), info.status().getMsg());
}

TEST(Qel2DImageSetupTest, OutputInfoOfNoImageIsABadStatus) {
    QelImageInfo info;
    EXPECT_FALSE(imageOutputInfo(nullptr, info));
    expectQelError(info.status(), QelErrorCode::misuse, "The op does not refer to any Qel2DImage");

    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp({.width = 300, .height = 200}));
    QelImageInfo good;
    EXPECT_TRUE(imageOutputInfo(image, good));
    EXPECT_EQ(300, good.width());
}

TEST(Qel2DImageSetupTest, DescribeTellsAllInLines) {
    MockContainer container;
    container.text = "the container of a test";
    EXPECT_EQ(
        "Qel2DImage with\n"
        "    origin:         (0,0)\n"
        "    width  (pixels): 300\n"
        "    height (pixels): 90\n"
        "    width  (tiles):  3\n"
        "    height (tiles):  1\n"
        "    tile width:      128\n"
        "    tile height:     180\n"
        "    2D op pointer:   Non-NULL\n"
        "    container:       the container of a test",
        imageOf(new GradientOp({.width = 300, .height = 90, .tileHeight = 0}), &container)
            ->describe());
    EXPECT_EQ(
        "Qel2DImage with\n"
        "    origin:         (0,0)\n"
        "    width  (pixels): 0\n"
        "    height (pixels): 0\n"
        "    width  (tiles):  0\n"
        "    height (tiles):  0\n"
        "    tile width:      Unknown\n"
        "    tile height:     Unknown\n"
        "    2D op pointer:   NULL\n"
        "    container:       NULL",
        imageOf(nullptr)->describe());
}

TEST(Qel2DImageSetupTest, DescribeTellsTheImagesSizeForAnUndecidedTileSize) {
    MoxSmartPtr<QelDataOrg> const org =
        new QelSimpleDataOrg(0, 0, QelDataType::UChar, 1, std::vector<std::int32_t>{0}, 1, 30);
    MoxSmartPtr<QelRectBuffer> const buffer = new QelRectBuffer(org, 0, 0, 30, 20);
    EXPECT_EQ(
        "Qel2DImage with\n"
        "    origin:         (0,0)\n"
        "    width  (pixels): 30\n"
        "    height (pixels): 20\n"
        "    width  (tiles):  1\n"
        "    height (tiles):  1\n"
        "    tile width:      30\n"
        "    tile height:     20\n"
        "    2D op pointer:   NULL\n"
        "    container:       NULL",
        Qel2DImage(buffer.get()).describe());
}

TEST(Qel2DImageSetupTest, PrintIsOneLine) {
    std::ostringstream out;
    out << *imageOf(new GradientOp({.width = 300, .height = 90, .tileHeight = 0}));
    EXPECT_EQ("Qel2DImage[tile=128x180,image=300x90,grid=3x1]", out.str());
    out.str("");
    imageOf(nullptr)->print(out);
    EXPECT_EQ("Qel2DImage[image=0x0,grid=0x0]", out.str());
}

TEST(Qel2DImageSetupTest, TheOwnerIsTheContainers) {
    class Owner : public QelItemOwner {
      public:
        std::string transformLabel() const override { return "T"; }
        std::string connectionPointName() const override { return "C"; }
    } owner;
    MockContainer container;
    MoxSmartPtr<Qel2DImage> const image = imageWithoutOp({.width = 1, .height = 1}, &container);
    EXPECT_EQ(nullptr, image->getOwner());
    container.owner = &owner;
    EXPECT_EQ(&owner, image->getOwner());
}

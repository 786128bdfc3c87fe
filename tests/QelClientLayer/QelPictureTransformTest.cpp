#include "QelPictureTransform.h"

#include <limits>

#include "ClientTransformTesting.h"
#include "FaultySystem.h"

namespace {

class QelPictureTransformTest : public testing::Test {
  protected:
    std::string write(std::string const & name, MoxSmartPtr<QelRectBuffer> const & picture,
                      QelWriteOptions const & options = {}) {
        Qel2DImage image(picture.get());
        QelPictureWriter(folder_.file(name), options).write(image);
        return folder_.file(name);
    }
    void setFile(std::string const & name) {
        file_->setAttributeValue<std::string>("fileName", name);
    }
    MoxSmartPtr<QelRectBuffer> randomRgb(std::int32_t width, std::int32_t height) {
        return randomPicture(random_, width, height, 3, QelDataType::UChar);
    }

    TemporaryFolder folder_;
    Random random_{20240420};
    MoxSmartPtr<QelPictureTransform> file_ = new QelPictureTransform;
};

TEST_F(QelPictureTransformTest, HasAFileAndLimits) {
    EXPECT_EQ("QelPictureTransform", file_->getClassName());
    EXPECT_EQ("", file_->attributeValue<std::string>("fileName"));
    EXPECT_EQ(4294967296.0, file_->attributeValue<double>("maxBytes"));
    EXPECT_EQ(1000000, file_->attributeValue<int>("maxWidth"));
    EXPECT_EQ(1000000, file_->attributeValue<int>("maxHeight"));
    ASSERT_EQ(4, file_->getNumAttributes());
    EXPECT_EQ("fileName", file_->getAttributeName(0));
    EXPECT_EQ(0, file_->numInputs());
    EXPECT_EQ("out", file_->output()->name());
    EXPECT_EQ("picture", QelPictureTransform::catalogEntry().name);
    EXPECT_TRUE(QelPictureTransform::catalogEntry().isSource);
}

TEST_F(QelPictureTransformTest, ShowsThePixelsOfTheFile) {
    MoxSmartPtr<QelRectBuffer> const png = randomPicture(random_, 150, 90, 4, QelDataType::UShort);
    setFile(write("a.png", png));
    expectPixels(*file_, *png, random_);
    setFile(write("a.jpg", softPicture(130, 140, 3)));
    expectPixels(*file_, *readPicture(folder_.file("a.jpg")), random_);
    MoxSmartPtr<QelRectBuffer> const grey = randomPicture(random_, 1, 1, 1, QelDataType::UChar);
    setFile(write("b.png", grey));
    expectPixels(*file_, *grey, random_);
}

TEST_F(QelPictureTransformTest, DescribesTheFile) {
    QelWriteOptions options;
    options.horzResolution = QelResolution(300, QEL_UNIT_INCH);
    options.vertResolution = QelResolution(150, QEL_UNIT_INCH);
    setFile(write("a.jpg", softPicture(300, 300, 1), options));
    expectGood(*file_);
    EXPECT_STREQ("QelLumColorSpace", file_->output()->getColorSpace()->className());
    MoxSmartPtr<QelXyCoordSpace> const space = file_->output()->getCoordSpace();
    EXPECT_EQ(300, space->getResolution(0).horz.dpu);
    EXPECT_EQ(150, space->getResolution(0).vert.dpu);
    EXPECT_NEAR(1, space->width().value(), 1e-12);
    EXPECT_NEAR(2, space->height().value(), 1e-12);
    ASSERT_TRUE(file_->reader());
    EXPECT_STREQ("JPEG", file_->reader()->formatName());
    EXPECT_TRUE(file_->reader()->hasResolution());
    EXPECT_EQ(0, file_->reader()->decodedRows());
    setFile(write("b.png", softPicture(72, 36, 3)));
    EXPECT_STREQ("PNG", file_->reader()->formatName());
    EXPECT_FALSE(file_->reader()->hasResolution());
    EXPECT_NEAR(1, file_->output()->getCoordSpace()->width().value(), 1e-12);
}

TEST_F(QelPictureTransformTest, FilesThatCannotBeReadAreABadStatus) {
    std::string const good = write("good.png", softPicture(9, 9, 1));
    setContent(folder_.file("text.png"), Bytes(500, 'x'));
    setContent(folder_.file("start.jpg"), {0xFF, 0xD8, 0xFF});
    setContent(folder_.file("empty.png"), {});
    for (auto const & [name, reason] : std::vector<std::pair<std::string, char const *>>{
             {folder_.file("none.png"), "No such file or directory"},
             {folder_.path(), "Is a directory"},
             {"", "No such file or directory"},
             {folder_.file("text.png"), "it is neither a JPEG nor a PNG file"},
             {folder_.file("start.jpg"), "the file ends too early"},
             {folder_.file("empty.png"), "the file is empty"}}) {
        setFile(name);
        expectBad(*file_, QelErrorCode::invalidValue, "Cannot read " + name + ": " + reason);
        EXPECT_EQ(nullptr, file_->reader());
        setFile(good);
        expectGood(*file_);
        EXPECT_NE(nullptr, file_->reader());
    }
}

TEST_F(QelPictureTransformTest, DownstreamTellsWhatIsWrongWithTheFile) {
    MoxSmartPtr<QelTransform> const blur = new QelBlurTransform;
    blur->setLabel("soft");
    blur->connect(0, file_.get(), 0);
    setFile(folder_.file("none.png"));
    expectBad(*blur, QelErrorCode::invalidValue,
              "Cannot read " + folder_.file("none.png") +
                  ": No such file or directory\nTransform soft(QelBlurTransform) has invalid "
                  "inputs");
}

TEST_F(QelPictureTransformTest, LimitsAreThoseOfTheAttributes) {
    setFile(write("a.png", softPicture(300, 200, 3)));
    std::string const start = "Cannot read " + folder_.file("a.png") + ": its ";
    expectGood(*file_);
    file_->setAttributeValue("maxBytes", 179999.0);
    expectBad(*file_, QelErrorCode::limitExceeded,
              start + "300 by 200 pixels of 3 bytes exceed the limit of 179999 bytes");
    file_->setAttributeValue("maxBytes", 180000.0);
    expectGood(*file_);
    file_->setAttributeValue("maxWidth", 299);
    expectBad(*file_, QelErrorCode::limitExceeded, start + "width is 300, the limit is 299");
    file_->setAttributeValue("maxWidth", 300);
    expectGood(*file_);
    file_->setAttributeValue("maxHeight", 199);
    expectBad(*file_, QelErrorCode::limitExceeded, start + "height is 200, the limit is 199");
    file_->setAttributeValue("maxHeight", 200);
    expectGood(*file_);
}

TEST_F(QelPictureTransformTest, RefusesLimitsOutOfRange) {
    setFile(write("a.png", softPicture(3, 2, 1)));
    std::string const bytes = ", it must lie between 1 and 9.00719925474099e+15";
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    for (BadValue<double> const & row : std::vector<BadValue<double>>{
             {"maxBytes", 0, "The value of picture:maxBytes is 0" + bytes, 6},
             {"maxBytes", 1e19, "The value of picture:maxBytes is 1e+19" + bytes,
              9007199254740992.0},
             {"maxBytes", nan, "The value of picture:maxBytes is nan" + bytes, 1e6}}) {
        expectRefusedWhileBad(*file_, row);
    }
    for (char const * const name : {"maxWidth", "maxHeight"}) {
        std::string const start = std::string("The value of picture:") + name + " is ";
        std::string const end = ", it must lie between 1 and 2147483647";
        for (BadValue<int> const & row : std::vector<BadValue<int>>{
                 {name, 0, start + "0" + end, 2147483647}, {name, -7, start + "-7" + end, 3}}) {
            expectRefusedWhileBad(*file_, row);
        }
    }
}

// Good, since the header is; what is wrong then shows where pixels are read.
TEST_F(QelPictureTransformTest, DamageBehindTheHeaderShowsInThePixels) {
    std::string const name = write("a.png", randomRgb(200, 1000));
    Bytes bytes = contentOf(name);
    bytes.resize(bytes.size() / 2);
    setContent(name, bytes);
    setFile(name);
    MoxSmartPtr<QelTransform> const blur = new QelBlurTransform;
    blur->connect(0, file_.get(), 0);
    expectGood(*blur);
    QelImageRequestDesc const top(regionOf(*blur, QelRect(0, 0, 20, 20)));
    EXPECT_NE(nullptr, outputOf(*blur).getData(&top, true));
    QelImageRequestDesc const bottom(regionOf(*blur, QelRect(0, 980, 20, 20)));
    expectRaises(QelErrorCode::invalidValue, "Cannot read " + name + ": the file ends too early",
                 [&] { outputOf(*blur).getData(&bottom, true); });
}

TEST_F(QelPictureTransformTest, OpensTheFileOnce) {
    setFile(write("a.png", randomRgb(100, 100)));
    FaultySystem const system;
    file_->setLabel("anything");
    for (int i = 0; i < 3; ++i) {
        expectGood(*file_);
        file_->markOutOfDate(true);
    }
    EXPECT_EQ(1U, system.fileCalls(FaultySystem::OPEN));
    EXPECT_EQ(1, system.openFiles());
    file_ = nullptr;
    EXPECT_EQ(0, system.openFiles());
}

// The pixels are those of the file that was opened, as long as no attribute is set.
TEST_F(QelPictureTransformTest, AFileThatIsReplacedIsReadToItsEnd) {
    MoxSmartPtr<QelRectBuffer> const first = randomRgb(200, 150);
    MoxSmartPtr<QelRectBuffer> const second = randomRgb(60, 40);
    std::string const name = write("a.png", first);
    setFile(name);
    expectGood(*file_);
    write("a.png", second);
    expectPixels(*file_, *first, random_);
    file_->markOutOfDate(true);
    expectPixels(*file_, *first, random_);
    setFile(name);
    expectPixels(*file_, *second, random_);
}

// Whatever comes between two files of one name.
TEST_F(QelPictureTransformTest, AFormerFileDoesNotComeBack) {
    std::string const name = write("a.png", randomRgb(200, 150));
    setFile(name);
    expectGood(*file_);
    setFile(folder_.file("none.png"));
    EXPECT_FALSE(file_->isStatusOk());
    MoxSmartPtr<QelRectBuffer> const second = randomRgb(60, 40);
    write("a.png", second);
    setFile(name);
    expectPixels(*file_, *second, random_);
    MoxSmartPtr<QelRectBuffer> const third = randomRgb(61, 41);
    write("a.png", third);
    file_->setAttributeValue("maxWidth", 60);
    EXPECT_FALSE(file_->isStatusOk());
    file_->setAttributeValue("maxWidth", 61);
    expectPixels(*file_, *third, random_);
}

TEST_F(QelPictureTransformTest, AFileThatCannotBeReadKeepsNoOtherOpen) {
    setFile(write("a.png", randomRgb(100, 100)));
    FaultySystem const system;
    expectGood(*file_);
    EXPECT_EQ(1, system.openFiles());
    setFile(folder_.file("none.png"));
    EXPECT_FALSE(file_->isStatusOk());
    EXPECT_EQ(0, system.openFiles());
}

TEST_F(QelPictureTransformTest, AnotherResolutionIsNotThere) {
    file_->setLabel("photo");
    setFile(write("a.png", softPicture(30, 20, 1)));
    expectGood(*file_);
    EXPECT_NE(nullptr, file_->determineOp(QelTileId(0, 0, 30, 20), 0));
    expectRaises(QelErrorCode::noMatchingResolution,
                 "The picture of transform photo(QelPictureTransform) has no resolution of 15 x "
                 "10 pixels",
                 [&] { file_->determineOp(QelTileId(0, 0, 15, 10), 0); });
}

TEST_F(QelPictureTransformTest, ChangesMarkDownstreamOnly) {
    setFile(write("a.png", softPicture(30, 20, 1)));
    expectMarksDownstreamOnly(*file_, [&] { setFile(folder_.file("a.png")); });
    expectMarksDownstreamOnly(*file_, [&] { file_->setAttributeValue("maxBytes", 1e6); });
    expectMarksDownstreamOnly(*file_, [&] { file_->setAttributeValue("maxWidth", 99); });
    expectMarksDownstreamOnly(*file_, [&] { file_->setAttributeValue("maxHeight", 99); });
}

TEST_F(QelPictureTransformTest, AClonesAttributesAreItsOwn) {
    setFile(write("a.png", softPicture(30, 20, 1)));
    file_->setAttributeValue("maxWidth", 31);
    expectCloneIsApart(*file_, [](QelTransform & clone) {
        clone.setAttributeValue<std::string>("fileName", "other.png");
    });
}

// No second file is opened, and what one has decoded the other one has too.
TEST_F(QelPictureTransformTest, AClonesFileIsTheSame) {
    MoxSmartPtr<QelRectBuffer> const picture = randomRgb(200, 150);
    setFile(write("a.png", picture));
    FaultySystem const system;
    expectGood(*file_);
    MoxSmartPtr<QelTransform> const clone = file_->clone();
    std::filesystem::remove(folder_.file("a.png"));
    expectPixels(*clone, *picture, random_);
    EXPECT_EQ(file_->reader(), dynamic_cast<QelPictureTransform &>(*clone).reader());
    EXPECT_EQ(150, file_->reader()->decodedRows());
    MoxSmartPtr<QelTransform> const clonesClone = clone->clone();
    expectPixels(*clonesClone, *picture, random_);
    EXPECT_EQ(1U, system.fileCalls(FaultySystem::OPEN));
    // A change parts them.
    clone->setAttributeValue("maxWidth", 300);
    expectBad(*clone, QelErrorCode::invalidValue,
              "Cannot read " + folder_.file("a.png") + ": No such file or directory");
    expectPixels(*file_, *picture, random_);
}

// One that is out of date has nothing to share.
TEST_F(QelPictureTransformTest, ACloneOfAChangedOneOpensItsOwnFile) {
    setFile(write("a.png", randomRgb(200, 150)));
    expectGood(*file_);
    MoxSmartPtr<QelRectBuffer> const other = randomRgb(90, 80);
    setFile(write("b.png", other));
    MoxSmartPtr<QelTransform> const clone = file_->clone();
    expectPixels(*clone, *other, random_);
    expectPixels(*file_, *other, random_);
}

}  // namespace

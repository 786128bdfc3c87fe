// Damaged files: truncated or with one byte changed, at 500 positions each. Under the sanitizers
// this looks for more than wrong results.

#include "ClientTesting.h"

namespace {

class QelPictureDamageTest : public testing::TestWithParam<char const *> {
  protected:
    // A file of some thousand bytes, with flat parts and fine ones.
    Bytes picture() {
        Qel2DImage card(new QelTestCardOp(160, 120));
        QelPictureWriter(file()).write(card);
        return contentOf(file());
    }
    std::string file() const { return folder_.file(GetParam()); }

    // 500 positions spread over the file, its first and its last byte among them.
    static std::size_t position(int i, std::size_t size) {
        return static_cast<std::size_t>(i) * (size - 1) / 499;
    }

    // Does it read as a picture? If not, the error must say which file is to blame.
    bool reads(Bytes const & bytes) {
        setContent(file(), bytes);
        try {
            readPicture(file());
            return true;
        } catch (ZanError const & error) {
            int const code = error.getErrcode();
            EXPECT_TRUE(code == QelErrorCode::limitExceeded || code == QelErrorCode::invalidValue)
                << code;
            std::string const start =
                "QEL error " + std::to_string(code) + "\nCannot read " + file() + ": ";
            EXPECT_EQ(start, std::string(error.getMsg()).substr(0, start.size()));
            return false;
        }
    }

    TemporaryFolder folder_;
};

TEST_P(QelPictureDamageTest, TruncatedFilesAreErrors) {
    Bytes const whole = picture();
    ASSERT_GT(whole.size(), 2000U);
    for (int i = 0; i < 500; ++i) {
        std::size_t const size = position(i, whole.size());
        Bytes const part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(reads(part)) << size << " bytes of " << whole.size();
    }
}

TEST_P(QelPictureDamageTest, FilesWithOneByteChangedAreErrorsOrPictures) {
    Bytes const whole = picture();
    bool const checksums = std::string(GetParam()) == "picture.png";
    Random random(20240112);
    int pictures = 0;
    for (int i = 0; i < 500; ++i) {
        Bytes damaged = whole;
        std::size_t const at = position(i, whole.size());
        damaged[at] = static_cast<std::uint8_t>(damaged[at] ^ random.between(1, 255));
        bool const read = reads(damaged);
        if (read) ++pictures;
        EXPECT_FALSE(checksums && read) << "byte " << at << " of " << whole.size();
    }
    std::cout << pictures << " of 500 damaged files still read as pictures\n";
}

INSTANTIATE_TEST_SUITE_P(Formats, QelPictureDamageTest,
                         testing::Values("picture.png", "picture.jpg"),
                         [](auto const & format) { return std::string(format.param).substr(8); });

}  // namespace

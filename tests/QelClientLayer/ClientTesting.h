#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DiagonalOrg.h"
#include "ElementTypes.h"
#include "ExpectError.h"
#include "QelClients.h"
#include "ScopedSetting.h"
#include "TestOps.h"
#include "TestRandom.h"
#include "TileLimits.h"

// What the tests of the client layer share.

using Bytes = std::vector<std::uint8_t>;

class Random : public TestRandom {
  public:
    using TestRandom::TestRandom;

    // Of the whole range of an integer type, its ends among them more often than by chance; for
    // the real types around 0 to 1.
    double element(QelDataType type) {
        if (type == QelDataType::Float || type == QelDataType::Double) {
            return static_cast<float>(std::uniform_real_distribution<float>(-1, 2)(engine()));
        }
        double least = 0;
        double most = 0;
        QelCoreMisc::getDataTypeMinMaxValues(type, least, most);
        int const kind = between(0, 9);
        if (kind == 0) return least;
        if (kind == 1) return most;
        return static_cast<double>(std::uniform_int_distribution<std::int64_t>(
            static_cast<std::int64_t>(least), static_cast<std::int64_t>(most))(engine()));
    }

    void fill(QelRectBuffer & buffer) {
        QelDataType const type = buffer.dataOrg()->precision();
        fillPixels(buffer, buffer.rect(),
                   [&](std::int32_t, std::int32_t, int) { return element(type); });
    }

    // Any of the four layouts; the last one with gaps, bands in reverse and lines upside down.
    MoxSmartPtr<QelDataOrg> org(std::int32_t width, std::int32_t height, QelDataType type,
                                int bands) {
        int const kind = between(0, 4);
        if (kind < 3) {
            return new QelSimpleDataOrg(width, height, type, bands, static_cast<QelLayout>(kind));
        }
        int const size = type.size();
        int const pixel = size * (bands + between(0, 1));
        std::vector<std::int32_t> offsets;
        for (int band = 0; band < bands; ++band)
            offsets.push_back(size * (bands - 1 - band));
        int const line = pixel * width + size * between(0, 3);
        return new QelSimpleDataOrg(width, height, type, bands, offsets, pixel,
                                    kind == 3 ? line : -line);
    }
};

// A folder for one test, gone with it.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string path = (std::filesystem::temp_directory_path() / "qel-test-XXXXXX").string();
        if (::mkdtemp(path.data()) == nullptr) ADD_FAILURE() << "no folder " << path;
        path_ = path;
    }
    TemporaryFolder(TemporaryFolder const &) = delete;
    TemporaryFolder & operator=(TemporaryFolder const &) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::string file(std::string const & name) const { return (path_ / name).string(); }
    std::string path() const { return path_.string(); }

    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (auto const & entry : std::filesystem::directory_iterator(path_)) {
            found.push_back(entry.path().filename().string());
        }
        std::sort(found.begin(), found.end());
        return found;
    }

  private:
    std::filesystem::path path_;
};

inline Bytes contentOf(std::string const & file) {
    std::ifstream in(file, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void setContent(std::string const & file, Bytes const & bytes) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<char const *>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    if (!out) ADD_FAILURE() << "cannot write " << file;
}

// What every op refuses whose pixels have three bands of UChar: elements of other types, other
// numbers of bands.
inline void expectRefusesOtherElements(QelImageOp & op) {
    expectRaises(QelErrorCode::wrongPixelFormat, "Output buffer has invalid precision for Op", [&] {
        QelRectBuffer buffer(4, 4, 3, PIXEL_INTERLEAVED, QelDataType::Char);
        op.compute(&buffer, 0);
    });
    expectRaises(QelErrorCode::wrongPixelFormat, "Output buffer has wrong number of bands for Op",
                 [&] {
                     QelRectBuffer buffer(4, 4, 2, PIXEL_INTERLEAVED, QelDataType::UChar);
                     op.compute(&buffer, 0);
                 });
}

// What every op refuses that works on runs of elements.
inline void expectRefusesOtherOrganisations(QelImageOp & op) {
    expectRaises(QelErrorCode::simpleDataOrgNeeded,
                 "Operations on pixels work with QelSimpleDataOrg only", [&] {
                     MoxSmartPtr<QelDataOrg> const org = new DiagonalOrg(4, 4);
                     QelRectBuffer buffer(org, 0, 0, 4, 4);
                     op.compute(&buffer, 0);
                 });
}

// What an op reports and raises that was made without the image that it reads.
inline void expectReportsNoInput(QelImageOp & op) {
    QelImageInfo info;
    EXPECT_FALSE(op.outputInfo(info));
    expectQelError(info.status(), QelErrorCode::misuse, "The op does not refer to any Qel2DImage");
    expectRaises(QelErrorCode::misuse, "The op does not refer to any Qel2DImage", [&] {
        QelRectBuffer buffer(4, 4, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
        op.compute(&buffer, 0);
    });
}

// Makes the pixels of a buffer that it holds, as a source of many tiles does.
class PictureOp : public QelImageOp {
  public:
    explicit PictureOp(MoxSmartPtr<QelRectBuffer> picture) : picture_(std::move(picture)) {}

    bool genOutputInfo(QelImageInfo & info, QelOpContext) override {
        info.setSize(picture_->rect().width, picture_->rect().height);
        info.setNumBands(picture_->numBands());
        info.setPrecision(picture_->dataOrg()->precision());
        return true;
    }
    void compute(QelRectBuffer * buffer, QelOpContext) override {
        buffer->copyFrom(*picture_, buffer->rect());
    }

  private:
    MoxSmartPtr<QelRectBuffer> picture_;
};

// A buffer at (0,0) with random pixels, side by side.
inline MoxSmartPtr<QelRectBuffer> randomPicture(Random & random, std::int32_t width,
                                                std::int32_t height, int bands, QelDataType type) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(width, height, bands, PIXEL_INTERLEAVED, type);
    random.fill(*buffer);
    return buffer;
}

// A buffer at (0,0) with soft colours, as photographs have them: what JPEG keeps well.
inline MoxSmartPtr<QelRectBuffer> softPicture(std::int32_t width, std::int32_t height, int bands) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(width, height, bands, PIXEL_INTERLEAVED, QelDataType::UChar);
    buffer->allocate();
    fillPixels(*buffer, buffer->rect(), [=](std::int32_t x, std::int32_t y, int band) {
        return (x * 200 / width + y * (20 + 10 * band) / height + 7 * band) % 256;
    });
    return buffer;
}

inline PixelFunction pixelsOf(QelRectBuffer const & buffer) {
    return [&buffer](std::int32_t x, std::int32_t y, int band) {
        return elementAt(buffer, x, y, band);
    };
}

// All of an image, in a buffer at (0,0).
inline MoxSmartPtr<QelRectBuffer> allOf(Qel2DImage & image) {
    MoxSmartPtr<QelDataOrg> const org = image.dataOrg();
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(image.imageRect(), org->numBands(), PIXEL_INTERLEAVED, org->precision());
    buffer->allocate();
    EXPECT_TRUE(image.fillRWBuffer(buffer, true));
    return buffer;
}

// The picture in a file, decoded.
inline MoxSmartPtr<QelRectBuffer> readPicture(std::string const & file) {
    Qel2DImage image(qelOpenPicture(file));
    return allOf(image);
}

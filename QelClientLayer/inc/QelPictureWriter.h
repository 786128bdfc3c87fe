#pragma once

#include <atomic>
#include <string>

#include "Qel2DImage.h"
#include "QelRect.h"
#include "QelResolution.h"

class QelPictureEncoder;

// How a picture file is written.
struct QelWriteOptions {
    // 1 to 100. At the default, without colour subsampling, losses are hard to see.
    int jpegQuality = 95;
    // 0 to 9. Levels above the default make files a little smaller and take much longer.
    int pngCompression = 2;
    // Read between strips: once true, the writer gives up with code cancelled (204). May be null;
    // must outlive the call.
    std::atomic<bool> const * cancelled = nullptr;
    // Dots per unit of length, which the file then stores (JPEG: dots per inch or centimeter, in
    // whole numbers up to 65535; PNG: per meter). Stores nothing if either half is arbitrary.
    QelResolution horzResolution = {};
    QelResolution vertResolution = {};
};

// Writes a part of an image to a PNG or JPEG file.
//
// The image is pulled in strips as high as its tiles, through one buffer. The file appears whole or
// not at all: the data goes to a temporary file in the same folder, which is flushed to disk and
// then renamed. A replaced file keeps its permissions. A symbolic link stays, and the file that it
// points to is replaced. If anything fails, the old file stays and the temporary one is removed.
//
// Errors: invalidValue (13), "Cannot write ", the file's name, ": " and the reason; cancelled (204)
// when the writing is cancelled; and what computing the image raises.
class QEL_API QelPictureWriter {
  public:
    // The extension chooses the format: .png, .jpg or .jpeg, in upper or lower case. Raises
    // invalidValue (13) for any other, and for options out of range; cannotConvertUnit (306) for
    // resolutions that are not per length, unsuitableResolution (402) for those that have only
    // pixels. Touches no file.
    explicit QelPictureWriter(std::string fileName, QelWriteOptions const & options = {});
    ~QelPictureWriter();

    std::string const & fileName() const { return fileName_; }
    // "JPEG" or "PNG"
    char const * formatName() const;

    // PNG takes 1 to 4 bands of UChar or UShort, which it calls grey, grey with opacity, colour,
    // and colour with opacity; JPEG 1 or 3 bands of UChar, up to 65500 pixels a side. Anything else
    // is refused before computing. `region` must lie in the image.
    void write(Qel2DImage & image, QelRect const & region) const;
    // The whole image.
    void write(Qel2DImage & image) const;

  private:
    enum Format { PNG, JPEG };

    void checkImage(Qel2DImage & image, QelRect const & region) const;
    void checkElements(int bands, QelDataType type) const;
    void writeStrips(Qel2DImage & image, QelRect const & region, QelPictureEncoder & encoder) const;
    [[noreturn]] void fail(std::string const & reason) const;

    std::string fileName_;
    QelWriteOptions options_;
    Format format_;
};

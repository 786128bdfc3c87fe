#pragma once

#include "QelPictureReaderOp.h"

// Reads a JPEG file, baseline or progressive, of 8 bits: one band of UChar for grey, three (red,
// green, blue) for colour. CMYK gives four bands as the file stores them, usually as inverted ink.
// A colour space that the file does not name gives the bands that the file has.
//
// A file that libjpeg only warns about is refused where the warning means damaged or missing
// pixels.
class QEL_API QelJpegReaderOp : public QelPictureReaderOp {
  public:
    explicit QelJpegReaderOp(std::string const & fileName, QelReadLimits const & limits = {});
    ~QelJpegReaderOp() override;
    using QelPictureReaderOp::operator=;

    char const * formatName() const override { return "JPEG"; }

  private:
    friend MoxSmartPtr<QelPictureReaderOp> qelOpenPicture(std::string const & fileName,
                                                          QelReadLimits const & limits);

    // Continues with a file that is already open.
    QelJpegReaderOp(std::unique_ptr<QelFileSource> source, QelReadLimits const & limits);
};

#pragma once

#include "QelPictureReaderOp.h"

// Reads a PNG file: one band for grey, two with opacity; three for colour (red, green, blue), four
// with opacity. Palettes become colours, a transparent colour becomes opacity. 16 bits give UShort,
// all else UChar, with 1, 2 and 4 bits stretched to 0 to 255. Gamma and colour profiles are
// ignored.
//
// An interlaced picture is decoded as a whole by the first computation.
class QEL_API QelPngReaderOp : public QelPictureReaderOp {
  public:
    explicit QelPngReaderOp(std::string const & fileName, QelReadLimits const & limits = {});
    ~QelPngReaderOp() override;
    using QelPictureReaderOp::operator=;

    char const * formatName() const override { return "PNG"; }

  private:
    friend MoxSmartPtr<QelPictureReaderOp> qelOpenPicture(std::string const & fileName,
                                                          QelReadLimits const & limits);

    // Continues with a file that is already open.
    QelPngReaderOp(std::unique_ptr<QelFileSource> source, QelReadLimits const & limits);
};

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "MoxSmartPtr.h"
#include "QelColorSpace.h"
#include "QelImageOp.h"
#include "QelXyCoordSpace.h"
#include "ZanMutex.h"

class QelFileSource;
class QelPictureDecoder;

// Limits on a picture file, checked against its header before any allocation.
struct QelReadLimits {
    std::int64_t maxBytes = std::int64_t{4} << 30;  // of all decoded pixels
    std::int32_t maxWidth = 1000000;                // pixels
    std::int32_t maxHeight = 1000000;               // pixels
};

// Base of the operations that read a picture file. The header is read when the operation is made.
// Rows are decoded from the top, when a computation first needs them, into one buffer of the
// picture's size, and are kept. The file stays open until its last row is decoded, so it may
// meanwhile be replaced by another file of the same name.
//
// The result is PIXEL_INTERLEAVED; the classes say which bands and element types there are.
//
// Errors are raised by the constructor or by compute(), and are permanent: a picture that was found
// to be corrupt raises the same error for every row from there on. They are
// - invalidValue (13) "Cannot read ", the file's name, ": " and the reason: a file that cannot be
//   read, that ends too early, or that is corrupt;
// - limitExceeded (11) the same for a picture that exceeds the limits, with the numbers.
//
// Thread-safe. One thread decodes at a time; any number of threads read decoded rows without a
// lock.
class QEL_API QelPictureReaderOp : public QelImageOp {
  public:
    ~QelPictureReaderOp() override;
    using QelImageOp::operator=;

    std::string const & fileName() const { return fileName_; }
    // "JPEG" or "PNG"
    virtual char const * formatName() const = 0;

    std::int32_t width() const { return width_; }
    std::int32_t height() const { return height_; }
    int bands() const { return bands_; }
    QelDataType elementType() const { return type_; }

    // What the bands mean: a new space at each call, with as many bands as the picture.
    //     QelLumColorSpace      1 band
    //     QelLumAColorSpace     2 bands
    //     QelRGBColorSpace      3 bands
    //     QelRGBAColorSpace     4 bands
    //     QelCMYKColorSpace     the 4 bands of ink of a JPEG, inverted or not
    //     QelGenericColorSpace  any other number, and the bands of a JPEG that does not name them
    // The range is that of the element type: 0 to 255 for UChar, 0 to 65535 for UShort. Gamma and
    // profiles are ignored.
    MoxSmartPtr<QelColorSpace> colorSpace() const { return colorSpace_->clone(); }

    // Does the file say how many dots per inch, centimeter or meter it has? False if these numbers
    // would leave the picture without a size.
    bool hasResolution() const { return resolution_.horz.dpu > 0.0; }
    // The dots per unit and the pixels of the picture, as the file has them (the density of a JFIF
    // header, a pHYs chunk), or 72 dots per inch if it does not say.
    QelXyCoordSpace::Resolution resolution() const;

    // How many rows are decoded, counted from the top.
    std::int32_t decodedRows() const { return decodedRows_.load(std::memory_order_acquire); }

    bool genOutputInfo(QelImageInfo & info, QelOpContext opContext) override;
    // Raises nullPointer (4) for a null buffer.
    void compute(QelRectBuffer * buffer, QelOpContext opContext) override;

  protected:
    explicit QelPictureReaderOp(std::unique_ptr<QelPictureDecoder> decoder);

  private:
    void decodeTo(std::int32_t rows);
    void decodeMissing(std::int32_t rows) ZAN_REQUIRES(lock_);

    std::string const fileName_;
    std::int32_t const width_;
    std::int32_t const height_;
    int const bands_;
    QelDataType const type_;
    MoxSmartPtr<QelColorSpace> const colorSpace_;
    // 0.0 dots where the file does not say.
    QelXyCoordSpace::Resolution const resolution_;

    // Rows below this number are never written again, so they are read without the lock.
    std::atomic<std::int32_t> decodedRows_{0};
    MoxSmartPtr<QelRectBuffer> const picture_;
    ZanMutex lock_;
    std::unique_ptr<QelPictureDecoder> decoder_ ZAN_GUARDED_BY(lock_);
    std::optional<ZanError> failure_ ZAN_GUARDED_BY(lock_);
};

// The reader for a file, chosen by its content and not by its name. Raises invalidValue (13), with
// the file's name, for a file that cannot be read or is of no known format, and what the readers
// raise.
QEL_API MoxSmartPtr<QelPictureReaderOp> qelOpenPicture(std::string const & fileName,
                                                       QelReadLimits const & limits = {});

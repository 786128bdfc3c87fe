#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "QelCalledInC.h"
#include "QelColorSpace.h"
#include "QelDataType.h"
#include "QelPictureReaderOp.h"

class QelFileSource;

// What a picture's header says.
struct QelPictureHeader {
    std::int32_t width = 0;
    std::int32_t height = 0;
    int bands = 0;
    QelDataType type = QelDataType::UChar;
    // Dots per `resolutionUnit`, one of QelUnitId; 0 where the file does not say.
    double horzDpu = 0.0;
    double vertDpu = 0.0;
    int resolutionUnit = 0;
    // What the bands mean, in any range; null where their number says it: grey or colour, with or
    // without opacity.
    MoxSmartPtr<QelColorSpace> colorSpace;
};

// Reads one picture file from its header to its last row. Used by one thread at a time.
class QelPictureDecoder {
  public:
    virtual ~QelPictureDecoder();

    QelFileSource & source() const { return *source_; }
    QelPictureHeader const & header() const { return header_; }

    // Must all rows be decoded in one call?
    virtual bool isWhole() const = 0;

    // Decodes the next `count` rows to `to`, `lineStride` bytes from one to the next. The call that
    // decodes the last row also checks the rest of the file. Raises invalidValue (13), and must not
    // be called again after that.
    virtual void decode(std::uint8_t * to, std::ptrdiff_t lineStride, std::int32_t count) = 0;

  protected:
    explicit QelPictureDecoder(std::unique_ptr<QelFileSource> source);
    void setHeader(QelPictureHeader const & header) { header_ = header; }

    template <class Step>
    void run(Step const & step) {
        if (!inC_.run(step)) failRead();
    }
    // Both leave the running step; nextChunk() only when there is none.
    [[noreturn]] void leave(char const * text) noexcept { inC_.leave(text); }
    void nextChunk() noexcept;

  private:
    [[noreturn]] void failRead() const;

    std::unique_ptr<QelFileSource> source_;
    QelCalledInC inC_;
    QelPictureHeader header_;
};

// Both read the header, and raise invalidValue (13) for another format, limitExceeded (11) beyond
// the limits.
std::unique_ptr<QelPictureDecoder> qelDecodeJpeg(std::unique_ptr<QelFileSource> source,
                                                 QelReadLimits const & limits);
std::unique_ptr<QelPictureDecoder> qelDecodePng(std::unique_ptr<QelFileSource> source,
                                                QelReadLimits const & limits);

bool qelIsJpeg(QelFileSource const & source);
bool qelIsPng(QelFileSource const & source);

// Raises limitExceeded (11) for what exceeds the limits; the sizes may be larger than any picture.
void qelCheckSize(QelFileSource const & source, QelReadLimits const & limits, std::int64_t width,
                  std::int64_t height);
void qelCheckBytes(QelFileSource const & source, QelReadLimits const & limits,
                   QelPictureHeader const & header);

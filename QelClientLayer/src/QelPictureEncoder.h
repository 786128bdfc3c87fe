#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "QelCalledInC.h"
#include "QelFileReplacement.h"
#include "QelPictureDecoder.h"
#include "QelPictureWriter.h"

// Writes rows of pixels, PIXEL_INTERLEAVED, to a file in some format. Its operations raise
// invalidValue (13).
class QelPictureEncoder {
  public:
    virtual ~QelPictureEncoder();

    // `count` more rows, `lineStride` bytes from one to the next.
    virtual void encode(std::uint8_t const * from, std::ptrdiff_t lineStride,
                        std::int32_t count) = 0;

    // After the last row.
    virtual void finish() = 0;

  protected:
    explicit QelPictureEncoder(QelFileReplacement & file) : file_(file) {}

    template <class Step>
    void run(Step const & step) {
        if (!inC_.run(step)) file_.fail(inC_.text());
    }
    // Both leave the running step.
    [[noreturn]] void leave(char const * text) { inC_.leave(text); }
    void put(std::uint8_t const * bytes, std::size_t count);

  private:
    QelFileReplacement & file_;
    QelCalledInC inC_;
};

// The file must outlive the encoder.
std::unique_ptr<QelPictureEncoder> qelEncodeJpeg(QelFileReplacement & file,
                                                 QelPictureHeader const & header, int quality);
std::unique_ptr<QelPictureEncoder> qelEncodePng(QelFileReplacement & file,
                                                QelPictureHeader const & header, int compression);

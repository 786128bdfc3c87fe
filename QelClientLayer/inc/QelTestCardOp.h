#pragma once

#include <cstdint>
#include <memory>

#include "QelImageOp.h"

class QelTestCard;

// A picture that is drawn, not read: rings that get ever finer (a zone plate), grey and in colours,
// text and lines with sharp edges, patches of colour, a wedge of grey steps and a ramp. It shows
// what an operation does to edges, fine detail, greys and colours.
//
// Three bands of UChar, in any size. Each pixel depends only on its position and the size, by
// integer arithmetic, so the picture is the same for every tile size and on every machine.
// Thread-safe.
class QEL_API QelTestCardOp : public QelImageOp {
  public:
    static constexpr std::int32_t maxSide = 1000000;

    // In pixels. Raises invalidValue (13) for a side below 1 or above maxSide.
    QelTestCardOp(std::int32_t width, std::int32_t height);
    ~QelTestCardOp() override;
    using QelImageOp::operator=;

    bool genOutputInfo(QelImageInfo & info, QelOpContext opContext) override;
    // Raises nullPointer (4) for a null buffer and for one without organisation, wrongPixelFormat
    // (119) for one of another element type or number of bands, simpleDataOrgNeeded (150) for one
    // whose organisation is not a QelSimpleDataOrg.
    void compute(QelRectBuffer * buffer, QelOpContext opContext) override;

  private:
    std::unique_ptr<QelTestCard const> card_;
};

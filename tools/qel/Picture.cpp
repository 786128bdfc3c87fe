#include "Picture.h"

#include <string_view>

#include "Arguments.h"
#include "Commands.h"

namespace {

constexpr std::string_view testCard = "@testcard";

Picture drawTestCard(std::string const & name) {
    PixelSize size{1024, 768};
    if (name.size() > testCard.size()) {
        size = parseSize(std::string_view(name).substr(testCard.size() + 1),
                         "The size of the test card", 1, QelTestCardOp::maxSide);
    }
    constexpr double dpi = 72.0;
    QelXyCoordSpace::Resolution resolution{{dpi, QEL_UNIT_INCH}, {dpi, QEL_UNIT_INCH}};
    resolution.horz.pixels = static_cast<std::uint32_t>(size.width);
    resolution.vert.pixels = static_cast<std::uint32_t>(size.height);
    return {name,
            "built in",
            new Qel2DImage(new QelTestCardOp(size.width, size.height)),
            new QelRGBColorSpace(),
            new QelXyCoordSpace(resolution),
            false};
}

bool namesTestCard(std::string const & name) {
    if (name.compare(0, testCard.size(), testCard) != 0) return false;
    return name.size() == testCard.size() || name[testCard.size()] == ':';
}

}  // namespace

Picture openPicture(std::string const & name, QelReadLimits const & limits) {
    if (namesTestCard(name)) return drawTestCard(name);
    if (!name.empty() && name.front() == '@') {
        throw UsageError("There is no built-in picture \"" + name +
                         "\"; there are @testcard and @testcard:WxH");
    }
    MoxSmartPtr<QelPictureReaderOp> const reader = qelOpenPicture(name, limits);
    return {name,
            reader->formatName(),
            new Qel2DImage(reader),
            reader->colorSpace(),
            new QelXyCoordSpace(reader->resolution()),
            reader->hasResolution()};
}

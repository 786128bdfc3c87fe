#include "Picture.h"

#include <string_view>

#include "Arguments.h"
#include "Commands.h"

namespace {

constexpr std::string_view testCard = "@testcard";

bool namesTestCard(std::string const & name) {
    if (name.compare(0, testCard.size(), testCard) != 0) return false;
    return name.size() == testCard.size() || name[testCard.size()] == ':';
}

MoxSmartPtr<QelSourceTransform> newTestCard(std::string const & name) {
    MoxSmartPtr<QelSourceTransform> const card = new QelTestCardTransform;
    if (name.size() > testCard.size()) {
        PixelSize const size = parseSize(std::string_view(name).substr(testCard.size() + 1),
                                         "The size of the test card", 1, QelTestCardOp::maxSide);
        card->setAttributeValue("width", size.width);
        card->setAttributeValue("height", size.height);
    }
    return card;
}

MoxSmartPtr<QelSourceTransform> newFile(std::string const & name, QelReadLimits const & limits) {
    MoxSmartPtr<QelSourceTransform> const file = new QelPictureTransform;
    file->setAttributeValue("fileName", name);
    file->setAttributeValue("maxBytes", static_cast<double>(limits.maxBytes));
    return file;
}

}  // namespace

MoxSmartPtr<QelSourceTransform> newSource(std::string const & name, QelReadLimits const & limits) {
    if (namesTestCard(name)) return newTestCard(name);
    if (!name.empty() && name.front() == '@') {
        throw UsageError("There is no built-in picture \"" + name +
                         "\"; there are @testcard and @testcard:WxH");
    }
    return newFile(name, limits);
}

Picture openPicture(std::string const & name, QelReadLimits const & limits) {
    MoxSmartPtr<QelSourceTransform> const source = newSource(name, limits);
    if (!source->isStatusOk()) throw ZanError(source->getStatusMessage());
    QelImageOutputCP const & output = *source->output();
    Picture picture{name,
                    "built in",
                    source,
                    output.get2DImage(output.getMaxResRegion().get()),
                    output.getColorSpace(),
                    output.getCoordSpace()};
    if (auto * const file = dynamic_cast<QelPictureTransform *>(source.get())) {
        MoxSmartPtr<QelPictureReaderOp> const reader = file->reader();
        picture.format = reader->formatName();
        picture.hasResolution = reader->hasResolution();
    }
    return picture;
}

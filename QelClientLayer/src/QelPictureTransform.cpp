#include "QelPictureTransform.h"

#include <limits>
#include <string>

namespace {

using Type = QelTransformParameter::Type;

QelTransformParameter sideLimit(char const * name, std::int32_t most) {
    return {name, "largest side that is read, in pixels",  Type::Integer, most,
            1,    std::numeric_limits<std::int32_t>::max()};
}

}  // namespace

QelPictureTransform::QelPictureTransform() : QelSourceTransform(catalogEntry()) {}

// Attributes of a copy have stamps of their own.
QelPictureTransform::QelPictureTransform(QelPictureTransform const & other)
    : ZanRefCount(), QelTransform(other), QelSourceTransform(other) {
    if (!other.isOpen()) return;
    reader_ = other.reader_;
    openedAt_ = latestChange();
}

QelPictureTransform::~QelPictureTransform() = default;

QelTransformDescription const & QelPictureTransform::catalogEntry() {
    constexpr double mostBytes = 9007199254740992.0;
    static QelTransformDescription const entry{
        "picture",
        "QelPictureTransform",
        "a JPEG or PNG file",
        true,
        {{"fileName", "the file", Type::Text, std::nullopt},
         {"maxBytes", "most memory that its decoded pixels may take, in bytes", Type::Number,
          static_cast<double>(QelReadLimits().maxBytes), 1, mostBytes},
         sideLimit("maxWidth", QelReadLimits().maxWidth),
         sideLimit("maxHeight", QelReadLimits().maxHeight)},
        [] { return MoxSmartPtr<QelTransform>(new QelPictureTransform); }};
    return entry;
}

MoxSmartPtr<QelTransform> QelPictureTransform::clone() const {
    return new QelPictureTransform(*this);
}

MoxSmartPtr<QelPictureReaderOp> QelPictureTransform::reader() {
    return isStatusOk() ? reader_ : MoxSmartPtr<QelPictureReaderOp>();
}

std::uint32_t QelPictureTransform::latestChange() const {
    return getLatestTimestamp({"fileName", "maxBytes", "maxWidth", "maxHeight"});
}

QelSourceTransform::Source QelPictureTransform::openSource() {
    if (!isOpen()) {
        // A file that cannot be read leaves no other one open.
        reader_ = nullptr;
        QelReadLimits limits;
        limits.maxBytes = static_cast<std::int64_t>(attributeValue<double>("maxBytes"));
        limits.maxWidth = attributeValue<int>("maxWidth");
        limits.maxHeight = attributeValue<int>("maxHeight");
        reader_ = qelOpenPicture(attributeValue<std::string>("fileName"), limits);
        openedAt_ = latestChange();
    }
    return {reader_, reader_->colorSpace(), reader_->resolution()};
}

#include "TestOps.h"

#include <cstring>
#include <type_traits>
#include <utility>

#include "ElementTypes.h"
#include "Qel2DImage.h"
#include "QelError.h"

namespace {

template <class T>
T converted(double value) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(value);
    } else {
        return static_cast<T>(static_cast<std::int64_t>(value));
    }
}

QelDataType elementType(QelRectBuffer const & buffer, int band) {
    return buffer.dataOrg()->precision(band);
}

template <class Function>
void forEachElement(QelRect const & rect, int bands, Function const & function) {
    for (std::int32_t y = 0; y < rect.height; ++y) {
        for (std::int32_t x = 0; x < rect.width; ++x) {
            for (int band = 0; band < bands; ++band)
                function(rect.x + x, rect.y + y, band);
        }
    }
}

}  // namespace

double gradientAt(std::int32_t x, std::int32_t y, int band) {
    // The odd factors spread positions over the whole word, so that no shift of the picture by a
    // few pixels, lines or bands looks like the picture itself.
    std::uint32_t mixed = static_cast<std::uint32_t>(x) * 0x9E3779B1U +
                          static_cast<std::uint32_t>(y) * 0x85EBCA77U +
                          static_cast<std::uint32_t>(band) * 0xC2B2AE3DU;
    mixed ^= mixed >> 15;
    return mixed % 127U;
}

double elementAt(QelRectBuffer const & buffer, std::int32_t x, std::int32_t y, int band) {
    std::uint8_t const * const address =
        buffer.addressOf(x, y) + buffer.dataOrg()->offset(0, 0, band);
    return withElement(elementType(buffer, band), [&](auto element) {
        std::memcpy(&element, address, sizeof element);
        return static_cast<double>(element);
    });
}

void setElement(QelRectBuffer & buffer, std::int32_t x, std::int32_t y, int band, double value) {
    std::uint8_t * const address = buffer.addressOf(x, y) + buffer.dataOrg()->offset(0, 0, band);
    withElement(elementType(buffer, band), [&](auto element) {
        element = converted<decltype(element)>(value);
        std::memcpy(address, &element, sizeof element);
    });
}

double storedAs(QelDataType type, double value) {
    return withElement(type, [&](auto element) {
        return static_cast<double>(converted<decltype(element)>(value));
    });
}

void fillPixels(QelRectBuffer & buffer, QelRect const & rect, PixelFunction const & pixels) {
    forEachElement(rect.intersect(buffer.rect()), buffer.numBands(),
                   [&](std::int32_t x, std::int32_t y, int band) {
                       setElement(buffer, x, y, band, pixels(x, y, band));
                   });
}

testing::AssertionResult showsPixels(QelRectBuffer const & buffer, QelRect const & rect,
                                     PixelFunction const & pixels) {
    if (!buffer.rect().containsRect(rect)) {
        return testing::AssertionFailure()
               << "the buffer has " << buffer.rect() << " and not all of " << rect;
    }
    if (!buffer.isAllocated()) return testing::AssertionFailure() << "the buffer has no memory";
    int wrong = 0;
    testing::AssertionResult result = testing::AssertionFailure();
    forEachElement(rect, buffer.numBands(), [&](std::int32_t x, std::int32_t y, int band) {
        double const found = elementAt(buffer, x, y, band);
        double const expected = storedAs(elementType(buffer, band), pixels(x, y, band));
        if (found == expected || wrong++ > 0) return;
        result << "band " << band << " of pixel (" << x << "," << y << ") is " << found << ", not "
               << expected;
    });
    if (wrong == 0) return testing::AssertionSuccess();
    return result << "; wrong elements: " << wrong;
}

MoxSmartPtr<QelDataOrg> TestImage::dataOrg() const {
    if (org) return org;
    MoxSmartPtr<QelDataOrg> const standard(
        new QelSimpleDataOrg(tileWidth, tileHeight, type, bands, layout));
    return standard->withOrigin(originX, originY);
}

GradientOp::GradientOp(TestImage image, PixelFunction pixels)
    : image_(std::move(image)), pixels_(std::move(pixels)) {}

GradientOp::~GradientOp() = default;

bool GradientOp::genOutputInfo(QelImageInfo & info, QelOpContext) {
    info.setSize(image_.width, image_.height);
    info.setDataOrg(image_.dataOrg());
    return true;
}

void GradientOp::compute(QelRectBuffer * buffer, QelOpContext) {
    buffer->getData();
    fillPixels(*buffer, buffer->rect(), pixels_);
}

CountingOp::CountingOp(MoxSmartPtr<QelImageOp> inner) : inner_(std::move(inner)) {}

CountingOp::~CountingOp() = default;

std::vector<QelRect> CountingOp::rects() const {
    std::lock_guard const guard(lock_);
    return rects_;
}

bool CountingOp::genOutputInfo(QelImageInfo & info, QelOpContext opContext) {
    ++reports_;
    return inner_->outputInfo(info, opContext);
}

void CountingOp::compute(QelRectBuffer * buffer, QelOpContext opContext) {
    ++computes_;
    pixels_ += buffer->rect().area();
    lastContext_ = opContext;
    {
        std::lock_guard const guard(lock_);
        rects_.push_back(buffer->rect());
    }
    inner_->compute(buffer, opContext);
}

bool CountingOp::acceptsDataOrg(QelDataOrg * org, QelOpContext opContext) {
    ++orgQuestions_;
    return inner_->acceptsDataOrg(org, opContext);
}

bool CountingOp::canFill(QelRectBuffer * buffer, QelOpContext opContext) {
    ++fillQuestions_;
    return inner_->canFill(buffer, opContext);
}

PointOp::PointOp(MoxSmartPtr<Qel2DImage> input, std::function<double(double)> function)
    : input_(std::move(input)), function_(std::move(function)) {}

PointOp::~PointOp() = default;

bool PointOp::genOutputInfo(QelImageInfo & info, QelOpContext) {
    return imageOutputInfo(input_, info);
}

void PointOp::compute(QelRectBuffer * buffer, QelOpContext) {
    QelRect const rect = buffer->rect().intersect(input_->imageRect());
    MoxSmartPtr<QelRectBuffer> const source(new QelRectBuffer(input_->dataOrg(), rect));
    if (!input_->fillRWBuffer(source, true))
        qelRaise(QelErrorCode::misuse, "PointOp::compute has no input");
    fillPixels(*buffer, rect, [&](std::int32_t x, std::int32_t y, int band) {
        return function_(elementAt(*source, x, y, band));
    });
}

AddOp::AddOp(MoxSmartPtr<Qel2DImage> input, double amount)
    : PointOp(std::move(input), [amount](double value) { return value + amount; }) {}

AddOp::~AddOp() = default;

InvertOp::InvertOp(MoxSmartPtr<Qel2DImage> input, double top)
    : PointOp(std::move(input), [top](double value) { return top - value; }) {}

InvertOp::~InvertOp() = default;

BadOp::BadOp(ZanError status) : status_(std::move(status)) {}

BadOp::~BadOp() = default;

bool BadOp::genOutputInfo(QelImageInfo & info, QelOpContext) {
    info.setStatus(status_);
    return false;
}

void BadOp::compute(QelRectBuffer *, QelOpContext) {
    qelRaise(QelErrorCode::misuse, "BadOp::compute");
}

RefusingOp::RefusingOp(TestImage image, bool takesBuffers, bool takesOrgs)
    : GradientOp(std::move(image)), takesBuffers_(takesBuffers), takesOrgs_(takesOrgs) {}

RefusingOp::~RefusingOp() = default;

bool RefusingOp::acceptsDataOrg(QelDataOrg * org, QelOpContext opContext) {
    return takesOrgs_ && GradientOp::acceptsDataOrg(org, opContext);
}

bool RefusingOp::canFill(QelRectBuffer * buffer, QelOpContext opContext) {
    return takesBuffers_ && GradientOp::acceptsDataOrg(buffer->dataOrg(), opContext);
}

ThrowingOp::ThrowingOp(TestImage image, std::function<void()> raise, int goodComputes)
    : GradientOp(std::move(image)), raise_(std::move(raise)), goodComputes_(goodComputes) {}

ThrowingOp::~ThrowingOp() = default;

void ThrowingOp::compute(QelRectBuffer * buffer, QelOpContext opContext) {
    if (goodComputes_-- <= 0) raise_();
    GradientOp::compute(buffer, opContext);
}

#include "QelXyRegion.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <utility>

#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelPixelLimits.h"
#include "QelTextForm.h"
#include "QelXyRegionRegistryEntry.h"

// A space and a box in it, shared by copies of a region and never changed.
class QelXyRegion::Body : public ZanRefCount {
  public:
    Body(MoxSmartPtr<QelXyCoordSpace> itsSpace, MoxSmartPtr<QelXyBox> itsBox)
        : space(std::move(itsSpace)), box(std::move(itsBox)) {}

    MoxSmartPtr<QelXyCoordSpace> space;
    MoxSmartPtr<QelXyBox> box;
};

namespace {

constexpr double noLimit = std::numeric_limits<double>::max();

QelValueRange closed(QelValue const & min, QelValue const & width) {
    return {min, width, isPixelUnit(min.unit()) ? 1 : 0, true, true};
}

QelXyCoordSpace const & checked(QelXyCoordSpace const * space) {
    if (space == nullptr)
        qelRaise(QelErrorCode::nullPointer,
                 "Cannot construct QelXyRegion with NULL coord space pointer");
    return *space;
}

// The ranges of a whole space. A relative one is 1.0 wide.
QelXyBox extentsOf(QelXyCoordSpace const & space) {
    return {closed(space.xDimension().origin(), space.width()),
            closed(space.yDimension().origin(), space.height())};
}

QelValueRange between(QelValue const & from, QelValue const & to) {
    return closed(from, QelValue(to, from.unit()) - from);
}

QelValue inPixels(int count) {
    return {static_cast<double>(count), QEL_UNIT_PIXEL};
}

QelXyBox pixelBox(QelRect const & rect) {
    return {closed(inPixels(rect.x), inPixels(std::max(rect.width, 0))),
            closed(inPixels(rect.y), inPixels(std::max(rect.height, 0)))};
}

QelValueRange convertedRange(QelXyCoordSpace const & space, unsigned axis,
                             QelValueRange const & range, int unit, bool discrete) {
    return axis == 0 ? space.convertHorzRange(range, unit, discrete)
                     : space.convertVertRange(range, unit, discrete);
}

// Pixels start at the near edge of the first one, so that they convert back to the same pixels. In
// the conversion itself a range that ends half a dot before the extent's end reaches it; here only
// the last pixel does.
QelValueRange pixelsIn(QelXyCoordSpace const & space, unsigned axis, QelValueRange const & range,
                       int unit) {
    QelValueRange converted = convertedRange(space, axis, range, unit, false);
    double const end = (range.min() + range.width()).value();
    if (end < (axis == 0 ? space.numPixelsWide() : space.numPixelsHigh())) {
        converted.setWidth(axis == 0 ? space.convertHorzSpan(range.width(), unit)
                                     : space.convertVertSpan(range.width(), unit));
    }
    return converted;
}

// A range along an axis in another unit; in pixels, whole ones.
QelValueRange rangeIn(QelXyCoordSpace const & space, unsigned axis, QelValueRange const & range,
                      int unit) {
    return isPixelUnit(range.unit()) ? pixelsIn(space, axis, range, unit)
                                     : convertedRange(space, axis, range, unit, true);
}

bool sameRange(QelValueRange const & a, QelValueRange const & b) {
    return a.unit() == b.unit() && a.min() == b.min() && a.width() == b.width() &&
           a.minClosed() == b.minClosed() && a.maxClosed() == b.maxClosed() &&
           a.discrete() == b.discrete();
}

bool sameBox(QelXyBox const & a, QelXyBox const & b) {
    return sameRange(a.range(0), b.range(0)) && sameRange(a.range(1), b.range(1));
}

bool sameResolution(QelResolution const & a, QelResolution const & b) {
    return a.pixels == b.pixels && a.unit == b.unit && a.dpu == b.dpu;
}

bool sameResolution(QelXyCoordSpace::Resolution const & a, QelXyCoordSpace::Resolution const & b) {
    return sameResolution(a.horz, b.horz) && sameResolution(a.vert, b.vert);
}

bool sameSpace(QelXyCoordSpace const & a, QelXyCoordSpace const & b) {
    bool const alike = sameRange(a.xDimension().range(), b.xDimension().range()) &&
                       sameRange(a.yDimension().range(), b.yDimension().range()) &&
                       sameResolution(a.selectedResolution(), b.selectedResolution()) &&
                       a.numResolutions() == b.numResolutions();
    for (unsigned i = 0; alike && i < a.numResolutions(); ++i) {
        if (!sameResolution(a.getResolution(i), b.getResolution(i))) return false;
    }
    return alike;
}

}  // namespace

// ---- Clipping

// Cuts a range to the space's extent on one axis.
class QelXyRegion::Clipper {
  public:
    Clipper(QelXyCoordSpace const & space, unsigned axis)
        : axis_(axis == 0 ? space.xDimension() : space.yDimension()),
          cross_(axis == 0 ? space.yDimension() : space.xDimension()),
          pixels_(axis == 0 ? space.numPixelsWide() : space.numPixelsHigh()),
          unit_(space.unit()),
          ownRelative_(axis == 0 ? QEL_UNIT_WIDTH_RELATIVE : QEL_UNIT_HEIGHT_RELATIVE),
          crossRelative_(axis == 0 ? QEL_UNIT_HEIGHT_RELATIVE : QEL_UNIT_WIDTH_RELATIVE) {}

    static MoxSmartPtr<QelXyBox> clip(QelXyCoordSpace const & space, QelXyBox const & box) {
        return new QelXyBox{Clipper(space, 0).clip(box.range(0)),
                            Clipper(space, 1).clip(box.range(1))};
    }

  private:
    struct Interval {
        double from;
        double to;
    };

    QelValueRange clip(QelValueRange const & range) const {
        Interval const legal = legalIn(range.unit());
        if (range.min().value() >= legal.from && range.max().value() <= legal.to) return range;
        Interval const ends = endsOf(range);
        if (ends.to < legal.from) return at(legal.from, range);
        if (ends.from > legal.to) return at(legal.to, range);
        return fromTo({std::max(ends.from, legal.from), std::min(ends.to, legal.to)}, range.unit());
    }

    // The first and the last pixel are rounded before counting: a width rounded by itself may reach
    // beyond the last one.
    static QelValueRange fromTo(Interval ends, int unit) {
        double width = ends.to - ends.from;
        if (isPixelUnit(unit)) {
            ends = {std::floor(ends.from + 0.5), std::floor(ends.to + 0.5)};
            width = ends.to - ends.from + 1.0;
        }
        return closed(QelValue(ends.from, unit), QelValue(width, unit));
    }

    // An empty range at an edge.
    static QelValueRange at(double position, QelValueRange const & range) {
        return closed(QelValue(position, range.unit()), QelValue(0.0, range.unit()));
    }

    // The first and the last pixel of a discrete range that is open at an end lie inside of it.
    static Interval endsOf(QelValueRange const & range) {
        Interval ends{range.min().value(), range.max().value()};
        if (range.discrete() == 0 || range.width() == 0.0) return ends;
        if (!range.minClosed()) ends.from += 1.0;
        if (!range.maxClosed()) ends.to -= 1.0;
        return ends;
    }

    Interval legalIn(int unit) const {
        if (isPixelUnit(unit)) return legalPixels();
        if (unit == ownRelative_ || unit == QEL_UNIT_NORMALIZED) return {0.0, 1.0};
        if (unit == crossRelative_) return legalCrossRelative();
        double const from = axis_.origin().value();
        double const to = from + axis_.width().value();
        if (unit == unit_ || unit == QEL_UNIT_ARBITRARY) {
            // If only the other extent is known, this one has no end.
            if (unit_ == crossRelative_) return {from, noLimit};
            return {from, isPixelUnit(unit_) ? to - 1.0 : to};
        }
        return {QelValue(from, unit_).valueIn(unit), QelValue(to, unit_).valueIn(unit)};
    }

    Interval legalPixels() const {
        if (pixels_ == 0) {
            qelRaise(QelErrorCode::noSelectedResolution,
                     "Cannot specify region's bounding box in units of pixels, because there's no "
                     "selected resolution in the underlying coordinate space object");
        }
        return {0.0, static_cast<double>(pixels_) - 1.0};
    }

    Interval legalCrossRelative() const {
        if (unit_ == crossRelative_) return {0.0, noLimit};
        if (isRelativeUnit(unit_)) {
            qelRaise(QelErrorCode::cannotConvertUnit,
                     "Cannot specify region's bounding box in a relative unit of measure, if the "
                     "coordinate space is defined using a different relative unit");
        }
        return {0.0, axis_.width().value() / cross_.width().value()};
    }

    QelXyDimension const & axis_;
    QelXyDimension const & cross_;
    std::uint32_t pixels_;
    int unit_;
    int ownRelative_;
    int crossRelative_;
};

// ---- Construction

// Braces, here and wherever arguments may raise: those are evaluated in order, x before y.

QelXyRegion::QelXyRegion()
    : body_(new Body(
          nullptr, new QelXyBox(closed(QelValue(), QelValue()), closed(QelValue(), QelValue())))) {}

QelXyRegion::QelXyRegion(QelXyCoordSpace const * space)
    : QelXyRegion(space, extentsOf(checked(space))) {}

QelXyRegion::QelXyRegion(QelXyCoordSpace const * space, QelXyBox const & box)
    : body_(new Body(checked(space).cloneXy(), Clipper::clip(checked(space), box))) {}

QelXyRegion::QelXyRegion(QelXyCoordSpace const * space, QelXyPoint const & topLeft,
                         QelXyPoint const & bottomRight)
    : QelXyRegion{&checked(space), QelXyBox{between(topLeft.x(), bottomRight.x()),
                                            between(topLeft.y(), bottomRight.y())}} {}

QelXyRegion::QelXyRegion(QelXyCoordSpace const * space, QelValue const & x, QelValue const & y,
                         QelValue const & width, QelValue const & height)
    : QelXyRegion{&checked(space), QelXyBox{closed(x, width), closed(y, height)}} {}

QelXyRegion::QelXyRegion(QelXyCoordSpace const * space, int x, int y, int width, int height)
    : QelXyRegion(space, inPixels(x), inPixels(y), inPixels(width), inPixels(height)) {}

QelXyRegion::QelXyRegion(QelXyCoordSpace const * space, QelValueRange const & x,
                         QelValueRange const & y)
    : QelXyRegion{&checked(space), QelXyBox(x, y)} {}

QelXyRegion::QelXyRegion(QelXyRegion const & other)
    : ZanRefCount(), QelRegion(other), body_(other.body_) {}

QelXyRegion & QelXyRegion::operator=(QelXyRegion const & other) {
    adopt(other.body_);
    return *this;
}

QelXyRegion::~QelXyRegion() = default;

void QelXyRegion::adopt(MoxSmartPtr<Body> body) {
    body_ = std::move(body);
    xConversions_.clear();
    yConversions_.clear();
}

void QelXyRegion::reset(MoxSmartPtr<QelXyCoordSpace> space, QelXyBox const & box) {
    MoxSmartPtr<QelXyBox> clipped =
        space ? Clipper::clip(*space, box) : MoxSmartPtr<QelXyBox>(new QelXyBox(box));
    adopt(new Body(std::move(space), std::move(clipped)));
}

// ---- Space and box

QelXyCoordSpace const & QelXyRegion::space() const {
    if (!body_->space) qelRaise(QelErrorCode::nullPointer, "QelXyRegion has no coord space");
    return *body_->space;
}

MoxConstSmartPtr<QelCoordSpace> QelXyRegion::coordSpace() const {
    return xyCoordSpace().get();
}

MoxConstSmartPtr<QelXyCoordSpace> QelXyRegion::xyCoordSpace() const {
    return body_->space.get();
}

MoxConstSmartPtr<QelXyBox> QelXyRegion::box() const {
    return body_->box.get();
}

void QelXyRegion::setBox(QelXyBox const & box) {
    MoxSmartPtr<QelXyBox> clipped = Clipper::clip(space(), box);
    adopt(new Body(body_->space, std::move(clipped)));
}

void QelXyRegion::setPixelBounds(QelRect const & bounds) {
    setBox(pixelBox(bounds));
}

namespace {

[[noreturn]] void raiseCannotMap(int from, int to) {
    qelRaise(QelErrorCode::cannotConvertUnit,
             "Region cannot setCoordSpace a new coord space based on unit \"" +
                 QelValue::getUnitInfo(to).singularName +
                 "\" when current coord space is based on unit \"" +
                 QelValue::getUnitInfo(from).singularName + '"');
}

bool areDifferentParts(int a, int b) {
    return (a == QEL_UNIT_WIDTH_RELATIVE && b == QEL_UNIT_HEIGHT_RELATIVE) ||
           (a == QEL_UNIT_HEIGHT_RELATIVE && b == QEL_UNIT_WIDTH_RELATIVE);
}

// Both axes of a space in one of these units are measured by one extent.
double commonExtent(QelXyCoordSpace const & space, int oldUnit) {
    return (oldUnit == QEL_UNIT_WIDTH_RELATIVE ? space.width() : space.height()).value();
}

QelValueRange mapped(QelValueRange const & range, QelXyDimension const & from,
                     QelXyDimension const & to, double ratio) {
    double const min = (range.min().value() - from.origin().value()) * ratio + to.origin().value();
    return closed(QelValue(min, to.unit()), QelValue(range.width().value() * ratio, to.unit()));
}

}  // namespace

void QelXyRegion::setCoordSpace(QelCoordSpace const * space) {
    if (space == nullptr)
        qelRaise(QelErrorCode::nullPointer, "null coordinate space pointer passed to function");
    auto const * const next = dynamic_cast<QelXyCoordSpace const *>(space);
    if (next == nullptr) {
        qelRaise(QelErrorCode::wrongClass,
                 "coord space passed to QelXyRegion::setCoordSpace must be an QelXyCoordSpace");
    }
    QelXyCoordSpace const & old = this->space();
    int const unit = old.unit();
    if (areDifferentParts(unit, next->unit())) raiseCannotMap(unit, next->unit());
    if (isRelativeUnit(unit) && unit == next->unit()) return;
    double ratioX = next->width().value() / old.width().value();
    double ratioY = next->height().value() / old.height().value();
    if (unit == QEL_UNIT_WIDTH_RELATIVE || unit == QEL_UNIT_HEIGHT_RELATIVE) {
        ratioX = ratioY = commonExtent(*next, unit);
    }
    QelXyBox const box{mapped(xRange(unit), old.xDimension(), next->xDimension(), ratioX),
                       mapped(yRange(unit), old.yDimension(), next->yDimension(), ratioY)};
    reset(next->cloneXy(), box);
}

template <class Change>
void QelXyRegion::changeSpace(Change const & change) {
    MoxSmartPtr<QelXyCoordSpace> next = space().cloneXy();
    change(*next);
    reset(std::move(next), *body_->box);
}

void QelXyRegion::setResolution(std::uint32_t widthPixels, std::uint32_t heightPixels) {
    changeSpace([&](QelXyCoordSpace & next) { next.addResolution(widthPixels, heightPixels); });
}

void QelXyRegion::selectResolution(std::uint32_t widthPixels, std::uint32_t heightPixels) {
    changeSpace([&](QelXyCoordSpace & next) { next.selectResolution(widthPixels, heightPixels); });
}

void QelXyRegion::scaleX(double factor, bool keepDpu) {
    changeSpace([&](QelXyCoordSpace & next) { next.scaleX(factor, keepDpu); });
}

void QelXyRegion::scaleY(double factor, bool keepDpu) {
    changeSpace([&](QelXyCoordSpace & next) { next.scaleY(factor, keepDpu); });
}

void QelXyRegion::scaleXY(double factor, bool keepDpu) {
    changeSpace([&](QelXyCoordSpace & next) { next.scaleXY(factor, keepDpu); });
}

void QelXyRegion::scaleWidth(double factor, bool keepDpu) {
    changeSpace([&](QelXyCoordSpace & next) { next.scaleWidth(factor, keepDpu); });
}

void QelXyRegion::scaleHeight(double factor, bool keepDpu) {
    changeSpace([&](QelXyCoordSpace & next) { next.scaleHeight(factor, keepDpu); });
}

void QelXyRegion::scaleWidthHeight(double factor, bool keepDpu) {
    changeSpace([&](QelXyCoordSpace & next) { next.scaleWidthHeight(factor, keepDpu); });
}

void QelXyRegion::scalePixels(double x, double y, bool keepSelection) {
    changeSpace([&](QelXyCoordSpace & next) { next.scalePixels(x, y, keepSelection); });
}

void QelXyRegion::scalePixels(int denominator, int numerator, bool keepSelection) {
    changeSpace(
        [&](QelXyCoordSpace & next) { next.scalePixels(denominator, numerator, keepSelection); });
}

// ---- Ranges

struct QelXyRegion::Conversions::Entry {
    int unit;
    QelValueRange range;
    Entry * next;
};

QelXyRegion::Conversions::Entry const * QelXyRegion::Conversions::find(Entry const * first,
                                                                       int unit) noexcept {
    while (first != nullptr && first->unit != unit)
        first = first->next;
    return first;
}

template <class Convert>
QelValueRange const & QelXyRegion::Conversions::get(int unit, Convert const & convert) {
    Entry * first = first_.load(std::memory_order_acquire);
    Entry const * known = find(first, unit);
    if (known != nullptr) return known->range;
    std::unique_ptr<Entry> made(new Entry{unit, convert(), first});
    // Another thread may have been faster, and may even have converted to this unit.
    while (!first_.compare_exchange_weak(first, made.get(), std::memory_order_acq_rel,
                                         std::memory_order_acquire)) {
        known = find(first, unit);
        if (known != nullptr) return known->range;
        made->next = first;
    }
    return made.release()->range;
}

void QelXyRegion::Conversions::clear() noexcept {
    std::unique_ptr<Entry> entry(first_.exchange(nullptr, std::memory_order_acquire));
    while (entry != nullptr)
        entry.reset(entry->next);
}

QelValueRange QelXyRegion::xRange(int unit) const {
    QelValueRange const & range = body_->box->range(0);
    if (range.unit() == unit) return range;
    return xConversions_.get(unit, [&] { return rangeIn(space(), 0, range, unit); });
}

QelValueRange QelXyRegion::yRange(int unit) const {
    QelValueRange const & range = body_->box->range(1);
    if (range.unit() == unit) return range;
    return yConversions_.get(unit, [&] { return rangeIn(space(), 1, range, unit); });
}

MoxConstSmartPtr<QelXyBox> QelXyRegion::boundingBox(int unit) const {
    if (body_->box->range(0).unit() == unit && body_->box->range(1).unit() == unit) return box();
    return new QelXyBox{xRange(unit), yRange(unit)};
}

QelRect QelXyRegion::pixelBounds() const {
    MoxConstSmartPtr<QelXyBox> const bounds = boundingBox(QEL_UNIT_PIXEL);
    return {qelCheckedSigned("pixel position", bounds->xMin().value()),
            qelCheckedSigned("pixel position", bounds->yMin().value()),
            qelCheckedSigned("pixel count", bounds->width().value()),
            qelCheckedSigned("pixel count", bounds->height().value())};
}

MoxSmartPtr<QelPolygon> QelXyRegion::polygon(double width, double height) const {
    double const scaleX = width / space().width().value();
    double const scaleY = height / space().height().value();
    MoxConstSmartPtr<QelXyBox> const bounds = boundingBox(space().unit());
    double const left = bounds->xMin().value() * scaleX;
    double const top = bounds->yMin().value() * scaleY;
    double const right = (bounds->xMin() + bounds->width()).value() * scaleX;
    double const bottom = (bounds->yMin() + bounds->height()).value() * scaleY;
    return new QelPolygon({{left, top}, {right, top}, {right, bottom}, {left, bottom}});
}

std::string QelXyRegion::className() const {
    return QelCoreMisc::classNameOf(*this);
}

bool QelXyRegion::sameArea(QelXyRegion const & other) const {
    if (body_ == other.body_) return true;
    if (!sameBox(*body_->box, *other.body_->box)) return false;
    if (!body_->space || !other.body_->space) return body_->space == other.body_->space;
    return sameSpace(*body_->space, *other.body_->space);
}

// ---- Iterator

QelXyRegion::Iterator::Iterator(std::unique_ptr<Iterator> walker) : walker_(std::move(walker)) {
    if (walker_ == nullptr) qelRaise(QelErrorCode::nullPointer, "Null region provided to Iterator");
}

QelXyRegion::Iterator::~Iterator() = default;

// ---- Text form

std::ostream & operator<<(std::ostream & out, MoxSmartPtr<QelXyRegion> const & region) {
    if (!region) return out << "NULL";
    region->write(out);
    return out;
}

namespace {

// A word, or several joined by ':': a class may live in a namespace.
std::string readClassName(std::istream & in) {
    constexpr std::size_t most = 1000;
    qelSkipSpace(in);
    std::string name = qelReadWord(in, most);
    while (name.size() < most && qelTake(in, ':'))
        name += ':' + qelReadWord(in, most - name.size());
    if (name.empty()) in.setstate(std::ios_base::failbit);
    return name;
}

}  // namespace

std::istream & operator>>(std::istream & in, MoxSmartPtr<QelXyRegion> & region) {
    std::string const name = readClassName(in);
    if (name == "NULL") {
        region = MoxSmartPtr<QelXyRegion>();
        return in;
    }
    MoxSmartPtr<QelXyRegion> read = qelNewRegion(name);
    read->read(in);
    region = std::move(read);
    return in;
}

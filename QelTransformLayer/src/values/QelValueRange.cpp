#include "QelValueRange.h"

#include <ostream>
#include <utility>

#include "QelError.h"
#include "QelTextStream.h"

namespace {

void checkWidth(QelValue const & width) {
    if (!(width.value() >= 0.0)) qelRaise(QelErrorCode::illegalWidth, "Negative width value");
}

}  // namespace

QelValueRange::QelValueRange(QelValue const & min, QelValue const & width, int discrete,
                             bool minClosed, bool maxClosed)
    : min_(min),
      max_(min),
      width_(width, min.unit()),
      minClosed_(minClosed),
      maxClosed_(maxClosed),
      discrete_(discrete != 0 ? 1 : 0) {
    roundIfDiscrete(min_);
    roundIfDiscrete(width_);
    checkWidth(width_);
    computeMax();
}

QelValueRange::~QelValueRange() = default;

QelValueRange & QelValueRange::operator=(QelValueRange const & other) {
    QelValue const min(other.min_, unit());
    QelValue const max(other.max_, unit());
    bool const noSamples = other.discrete_ == 1 && other.width_.value() == 0.0;
    min_ = min;
    max_ = max;
    minClosed_ = other.minClosed_;
    maxClosed_ = other.maxClosed_;
    discrete_ = other.discrete_;
    roundEnds();
    if (noSamples) {
        width_ = QelValue(0.0, unit());
    } else {
        computeWidth();
    }
    return *this;
}

void QelValueRange::replaceWith(QelValueRange const & other) {
    min_ = other.min_;
    max_ = other.max_;
    width_ = other.width_;
    minClosed_ = other.minClosed_;
    maxClosed_ = other.maxClosed_;
    discrete_ = other.discrete_;
}

void QelValueRange::roundIfDiscrete(QelValue & value) const {
    if (discrete_ == 1) value.round();
}

void QelValueRange::roundEnds() {
    roundIfDiscrete(min_);
    roundIfDiscrete(max_);
}

bool QelValueRange::isPoint() const {
    return min_ == max_;
}

// There is no sample between two open ends that are neighbours, but there is one once either is
// closed; a point made without width keeps none.
bool QelValueRange::hasExtent() const {
    return width_.value() != 0.0 || max_ > min_;
}

void QelValueRange::computeMax() {
    max_.assignConverted(min_);
    if (width_.value() == 0.0) {
        maxClosed_ = minClosed_;
        return;
    }
    max_ += width_;
    if (discrete_ == 0) return;
    if (minClosed_ && maxClosed_) max_ -= 1.0;
    if (!minClosed_ && !maxClosed_) max_ += 1.0;
}

void QelValueRange::computeWidth() {
    if (isPoint()) maxClosed_ = minClosed_;
    width_ = max_ - min_;
    // Ends may be in the wrong order by less than the tolerance.
    if (width_.value() < 0.0) width_ = 0.0;
    if (discrete_ == 0) return;
    bool const bothClosed = minClosed_ && maxClosed_;
    bool const bothOpen = !minClosed_ && !maxClosed_;
    if (bothClosed) {
        width_ += 1.0;
    } else if (bothOpen && width_.value() != 0.0) {
        width_ -= 1.0;
    }
}

void QelValueRange::setUnit(int unit) {
    if (unit == min_.unit()) return;
    QelValue const min(min_, unit);
    max_.convertTo(unit);
    min_ = min;
    roundEnds();
    if (discrete_ == 1 && width_.value() == 0.0) {
        width_ = QelValue(0.0, unit);
    } else {
        computeWidth();
    }
}

void QelValueRange::setDiscrete(int discrete) {
    int const wanted = discrete != 0 ? 1 : 0;
    if (wanted == discrete_) return;
    discrete_ = wanted;
    roundEnds();
    if (hasExtent()) computeWidth();
}

// The number of samples, after an end was opened or closed.
void QelValueRange::followWidth() {
    if (discrete_ == 1 && hasExtent()) computeWidth();
}

void QelValueRange::setMinOpen(bool open) {
    if (minClosed_ != open) return;
    minClosed_ = !open;
    if (isPoint()) maxClosed_ = minClosed_;
    followWidth();
}

void QelValueRange::setMaxOpen(bool open) {
    if (maxClosed_ != open) return;
    maxClosed_ = !open;
    if (isPoint()) minClosed_ = maxClosed_;
    followWidth();
}

void QelValueRange::setOpen(bool open) {
    if (minClosed_ == maxClosed_ && minClosed_ != open) return;
    minClosed_ = maxClosed_ = !open;
    followWidth();
}

void QelValueRange::setMin(QelValue const & min) {
    min_.assignConverted(min);
    roundIfDiscrete(min_);
    computeMax();
}

void QelValueRange::setWidth(QelValue const & width) {
    QelValue converted(width, unit());
    roundIfDiscrete(converted);
    checkWidth(converted);
    width_ = converted;
    computeMax();
}

void QelValueRange::checkOrder() const {
    if (!(max_ < min_)) return;
    QelTextStream text;
    text << "Range with min value of " << min_.value() << " and max value of " << max_.value()
         << " (unit identifier = " << unit() << ')';
    qelRaise(QelErrorCode::invertedRange, text.str());
}

void QelValueRange::setMinKeepMax(QelValue const & min) {
    min_.assignConverted(min);
    roundEnds();
    if (discrete_ == 1 && isPoint() && width_.value() == 0.0) return;
    checkOrder();
    computeWidth();
}

void QelValueRange::setMax(QelValue const & max) {
    max_.assignConverted(max);
    roundEnds();
    if (discrete_ == 1 && isPoint() && width_.value() == 0.0) return;
    checkOrder();
    computeWidth();
}

void QelValueRange::setMinMax(QelValue const & min, QelValue const & max) {
    QelValue const lower(min, unit());
    max_.assignConverted(max);
    min_ = lower;
    roundEnds();
    checkOrder();
    computeWidth();
}

void QelValueRange::translate(QelValue const & distance) {
    QelValue converted(distance, unit());
    roundIfDiscrete(converted);
    if (converted.value() == 0.0) return;
    min_ += converted;
    max_ += converted;
}

void QelValueRange::scale(double factor) {
    if (factor < 0.0) {
        min_ = QelValue(0.0, unit()) - max_;  // and not -0.0
        std::swap(minClosed_, maxClosed_);
        factor = -factor;
    }
    min_ *= factor;
    width_ *= factor;
    roundIfDiscrete(min_);
    roundIfDiscrete(width_);
    computeMax();
}

bool QelValueRange::contains(QelValue const & position) const {
    QelValue converted(position, unit());
    if (discrete_ == 1) converted.floor();
    double const at = converted.value();
    if (!(at >= min_.value() && at <= max_.value())) return false;
    if (!minClosed_ && at == min_.value()) return false;
    if (!maxClosed_ && at == max_.value()) return false;
    return width_.value() != 0.0;
}

// One side of an intersection: an end, and whether it belongs to the range.
struct QelValueRange::Ends {
    QelValue at;
    bool closed;

    // The end of the two that `preferred` chooses; at the same place, closed if both are.
    static Ends of(Ends const & a, Ends const & b, bool preferA) {
        if (a.at == b.at) return {preferA ? a.at : b.at, a.closed && b.closed};
        return preferA ? a : b;
    }
};

QelValueRange QelValueRange::intersect(QelValueRange const & other) const {
    QelValueRange empty(QelValue(0.0, unit()), QelValue(0.0, unit()), discrete_, false, false);
    Ends const otherMin{QelValue(other.min_, unit()), other.minClosed_};
    Ends const otherMax{QelValue(other.max_, unit()), other.maxClosed_};
    if (max_ < otherMin.at || otherMax.at < min_) return empty;
    if (max_ == otherMin.at && !(maxClosed_ && otherMin.closed)) return empty;
    if (otherMax.at == min_ && !(otherMax.closed && minClosed_)) return empty;
    Ends const lower = Ends::of({min_, minClosed_}, otherMin, min_.value() > otherMin.at.value());
    Ends const upper = Ends::of({max_, maxClosed_}, otherMax, max_.value() < otherMax.at.value());
    QelValueRange & result = empty;
    result.min_ = lower.at;
    result.max_ = upper.at;
    result.minClosed_ = lower.closed;
    result.maxClosed_ = upper.closed;
    result.roundEnds();
    result.computeWidth();
    return result;
}

std::ostream & operator<<(std::ostream & out, QelValueRange const & range) {
    out << (range.minClosed() ? '[' : '(') << range.min() << ", " << range.max()
        << (range.maxClosed() ? ']' : ')');
    return range.discrete() == 1 ? out << " discrete" : out;
}

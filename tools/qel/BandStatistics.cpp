#include "BandStatistics.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <sstream>
#include <type_traits>

namespace {

// The sum of more than 2^32 squares of 16 bits exceeds 64 bits.
__extension__ typedef __int128 Sum;

// For integers up to 16 bits: the sums of the elements and of their squares.
template <class T>
class ExactMoments {
  public:
    void add(QelPixelRun<T const> const & run) {
        std::int64_t sum = 0;
        std::int64_t squares = 0;
        T min = min_;
        T max = max_;
        run.forEach([&](T value) {
            std::int64_t const wide = value;
            sum += wide;
            squares += wide * wide;
            min = std::min(min, value);
            max = std::max(max, value);
        });
        count_ += run.size();
        sum_ += sum;
        squares_ += squares;
        min_ = min;
        max_ = max;
    }

    // The mean is split into the nearest integer and a rest, and the squares are taken around that
    // integer, still exactly. Around 0 they would lose the digits of a small deviation.
    BandStatistics result() const {
        auto const count = static_cast<double>(count_);
        Sum const near = std::llround(static_cast<double>(sum_) / count);
        double const rest = static_cast<double>(sum_ - near * count_) / count;
        Sum const around = squares_ - 2 * near * sum_ + near * near * count_;
        double const variance = static_cast<double>(around) / count - rest * rest;
        return {static_cast<double>(min_), static_cast<double>(max_),
                static_cast<double>(near) + rest, std::sqrt(variance)};
    }

  private:
    std::int64_t count_ = 0;
    Sum sum_ = 0;
    Sum squares_ = 0;
    T min_ = std::numeric_limits<T>::max();
    T max_ = std::numeric_limits<T>::lowest();
};

// For all other elements: the mean so far and the sum of squares around it.
template <class T>
class RunningMoments {
  public:
    void add(QelPixelRun<T const> const & run) {
        run.forEach([this](T value) { add(static_cast<double>(value)); });
    }

    BandStatistics result() const { return {min_, max_, mean_, std::sqrt(around_ / count_)}; }

  private:
    void add(double value) {
        count_ += 1.0;
        double const before = value - mean_;
        mean_ += before / count_;
        around_ += before * (value - mean_);
        // Of a number and a NaN these give the number.
        min_ = std::fmin(min_, value);
        max_ = std::fmax(max_, value);
    }

    double count_ = 0.0;
    double mean_ = 0.0;
    double around_ = 0.0;
    double min_ = std::numeric_limits<double>::quiet_NaN();
    double max_ = std::numeric_limits<double>::quiet_NaN();
};

template <class T>
constexpr bool isSmall = std::is_integral_v<T> && sizeof(T) <= 2;
template <class T>
using Moments = std::conditional_t<isSmall<T>, ExactMoments<T>, RunningMoments<T>>;

template <class T>
void addPart(std::vector<Moments<T>> & moments, Qel2DImage & image, QelRect const & part) {
    QelRectConstIter<T> iter(&image, part);
    for (iter.toStart(); !iter.done(); iter.nextRow()) {
        for (; !iter.rowDone(); iter.nextRun()) {
            for (std::size_t band = 0; band < moments.size(); ++band) {
                iter.setBand(static_cast<std::int32_t>(band));
                moments[band].add(iter.run());
            }
        }
    }
}

template <class T>
std::vector<BandStatistics> statisticsOf(Qel2DImage & image, QelRect const & region) {
    std::vector<Moments<T>> moments(static_cast<std::size_t>(image.dataOrg()->numBands()));
    for (Qel2DImage::TileIterator at(&image, region); !at.done(); at.next()) {
        // Held, or the iterator would compute it again.
        MoxSmartPtr<QelTile> const tile = at.getTile();
        addPart<T>(moments, image, region.intersect(tile->rect()));
    }
    std::vector<BandStatistics> results;
    for (Moments<T> const & each : moments)
        results.push_back(each.result());
    return results;
}

void requireInside(QelRect const & region, QelRect const & whole) {
    if (!region.isEmpty() && whole.containsRect(region)) return;
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << "The region " << region << " does not lie in the image, which is " << whole;
    qelRaise(QelErrorCode::invalidValue, text.str());
}

}  // namespace

std::vector<BandStatistics> bandStatistics(Qel2DImage & image, QelRect const & region) {
    requireInside(region, image.imageRect());
    QelDataType const type = image.dataOrg()->precision();
    switch (type.code()) {
        case QelDataType::UChar: return statisticsOf<std::uint8_t>(image, region);
        case QelDataType::Char: return statisticsOf<std::int8_t>(image, region);
        case QelDataType::UShort: return statisticsOf<std::uint16_t>(image, region);
        case QelDataType::Short: return statisticsOf<std::int16_t>(image, region);
        case QelDataType::ULong: return statisticsOf<std::uint32_t>(image, region);
        case QelDataType::Long: return statisticsOf<std::int32_t>(image, region);
        case QelDataType::Float: return statisticsOf<float>(image, region);
        case QelDataType::Double: return statisticsOf<double>(image, region);
        default:
            QelCoreMisc::raiseUnsupportedDataType(type, "bandStatistics()", __FILE__, __LINE__);
    }
}

#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "ElementTypes.h"
#include "QelRectBuffer.h"
#include "QelSimpleDataOrg.h"
#include "TestRandom.h"

// What copies of pixels are compared with: one element at a time, found through its organisation's
// offset() and converted through the widest types.

// An element, seen apart from its type.
struct CopyElement {
    bool isReal = false;
    std::int64_t integer = 0;
    double real = 0;
};

inline CopyElement readElement(std::uint8_t const * address, int code) {
    return withElement(code, [=](auto value) -> CopyElement {
        std::memcpy(&value, address, sizeof value);
        if constexpr (std::is_floating_point_v<decltype(value)>) {
            return {true, 0, static_cast<double>(value)};
        } else {
            return {false, static_cast<std::int64_t>(value), 0};
        }
    });
}

// The integer whose low bytes are stored.
inline std::int64_t integerOf(CopyElement const & element, int code) {
    if (!element.isReal) return element.integer;
    double const top = code == QelDataType::ULong ? 4294967296.0 : 2147483648.0;
    double const cut = std::trunc(element.real);
    bool const fits = cut >= -2147483648.0 && cut < top;  // false for NaN
    return fits ? static_cast<std::int64_t>(cut) : 0x80000000;
}

inline void writeElement(std::uint8_t * address, int code, CopyElement const & element) {
    withElement(code, [&](auto value) {
        using Target = decltype(value);
        if constexpr (std::is_floating_point_v<Target>) {
            value = element.isReal ? static_cast<Target>(element.real)
                                   : static_cast<Target>(element.integer);
        } else {
            value = static_cast<Target>(integerOf(element, code));
        }
        std::memcpy(address, &value, sizeof value);
    });
}

inline void copyElement(std::uint8_t const * source, int sourceCode, std::uint8_t * target,
                        int targetCode) {
    if (sourceCode == targetCode) {
        // NaNs keep all their bits.
        std::memcpy(target, source, static_cast<std::size_t>(QelDataType(sourceCode).size()));
    } else {
        writeElement(target, targetCode, readElement(source, sourceCode));
    }
}

// Does to `storage`, a copy of the target's whole memory, what target.copyFrom(source, rect) is to
// do to the target's.
inline void copyIntoStorage(std::vector<std::uint8_t> & storage, QelRectBuffer const & target,
                            QelRectBuffer const & source, QelRect const & rect) {
    QelRect const area = rect.intersect(source.rect()).intersect(target.rect());
    int const bands = std::min(source.numBands(), target.numBands());
    std::uint8_t const * const from = source.dataBuffer()->data() + source.dataOffset();
    std::uint8_t * const to = storage.data() + target.dataOffset();
    for (std::int32_t y = 0; y < area.height; ++y) {
        for (std::int32_t x = 0; x < area.width; ++x) {
            for (int band = 0; band < bands; ++band) {
                auto const offsetIn = [&](QelRectBuffer const & buffer) {
                    return buffer.dataOrg()->offset(area.x - buffer.rect().x + x,
                                                    area.y - buffer.rect().y + y, band);
                };
                copyElement(from + offsetIn(source), source.precision(0).code(),
                            to + offsetIn(target), target.precision(0).code());
            }
        }
    }
}

inline std::vector<std::uint8_t> storageOf(QelRectBuffer const & buffer) {
    std::uint8_t const * const data = buffer.dataBuffer()->data();
    return {data, data + buffer.dataBuffer()->size()};
}

// Random buffers.
class CopyRandom : public TestRandom {
  public:
    using TestRandom::TestRandom;

    // 0 to 300 pixels, with the other side small enough for a slow comparison.
    void size(std::int32_t & width, std::int32_t & height) {
        std::int32_t const longSide = between(0, 300);
        std::int32_t const shortSide = std::min(between(0, 300), 3000 / (longSide + 1) + 1);
        bool const wide = between(0, 1) != 0;
        width = wide ? longSide : shortSide;
        height = wide ? shortSide : longSide;
    }

    // Any organisation of that layout; SPELLED_OUT has strides of both signs, nested in any order
    // with gaps between, and bands in any order.
    MoxSmartPtr<QelDataOrg> org(QelLayout layout, int code, int bands, std::int32_t width,
                                std::int32_t height) {
        if (layout != SPELLED_OUT) {
            return new QelSimpleDataOrg(width, height, QelDataType(code), bands, layout);
        }
        return spelledOut(code, bands, width, height);
    }

    // A view into a larger buffer that covers `rect`. Its memory is full of numbers.
    MoxSmartPtr<QelRectBuffer> view(QelLayout layout, int code, int bands, QelRect const & rect) {
        std::int32_t const left = between(0, 1) * between(0, 5);
        std::int32_t const above = between(0, 1) * between(0, 5);
        std::int32_t const width = rect.width + left + between(0, 1) * between(0, 5);
        std::int32_t const height = rect.height + above + between(0, 1) * between(0, 5);
        MoxSmartPtr<QelRectBuffer> const whole =
            new QelRectBuffer(org(layout, code, bands, width, height), 0, 0, width, height);
        fill(*whole);
        return whole->translated(rect.x - left, rect.y - above)->subBuffer(rect);
    }

    void fill(QelRectBuffer & buffer) {
        buffer.allocate();
        std::uint8_t * const data = buffer.dataBuffer()->data();
        for (std::int64_t i = 0; i < buffer.dataBuffer()->size(); ++i)
            data[i] = static_cast<std::uint8_t>(engine()());
        QelDataType const type = buffer.precision(0);
        if (type == QelDataType::Float) putNumbers<float>(buffer);
        if (type == QelDataType::Double) putNumbers<double>(buffer);
    }

  private:
    MoxSmartPtr<QelDataOrg> spelledOut(int code, int bands, std::int32_t width,
                                       std::int32_t height) {
        std::vector<int> axes{0, 1, 2};
        std::shuffle(axes.begin(), axes.end(), engine());
        std::int32_t const counts[3] = {width, height, bands};
        std::int32_t strides[3] = {0, 0, 0};
        std::int32_t step = QelDataType(code).size() + between(0, 1) * between(0, 3);
        for (int const axis : axes) {
            strides[axis] = step;
            step = step * std::max(counts[axis], 1) + between(0, 1) * between(0, 3);
        }
        std::vector<std::int32_t> offsets(static_cast<std::size_t>(bands));
        for (std::size_t i = 0; i < offsets.size(); ++i)
            offsets[i] = static_cast<std::int32_t>(i) * strides[2];
        if (between(0, 1) != 0) std::shuffle(offsets.begin(), offsets.end(), engine());
        auto const sign = [this] { return between(0, 1) * 2 - 1; };
        return new QelSimpleDataOrg(width, height, QelDataType(code), bands, offsets,
                                    strides[0] * sign(), strides[1] * sign());
    }

    // Random bits are seldom numbers of a size that integers have.
    template <class Real>
    void putNumbers(QelRectBuffer & buffer) {
        std::uniform_real_distribution<double> some(-1, 1);
        double const scales[] = {1, 300, 70000, 3e9, 6e9};
        QelRect const & rect = buffer.rect();
        for (std::int32_t y = 0; y < rect.height; ++y) {
            for (std::int32_t x = 0; x < rect.width; ++x) {
                for (int band = 0; band < buffer.numBands(); ++band) {
                    if (between(0, 9) == 0) continue;
                    auto const number = static_cast<Real>(some(engine()) * scales[between(0, 4)]);
                    std::memcpy(buffer.getData() + buffer.dataOrg()->offset(x, y, band), &number,
                                sizeof number);
                }
            }
        }
    }
};

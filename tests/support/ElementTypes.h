#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "QelDataType.h"
#include "QelError.h"

// The types that elements of pixels have, all that are numbers.
inline std::vector<QelDataType> const & numberTypes() {
    static std::vector<QelDataType> const types{
        QelDataType::UChar, QelDataType::Char,  QelDataType::Short, QelDataType::UShort,
        QelDataType::Long,  QelDataType::ULong, QelDataType::Float, QelDataType::Double};
    return types;
}

// Calls `use` with a value of the C++ type of an element, and returns what it returns. Raises
// invalidValue (13) for other types.
template <class Use>
auto withElement(QelDataType const & type, Use const & use) {
    switch (type.code()) {
        case QelDataType::UChar: return use(std::uint8_t{});
        case QelDataType::Char: return use(std::int8_t{});
        case QelDataType::Short: return use(std::int16_t{});
        case QelDataType::UShort: return use(std::uint16_t{});
        case QelDataType::Long: return use(std::int32_t{});
        case QelDataType::ULong: return use(std::uint32_t{});
        case QelDataType::Float: return use(float{});
        case QelDataType::Double: return use(double{});
        default:
            qelRaise(QelErrorCode::invalidValue,
                     std::string("No element type of a test: ") + type.name());
    }
}

#include "QelDataType.h"

#include <array>
#include <istream>
#include <ostream>
#include <string>
#include <string_view>

#include "QelCoreMisc.h"
#include "ZanTypeInfoName.h"

namespace {

struct Row {
    std::type_info const * type;
    std::int32_t size;
    char const * name;
};

template <class T>
constexpr Row elementRow(char const * name) {
    return {&typeid(T), static_cast<std::int32_t>(sizeof(T)), name};
}

// In the order of the codes. The names are the ones that graphs are saved with, so they stand
// here instead of coming from the compiler, for which an std::int32_t is an "int".
constexpr std::array<Row, 10> rows{{
    elementRow<std::uint8_t>("unsigned char"),
    elementRow<std::int16_t>("short"),
    elementRow<std::int32_t>("long"),
    elementRow<float>("float"),
    elementRow<double>("double"),
    elementRow<std::uint16_t>("unsigned short"),
    elementRow<std::int8_t>("char"),
    elementRow<std::uint32_t>("unsigned long"),
    {&typeid(QelDataType::MixedClass), 0, "QelDataType::MixedClass"},
    {&typeid(QelDataType::ErrorClass), 0, "QelDataType::ErrorClass"},
}};

constexpr std::array<int, 9> lookupOrder{0, 1, 2, 3, 4, 5, 7, 6, 8};

Row const & rowOf(int code) {
    bool const known = code >= 0 && code < static_cast<int>(rows.size());
    return rows[static_cast<std::size_t>(known ? code : QelDataType::Error)];
}

std::string readName(std::istream & in) {
    std::string name;
    in >> name;
    if (name != "unsigned") return name;
    std::string second;
    in >> second;
    return name + ' ' + second;
}

}  // namespace

QelDataType::QelDataType() : QelDataType(Error) {}

QelDataType::QelDataType(int code) : type_(rowOf(code).type), size_(rowOf(code).size) {}

QelDataType::QelDataType(char const * name) : QelDataType(fromName(name)) {}

QelDataType QelDataType::fromName(char const * name) {
    if (name == nullptr) return Error;
    for (int const code : lookupOrder) {
        if (std::string_view(name) == rowOf(code).name) return code;
    }
    return Error;
}

int QelDataType::code() const {
    for (int code = 0; code < Error; ++code) {
        Row const & row = rowOf(code);
        if (*this == QelDataType(*row.type, row.size)) return code;
    }
    return Error;
}

char const * QelDataType::name() const {
    int const known = code();
    if (known != Error || *type_ == typeid(ErrorClass)) return rowOf(known).name;
    return QelCoreMisc::cleanTypeName(ZanTypeInfoName(*type_).c_str());
}

bool QelDataType::isTypeswitchType() const {
    int const own = code();
    return own == UChar || own == Short || own == Float;
}

std::ostream & operator<<(std::ostream & out, QelDataType const & type) {
    return out << type.name();
}

std::ostream & operator<<(std::ostream & out, QelDataType::Code code) {
    return out << rowOf(code).name;
}

std::istream & operator>>(std::istream & in, QelDataType & type) {
    type = QelDataType::fromName(readName(in).c_str());
    return in;
}

std::istream & operator>>(std::istream & in, QelDataType::Code & code) {
    code = static_cast<QelDataType::Code>(QelDataType::fromName(readName(in).c_str()).code());
    return in;
}

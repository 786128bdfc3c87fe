#include "Listing.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <ostream>
#include <sstream>
#include <utility>

namespace {

using Json = nlohmann::ordered_json;

// Nothing for a number with a fraction, or with more digits than a double holds.
std::optional<std::int64_t> wholeNumber(double number) {
    constexpr double most = 9007199254740992.0;  // 2^53
    if (!(std::fabs(number) <= most) || number != std::trunc(number)) return std::nullopt;
    return static_cast<std::int64_t>(number);
}

Json jsonOf(Value const & value);

// How each kind of value is written.
struct ToJson {
    Json operator()(std::monostate) const { return nullptr; }
    Json operator()(double number) const {
        if (std::optional<std::int64_t> const whole = wholeNumber(number)) return *whole;
        return number;
    }
    Json operator()(std::string const & text) const { return text; }
    Json operator()(Value::List const & list) const {
        Json json = Json::array();
        for (Value const & value : list)
            json.push_back(jsonOf(value));
        return json;
    }
    Json operator()(Value::Record const & record) const {
        Json json = Json::object();
        for (Value::Field const & field : record)
            json[field.key] = jsonOf(field.value);
        return json;
    }
};

// Recurses as deep as a command nests its values, which is a few levels.
Json jsonOf(Value const & value) {
    return std::visit(ToJson(), value.any());
}

std::string textOf(Value const & value) {
    if (auto const * text = std::get_if<std::string>(&value.any())) return *text;
    std::ostringstream out;
    out.imbue(std::locale::classic());
    if (auto const * number = std::get_if<double>(&value.any())) out << *number;
    return out.str();
}

}  // namespace

Value::Value() = default;
Value::Value(int number) : any_(static_cast<double>(number)) {}
Value::Value(double number) : any_(number) {}
Value::Value(std::string text) : any_(std::move(text)) {}
Value::Value(char const * text) {
    if (text != nullptr) any_ = std::string(text);
}
Value::Value(List list) : any_(std::move(list)) {}
Value::Value(Record record) : any_(std::move(record)) {}

Cell::Cell(Value shown) : value(std::move(shown)), text(textOf(value)) {}
Cell::Cell(Value stored, std::string shown) : value(std::move(stored)), text(std::move(shown)) {}

Listing::Listing(std::vector<Column> columns) : columns_(std::move(columns)) {}

void Listing::add(std::vector<Cell> row) {
    rows_.push_back(std::move(row));
}

void Listing::print(std::ostream & out, bool asJson) const {
    if (asJson) {
        printJson(out);
    } else {
        printTable(out);
    }
}

std::vector<std::size_t> Listing::widths() const {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        std::size_t width = columns_[i].heading.size();
        for (std::vector<Cell> const & row : rows_)
            width = std::max(width, row[i].text.size());
        widths.push_back(width);
    }
    return widths;
}

void Listing::printTable(std::ostream & out) const {
    std::vector<std::size_t> const widths = this->widths();
    auto const printRow = [&](auto const & textAt) {
        std::string line;
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            std::string const & text = textAt(i);
            line += text + std::string(widths[i] - text.size() + 2, ' ');
        }
        // No line ends in blanks.
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    };
    printRow([&](std::size_t i) -> std::string const & { return columns_[i].heading; });
    for (std::vector<Cell> const & row : rows_)
        printRow([&](std::size_t i) -> std::string const & { return row[i].text; });
}

void Listing::printJson(std::ostream & out) const {
    Json json = Json::array();
    for (std::vector<Cell> const & row : rows_) {
        Json object = Json::object();
        for (std::size_t i = 0; i < columns_.size(); ++i)
            object[columns_[i].key] = jsonOf(row[i].value);
        json.push_back(std::move(object));
    }
    out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

std::string textOfNumber(double number) {
    if (std::optional<std::int64_t> const whole = wholeNumber(number)) {
        return std::to_string(*whole);
    }
    char text[32];
    return std::string(text, std::to_chars(text, text + sizeof text, number).ptr);
}

std::string textOfRange(double min, double max) {
    return textOfNumber(min) + " to " + textOfNumber(max);
}

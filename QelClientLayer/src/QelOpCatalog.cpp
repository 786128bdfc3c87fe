#include "QelOpCatalog.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <sstream>
#include <utility>

#include "QelBlurOp.h"
#include "QelConvolutionKernel.h"
#include "QelError.h"
#include "QelInvertOp.h"
#include "QelLinearOp.h"
#include "QelSharpenOp.h"

namespace {

std::string quoted(std::string_view text) {
    return std::string("\"").append(text).append("\"");
}

// "a, b and c", or "none".
template <class Items>
std::string listed(Items const & items) {
    std::string text;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0) text += i + 1 < items.size() ? ", " : " and ";
        text += items[i].name;
    }
    return text.empty() ? "none" : text;
}

std::string shown(double value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(15);
    text << value;
    return text.str();
}

void checkName(std::string const & name) {
    if (!name.empty() && name.find_first_of(":,=") == std::string::npos) return;
    qelRaise(QelErrorCode::invalidValue,
             quoted(name) + " cannot be the name of an operation or a parameter");
}

// Takes the text up to `separator`, or all of it, off the front of `rest`.
std::string_view takeUntil(std::string_view & rest, char separator) {
    std::size_t const end = std::min(rest.find(separator), rest.size());
    std::string_view const taken = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return taken;
}

std::size_t indexOf(QelOpDescription const & op, std::string_view name) {
    auto const found = std::find_if(op.parameters.begin(), op.parameters.end(),
                                    [&](auto const & each) { return each.name == name; });
    if (found == op.parameters.end()) {
        qelRaise(QelErrorCode::invalidValue, "The operation " + op.name + " has no parameter " +
                                                 quoted(name) + "; it has " +
                                                 listed(op.parameters));
    }
    return static_cast<std::size_t>(found - op.parameters.begin());
}

double parseNumber(QelOpDescription const & op, QelOpParameter const & parameter,
                   std::string_view text) {
    double value = 0;
    char const * const end = text.data() + text.size();
    auto const result = std::from_chars(text.data(), end, value);
    bool const number = result.ec == std::errc() && result.ptr == end && std::isfinite(value);
    if (number && (!parameter.whole || value == std::floor(value))) return value;
    qelRaise(QelErrorCode::invalidValue, "The value of " + op.name + ":" + parameter.name + " is " +
                                             quoted(text) + ", it must be " +
                                             (parameter.whole ? "an integer" : "a number"));
}

double parseValue(QelOpDescription const & op, QelOpParameter const & parameter,
                  std::string_view text) {
    double const value = parseNumber(op, parameter, text);
    if (value >= parameter.min && value <= parameter.max) return value;
    qelRaise(QelErrorCode::invalidValue, "The value of " + op.name + ":" + parameter.name + " is " +
                                             shown(value) + ", it must lie between " +
                                             shown(parameter.min) + " and " + shown(parameter.max));
}

std::vector<double> parseValues(QelOpDescription const & op, QelOpParameter const & parameter,
                                std::string_view text) {
    std::vector<double> values;
    bool more = true;
    while (more) {
        more = parameter.list && text.find(':') != std::string_view::npos;
        values.push_back(parseValue(op, parameter, more ? takeUntil(text, ':') : text));
    }
    return values;
}

void parseParameters(QelOpCatalog::Call & call, std::string_view rest) {
    QelOpDescription const & op = *call.op;
    std::vector<bool> given(op.parameters.size());
    bool more = true;
    while (more) {
        more = rest.find(',') != std::string_view::npos;
        std::string_view value = takeUntil(rest, ',');
        bool const assigned = value.find('=') != std::string_view::npos;
        std::size_t const at = indexOf(op, takeUntil(value, '='));
        std::string const name = op.name + ":" + op.parameters[at].name;
        if (!assigned)
            qelRaise(QelErrorCode::invalidValue, "The parameter " + name + " has no value");
        if (given[at])
            qelRaise(QelErrorCode::invalidValue, "The parameter " + name + " is given twice");
        given[at] = true;
        call.values[at] = parseValues(op, op.parameters[at], value);
    }
}

template <class Op>
QelOpDescription plain(char const * name, char const * summary) {
    return {name, summary, {}, [](MoxSmartPtr<Qel2DImage> input, QelOpValues const &) {
                return MoxSmartPtr<QelImageOp>(new Op(std::move(input)));
            }};
}

QelOpDescription linear() {
    constexpr double most = 1e6;
    return {"linear",
            "gain * value + offset, limited to the range of the type",
            {{"gain", "contrast factor", 1, -most, most, false},
             {"offset", "added after the gain, in pixel values", 0, -most, most, false}},
            [](MoxSmartPtr<Qel2DImage> input, QelOpValues const & values) {
                return MoxSmartPtr<QelImageOp>(
                    new QelLinearOp(std::move(input), values[0].front(), values[1].front()));
            }};
}

// The values of the parameters of convolving().
std::vector<double> const & radiusOf(QelOpValues const & values) {
    return values[0];
}
std::vector<double> const & weightsOf(QelOpValues const & values) {
    return values[1];
}

void checkKernel(char const * op, QelOpValues const & values) {
    if (weightsOf(values).empty()) return;
    if (!radiusOf(values).empty()) {
        qelRaise(QelErrorCode::invalidValue,
                 std::string("The operation ") + op + " takes a radius or a kernel, not both");
    }
    QelConvolutionKernel(weightsOf(values));
}

template <class Op>
MoxSmartPtr<QelImageOp> makeConvolving(MoxSmartPtr<Qel2DImage> input, QelOpValues const & values) {
    if (!weightsOf(values).empty()) {
        return new Op(std::move(input), QelConvolutionKernel(weightsOf(values)));
    }
    if (radiusOf(values).empty()) return new Op(std::move(input));
    return new Op(std::move(input), static_cast<std::int32_t>(radiusOf(values).front()));
}

template <class Op>
QelOpDescription convolving(char const * name, char const * summary, char const * radius) {
    constexpr double most = 1e6;
    return {name,
            summary,
            {{"radius", radius, std::nullopt, 1, QelConvolutionKernel::maxReach, true},
             {"kernel", "weights of a square around each pixel, row by row, such as 9 or 25",
              std::nullopt, -most, most, false, true}},
            makeConvolving<Op>,
            [name](QelOpValues const & values) { checkKernel(name, values); }};
}

QelOpCatalog makeStandard() {
    QelOpCatalog catalog;
    catalog.add(convolving<QelBlurOp>("blur", "weighted mean of 3 by 3 pixels: 1 2 1, 2 4 2, 1 2 1",
                                      "radius of the blur, in pixels"));
    catalog.add(plain<QelInvertOp>("invert", "the negative"));
    catalog.add(linear());
    catalog.add(convolving<QelSharpenOp>(
        "sharpen", "stronger edges, from 3 by 3 pixels: 0 -1 0, -1 8 -1, 0 -1 0",
        "radius in pixels of the blur that is subtracted from twice the pixel"));
    return catalog;
}

}  // namespace

char const * QelOpParameter::typeName() const {
    if (list) return whole ? "list of integers" : "list of numbers";
    return whole ? "integer" : "number";
}

QelOpCatalog::QelOpCatalog() = default;
QelOpCatalog::~QelOpCatalog() = default;
QelOpCatalog::QelOpCatalog(QelOpCatalog const &) = default;
QelOpCatalog & QelOpCatalog::operator=(QelOpCatalog const &) = default;

QelOpCatalog const & QelOpCatalog::standard() {
    static QelOpCatalog const catalog = makeStandard();
    return catalog;
}

void QelOpCatalog::add(QelOpDescription op) {
    checkName(op.name);
    for (QelOpParameter const & parameter : op.parameters)
        checkName(parameter.name);
    if (find(op.name) != nullptr) {
        qelRaise(QelErrorCode::invalidValue,
                 "There is an operation " + quoted(op.name) + " already");
    }
    auto const place = std::find_if(ops_.begin(), ops_.end(),
                                    [&](auto const & each) { return each.name > op.name; });
    ops_.insert(place, std::move(op));
}

QelOpDescription const * QelOpCatalog::find(std::string_view name) const {
    auto const found = std::find_if(ops_.begin(), ops_.end(),
                                    [&](auto const & each) { return each.name == name; });
    return found == ops_.end() ? nullptr : &*found;
}

QelOpCatalog::Call QelOpCatalog::parse(std::string_view text) const {
    bool const withParameters = text.find(':') != std::string_view::npos;
    std::string_view rest = text;
    std::string_view const name = takeUntil(rest, ':');
    Call call;
    call.op = find(name);
    if (call.op == nullptr) {
        qelRaise(QelErrorCode::invalidValue,
                 "There is no operation " + quoted(name) + "; there are " + listed(ops_));
    }
    for (QelOpParameter const & each : call.op->parameters) {
        call.values.emplace_back();
        if (each.defaultValue) call.values.back().push_back(*each.defaultValue);
    }
    if (withParameters) parseParameters(call, rest);
    if (call.op->check) call.op->check(call.values);
    return call;
}

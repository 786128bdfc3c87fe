#include "QelTransformCatalog.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <set>
#include <utility>

#include "QelBlurTransform.h"
#include "QelConvolveTransform.h"
#include "QelError.h"
#include "QelInvertTransform.h"
#include "QelLinearTransform.h"
#include "QelPictureTransform.h"
#include "QelSharpenTransform.h"
#include "QelTestCardTransform.h"
#include "QelTransform.h"

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

void checkName(std::string const & name) {
    if (!name.empty() && name.find_first_of(":,=") == std::string::npos) return;
    qelRaise(QelErrorCode::invalidValue,
             quoted(name) + " cannot be the name of an operation or a parameter");
}

void checkParameterNames(QelTransformDescription const & description) {
    std::set<std::string> names;
    for (QelTransformParameter const & each : description.parameters) {
        checkName(each.name);
        if (names.insert(each.name).second) continue;
        qelRaise(QelErrorCode::invalidValue, "The operation " + description.name +
                                                 " has two parameters of the name " +
                                                 quoted(each.name));
    }
}

// Takes the text up to `separator`, or all of it, off the front of `rest`.
std::string_view takeUntil(std::string_view & rest, char separator) {
    std::size_t const end = std::min(rest.find(separator), rest.size());
    std::string_view const taken = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return taken;
}

bool isNumeric(QelTransformParameter const & parameter) {
    return parameter.type != QelTransformParameter::Type::Text;
}

// Those that a text can give.
std::vector<QelTransformParameter> numericParameters(QelTransformDescription const & op) {
    std::vector<QelTransformParameter> found;
    std::copy_if(op.parameters.begin(), op.parameters.end(), std::back_inserter(found),
                 [](auto const & each) { return isNumeric(each); });
    return found;
}

std::size_t indexOf(QelTransformDescription const & op, std::string_view name) {
    auto const found =
        std::find_if(op.parameters.begin(), op.parameters.end(),
                     [&](auto const & each) { return isNumeric(each) && each.name == name; });
    if (found == op.parameters.end()) {
        qelRaise(QelErrorCode::invalidValue, "The operation " + op.name + " has no parameter " +
                                                 quoted(name) + "; it has " +
                                                 listed(numericParameters(op)));
    }
    return static_cast<std::size_t>(found - op.parameters.begin());
}

double parseNumber(QelTransformDescription const & op, QelTransformParameter const & parameter,
                   std::string_view text) {
    double value = 0;
    char const * const end = text.data() + text.size();
    auto const result = std::from_chars(text.data(), end, value);
    bool const number = result.ec == std::errc() && result.ptr == end && std::isfinite(value);
    bool const whole = parameter.type == QelTransformParameter::Type::Integer;
    if (number && (!whole || value == std::floor(value))) return value;
    qelRaise(QelErrorCode::invalidValue, "The value of " + op.name + ":" + parameter.name + " is " +
                                             quoted(text) + ", it must be " +
                                             (whole ? "an integer" : "a number"));
}

std::vector<double> parseValues(QelTransformDescription const & op,
                                QelTransformParameter const & parameter, std::string_view text) {
    bool const list = parameter.type == QelTransformParameter::Type::Numbers;
    std::vector<double> values;
    bool more = true;
    while (more) {
        more = list && text.find(':') != std::string_view::npos;
        values.push_back(parseNumber(op, parameter, more ? takeUntil(text, ':') : text));
    }
    return values;
}

void parseParameters(QelTransformCatalog::Call & call, std::string_view rest) {
    QelTransformDescription const & op = *call.op;
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

QelTransformCatalog makeStandard() {
    QelTransformCatalog catalog;
    for (auto const * entry :
         {&QelBlurTransform::catalogEntry(), &QelConvolveTransform::catalogEntry(),
          &QelInvertTransform::catalogEntry(), &QelLinearTransform::catalogEntry(),
          &QelPictureTransform::catalogEntry(), &QelSharpenTransform::catalogEntry(),
          &QelTestCardTransform::catalogEntry()}) {
        catalog.add(*entry);
    }
    return catalog;
}

QelTransformDescription const * findIn(std::vector<QelTransformDescription> const & list,
                                       std::string_view name) {
    auto const found = std::find_if(list.begin(), list.end(),
                                    [&](auto const & each) { return each.name == name; });
    return found == list.end() ? nullptr : &*found;
}

}  // namespace

MoxSmartPtr<QelTransform> QelTransformCatalog::Call::make() const {
    if (op == nullptr) {
        qelRaise(QelErrorCode::nullPointer, "There is no operation to make a transform of");
    }
    return op->newTransform(values);
}

QelTransformCatalog::QelTransformCatalog() = default;
QelTransformCatalog::~QelTransformCatalog() = default;
QelTransformCatalog::QelTransformCatalog(QelTransformCatalog const &) = default;
QelTransformCatalog & QelTransformCatalog::operator=(QelTransformCatalog const &) = default;

QelTransformCatalog const & QelTransformCatalog::standard() {
    static QelTransformCatalog const catalog = makeStandard();
    return catalog;
}

void QelTransformCatalog::add(QelTransformDescription description) {
    checkName(description.name);
    checkParameterNames(description);
    description.requireFactory();
    if (find(description.name) != nullptr) {
        qelRaise(QelErrorCode::invalidValue,
                 "There is an operation " + quoted(description.name) + " already");
    }
    std::vector<QelTransformDescription> & list = description.isSource ? sources_ : ops_;
    auto const place = std::find_if(
        list.begin(), list.end(), [&](auto const & each) { return each.name > description.name; });
    list.insert(place, std::move(description));
}

QelTransformDescription const * QelTransformCatalog::find(std::string_view name) const {
    QelTransformDescription const * const op = findIn(ops_, name);
    return op != nullptr ? op : findIn(sources_, name);
}

QelTransformCatalog::Call QelTransformCatalog::parse(std::string_view text) const {
    bool const withParameters = text.find(':') != std::string_view::npos;
    std::string_view rest = text;
    std::string_view const name = takeUntil(rest, ':');
    Call call;
    call.op = findIn(ops_, name);
    if (call.op == nullptr) {
        qelRaise(QelErrorCode::invalidValue,
                 "There is no operation " + quoted(name) + "; there are " + listed(ops_));
    }
    call.values = call.op->defaultValues();
    if (withParameters) parseParameters(call, rest);
    call.op->requireGood(call.values);
    return call;
}

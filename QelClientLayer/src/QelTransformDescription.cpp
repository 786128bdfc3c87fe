#include "QelTransformDescription.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>

#include "QelError.h"
#include "QelNumberList.h"
#include "QelSimpleAttribute.h"
#include "QelTransform.h"

namespace {

using Type = QelTransformParameter::Type;

MoxSmartPtr<QelAttribute> attributeFor(QelTransformParameter const & parameter) {
    double const start = parameter.defaultValue.value_or(0);
    switch (parameter.type) {
        case Type::Number: return new QelSimpleAttribute<double>(parameter.name, start);
        case Type::Integer:
            return new QelSimpleAttribute<int>(parameter.name, static_cast<int>(start));
        case Type::Numbers: {
            QelNumberList list;
            if (parameter.defaultValue) list.numbers.push_back(start);
            return new QelSimpleAttribute<QelNumberList>(parameter.name, list);
        }
        case Type::Text: return new QelSimpleAttribute<std::string>(parameter.name);
    }
    return nullptr;
}

std::vector<double> numberUnlessLeftOut(QelTransformParameter const & parameter, double value) {
    if (value == 0 && !parameter.defaultValue) return {};
    return {value};
}

// The attribute of a parameter, found without a search as long as nobody has removed attributes.
MoxSmartPtr<QelAttribute> attributeOf(QelTransform const & transform, std::size_t index,
                                      std::string const & name) {
    MoxSmartPtr<QelAttribute> attribute = transform.getAttribute(static_cast<int>(index));
    if (!attribute || attribute->name() != name) attribute = transform.getAttribute(name);
    return attribute;
}

template <class T>
T const & valueIn(QelTransform const & transform, std::size_t index, std::string const & name) {
    MoxSmartPtr<QelAttribute> const attribute = attributeOf(transform, index, name);
    auto const * const typed = dynamic_cast<QelSimpleAttribute<T> const *>(attribute.get());
    if (typed == nullptr) transform.badAttribute(name, &typeid(T));
    return typed->getValue();
}

std::vector<double> valueOf(QelTransformParameter const & parameter, std::size_t index,
                            QelTransform const & transform) {
    switch (parameter.type) {
        case Type::Number:
            return numberUnlessLeftOut(parameter,
                                       valueIn<double>(transform, index, parameter.name));
        case Type::Integer:
            return numberUnlessLeftOut(parameter, valueIn<int>(transform, index, parameter.name));
        case Type::Numbers: return valueIn<QelNumberList>(transform, index, parameter.name).numbers;
        case Type::Text: break;
    }
    return {};
}

void setValue(QelTransformParameter const & parameter, std::vector<double> const & values,
              QelTransform & transform) {
    double const first = values.empty() ? parameter.defaultValue.value_or(0) : values.front();
    switch (parameter.type) {
        case Type::Number: transform.setAttributeValue(parameter.name, first); break;
        case Type::Integer:
            transform.setAttributeValue(parameter.name, static_cast<int>(first));
            break;
        case Type::Numbers:
            transform.setAttributeValue(parameter.name, QelNumberList{values});
            break;
        case Type::Text: break;
    }
}

std::size_t mostNumbers(QelTransformParameter const & parameter) {
    switch (parameter.type) {
        case Type::Number:
        case Type::Integer: return 1;
        case Type::Numbers: return std::numeric_limits<std::size_t>::max();
        case Type::Text: break;
    }
    return 0;
}

std::string shown(double value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(15);
    text << value;
    return text.str();
}

}  // namespace

char const * QelTransformParameter::typeName() const {
    switch (type) {
        case Type::Number: return "number";
        case Type::Integer: return "integer";
        case Type::Numbers: return "list of numbers";
        case Type::Text: break;
    }
    return "text";
}

QelTransformValues QelTransformDescription::defaultValues() const {
    QelTransformValues values;
    for (QelTransformParameter const & each : parameters) {
        values.emplace_back();
        if (each.defaultValue && each.type != Type::Text)
            values.back().push_back(*each.defaultValue);
    }
    return values;
}

void QelTransformDescription::addAttributes(QelTransform & transform) const {
    for (QelTransformParameter const & each : parameters)
        transform.addAttribute(attributeFor(each), true);
}

QelTransformValues QelTransformDescription::valuesOf(QelTransform const & transform) const {
    QelTransformValues values;
    values.reserve(parameters.size());
    for (std::size_t i = 0; i < parameters.size(); ++i)
        values.push_back(valueOf(parameters[i], i, transform));
    return values;
}

void QelTransformDescription::requireGood(QelTransform const & transform) const {
    requireGood(valuesOf(transform));
}

void QelTransformDescription::requireInRange(QelTransformParameter const & parameter,
                                             double value) const {
    using Int = std::numeric_limits<int>;
    bool const whole = parameter.type == Type::Integer;
    double const min = whole ? std::max(parameter.min, double{Int::min()}) : parameter.min;
    double const max = whole ? std::min(parameter.max, double{Int::max()}) : parameter.max;
    // A NaN is in no range.
    bool const inside = value >= min && value <= max;
    if (inside && (!whole || value == std::floor(value))) return;
    std::string const wanted =
        inside ? "be an integer" : "lie between " + shown(min) + " and " + shown(max);
    qelRaise(QelErrorCode::invalidValue, "The value of " + name + ":" + parameter.name + " is " +
                                             shown(value) + ", it must " + wanted);
}

void QelTransformDescription::requireGood(QelTransformValues const & values) const {
    if (values.size() != parameters.size()) {
        qelRaise(QelErrorCode::outOfRange, std::to_string(values.size()) + " values for the " +
                                               std::to_string(parameters.size()) +
                                               " parameters of " + name);
    }
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        QelTransformParameter const & each = parameters[i];
        if (values[i].size() > mostNumbers(each)) {
            qelRaise(QelErrorCode::invalidValue, "The value of " + name + ":" + each.name +
                                                     " is a list of numbers, it must be " +
                                                     (each.type == Type::Integer ? "an " : "a ") +
                                                     each.typeName());
        }
        for (double const value : values[i])
            requireInRange(each, value);
    }
    if (check) check(values);
}

void QelTransformDescription::requireFactory() const {
    if (!make) qelRaise(QelErrorCode::nullPointer, "The operation " + name + " has no factory");
}

MoxSmartPtr<QelTransform> QelTransformDescription::newTransform(
    QelTransformValues const & values) const {
    requireFactory();
    requireGood(values);
    MoxSmartPtr<QelTransform> const transform = make();
    if (!transform) {
        qelRaise(QelErrorCode::nullPointer,
                 "The factory of the operation " + name + " made no transform");
    }
    for (std::size_t i = 0; i < parameters.size(); ++i)
        setValue(parameters[i], values[i], *transform);
    return transform;
}

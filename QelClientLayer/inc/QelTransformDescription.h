#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelExport.h"

class QelTransform;

// An attribute of a transform, as its class describes it.
struct QelTransformParameter {
    // | type | attribute | in texts |
    // | Number | double | "1.5" |
    // | Integer | int | "3" |
    // | Numbers | QelNumberList | "0:-1.5:0" |
    // | Text | std::string | not at all |
    enum class Type { Number, Integer, Numbers, Text };

    std::string name;
    std::string summary;
    Type type = Type::Number;
    // None: the parameter may be left out. An attribute that is left out holds 0, or an empty list
    // or text; for a Text this has no meaning.
    std::optional<double> defaultValue = 0;
    double min = 0;  // inclusive, as max
    double max = 0;

    // "number", "integer", "list of numbers" or "text".
    QEL_API char const * typeName() const;
};

// The values of a transform's parameters, in their order: the numbers of a list, or one number;
// none for a parameter that is left out and for texts.
using QelTransformValues = std::vector<std::vector<double>>;

// A class of transforms as users know it: a name, a line of text, its attributes with their ranges,
// and how to make one. Every list of transforms is made of these.
struct QEL_API QelTransformDescription {
    using Factory = std::function<MoxSmartPtr<QelTransform>()>;
    // Raises invalidValue (13) for values that exclude each other.
    using Check = std::function<void(QelTransformValues const & values)>;

    std::string name;
    std::string className;
    std::string summary;
    bool isSource = false;
    std::vector<QelTransformParameter> parameters;
    Factory make;
    Check check = nullptr;

    QelTransformValues defaultValues() const;

    // Adds an attribute for each parameter, with its default, to a transform of this class.
    void addAttributes(QelTransform & transform) const;
    // What these attributes hold now. Raises misuse (3) for a transform of another class.
    QelTransformValues valuesOf(QelTransform const & transform) const;

    // Raises outOfRange (7) unless there are as many values as parameters; invalidValue (13) "The
    // value of ", name, ":", the parameter, " is ", the value, ", it must lie between ", and the
    // range, or ", it must be an integer"; invalidValue (13) for several numbers that are no list;
    // and what `check` raises.
    void requireGood(QelTransformValues const & values) const;
    // The same for what the attributes of a transform of this class hold.
    void requireGood(QelTransform const & transform) const;

    // Raises nullPointer (4) "The operation ", name, " has no factory" where `make` is empty.
    void requireFactory() const;

    // A new transform with these values; a number that is left out has its default. Raises what
    // requireFactory() and requireGood() raise; nullPointer (4) "The factory of the operation ",
    // name, " made no transform" where `make` returns null; misuse (3) for a transform that lacks
    // one of the attributes.
    MoxSmartPtr<QelTransform> newTransform(QelTransformValues const & values) const;

  private:
    void requireInRange(QelTransformParameter const & parameter, double value) const;
};

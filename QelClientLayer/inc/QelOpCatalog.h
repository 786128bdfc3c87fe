#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "MoxSmartPtr.h"
#include "Qel2DImage.h"
#include "QelExport.h"
#include "QelImageOp.h"

// A number, or a list of numbers, that an operation is made with.
struct QelOpParameter {
    std::string name;
    std::string summary;
    std::optional<double> defaultValue = 0;  // none: the parameter may be left out
    double min = 0;                          // inclusive, as max
    double max = 0;
    bool whole = false;  // takes integers only
    bool list = false;   // takes one number or more

    // "integer" or "number", or "list of integers" or "list of numbers".
    QEL_API char const * typeName() const;
};

// The values of an operation's parameters, in their order: the numbers of a list, or one number;
// none for a parameter that is left out and has no default.
using QelOpValues = std::vector<std::vector<double>>;

// An operation as a user knows it: a name, a line of text, and how to make it on an input image
// from the values of its parameters, in their order.
struct QelOpDescription {
    using Factory = std::function<MoxSmartPtr<QelImageOp>(MoxSmartPtr<Qel2DImage> input,
                                                          QelOpValues const & values)>;
    // Raises invalidValue (13) for values that exclude each other.
    using Check = std::function<void(QelOpValues const & values)>;

    std::string name;
    std::string summary;
    std::vector<QelOpParameter> parameters;
    Factory make;
    Check check = nullptr;
};

// The operations that can be asked for by name, in texts of the form
//     OP[:NAME=VALUE[,NAME=VALUE]...]
// as in "blur" and "linear:gain=1.5,offset=-20". Parameters that are not named take their defaults.
// Numbers are decimal, with a point in every locale; those of a list are separated by colons, as in
// "sharpen:kernel=0:-1:0:-1:5:-1:0:-1:0".
//
// A value class. One object is changed by one thread at a time.
class QEL_API QelOpCatalog {
  public:
    // A parsed text: the operation and its values. Refers to the catalog.
    struct Call {
        QelOpDescription const * op = nullptr;
        QelOpValues values;

        MoxSmartPtr<QelImageOp> make(MoxSmartPtr<Qel2DImage> input) const {
            return op->make(std::move(input), values);
        }
    };

    // Empty.
    QelOpCatalog();
    ~QelOpCatalog();
    QelOpCatalog(QelOpCatalog const &);
    QelOpCatalog & operator=(QelOpCatalog const &);

    // The library's own: blur, invert, linear and sharpen.
    static QelOpCatalog const & standard();

    // Raises invalidValue (13) for a name that is taken, or that is empty or holds ':', ',' or '=';
    // the same for the parameters' names.
    void add(QelOpDescription op);

    // Sorted by name.
    std::vector<QelOpDescription> const & ops() const { return ops_; }

    // Null for an unknown name.
    QelOpDescription const * find(std::string_view name) const;

    // Raises invalidValue (13) for an unknown operation or parameter, listing the known ones; for a
    // parameter that is given twice or without a value; for a value that is not a number or out of
    // range; and what the operation's check raises.
    Call parse(std::string_view text) const;

  private:
    std::vector<QelOpDescription> ops_;
};

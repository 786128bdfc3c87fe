#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelExport.h"
#include "QelTransformDescription.h"

// Transforms that can be asked for by name: operations, in texts of the form
//     OP[:NAME=VALUE[,NAME=VALUE]...]
// as in "blur" and "linear:gain=1.5,offset=-20", and sources, which have no input and are listed
// apart. Parameters that are not named take their defaults. Numbers are decimal, with a point in
// every locale; those of a list are separated by colons, as in
// "sharpen:kernel=0:-1:0:-1:5:-1:0:-1:0".
//
// A value class. One object is changed by one thread at a time.
class QEL_API QelTransformCatalog {
  public:
    // A parsed text: the operation and its values. Refers to the catalog.
    struct Call {
        QelTransformDescription const * op = nullptr;
        QelTransformValues values;

        // A new transform with these values, not connected. Raises nullPointer (4) without an
        // operation, and what QelTransformDescription::newTransform() raises.
        QEL_API MoxSmartPtr<QelTransform> make() const;
    };

    // Empty.
    QelTransformCatalog();
    ~QelTransformCatalog();
    QelTransformCatalog(QelTransformCatalog const &);
    QelTransformCatalog & operator=(QelTransformCatalog const &);

    // The library's own: blur, convolve, invert, linear and sharpen; the sources picture and
    // testcard.
    static QelTransformCatalog const & standard();

    // Raises invalidValue (13) for a name that is taken, or that is empty or holds ':', ',' or '=';
    // the same for the parameters' names, which differ from each other. Raises nullPointer (4)
    // without a factory.
    void add(QelTransformDescription description);

    // Sorted by name.
    std::vector<QelTransformDescription> const & ops() const { return ops_; }
    std::vector<QelTransformDescription> const & sources() const { return sources_; }

    // An operation or a source; null for an unknown name.
    QelTransformDescription const * find(std::string_view name) const;

    // Raises invalidValue (13) for an unknown operation or parameter, listing the known ones; for a
    // parameter that is given twice or without a value; for a value that is not a number or out of
    // range; and what the operation's check raises.
    Call parse(std::string_view text) const;

  private:
    std::vector<QelTransformDescription> ops_;
    std::vector<QelTransformDescription> sources_;
};

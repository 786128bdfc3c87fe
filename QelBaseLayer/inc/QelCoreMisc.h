#pragma once

#include <string>

#include "QelDataType.h"
#include "ZanSourceLocation.h"

// Utilities of the core that belong to no object. Safe from any thread.
class QEL_API QelCoreMisc {
  public:
    QelCoreMisc() = delete;

    // The smallest and the largest value of an element type. Raises 118 for Mixed, Error and
    // every type outside the table.
    static void getDataTypeMinMaxValues(QelDataType type, double & min, double & max);

    // Raises 118: "The data type ", the name, " is not a supported data type in " and `where`.
    [[noreturn]] static void raiseUnsupportedDataType(QelDataType type, std::string const & where,
                                                      char const * file, int line);

    // Turns the compiler's name of a type into a short one: without "class ", "struct ", "enum ",
    // "__cdecl" and "std::", every "allocator<...>" as "A", and "> >" for ">>". Returns an
    // address that stays valid for the life of the process; null counts as empty.
    static char const * cleanTypeName(char const * raw);

    // cleanTypeName() of an object's most derived class.
    template <class T>
    static char const * classNameOf(T const & object) {
        return cleanTypeNameOf(typeid(object));
    }

  private:
    static char const * cleanTypeNameOf(std::type_info const & type);
};

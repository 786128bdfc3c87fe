#pragma once

#include "ZanSourceLocation.h"

// Raises nullPointer (4) "Argument is a NULL pointer".
[[noreturn]] void qelRaiseNullArgument(ZanSourceLocation here);

// What `pointer` points to: an argument that may not be null. Raises nullPointer (4), from the
// caller's source position, before the caller does anything else with it.
template <class T>
T & qelRequired(T * pointer, ZanSourceLocation here = ZanSourceLocation::current()) {
    if (pointer == nullptr) qelRaiseNullArgument(here);
    return *pointer;
}

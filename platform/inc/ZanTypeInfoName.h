#pragma once

#include <string>
#include <typeinfo>

#include "QelExport.h"

// The readable name of a type, as the compiler's own tools print it ("unsigned char",
// "std::vector<int, std::allocator<int> >"). A name that cannot be decoded is returned raw.
QEL_API std::string ZanTypeInfoName(std::type_info const & type);

#include "ZanTypeInfoName.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

std::string ZanTypeInfoName(std::type_info const & type) {
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> const readable(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    return readable ? readable.get() : type.name();
}

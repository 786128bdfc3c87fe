#include "QelCoreMisc.h"

#include <array>
#include <cfloat>
#include <cstdint>
#include <map>
#include <string_view>
#include <utility>

#include "QelError.h"
#include "ZanImmortal.h"
#include "ZanMutex.h"
#include "ZanTypeInfoName.h"

namespace {

struct ValueRange {
    double min;
    double max;
};

// By data type code, up to the last type that has values.
constexpr std::array<ValueRange, 8> valueRanges{{
    {0.0, UINT8_MAX},
    {INT16_MIN, INT16_MAX},
    {INT32_MIN, INT32_MAX},
    {-static_cast<double>(FLT_MAX), static_cast<double>(FLT_MAX)},
    {-DBL_MAX, DBL_MAX},
    {0.0, UINT16_MAX},
    {INT8_MIN, INT8_MAX},
    {0.0, UINT32_MAX},
}};

// Leaves no occurrence behind, not even one that another's removal brings together. No word ends
// as it starts, so the order of removal does not matter, and the growing result can be cut as soon
// as it ends in the word.
std::string without(std::string_view text, std::string_view word) {
    std::string result;
    result.reserve(text.size());
    for (char const c : text) {
        result += c;
        if (result.ends_with(word)) result.erase(result.size() - word.size());
    }
    return result;
}

// The position behind the brackets that open at `open`; the end of the text if they never close.
std::size_t behindBrackets(std::string_view text, std::size_t open) {
    std::size_t depth = 0;
    for (std::size_t at = open; at < text.size(); ++at) {
        if (text[at] == '<') ++depth;
        if (text[at] == '>' && --depth == 0) return at + 1;
    }
    return text.size();
}

// Every "allocator<...>" becomes "A".
std::string shortenAllocators(std::string_view text) {
    constexpr std::string_view word = "allocator";
    std::string result;
    std::size_t at = 0;
    for (;;) {
        std::size_t const found = text.find(word, at);
        result += text.substr(at, found - at);
        if (found == std::string_view::npos) return result;
        std::size_t const behind = found + word.size();
        bool const isTemplate = behind < text.size() && text[behind] == '<';
        result += isTemplate ? "A" : word;
        at = isTemplate ? behindBrackets(text, behind) : behind;
    }
}

std::string parted(std::string_view text) {
    std::string result;
    for (char const c : text) {
        if (c == '>' && result.ends_with('>')) result += ' ';
        result += c;
    }
    return result;
}

std::string cleaned(std::string_view raw) {
    std::string text(raw);
    for (char const * word : {"class ", "struct ", "enum ", "__cdecl", "std::"}) {
        text = without(text, word);
    }
    return parted(shortenAllocators(text));
}

// Raw names to cleaned ones. Entries are never removed, so that their texts stay where they are.
class NameCache {
  public:
    // Null when there is no entry.
    char const * find(std::string_view raw) {
        ZanLock const guard(lock_);
        auto const found = names_.find(raw);
        return found != names_.end() ? found->second.c_str() : nullptr;
    }

    // The entry's name, which is another one's when another thread was first.
    char const * insert(std::string_view raw, std::string name) {
        ZanLock const guard(lock_);
        names_.emplace(raw, std::move(name));
        return find(raw);
    }

  private:
    ZanMutex lock_;
    std::map<std::string, std::string, std::less<>> names_ ZAN_GUARDED_BY(lock_);
};

NameCache & nameCache() {
    static ZanImmortal<NameCache> cache;
    return cache.get();
}

char const * lookUpOrClean(char const * raw) {
    if (char const * known = nameCache().find(raw)) return known;
    // Cleaned with the lock free: two threads may both do it, and the first one's result stays.
    if (char const * inserted = nameCache().insert(raw, cleaned(raw))) return inserted;
    qelRaise(QelErrorCode::misuse, "STL map worked incorrectly");
}

}  // namespace

void QelCoreMisc::getDataTypeMinMaxValues(QelDataType type, double & min, double & max) {
    auto const code = static_cast<std::size_t>(type.code());
    if (code >= valueRanges.size()) {
        raiseUnsupportedDataType(type, "QelCoreMisc::getDataTypeMinMaxValues", __FILE__, __LINE__);
    }
    min = valueRanges[code].min;
    max = valueRanges[code].max;
}

void QelCoreMisc::raiseUnsupportedDataType(QelDataType type, std::string const & where,
                                           char const * file, int line) {
    std::string const name = type.name();
    throw QelError(QelErrorCode::unsupportedDataType,
                   "The data type " + name + " is not a supported data type in " + where, file,
                   line);
}

char const * QelCoreMisc::cleanTypeName(char const * raw) {
    if (raw == nullptr) raw = "";
    try {
        return lookUpOrClean(raw);
    } catch (ZanError const & error) {
        ZanError extended(error);
        extended.setMsg(error.getMsg() + std::string("\nFailed to demangle ") + raw);
        throw extended;
    }
}

char const * QelCoreMisc::typeNameOf(std::type_info const & type) {
    return cleanTypeName(ZanTypeInfoName(type).c_str());
}

#pragma once

#include <cstddef>
#include <memory>
#include <string>

// A string whose copies share their characters until one of them is assigned. Used at the metadata
// interface. Null converts to an empty string. One object is used by one thread at a time; copies
// that share characters may be used by different threads.
template <class Char>
class ptstring {
  public:
    using string_type = std::basic_string<Char>;

    ptstring() = default;
    ptstring(Char const * text)
        : text_(text != nullptr && *text != Char() ? std::make_shared<string_type const>(text)
                                                   : nullptr) {}
    ptstring(string_type const & text)
        : text_(text.empty() ? nullptr : std::make_shared<string_type const>(text)) {}

    operator string_type() const { return str(); }

    string_type const & str() const {
        static string_type const empty;
        return text_ ? *text_ : empty;
    }
    // Ends with a null character; valid until this object is assigned or destroyed.
    Char const * c_str() const { return str().c_str(); }
    std::size_t length() const { return text_ ? text_->size() : 0; }
    bool empty() const { return !text_; }

    friend bool operator==(ptstring const & a, ptstring const & b) {
        return a.text_ == b.text_ || a.str() == b.str();
    }
    friend bool operator<(ptstring const & a, ptstring const & b) { return a.str() < b.str(); }

  private:
    std::shared_ptr<string_type const> text_;
};

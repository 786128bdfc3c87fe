#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>

#include "AttributeTesting.h"
#include "MoxSmartPtr.h"
#include "QelSimpleAttribute.h"

// An attribute with a value, and how often it has changed.
template <class T>
class WatchedAttribute {
  public:
    explicit WatchedAttribute(T value)
        : attribute_(new QelSimpleAttribute<T>("watched", std::move(value))) {
        observe(*attribute_, [this](AttributePtr const &) { ++changes_; });
    }
    WatchedAttribute(WatchedAttribute const &) = delete;
    WatchedAttribute & operator=(WatchedAttribute const &) = delete;

    QelSimpleAttribute<T> * operator->() const { return attribute_.get(); }
    T const & value() const { return attribute_->getValue(); }
    int changes() const { return changes_; }

  private:
    int changes_ = 0;
    MoxSmartPtr<QelSimpleAttribute<T>> attribute_;
};

// The text form of `value`, at a stream's usual precision or another one.
template <class T>
std::string attributeText(T const & value, int precision = 6) {
    std::ostringstream out;
    out.precision(precision);
    MoxSmartPtr<QelAttribute>(new QelSimpleAttribute<T>("written", value))->writeValue(out);
    return out.str();
}

// What is still in a stream.
inline std::string restOf(std::istream & in) {
    in.clear();
    std::ostringstream rest;
    if (in.peek() != std::char_traits<char>::eof()) rest << in.rdbuf();
    return rest.str();
}

// What comes of reading a text into an attribute.
template <class T>
struct AttributeReading {
    T value;
    bool failed;
    std::string rest;
};

// Read, or failed without an error, an attribute has changed once.
template <class T>
AttributeReading<T> readAttribute(std::string const & text, T start) {
    WatchedAttribute<T> const attribute(std::move(start));
    std::istringstream in(text);
    attribute->readValue(in);
    bool const failed = in.fail();
    EXPECT_EQ(1, attribute.changes());
    return {attribute.value(), failed, restOf(in)};
}

template <class T>
void expectReads(T const & value, std::string const & text, std::string const & rest = "") {
    SCOPED_TRACE("reading " + text);
    AttributeReading<T> const reading = readAttribute<T>(text, T());
    EXPECT_FALSE(reading.failed);
    EXPECT_EQ(value, reading.value);
    EXPECT_EQ(rest, reading.rest);
}

// With a failed stream and `left` in the attribute, which was `start`.
template <class T>
void expectFails(T const & start, T const & left, std::string const & text) {
    SCOPED_TRACE("failing on " + text);
    AttributeReading<T> const reading = readAttribute(text, start);
    EXPECT_TRUE(reading.failed);
    EXPECT_EQ(left, reading.value);
}

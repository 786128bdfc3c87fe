#include "ZanWideString.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <iostream>
#include <random>
#include <sstream>
#include <vector>

namespace {

using namespace std::string_literals;

std::string hex(std::string const & bytes) {
    std::ostringstream out;
    for (char const c : bytes)
        out << std::hex << std::setw(2) << std::setfill('0')
            << static_cast<unsigned>(static_cast<std::uint8_t>(c)) << ' ';
    return out.str();
}

std::wstring wide(std::initializer_list<std::uint32_t> characters) {
    std::wstring text;
    for (std::uint32_t const character : characters)
        text.push_back(static_cast<wchar_t>(character));
    return text;
}

// UTF-8 written out case by case.
std::string utf8(std::uint32_t c) {
    auto const byte = [](std::uint32_t value) { return static_cast<char>(value); };
    auto const tail = [&](int shift) { return byte(0x80 + (c >> shift) % 64); };
    if (c < 0x80) return {byte(c)};
    if (c < 0x800) return {byte(0xC0 + (c >> 6)), tail(0)};
    if (c < 0x10000) return {byte(0xE0 + (c >> 12)), tail(6), tail(0)};
    return {byte(0xF0 + (c >> 18)), tail(12), tail(6), tail(0)};
}

// Decodes by looking each sequence up among all that are valid.
class SlowDecoder {
  public:
    SlowDecoder() {
        valid_.reserve(0x110000);
        for (std::uint32_t c = 0; c <= 0x10FFFF; ++c)
            if (c < 0xD800 || c > 0xDFFF) valid_.emplace_back(key(utf8(c)), c);
        std::sort(valid_.begin(), valid_.end());
    }

    std::wstring decode(std::string const & text) const {
        std::wstring out;
        for (std::size_t at = 0; at < text.size();)
            at += decodeOne(text, at, out);
        return out;
    }

  private:
    static std::uint64_t key(std::string const & bytes) {
        std::uint64_t all = bytes.size();
        for (char const c : bytes)
            all = all << 8 | static_cast<std::uint8_t>(c);
        return all;
    }

    std::size_t decodeOne(std::string const & text, std::size_t at, std::wstring & out) const {
        for (std::size_t length = 1; length <= 4 && at + length <= text.size(); ++length) {
            auto const wanted = std::make_pair(key(text.substr(at, length)), std::uint32_t{0});
            auto const found = std::lower_bound(valid_.begin(), valid_.end(), wanted);
            if (found == valid_.end() || found->first != wanted.first) continue;
            out.push_back(static_cast<wchar_t>(found->second));
            return length;
        }
        out.push_back(static_cast<wchar_t>(0xDC00 + static_cast<std::uint8_t>(text[at])));
        return 1;
    }

    std::vector<std::pair<std::uint64_t, std::uint32_t>> valid_;
};

// Byte strings that come close to valid text: pieces of sequences, whole ones, and noise.
std::string nearlyText(std::mt19937 & random) {
    std::string text;
    for (auto pieces = random() % 12; pieces > 0; --pieces) {
        std::string piece = utf8(static_cast<std::uint32_t>(random() % 0x120000));
        switch (random() % 4) {
            case 0: piece.resize(random() % piece.size() + 1); break;
            case 1: piece[random() % piece.size()] = static_cast<char>(random() % 256); break;
            case 2: piece = std::string(1, static_cast<char>(random() % 256)); break;
            default: break;
        }
        text += piece;
    }
    return text;
}

TEST(ZanWideStringTest, ValidTextBecomesCodePoints) {
    struct {
        std::string narrow;
        std::wstring characters;
    } const cases[] = {
        {"", L""},
        {"photo.jpg", L"photo.jpg"},
        {"a\0b"s, L"a\0b"s},
        {"\x7F", wide({0x7F})},
        {"\xC2\x80", wide({0x80})},
        {"\xC3\xA4", wide({0xE4})},
        {"\xDF\xBF", wide({0x7FF})},
        {"\xE0\xA0\x80", wide({0x800})},
        {"\xE2\x82\xAC", wide({0x20AC})},
        {"\xED\x9F\xBF", wide({0xD7FF})},
        {"\xEE\x80\x80", wide({0xE000})},
        {"\xEF\xBF\xBD", wide({0xFFFD})},
        {"\xEF\xBF\xBF", wide({0xFFFF})},
        {"\xF0\x90\x80\x80", wide({0x10000})},
        {"\xF4\x8F\xBF\xBF", wide({0x10FFFF})},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(hex(c.narrow));
        EXPECT_EQ(c.characters, ZanATOW(c.narrow));
        EXPECT_EQ(c.narrow, ZanWTOS(c.characters));
        EXPECT_EQ(c.narrow, ZanWTOA(c.characters));
    }
}

TEST(ZanWideStringTest, BytesThatDoNotDecodeAreKeptOneByOne) {
    struct {
        char const * what;
        std::string narrow;
        std::wstring characters;
    } const cases[] = {
        {"lone continuation", "\x80", wide({0xDC80})},
        {"Latin-1 text", "caf\xE9", L"caf" + wide({0xDCE9})},
        {"overlong of two bytes", "\xC0\x80", wide({0xDCC0, 0xDC80})},
        {"overlong of two bytes, last", "\xC1\xBF", wide({0xDCC1, 0xDCBF})},
        {"overlong of three bytes", "\xE0\x9F\xBF", wide({0xDCE0, 0xDC9F, 0xDCBF})},
        {"overlong of four bytes", "\xF0\x8F\xBF\xBF", wide({0xDCF0, 0xDC8F, 0xDCBF, 0xDCBF})},
        {"first surrogate", "\xED\xA0\x80", wide({0xDCED, 0xDCA0, 0xDC80})},
        {"escape itself", "\xED\xB2\x80", wide({0xDCED, 0xDCB2, 0xDC80})},
        {"last surrogate", "\xED\xBF\xBF", wide({0xDCED, 0xDCBF, 0xDCBF})},
        {"above U+10FFFF", "\xF4\x90\x80\x80", wide({0xDCF4, 0xDC90, 0xDC80, 0xDC80})},
        {"lead of five bytes", "\xF8\x88", wide({0xDCF8, 0xDC88})},
        {"bytes FE and FF", "\xFE\xFF", wide({0xDCFE, 0xDCFF})},
        {"cut after two of three", "\xE2\x82", wide({0xDCE2, 0xDC82})},
        {"cut after three of four", "\xF0\x9F\x98", wide({0xDCF0, 0xDC9F, 0xDC98})},
        {"broken by a letter", "\xE2\x82z", wide({0xDCE2, 0xDC82, 'z'})},
        {"broken by a lead", "\xE2\xC3\xA4", wide({0xDCE2, 0xE4})},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.characters, ZanATOW(c.narrow));
        EXPECT_EQ(c.narrow, ZanWTOS(c.characters));
    }
}

TEST(ZanWideStringTest, WhatIsNoCodePointBecomesTheReplacementCharacter) {
    for (std::uint32_t const character : {0xD800U, 0xDBFFU, 0xDC00U, 0xDC7FU, 0xDD00U, 0xDFFFU,
                                          0x110000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(character);
        EXPECT_EQ("a\xEF\xBF\xBDz", ZanWTOS(L"a" + wide({character}) + L"z"));
    }
}

// Kept bytes that happen to stand next to each other and make sense together are valid text
// afterwards; the bytes are what counts.
TEST(ZanWideStringTest, KeptBytesMayFormValidText) {
    std::string const narrow = ZanWTOS(wide({0xDCC3, 0xDCA4}));
    EXPECT_EQ("\xC3\xA4", narrow);
    EXPECT_EQ(wide({0xE4}), ZanATOW(narrow));
}

TEST(ZanWideStringTest, EveryCodePointSurvivesTheRoundTrip) {
    for (std::uint32_t c = 0; c <= 0x10FFFF; ++c) {
        if (c == 0xD800) c = 0xE000;
        std::wstring const one = wide({c});
        std::string const narrow = ZanWTOS(one);
        ASSERT_EQ(utf8(c), narrow) << "code point " << c;
        ASSERT_EQ(one, ZanATOW(narrow)) << "code point " << c;
    }
}

TEST(ZanWideStringTest, EveryPairOfBytesSurvivesTheRoundTrip) {
    SlowDecoder const reference;
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
        std::string const bytes = {static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF)};
        std::wstring const decoded = ZanATOW(bytes);
        ASSERT_EQ(reference.decode(bytes), decoded) << hex(bytes);
        ASSERT_EQ(bytes, ZanWTOS(decoded)) << hex(bytes);
    }
}

TEST(ZanWideStringTest, RandomByteStringsDecodeAsTheReferenceAndSurviveTheRoundTrip) {
    unsigned const seed = 4711;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    SlowDecoder const reference;
    for (int round = 0; round < 20000; ++round) {
        std::string const bytes = nearlyText(random);
        std::wstring const decoded = ZanATOW(bytes);
        ASSERT_EQ(reference.decode(bytes), decoded) << hex(bytes);
        ASSERT_EQ(bytes, ZanWTOS(decoded)) << hex(bytes);
    }
}

TEST(ZanWideStringTest, PutWritesUtf8AndReturnsTheStream) {
    std::ostringstream out;
    out << std::setw(20) << std::setfill('*');
    EXPECT_EQ(&out, &ZanPutWString(out, wide({'a', 0xE4, 0x20AC, 0xDCFF})));
    EXPECT_EQ("a\xC3\xA4\xE2\x82\xAC\xFF", out.str());
}

}  // namespace

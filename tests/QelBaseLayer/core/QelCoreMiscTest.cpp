#include "QelCoreMisc.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "ExpectError.h"

namespace {

std::string cleaned(std::string const & raw) {
    return QelCoreMisc::cleanTypeName(raw.c_str());
}

// The rules word by word, with no care for speed: after each change all starts from the front.
std::string cleanedSlowly(std::string text) {
    for (std::string const word : {"class ", "struct ", "enum ", "__cdecl", "std::"}) {
        for (auto at = text.find(word); at != std::string::npos; at = text.find(word)) {
            text.erase(at, word.size());
        }
    }
    std::string const head = "allocator<";
    for (auto at = text.find(head); at != std::string::npos; at = text.find(head)) {
        int depth = 1;
        auto end = at + head.size();
        while (end < text.size() && depth > 0) {
            if (text[end] == '<') ++depth;
            if (text[end] == '>') --depth;
            ++end;
        }
        text = text.substr(0, at) + 'A' + text.substr(end);
    }
    for (auto at = text.find(">>"); at != std::string::npos; at = text.find(">>")) {
        text = text.substr(0, at + 1) + ' ' + text.substr(at + 1);
    }
    return text;
}

struct Base {
    virtual ~Base() = default;
};
struct Derived : Base {};

TEST(QelCoreMiscTest, CleanTypeNameCases) {
    struct {
        char const * raw;
        char const * clean;
    } const cases[] = {
        {"", ""},
        {"unsigned char", "unsigned char"},
        {"class QelTile", "QelTile"},
        {"struct a::B", "a::B"},
        {"enum QelLayout", "QelLayout"},
        {"class A<class B,struct C,enum D>", "A<B,C,D>"},
        {"void (__cdecl*)(int)", "void (*)(int)"},
        {"std::vector<std::string>", "vector<string>"},
        {"subclass x", "subx"},
        // Allocators.
        {"std::vector<int, std::allocator<int> >", "vector<int, A >"},
        {"std::map<int, V, std::less<int>, std::allocator<std::pair<int const, V>>>",
         "map<int, V, less<int>, A>"},
        {"allocator<allocator<int>>", "A"},
        {"v<allocator<int>,allocator<w<int>>>", "v<A,A>"},
        // Not followed by "<".
        {"allocator", "allocator"},
        {"allocator_traits<int>", "allocator_traits<int>"},
        {"allocator x allocator<int>", "allocator x A"},
        {"allocatorallocator<int>", "allocatorA"},
        {"allocator <int>", "allocator <int>"},
        // An unbalanced tail goes altogether.
        {"v<allocator<int", "v<A"},
        {"v<allocator<a<b>, c", "v<A"},
        {"allocator<", "A"},
        // Brackets.
        {"a<b<c>>", "a<b<c> >"},
        {"a<b<c<d>>>", "a<b<c<d> > >"},
        {">>>>", "> > > >"},
        {"a >> b", "a > > b"},
        {"<<", "<<"},
        // Removal brings words together.
        {"claclass ss X", "X"},
        {"ststd::d::x", "x"},
        {"claenum ss X", "class X"},
        {"allstd::ocator<int>", "A"},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.raw);
        EXPECT_EQ(c.clean, cleaned(c.raw));
        EXPECT_EQ(c.clean, cleanedSlowly(c.raw)) << "the reference";
    }
}

TEST(QelCoreMiscTest, CleanTypeNameTakesNullAsEmpty) {
    EXPECT_STREQ("", QelCoreMisc::cleanTypeName(nullptr));
}

TEST(QelCoreMiscTest, CleanTypeNameHasNoLengthLimit) {
    std::string raw;
    std::string clean;
    for (int i = 0; i < 20000; ++i) {
        raw += "class x,";
        clean += "x,";
    }
    EXPECT_EQ(clean, cleaned(raw));

    std::string const deep = "allocator<" + std::string(100000, '<') + std::string(100000, '>');
    EXPECT_EQ("A", cleaned(deep + ">"));
}

TEST(QelCoreMiscTest, CleanTypeNameStaysValidAndIsCached) {
    std::string raw = "class Cached";
    char const * const first = QelCoreMisc::cleanTypeName(raw.c_str());
    raw.assign(raw.size(), '#');
    for (int i = 0; i < 1000; ++i)
        cleaned("class Filler" + std::to_string(i));
    EXPECT_STREQ("Cached", first);
    EXPECT_EQ(first, QelCoreMisc::cleanTypeName("class Cached"));
}

TEST(QelCoreMiscTest, CleanTypeNameAgreesWithASlowReference) {
    constexpr unsigned seed = 20011;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<std::string> const parts = {
        "class ", "struct ", "enum ", "__cdecl", "std::", "allocator", "allocator<",
        "<",      ">",       ">>",    ",",       " ",     "int",       "cl",
        "ass ",   "st",      "d::",   "alloc",   "ator<"};
    std::uniform_int_distribution<std::size_t> part(0, parts.size() - 1);
    std::uniform_int_distribution<int> length(0, 24);
    for (int run = 0; run < 20000; ++run) {
        std::string raw;
        for (int i = length(random); i > 0; --i)
            raw += parts[part(random)];
        ASSERT_EQ(cleanedSlowly(raw), cleaned(raw)) << raw;
    }
}

TEST(QelCoreMiscTest, ThreadsGetTheSameCleanedName) {
    constexpr int threads = 8;
    constexpr int names = 300;
    std::vector<std::vector<char const *>> results(threads);
    std::vector<std::thread> workers;
    for (auto & own : results) {
        workers.emplace_back([&own] {
            for (int i = 0; i < names; ++i) {
                std::string const raw = "class Shared" + std::to_string(i);
                own.push_back(QelCoreMisc::cleanTypeName(raw.c_str()));
            }
        });
    }
    for (std::thread & worker : workers)
        worker.join();
    for (auto const & own : results)
        EXPECT_EQ(results.front(), own);
    EXPECT_STREQ("Shared7", results.front().at(7));
}

TEST(QelCoreMiscTest, ClassNameOfIsTheMostDerivedClass) {
    std::unique_ptr<Base> const object = std::make_unique<Derived>();
    EXPECT_STREQ("(anonymous namespace)::Derived", QelCoreMisc::classNameOf(*object));
    EXPECT_STREQ("vector<int, A >", QelCoreMisc::classNameOf(std::vector<int>()));
}

TEST(QelCoreMiscTest, MinMaxValuesOfEveryType) {
    struct {
        QelDataType type;
        double min;
        double max;
    } const cases[] = {
        {QelDataType::UChar, 0, 255},
        {QelDataType::Short, -32768, 32767},
        {QelDataType::Long, -2147483648.0, 2147483647},
        {QelDataType::Float, -3.4028234663852886e38, 3.4028234663852886e38},
        {QelDataType::Double, -1.7976931348623157e308, 1.7976931348623157e308},
        {QelDataType::UShort, 0, 65535},
        {QelDataType::Char, -128, 127},
        {QelDataType::ULong, 0, 4294967295.0},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.type.name());
        double min = -1;
        double max = -1;
        QelCoreMisc::getDataTypeMinMaxValues(c.type, min, max);
        EXPECT_EQ(c.min, min);
        EXPECT_EQ(c.max, max);
    }
}

TEST(QelCoreMiscTest, MinMaxValuesRaise118ForAnyOtherType) {
    struct Unlisted {};
    struct {
        QelDataType type;
        std::string name;
    } const cases[] = {
        {QelDataType::Mixed, "QelDataType::MixedClass"},
        {QelDataType::Error, "QelDataType::ErrorClass"},
        {QelDataType(typeid(long long), 8), "long long"},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.name);
        double min = -1;
        double max = -2;
        expectRaises(QelErrorCode::unsupportedDataType,
                     "The data type " + c.name +
                         " is not a supported data type in QelCoreMisc::getDataTypeMinMaxValues",
                     [&] { QelCoreMisc::getDataTypeMinMaxValues(c.type, min, max); });
        EXPECT_EQ(-1, min);
        EXPECT_EQ(-2, max);
    }
}

TEST(QelCoreMiscTest, RaiseUnsupportedDataType) {
    auto const error = errorOf(
        [] { QelCoreMisc::raiseUnsupportedDataType(QelDataType::UShort, "MyOp", "MyOp.cpp", 12); });
    ASSERT_TRUE(error);
    expectQelError(*error, QelErrorCode::unsupportedDataType,
                   "The data type unsigned short is not a supported data type in MyOp");
    EXPECT_STREQ("MyOp.cpp", error->getFile());
    EXPECT_EQ(12, error->getLine());
}

}  // namespace

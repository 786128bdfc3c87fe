#include "ZanTypeInfoName.h"

#include <gtest/gtest.h>

#include <vector>

struct AtNamespaceScope {
    class Inner {};
};
template <class... T>
class Several {};

namespace {

TEST(ZanTypeInfoNameTest, NamesAreReadable) {
    struct {
        std::type_info const & type;
        char const * name;
    } const cases[] = {
        {typeid(unsigned char), "unsigned char"},
        {typeid(signed char), "signed char"},
        {typeid(short), "short"},
        {typeid(unsigned short), "unsigned short"},
        {typeid(int), "int"},
        {typeid(unsigned), "unsigned int"},
        {typeid(float), "float"},
        {typeid(double), "double"},
        {typeid(void), "void"},
        {typeid(char const *), "char const*"},
        {typeid(AtNamespaceScope), "AtNamespaceScope"},
        {typeid(AtNamespaceScope::Inner), "AtNamespaceScope::Inner"},
        {typeid(Several<int, Several<>>), "Several<int, Several<> >"},
        {typeid(std::vector<int>), "std::vector<int, std::allocator<int> >"},
    };
    for (auto const & c : cases)
        EXPECT_EQ(c.name, ZanTypeInfoName(c.type));
}

TEST(ZanTypeInfoNameTest, ANameWithoutLengthLimit) {
    using Eight = Several<std::vector<int>, std::vector<int>, std::vector<int>, std::vector<int>,
                          std::vector<int>, std::vector<int>, std::vector<int>, std::vector<int>>;
    using Many = Several<Eight, Eight, Eight, Eight, Several<Eight, Eight, Eight, Eight, Eight>,
                         Several<Eight, Eight, Eight, Eight, Eight, Eight, Eight, Eight, Eight>,
                         Several<Eight, Eight, Eight, Eight, Eight, Eight, Eight, Eight, Eight>,
                         Several<Eight, Eight, Eight, Eight, Eight, Eight, Eight, Eight, Eight>>;
    std::string const name = ZanTypeInfoName(typeid(Many));
    EXPECT_GT(name.size(), 10000U);
    EXPECT_EQ(0U, name.find("Several<Several<std::vector<int, "));
    EXPECT_EQ('>', name.back());
}

}  // namespace

// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/value.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

using sim::Json;
using sim::Node;
using sim::ScenarioError;

namespace
{

std::vector<std::string> split(std::string_view signature)
{
    std::vector<std::string> types;
    while (!signature.empty())
    {
        types.emplace_back(sim::takeType(signature));
    }
    return types;
}

/** The complaint about values that do not fit, empty when they do. */
std::string complaint(const std::string& signature, const char* values)
{
    Json json = Json::parse(values);
    try
    {
        sim::checkValues(signature, Node(json, "v"));
    }
    catch (const ScenarioError& error)
    {
        return error.what();
    }
    return "";
}

TEST(Signature, splitsIntoCompleteTypes)
{
    EXPECT_EQ(split("yas"), (std::vector<std::string>{"y", "as"}));
    EXPECT_EQ(split("a{sa{sas}}u"),
              (std::vector<std::string>{"a{sa{sas}}", "u"}));
    EXPECT_EQ(split("(y(st))aav"),
              (std::vector<std::string>{"(y(st))", "aav"}));
}

class BadSignature : public testing::TestWithParam<const char*>
{
};

TEST_P(BadSignature, isRefused)
{
    EXPECT_THROW(split(GetParam()), ScenarioError);
}

INSTANTIATE_TEST_SUITE_P(All, BadSignature,
                         testing::Values("a", "z", "(", "()", "(y", "a{", "a{}",
                                         "{", ")", "h"));

TEST(Signature, depthIsBounded)
{
    EXPECT_THROW(split(std::string(1000000, 'a') + "y"), ScenarioError);
}

struct Case
{
    const char* signature;
    const char* values;
    const char* complaint;
};

class Values : public testing::TestWithParam<Case>
{
};

TEST_P(Values, fitOrAreRefusedWithTheirPlace)
{
    EXPECT_EQ(complaint(GetParam().signature, GetParam().values),
              GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    All, Values,
    testing::Values(
        Case{"", "[]", ""}, Case{"y", "[255]", ""}, Case{"y", "[\"0xff\"]", ""},
        Case{"y", "[256]", "v/0: is out of the range of type y"},
        Case{"y", "[-1]", "v/0: is out of the range of type y"},
        Case{"y", "[1.5]", "v/0: must be a whole number"},
        Case{"y", "[true]", "v/0: must be a whole number"},
        Case{"i", "[-2147483648]", ""},
        Case{"i", "[-2147483649]", "v/0: is out of the range of type i"},
        Case{"i", "[2147483648]", "v/0: is out of the range of type i"},
        Case{"t", "[18446744073709551615]", ""},
        Case{"x", "[9223372036854775808]",
             "v/0: is out of the range of type x"},
        Case{"b", "[1]", "v/0: does not fit the type b"},
        Case{"d", "[\"1\"]", "v/0: does not fit the type d"},
        Case{"s", "[1]", "v/0: does not fit the type s"},
        Case{"ss", "[\"a\"]", "v: lacks values for \"s\""},
        Case{"s", "[\"a\", \"b\"]", "v/1: has no type in the signature"},
        Case{"s", "\"a\"", "v: must be an array"},
        Case{"ay", "[[1, 256]]", "v/0/1: is out of the range of type y"},
        Case{"a{sas}", R"([{"k": ["v"]}])", ""},
        Case{"a{sas}", R"([[["k", ["v"]], ["k", []]]])", ""},
        Case{"a{sas}", R"([{"k": "v"}])", "v/0/k: must be an array"},
        Case{"a{ss}", R"([["k"]])", "v/0/0: must be a [key, value] pair"},
        Case{"a{us}", R"([[[1, "x"]]])", ""},
        Case{"v", R"([{"signature": "s", "value": "x"}])", ""},
        Case{"v", R"([{"signature": "ss", "value": "x"}])",
             "v/0: a variant holds one complete type"},
        Case{"v", R"([{"value": "x"}])", "v/0: needs a member \"signature\""},
        Case{"(sy)", R"([["a", 1]])", ""},
        Case{"(sy)", R"([["a"]])", "v/0: lacks values for \"y\""}));

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// How much is said to be looked at, in powers of the number of nodes.
#include "xpath_effort.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <ostream>
#include <string>

namespace {

using namespace zpf::agent;

/// The power of the tree's size that the effort grows with.
double power_of(std::string_view xpath)
{
    const double small = effort_of(xpath, 1e6);
    const double large = effort_of(xpath, 1e9);
    return std::log10(large / small) / 3;
}

/// The effort in a tree of 1000 nodes, in looks at the whole tree.
double trees_of(std::string_view xpath)
{
    return effort_of(xpath, 1000) / 1000;
}

std::string repeated(std::string_view text, std::size_t bytes)
{
    std::string whole;
    while (whole.size() < bytes) {
        whole += text;
    }
    return whole;
}

struct Effort {
    const char* xpath;
    int power;
};
void PrintTo(const Effort& effort, std::ostream* os)
{
    *os << effort.xpath << " with power " << effort.power;
}
class EffortGrows : public ::testing::TestWithParam<Effort> {};

TEST_P(EffortGrows, WithThePowerOfTheNestedSearches)
{
    const auto [xpath, power] = GetParam();
    EXPECT_NEAR(power_of(xpath), power, 0.05) << xpath;
    EXPECT_NEAR(std::log10(effort_of(xpath, 1000)), 3 * power, 0.8) << xpath;
}

INSTANTIATE_TEST_SUITE_P(Conditions, EffortGrows,
                         ::testing::Values(Effort{"/a/b[name='x'][value>3]/c", 1}, Effort{"//*[name='x']", 1},
                                           Effort{"/a/b[k=/c/d/k]", 2}, Effort{"//*[//*='x']", 2},
                                           Effort{"//*[not(//*[not(//*='zz')]='q')]", 3},
                                           Effort{"//*[//*[//*[//*]]]", 4}, Effort{"*[*[*='x']]", 1},
                                           Effort{"//*[*[*[*='x']]]", 1}, Effort{"//*[*[//b]]", 2},
                                           Effort{"//*[a/b[c/d[//e]]]", 2}, Effort{"//*[position()=last()]", 1},
                                           Effort{"a/b[//c]/d[//e]", 2}, Effort{"//a[b[//c]][//d[e]]", 2},
                                           Effort{"//*[a and b or c and //d]", 2}, Effort{"//*[1 + 2 * //d]", 2}));

INSTANTIATE_TEST_SUITE_P(
    Axes, EffortGrows,
    ::testing::Values(Effort{"//a[child::b]", 1}, Effort{"//a[self::b]", 1}, Effort{"//a[attribute::b]", 1},
                      Effort{"//a[@b]", 1}, Effort{"//a[.='x']", 1}, Effort{"//a[child::m:b/child::*='x']", 1},
                      Effort{"//a[ancestor::b]", 2}, Effort{"//a[ancestor-or-self::b]", 2}, Effort{"//a[parent::b]", 2},
                      Effort{"//a[descendant::b]", 2}, Effort{"//a[b/descendant-or-self::c]", 2},
                      Effort{"//a[following::b]", 2}, Effort{"//a[preceding::b]", 3},
                      Effort{"//a[following-sibling :: b]", 2}, Effort{"//a[preceding-sibling::*[1]]", 3},
                      Effort{"//a[..]", 2}, Effort{"//a[../..]", 2}, Effort{"//a[../b='x']", 2}, Effort{"//a[.//b]", 2},
                      Effort{"//a[b//c]", 2}, Effort{"//a[../b[../c]]", 3}, Effort{"//a[descendant::b[.//c]]", 3}));

// A step to siblings or onwards looks at all of them again for each node of a path that may hold many.
INSTANTIATE_TEST_SUITE_P(AxesOfManyNodes, EffortGrows,
                         ::testing::Values(Effort{"/a/b/following-sibling::b", 2}, Effort{"//*/preceding::*", 2},
                                           Effort{"a/following::b", 2}, Effort{"//*[//*/following::*]", 3},
                                           Effort{"//*[../*/preceding-sibling::b]", 3}, Effort{"//a/ancestor::b", 1},
                                           Effort{"//a/../b/../c", 1}, Effort{"//a/descendant::b//c", 1}));

INSTANTIATE_TEST_SUITE_P(Comparisons, EffortGrows,
                         ::testing::Values(Effort{"//a = //b", 2}, Effort{"//a<=//b", 2}, Effort{"/a/b != c/d", 2},
                                           Effort{"(//a) > (//b | c)", 2}, Effort{"//a | 'x' = //b", 2},
                                           Effort{"//a = 'x' or 'x' = //b", 1}, Effort{"//a = 'x'", 1},
                                           Effort{"count(//a) = count(//b)", 1}, Effort{"f(//a, //b = 1)", 1},
                                           Effort{"//a = 2 * //b", 2}, Effort{"/a[b = c]", 1}, Effort{"/a[b = //c]", 2},
                                           Effort{"/a[//b = //c]", 3}, Effort{"/a[../b >= ../c]", 3}));

INSTANTIATE_TEST_SUITE_P(
    Calls, EffortGrows,
    ::testing::Values(Effort{"count(//a)", 1}, Effort{"/a[count(b) > 1]", 1}, Effort{"/a[count(//b) > 1]", 2},
                      Effort{"/a[b = current()/../x]", 2}, Effort{"/a[current()/x]", 2}, Effort{"/a[deref(b)/../c]", 2},
                      Effort{"/a[deref(b)]", 2}, Effort{"/a[current()[b]]", 2}, Effort{"/a[current()[//b]]", 3},
                      Effort{"/a[(b|c)/d]", 1}, Effort{"(//a)[b]", 1}, Effort{"(//a | c)[//b]", 2},
                      Effort{"/a[(b)[//c]]", 2}, Effort{"/a[(../b)[//c]]", 3}, Effort{"/a[text()='x']", 1},
                      Effort{"/a[b/node()/c]", 1}, Effort{"/a[b/text()[//c]]", 2}));

// What looks like the name of an operator or of a number's part hides nothing.
INSTANTIATE_TEST_SUITE_P(Words, EffortGrows,
                         ::testing::Values(Effort{"//*[1and//b]", 2}, Effort{"//*[b and../c]", 2},
                                           Effort{"//*[..or c]", 2}, Effort{"//*[1or..]", 2}, Effort{"//*[2-..]", 2},
                                           Effort{"//*[1and/b=/c]", 3}, Effort{"//and[or/div]", 1},
                                           Effort{"//*[* * *]", 1}, Effort{"//*[* * ../*]", 2},
                                           Effort{"//*[.5 * b]", 1}, Effort{"//m:and[m:or and m:div]", 1},
                                           Effort{"//*[/*]", 2}, Effort{"//*[/ = 'x']", 2}));

INSTANTIATE_TEST_SUITE_P(Literals, EffortGrows,
                         ::testing::Values(Effort{"/a[b='//c[//d]']", 1}, Effort{"/a[b=\"../x['\"]", 1},
                                           Effort{"/a[b='[' or c=']//*[//*]']", 1}, Effort{"/a['it''s'=b][//c]", 2}));

TEST(Effort, AddsUp)
{
    EXPECT_NEAR(trees_of("//a"), 1, 0.01);
    EXPECT_NEAR(trees_of("a/b/c"), 1, 0.01);
    EXPECT_NEAR(trees_of("/a | b//c | //d"), 4, 0.01);
    EXPECT_NEAR(trees_of("//a/../b/../c"), 3, 0.01);
    EXPECT_NEAR(trees_of("//a and (//b or //c)"), 3, 0.01);
    EXPECT_GT(trees_of("//a[b or c or d]"), trees_of("//a[b]") + 2);
    EXPECT_GT(trees_of("//a/./././."), 4);
    EXPECT_NEAR(trees_of("//*[//b or //c]"), 2000, 10);
}

TEST(Effort, CountsTheSortingOfWhatComesInDisorder)
{
    for (const char* xpath : {"//*/../*", "//a/ancestor::*/*", "//a/parent::b/node()", "//a/..//*"}) {
        EXPECT_NEAR(power_of(xpath), 2, 0.05) << xpath;
        EXPECT_LT(trees_of(xpath), 100) << xpath;
    }
    EXPECT_LT(trees_of("//*/*/../a"), 3);
    EXPECT_LT(trees_of("//*/.. | //*"), 4);
    EXPECT_NEAR(power_of("/a[../*]"), 2, 0.05);
}

TEST(Effort, CountsLongConditionsThatLookAtNothing)
{
    const std::string sums = repeated("1+", 20'000) + "1";
    EXPECT_GT(trees_of("//*[" + sums + "]"), 1000);
    EXPECT_GT(trees_of("//*[contains('" + repeated("a", 1'000'000) + "', 'b')]"), 1000);
    EXPECT_LT(effort_of(sums, 1000), 10'000);
}

TEST(Effort, OfTranslationsGrowsWithBothTheirStrings)
{
    const std::string longer = "'" + repeated("a", 2000) + "'";
    EXPECT_GT(trees_of("//*[translate(" + longer + ", " + longer + ", '')='x']"), 5'000);
    EXPECT_GT(trees_of("//*[translate(concat(" + longer + ", b), " + longer + ", '')='x']"), 5'000);
    EXPECT_GT(trees_of("translate(string(/), " + longer + ", '')"), 15);
    EXPECT_LT(trees_of("//*[contains(" + longer + ", " + longer + ")]"), 30);
}

TEST(Effort, OfWhatControllersAskForIsThatOfAFewSearches)
{
    for (const char* xpath : {
             "/openconfig-platform:components/component",
             "/openconfig-platform:components/component[name='AMPLIFIER-1-2']/openconfig-platform:properties",
             "/openconfig-interfaces:interfaces/interface[name='eth0' or name='eth1']/state/counters",
             "//openconfig-interfaces:interface[openconfig-interfaces:state/openconfig-interfaces:oper-status='UP']",
             "/a:components/a:component[a:state/a:type='a:OPTICAL_CHANNEL' and a:state/a:temperature/a:instant > 70.5]",
             "/a:alarms/a:alarm[starts-with(a:id, 'LINE-')][not(a:state/a:severity='a:MINOR')]/a:state",
             "//a:b[translate(a:name, 'ABCDEFGHIJKLMNOPQRSTUVWXYZ', 'abcdefghijklmnopqrstuvwxyz')='x']",
             "/a:x/a:y[a:k='1'][a:l='2']/a:z | /a:v/a:w[a:name='n']/a:config",
         }) {
        EXPECT_LE(trees_of(xpath), 10) << xpath;
        EXPECT_GE(trees_of(xpath), 1) << xpath;
    }
}

TEST(Effort, OfMegabytesIsFoundQuicklyAndFinite)
{
    const auto begin = std::chrono::steady_clock::now();
    for (const char* text :
         {"[", "(", "//*|", "//*[", "]",    ")", "a[",   "f(", "'", "'\"",           ":",   "::", "/", "../",
          "*", "=", "//a=", "1and", "..or", "-", "[(])", "a",  ".", "following::*/", "\xff"}) {
        const double effort = effort_of(repeated(text, 1'000'000), 1e6);
        EXPECT_TRUE(std::isfinite(effort)) << text;
        EXPECT_GE(effort, 0) << text;
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds{20});
    EXPECT_NEAR(trees_of(repeated("//*|", 1'000'000)), 250'000, 1000);
    EXPECT_GT(effort_of(repeated("//*[", 1'000'000), 1e6), 1e100);
    EXPECT_GT(effort_of(repeated("(", 1'000'000) + "//a" + repeated(")", 1'000'000), 10), 1e100);
}

TEST(Effort, IsFiniteForAnySizeOfTree)
{
    for (const double nodes :
         {0.0, -1.0, 1e308, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        for (const char* xpath : {"", "/", "a", "//*[//*=//*]", "/a/following::b[..]"}) {
            const double effort = effort_of(xpath, nodes);
            EXPECT_TRUE(std::isfinite(effort)) << xpath << " of " << nodes;
            EXPECT_GE(effort, 0) << xpath << " of " << nodes;
        }
    }
    EXPECT_EQ(effort_of("", 1000), 0);
}

} // namespace

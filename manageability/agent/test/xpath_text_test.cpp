// SPDX-License-Identifier: Apache-2.0
//
// What can be told of an XPath expression without evaluating it.
#include "xpath_text.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace zpf::agent;

std::string described(std::string_view xpath)
{
    std::string text;
    for (const auto& path : plain_paths(xpath)) {
        text += text.empty() ? "" : " | ";
        for (const XPathStep& step : path) {
            text += "/" + step.module + ":" + step.name;
            for (const auto& [key, value] : step.keys) {
                text += "[" + key + "=" + value + "]";
            }
        }
    }
    return text.empty() ? "anything" : text;
}

TEST(PlainPaths, AreFollowedAsFarAsTheyArePlain)
{
    EXPECT_EQ(described("/m:a/b"), "/m:a/:b");
    EXPECT_EQ(described(" /m:a/m:b[ m:k = 'x/y]' ][l=\"2\"]/c "), "/m:a/m:b[k=x/y]][l=2]/:c");
    EXPECT_EQ(described("/m:a/b[k>1]/c"), "/m:a/:b");
    EXPECT_EQ(described("/m:a/*/c"), "/m:a");
    EXPECT_EQ(described("/m:a//c"), "/m:a");
    EXPECT_EQ(described("/m:a[k='1'] | /n:b[x='|']"), "/m:a[k=1] | /n:b[x=|]");
    EXPECT_EQ(described("/m:a/b[k='1' or k='2']"), "/m:a/:b");
}

TEST(Conditions, AreReckonedWithTheirTruthValues)
{
    const auto reckoned = with_reckoned_conditions;
    EXPECT_EQ(reckoned("/a[b and c or d]/e"), "/a[boolean(boolean(b )*boolean( c )+boolean( d))]/e");
    EXPECT_EQ(reckoned("/a[b='x and y']"), "/a[b='x and y']");
    EXPECT_EQ(reckoned("/a[(b or c) = true()]"), "/a[(boolean(boolean(b )+boolean( c))) = true()]");
    EXPECT_EQ(reckoned("/a[b[c and d]/e or f]"),
              "/a[boolean(boolean(b[boolean(boolean(c )*boolean( d))]/e )+boolean( f))]");
    EXPECT_EQ(reckoned("/a[f(b or c, d)]"), "/a[f(boolean(boolean(b )+boolean( c)), d)]");
}

TEST(Conditions, AreNoneInNames)
{
    for (const char* xpath : {"/a/and[or]/m:or", "/a[2 * and]", "/a[@and = ../or]", "/and", "/a[b-and-c]", "/a[.//or]",
                              "/a[b div or]", "/a[(b and c", ""}) {
        EXPECT_EQ(with_reckoned_conditions(xpath), xpath);
    }
    EXPECT_EQ(with_reckoned_conditions("/a[and and or]"), "/a[boolean(boolean(and )*boolean( or))]");
    EXPECT_EQ(with_reckoned_conditions("/a[* and .]"), "/a[boolean(boolean(* )*boolean( .))]");
}

TEST(Conditions, ThatAreNestedBeyondReasonStayAsTheyAre)
{
    const std::string deep = "/a[b and " + std::string(5000, '(') + "c" + std::string(5000, ')') + "]";
    EXPECT_EQ(with_reckoned_conditions(deep), deep);
}

TEST(Functions, AreFoundWhereTheyAreCalled)
{
    EXPECT_TRUE(calls("/a[deref(b)]", "deref"));
    EXPECT_TRUE(calls("deref (/a/b)/c", "deref"));
    EXPECT_FALSE(calls("/a['deref(']", "deref"));
    EXPECT_FALSE(calls("/a/deref[(1)]", "deref"));
}

TEST(PlainPaths, AreNoneWhenAnyPartMayBeginAnywhere)
{
    for (const char* xpath : {"//a", "a/b", "count(/a)", "/*", "/a | //b", "/a/b/../../c", "/a/parent::x",
                              "/a/b[/c='1']/d", "/a/b[x = current()/y]", "/a/b[count(/c) > 1]", "", "/"}) {
        EXPECT_EQ(described(xpath), "anything") << xpath;
    }
}

TEST(Prefixes, AreReadFromAStartTag)
{
    EXPECT_THAT(declared_prefixes(R"(<filter xmlns="urn:x" xmlns:a="urn:a" type="xpath" xmlns:b='urn:b')"),
                testing::UnorderedElementsAre(testing::Pair("a", "urn:a"), testing::Pair("b", "urn:b")));
    EXPECT_TRUE(declared_prefixes("<filter xmlns:a=").empty());
}

} // namespace

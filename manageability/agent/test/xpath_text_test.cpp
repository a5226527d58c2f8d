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

TEST(Predicates, AreTakenOutWhole)
{
    EXPECT_EQ(without_predicates("/a[b[c='x]y'] or \"[\"]/d[1] | e"), "/a/d | e");
    EXPECT_EQ(without_predicates("f('[')"), "f('[')");
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

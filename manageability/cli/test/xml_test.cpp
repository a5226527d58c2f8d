// SPDX-License-Identifier: Apache-2.0
//
// The tool's XML reader and printer.
#include "xml.hpp"

#include <gmock/gmock.h>

namespace zpf::cli {
namespace {

using ::testing::HasSubstr;

TEST(XmlReader, ResolvesNamespacesAndNames)
{
    const XmlElement top = parse_xml("<?xml version=\"1.0\"?><!-- c --><p:a xmlns:p='urn:p' xmlns=\"urn:d\"><b/><c "
                                     "xmlns=''/><p:b k=\"v\"/></p:a>");
    const XmlElement& a = top.children.at(0);
    EXPECT_EQ(a.name, "a");
    EXPECT_EQ(a.qualified, "p:a");
    EXPECT_EQ(a.ns, "urn:p");
    EXPECT_EQ(a.children.at(0).ns, "urn:d");
    EXPECT_EQ(a.children.at(1).ns, "");
    EXPECT_EQ(a.children.at(2).ns, "urn:p");
    EXPECT_EQ(a.children.at(2).attributes.at(0), (std::pair<std::string, std::string>{"k", "v"}));
}

TEST(XmlReader, ReadsTextsWithEntitiesAndCdata)
{
    const XmlElement top = parse_xml("<a>\n<b> x &lt;&amp;&gt; &#65;&#x20AC; </b><c><![CDATA[<&]]></c><d> </d></a>");
    EXPECT_EQ(top.text_at("a/b"), " x <&> A\xE2\x82\xAC ");
    EXPECT_EQ(top.text_at("a/c"), "<&");
    EXPECT_EQ(top.text_at("a/d"), "");
    EXPECT_EQ(top.text_at("a"), "");
    EXPECT_EQ(top.text_at("a/nothing/here"), "");
    EXPECT_EQ(top.at("a/x"), nullptr);
}

TEST(XmlReader, KnowsWhereAnElementsContentStands)
{
    const std::string text = "<a><b>x</b></a>";
    const XmlElement top = parse_xml(text);
    const XmlElement& a = top.children.front();
    EXPECT_EQ(text.substr(a.inner_begin, a.inner_end - a.inner_begin), "<b>x</b>");
}

struct Bad {
    const char* text;
    const char* why;
};

TEST(XmlReader, SaysWhatIsWrongAndWhere)
{
    const Bad cases[] = {{"", "no element"},
                         {"<a>\n<b></a>", "line 2: </a> closes nothing"},
                         {"<a>", "<a> is not closed"},
                         {"<a", "no end"},
                         {"<a b>", "no value"},
                         {"<a b=c/>", "in quotes"},
                         {"<a>&nbsp;</a>", "&nbsp"},
                         {"<a>&#0;</a>", "&#0"},
                         {"<a>&#xD800;</a>", "&#xD800"},
                         {"<a>&</a>", "no entity"},
                         {"x<a/>", "outside"},
                         {"<p:a/>", "prefix \"p\""},
                         {"<!DOCTYPE a><a/>", "DOCTYPE"},
                         {"<a><!-- x</a>", "-->"},
                         {"</a>", "closes nothing"}};
    for (const Bad& each : cases) {
        try {
            parse_xml(each.text);
            ADD_FAILURE() << each.text;
        } catch (const BadXml& error) {
            EXPECT_THAT(error.what(), HasSubstr(each.why)) << each.text;
        }
    }
}

TEST(XmlReader, TakesDeepNesting)
{
    constexpr int kLevels = 2000;
    std::string text;
    for (int i = 0; i < kLevels; ++i) {
        text = "<a>" + text + "</a>";
    }
    EXPECT_EQ(parse_xml(text).children.size(), 1U);
}

TEST(XmlPrinter, PrintsWhatReadsTheSame)
{
    const std::string text = "<a xmlns=\"urn:a&amp;b\">\n  <b>1 &lt; 2</b>\n  <c/>\n</a>\n";
    EXPECT_EQ(xml_lines(parse_xml(text).children.front()), text);
}

} // namespace
} // namespace zpf::cli

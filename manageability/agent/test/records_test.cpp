// SPDX-License-Identifier: Apache-2.0
//
// Configuration as records and back.
#include "records.hpp"

#include "agent_testing.hpp"

namespace {

using namespace test;
using namespace zpf::agent;

std::string printed(const lyd_node* data)
{
    char* text = nullptr;
    lyd_print_mem(&text, data, LYD_XML, LYD_PRINT_WITHSIBLINGS | LYD_PRINT_SHRINK);
    const zpf::bridge::TextPtr owned{text};
    return text ? text : "";
}

TEST(Records, BringBackTheDataTheyWereMadeOf)
{
    const std::string text =
        R"(<interface-configurations xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-ifmgr-cfg">)"
        "<interface-configuration><active>a,b=c</active><interface-name>x/'\"/&lt;</interface-name>"
        "<mtus><mtu><owner>o</owner><mtu>1500</mtu></mtu><mtu><owner>p</owner><mtu>64</mtu></mtu></mtus><shutdown/>"
        "<description>d</description></interface-configuration>"
        "<interface-configuration><active>act</active><interface-name>lone</interface-name></interface-configuration>"
        "</interface-configurations>"
        R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"><groups><group><name>g</name>)"
        "<user-name>y</user-name><user-name>z</user-name></group></groups>"
        "<rule-list><name>z</name><group>a</group><group>g</group></rule-list><rule-list><name>y</name></rule-list>"
        "</nacm>";
    lyd_node* raw = nullptr;
    ASSERT_EQ(lyd_parse_data_mem(&yang().ctx(), text.c_str(), LYD_XML, LYD_PARSE_ONLY | LYD_PARSE_STRICT, 0, &raw),
              LY_SUCCESS);
    const zpf::bridge::DataPtr data{raw};
    Records records;
    add_records(data.get(), records);
    EXPECT_EQ(records.size(), 15u);
    TreeBuilder builder(yang());
    for (const auto& [name, value] : records) {
        builder.add(name, value);
    }
    EXPECT_TRUE(builder.problems().empty());
    const zpf::bridge::DataPtr back = builder.take();
    EXPECT_EQ(lyd_compare_siblings(data.get(), back.get(), LYD_COMPARE_FULL_RECURSION), LY_SUCCESS)
        << printed(back.get());
}

TEST(Records, ThatNoModelKnowsAreNamed)
{
    TreeBuilder builder(yang());
    builder.add("/config/no-such:a/b", "1");
    builder.add("/config/Quarn-KMT-VN-ifmgr-cfg:interface-configurations/nothing", "1");
    EXPECT_EQ(builder.problems().size(), 2u);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// Trees to text: replies as their models want them, edits and selections as they are.
#include <gmock/gmock.h>

#include <algorithm>

#include "bridge_testing.hpp"
#include "zpf/records.h"
#include "zpf_map/plugin.hpp"

namespace zpf::test {
namespace {

using bridge::Syntax;
using ::testing::HasSubstr;

/// The text without the printer's layout: line breaks with their indentation, and the blank after a member's name.
std::string squeezed(const std::string& text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n') {
            i = std::min(text.find_first_not_of(' ', i + 1), text.size()) - 1;
        } else if (text[i] != ' ' || i < 2 || text.compare(i - 2, 2, "\":") != 0) {
            out += text[i];
        }
    }
    return out;
}

/// One attenuator's reply, its configured attenuation and its mode as given.
Tree reply(std::string_view attenuation)
{
    const SchemaNode& list = *models().schema().find_path("/optical-attenuator/attenuators/attenuator");
    Tree tree;
    Node& top = tree.add(tree.root(), *list.parent->parent);
    Node& holder = tree.add(top, *list.parent);
    Node& entry = tree.add(holder, list);
    tree.add(entry, *list.find("name"), "0/0-VOA-BST2");
    Node& config = tree.add(entry, *list.find("config"));
    tree.add(config, *list.find("config")->find("name"), "0/0-VOA-BST2");
    tree.add(config, *list.find("config")->find("attenuation"), attenuation);
    Node& state = tree.add(entry, *list.find("state"));
    tree.add(state, *list.find("state")->find("enabled"), "true");
    return tree;
}

const std::string kReplyXml =
    "<optical-attenuator xmlns=\"" ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR
    "\"><attenuators><attenuator><name>0/0-VOA-BST2</name><config><name>0/0-VOA-BST2</name>"
    "<attenuation>12.5</attenuation></config><state><enabled>true</enabled></state></attenuator>"
    "</attenuators></optical-attenuator>";

TEST(PrintedReply, IsXml)
{
    EXPECT_EQ(squeezed(bridge::print_data(models(), reply("12.50").root(), Syntax::xml)), kReplyXml);
}

TEST(PrintedReply, IsJson)
{
    EXPECT_EQ(
        squeezed(bridge::print_data(models(), reply("12.50").root(), Syntax::json)),
        R"({"openconfig-optical-attenuator:optical-attenuator":{"attenuators":{"attenuator":[{"name":"0/0-VOA-BST2",)"
        R"("config":{"name":"0/0-VOA-BST2","attenuation":"12.5"},"state":{"enabled":true}}]}}})");
}

TEST(PrintedReply, IsParsedAgainAsAFilterWithTheSameNodes)
{
    const Tree tree = reply("0.30");
    for (const Syntax syntax : {Syntax::xml, Syntax::json}) {
        EXPECT_EQ(lines(parse_get(bridge::print_data(models(), tree.root(), syntax)).tree.root(), ZPF_OP_MERGE),
                  data_lines(reply("0.3")));
    }
}

TEST(PrintedReply, MayBeEmpty)
{
    EXPECT_EQ(squeezed(bridge::print_data(models(), Tree{}.root(), Syntax::xml)), "");
    EXPECT_EQ(squeezed(bridge::print_data(models(), Tree{}.root(), Syntax::json)), "{}");
}

class UnfitReply : public ::testing::TestWithParam<const char*> {};

TEST_P(UnfitReply, FailsWithThePathOfTheValue)
{
    try {
        bridge::print_data(models(), reply(GetParam()).root(), Syntax::xml);
        FAIL() << "printed";
    } catch (const Failure& failure) {
        EXPECT_THAT(failure.what(),
                    HasSubstr("/optical-attenuator/attenuators/attenuator[name='0/0-VOA-BST2']/config/attenuation"));
    }
}

INSTANTIATE_TEST_SUITE_P(Values, UnfitReply, ::testing::Values("abc", "-0.10", "1.234", ""));

/// A native edit with an operation, a valueless leaf, and an entry that has one of its keys only.
Tree edit()
{
    const SchemaNode& list = *models().schema().find_path("/interface-configurations/interface-configuration");
    const SchemaNode& ots = *list.find("ots");
    Tree tree;
    Node& top = tree.add(tree.root(), *list.parent);
    Node& keyed = tree.add(top, list, std::nullopt, ZPF_OP_DELETE);
    tree.add(keyed, *list.find("active"), "act");
    tree.add(keyed, *list.find("interface-name"), "Ots0/0/0/2");
    Node& unkeyed = tree.add(children(tree.root())[0], list);
    tree.add(unkeyed, *list.find("active"), "act");
    Node& container = tree.add(unkeyed, ots);
    tree.add(container, *ots.find("ots-tx-voa-attenuation"), std::nullopt, ZPF_OP_REMOVE);
    tree.add(container, *ots.find("ots-egress-osri"), "on");
    return tree;
}

TEST(PrintedEdit, IsXmlWithOperationsAndNamespaces)
{
    const std::string text = squeezed(bridge::print_edit(models(), edit().root(), Syntax::xml));
    EXPECT_THAT(text, HasSubstr("<interface-configurations xmlns=\"" ZPF_NS_IFMGR_CFG "\">"));
    EXPECT_THAT(text,
                HasSubstr("nc:operation=\"delete\"><active>act</active><interface-name>Ots0/0/0/2</interface-name>"));
    EXPECT_THAT(
        text, HasSubstr("<interface-configuration><active>act</active><ots xmlns=\"" ZPF_NS_CONTROLLER_OTS_CFG "\">"));
    EXPECT_THAT(text, HasSubstr("nc:operation=\"remove\"/><ots-egress-osri>on</ots-egress-osri></ots>"));
    EXPECT_THAT(text, HasSubstr("xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\""));
}

// Printed text is a request in its own right: what was printed is parsed as an edit of the native model.
TEST(PrintedEdit, IsParsedAgainAsTheSameEdit)
{
    auto expected = lines(edit().root(), ZPF_OP_MERGE);
    for (const Syntax syntax : {Syntax::xml, Syntax::json}) {
        const std::string text = bridge::print_edit(models(), edit().root(), syntax);
        const auto again = parse_edit(text);
        EXPECT_EQ(lines(again.tree.root(), ZPF_OP_NONE), expected) << text;
    }
}

TEST(PrintedEdit, IsJsonWithMetadata)
{
    const std::string text = squeezed(bridge::print_edit(models(), edit().root(), Syntax::json));
    EXPECT_EQ(text, R"({"Quarn-KMT-VN-ifmgr-cfg:interface-configurations":{"interface-configuration":[)"
                    R"({"@":{"ietf-netconf:operation":"delete"},"active":"act","interface-name":"Ots0/0/0/2"},)"
                    R"({"active":"act","Quarn-KMT-VN-controller-ots-cfg:ots":{"ots-tx-voa-attenuation":[null],)"
                    R"("@ots-tx-voa-attenuation":{"ietf-netconf:operation":"remove"},"ots-egress-osri":"on"}}]}})");
}

TEST(PrintedSelection, HasElementsWithoutValueAndEntriesWithoutKeys)
{
    const Schema& schema = models().schema();
    Tree tree;
    Node& top = tree.add(tree.root(), *schema.find_top("ots-oper"));
    Node& ports = tree.add(top, *schema.find_path("/ots-oper/ots-ports"));
    const SchemaNode& list = *schema.find_path("/ots-oper/ots-ports/ots-port");
    Node& entry = tree.add(ports, list);
    tree.add(entry, *list.find("name"));
    tree.add(tree.add(entry, *list.find("ots-info")), *list.find("ots-info")->find("tx-voa-attenuation"));
    EXPECT_EQ(
        squeezed(bridge::print_edit(models(), tree.root(), Syntax::xml)),
        "<ots-oper xmlns=\"" ZPF_NS_CONTROLLER_OTS_OPER
        "\"><ots-ports><ots-port><name/><ots-info><tx-voa-attenuation/></ots-info></ots-port></ots-ports></ots-oper>");
    EXPECT_EQ(squeezed(bridge::print_edit(models(), tree.root(), Syntax::json)),
              R"({"Quarn-KMT-VN-controller-ots-oper:ots-oper":{"ots-ports":{"ots-port":[)"
              R"({"name":[null],"ots-info":{"tx-voa-attenuation":[null]}}]}}})");
}

TEST(PrintedSelection, MayEndAtAnEmptyListEntryOrContainer)
{
    const Schema& schema = models().schema();
    Tree tree;
    Node& top = tree.add(tree.root(), *schema.find_top("ots-oper"));
    Node& ports = tree.add(top, *schema.find_path("/ots-oper/ots-ports"));
    tree.add(ports, *schema.find_path("/ots-oper/ots-ports/ots-port"));
    for (const Syntax syntax : {Syntax::xml, Syntax::json}) {
        const std::string text = bridge::print_edit(models(), tree.root(), syntax);
        EXPECT_EQ(lines(parse_get(text).tree.root(), ZPF_OP_MERGE), data_lines(tree)) << text;
    }
}

TEST(PrintedTexts, EscapeWhatTheSyntaxNeeds)
{
    Tree tree = edit();
    Node& entry = children(children(tree.root())[0])[0];
    tree.set_value(*find_child(entry, "interface-name"), "<a> & \"b\" \\ \xC3\xA9");
    for (const Syntax syntax : {Syntax::xml, Syntax::json}) {
        const std::string text = bridge::print_edit(models(), tree.root(), syntax);
        EXPECT_EQ(lines(parse_edit(text).tree.root(), ZPF_OP_NONE), lines(tree.root(), ZPF_OP_MERGE)) << text;
    }
}

TEST(PrintedEdit, OfNothingIsNothing)
{
    EXPECT_EQ(squeezed(bridge::print_edit(models(), Tree{}.root(), Syntax::xml)), "");
    EXPECT_EQ(squeezed(bridge::print_edit(models(), Tree{}.root(), Syntax::json)), "{}");
}

} // namespace
} // namespace zpf::test

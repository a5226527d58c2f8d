// SPDX-License-Identifier: Apache-2.0
//
// Native data from files, taken strictly, and the judgement of native data after an edit.
#include <gmock/gmock.h>

#include "bridge_testing.hpp"
#include "zpf/records.h"

namespace zpf::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string kEntry = "interface-configurations/interface-configuration";

std::string entry(const std::string& name, const std::string& inside = "")
{
    return "<interface-configuration><active>act</active><interface-name>" + name + "</interface-name>" + inside +
           "</interface-configuration>";
}

const char* const kOper = "<ots-oper xmlns=\"" ZPF_NS_CONTROLLER_OTS_OPER "\"><ots-ports><ots-port><ots-info>"
                          "<tx-voa-attenuation>95</tx-voa-attenuation></ots-info><name>Ots0/0/0/0</name></ots-port>"
                          "</ots-ports></ots-oper>";

TEST(NativeData, MayBeSeveralTopElements)
{
    EXPECT_THAT(data_lines(parse_native(interface_configurations(entry("Ots0/0/0/0")) + kOper)),
                ElementsAre("interface-configurations", kEntry, kEntry + "/active = act",
                            kEntry + "/interface-name = Ots0/0/0/0", "ots-oper", "ots-oper/ots-ports",
                            "ots-oper/ots-ports/ots-port", "ots-oper/ots-ports/ots-port/name = Ots0/0/0/0",
                            "ots-oper/ots-ports/ots-port/ots-info",
                            "ots-oper/ots-ports/ots-port/ots-info/tx-voa-attenuation = 95"));
}

TEST(NativeData, HaveKeysFirstWhateverTheFileSays)
{
    const Tree tree = parse_native(interface_configurations(
        "<interface-configuration><ots:ots><ots:ots-tx-voa-attenuation>125</ots:ots-tx-voa-attenuation></ots:ots>"
        "<description>x</description><interface-name>Ots0/0/0/2</interface-name><active>act</active></"
        "interface-configuration>"));
    const Node& list = children(children(tree.root())[0])[0];
    EXPECT_EQ(tag_of(children(list)[0]), "active");
    EXPECT_EQ(tag_of(children(list)[1]), "interface-name");
    EXPECT_EQ(children(list).size(), 4U);
    EXPECT_EQ(ns_of(*find_child(list, "ots")), ZPF_NS_CONTROLLER_OTS_CFG);
}

class NativeInAWrapping : public ::testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(NativeInAWrapping, IsTheSameData)
{
    const auto [before, after] = GetParam();
    const std::string inside = interface_configurations(entry("Ots0/0/0/0")) + kOper;
    EXPECT_EQ(data_lines(parse_native(before + inside + after)), data_lines(parse_native(inside)));
}

INSTANTIATE_TEST_SUITE_P(
    Xml, NativeInAWrapping,
    ::testing::Values(
        std::pair{"<data>", "</data>"}, std::pair{"<config>", "</config>\n"},
        std::pair{"<?xml version=\"1.0\"?>\n<!-- a > b -->\n<data xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\">",
                  "<!-- </data> --></data>"},
        std::pair{"<n:data xmlns:n=\"urn:ietf:params:xml:ns:netconf:base:1.0\" note=\"&gt; >\">", "</n:data >"}));

TEST(NativeData, KeepNamespacesThatTheWrappingDeclares)
{
    const std::string text =
        "<data xmlns:i=\"" ZPF_NS_IFMGR_CFG "\"><i:interface-configurations><i:interface-configuration>"
        "<i:active>act</i:active><i:interface-name>A</i:interface-name></i:interface-configuration>"
        "</i:interface-configurations></data>";
    EXPECT_THAT(data_lines(parse_native(text)), ElementsAre("interface-configurations", kEntry,
                                                            kEntry + "/active = act", kEntry + "/interface-name = A"));
}

const char* const kJson = R"({"Quarn-KMT-VN-ifmgr-cfg:interface-configurations": {"interface-configuration": [
    {"shutdown": [null], "Quarn-KMT-VN-controller-ots-cfg:ots": {"ots-tx-voa-attenuation": 125}, "interface-name": "A", "active": "act"},
    {"interface-name": "B", "active": "act"}]},
    "Quarn-KMT-VN-controller-ots-oper:ots-oper": {"ots-ports": {"ots-port": [{"name": "A", "ots-info": {"tx-voa-attenuation": -3}}]}}})";

TEST(NativeData, MayBeJson)
{
    const Tree tree = parse_native(kJson);
    const auto found = data_lines(tree);
    EXPECT_THAT(found,
                AllOf(::testing::Contains(kEntry + "/ots/ots-tx-voa-attenuation = 125"),
                      ::testing::Contains(kEntry + "/shutdown = "), ::testing::Contains(kEntry + "/interface-name = B"),
                      ::testing::Contains("ots-oper/ots-ports/ots-port/ots-info/tx-voa-attenuation = -3")));
    EXPECT_EQ(tag_of(children(children(children(tree.root())[0])[0])[0]), "active");
}

TEST(NativeData, MayBeJsonInAWrapping)
{
    EXPECT_EQ(data_lines(parse_native(std::string("{\"ietf-netconf:data\": ") + kJson + "}")),
              data_lines(parse_native(kJson)));
}

TEST(NativeData, MayBeEmpty)
{
    EXPECT_THAT(data_lines(parse_native("<data/>")), ElementsAre());
    EXPECT_THAT(data_lines(parse_native("<data></data>")), ElementsAre());
    EXPECT_THAT(data_lines(parse_native("{}")), ElementsAre());
}

TEST(NativeData, AreTheSameAfterPrintingAndParsing)
{
    const Tree tree = parse_native(kJson);
    for (const bridge::Syntax syntax : {bridge::Syntax::xml, bridge::Syntax::json}) {
        // Top elements are printed in the order of their modules.
        EXPECT_THAT(data_lines(parse_native(bridge::print_data(models(), tree.root(), syntax))),
                    ::testing::UnorderedElementsAreArray(data_lines(tree)));
    }
}

struct Refused {
    const char* name;
    std::string text;
    std::size_t line; ///< 0: the reason is not in one place
    std::string word;
};

void PrintTo(const Refused& refused, std::ostream* out)
{
    *out << refused.name << ": " << refused.text;
}

class BadNativeData : public ::testing::TestWithParam<Refused> {};

TEST_P(BadNativeData, AreRefusedWithFileLineAndReason)
{
    const std::string message = bad_input([] { parse_native(GetParam().text); });
    const std::string line = GetParam().line > 0 ? std::to_string(GetParam().line) + ":" : "";
    EXPECT_THAT(message, AllOf(StartsWith("native.xml:" + line), HasSubstr(GetParam().word)));
    EXPECT_EQ(message.find('\n'), std::string::npos) << message;
}

const std::string kOts = "<ots:ots>\n<ots:ots-tx-voa-attenuation>";
const std::string kOtsEnd = "</ots:ots-tx-voa-attenuation></ots:ots>";

INSTANTIATE_TEST_SUITE_P(
    Xml, BadNativeData,
    ::testing::Values(
        Refused{"EntryTwice", interface_configurations(entry("A") + "\n" + entry("B") + "\n" + entry("A")), 3,
                "interface-name='A'"},
        Refused{"NestedEntryTwice",
                interface_configurations(
                    entry("A", "<mtus><mtu><owner>o</owner></mtu>\n<mtu><owner>o</owner></mtu></mtus>")),
                2, "owner='o'"},
        Refused{"LeafTwice",
                interface_configurations(entry("A", "<description>x</description>\n<description>y</description>")), 2,
                "description"},
        Refused{"TopTwice", interface_configurations("") + "\n" + interface_configurations(""), 2,
                "interface-configurations"},
        Refused{"TopTwiceInAWrapping",
                "<data>" + interface_configurations("") + "\n" + interface_configurations("") + "</data>", 2,
                "interface-configurations"},
        Refused{"AboveTheRange", interface_configurations(entry("A", kOts + "201" + kOtsEnd)), 2, "201"},
        Refused{"BelowTheRange", interface_configurations(entry("A", kOts + "-1" + kOtsEnd)), 2, "-1"},
        Refused{"NotWhole", interface_configurations(entry("A", kOts + "12.5" + kOtsEnd)), 2, "12.5"},
        Refused{"EmptyNumber", interface_configurations(entry("A", kOts + kOtsEnd)), 2, "ots-tx-voa-attenuation"},
        Refused{"KeyMissing",
                interface_configurations("<interface-configuration>\n<active>act</active></interface-configuration>"),
                1, "interface-name"},
        Refused{"EmptyKey", interface_configurations("\n" + entry("")), 2, "interface-name"},
        Refused{"UnknownElement", interface_configurations("\n" + entry("A", "<colour/>")), 2, "colour"},
        Refused{"UnknownModule", "<data>\n<x xmlns=\"urn:x\"/></data>", 2, "urn:x"},
        Refused{"AugmentInTheWrongNamespace", interface_configurations("\n" + entry("A", "<ots/>")), 2, "ots"},
        Refused{"TextInAContainer", interface_configurations("\n" + entry("A", "<mtus>x</mtus>")), 2, "mtus"},
        Refused{"NoSuchWord",
                interface_configurations("\n" + entry("A", "<secondary-admin-state>odd</secondary-admin-state>")), 2,
                "odd"}),
    [](const auto& tested) { return tested.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Json, BadNativeData,
    ::testing::Values(
        Refused{"EntryTwice",
                "{\"Quarn-KMT-VN-controller-ots-oper:ots-oper\": {\"ots-ports\": {\"ots-port\": [{\"name\": "
                "\"A\"},\n{\"name\": \"A\"}]}}}",
                2, "name='A'"},
        Refused{"WrongType",
                "{\"Quarn-KMT-VN-controller-ots-oper:ots-oper\": {\"ots-ports\": {\"ots-port\": [{\"name\": \"A\",\n"
                "\"ots-info\": {\"tx-voa-attenuation\": \"x\"}}]}}}",
                2, "x"},
        Refused{"UnknownModule", "{\n\"a:b\": {}}", 2, "b"}),
    [](const auto& tested) { return tested.param.name; });

/// Native data of one controller with the leaf below `ots` set as given.
Tree controller(std::optional<std::string_view> attenuation)
{
    const Schema& schema = models().schema();
    const SchemaNode& list = *schema.find_path("/" + kEntry);
    Tree tree;
    Node& top = tree.add(tree.root(), *list.parent);
    Node& made = tree.add(top, list);
    tree.add(made, *list.find("active"), "act");
    tree.add(made, *list.find("interface-name"), "Ots0/0/0/2");
    Node& ots = tree.add(made, *list.find("ots"));
    tree.add(ots, *list.find("ots")->find("ots-tx-voa-attenuation"), attenuation);
    return tree;
}

TEST(ValidateNative, PassesWhatTheModelsTake)
{
    EXPECT_FALSE(bridge::validate_native(models(), controller("0").root()).has_value());
    EXPECT_FALSE(bridge::validate_native(models(), controller("200").root()).has_value());
    EXPECT_FALSE(bridge::validate_native(models(), parse_native(kJson).root()).has_value());
    EXPECT_FALSE(bridge::validate_native(models(), Tree{}.root()).has_value());
}

class UnfitAttenuation : public ::testing::TestWithParam<std::optional<std::string_view>> {};

TEST_P(UnfitAttenuation, IsRefusedByPath)
{
    const auto refusal = bridge::validate_native(models(), controller(GetParam()).root());
    ASSERT_TRUE(refusal.has_value());
    EXPECT_EQ(refusal->tag, "invalid-value");
    EXPECT_EQ(refusal->path,
              "/interface-configurations/interface-configuration[active='act'][interface-name='Ots0/0/0/2']"
              "/ots/ots-tx-voa-attenuation");
    EXPECT_EQ(refusal->bad_element, "ots-tx-voa-attenuation");
    EXPECT_NE(refusal->message, "");
}

TEST_P(UnfitAttenuation, IsRefusedTheSameWhenOnlyValuesAreChecked)
{
    const Tree tree = controller(GetParam());
    const auto whole = bridge::validate_native(models(), tree.root());
    const auto refusal = bridge::check_values(models(), tree.root());
    ASSERT_TRUE(whole.has_value() && refusal.has_value());
    EXPECT_EQ(refusal->tag, whole->tag);
    EXPECT_EQ(refusal->path, whole->path);
    EXPECT_EQ(refusal->bad_element, whole->bad_element);
    EXPECT_EQ(refusal->message, whole->message);
}

TEST(CheckValues, PassesWhatTheModelsTake)
{
    EXPECT_FALSE(bridge::check_values(models(), controller("0").root()).has_value());
    EXPECT_FALSE(bridge::check_values(models(), controller("200").root()).has_value());
    EXPECT_FALSE(bridge::check_values(models(), Tree{}.root()).has_value());
}

INSTANTIATE_TEST_SUITE_P(Values, UnfitAttenuation,
                         ::testing::Values(std::nullopt, std::string_view{""}, std::string_view{"201"},
                                           std::string_view{"-1"}, std::string_view{"12.5"}, std::string_view{"x"}));

TEST(ValidateNative, RefusesAnEntryThatStandsTwice)
{
    Tree tree = controller("1");
    Node& top = children(tree.root())[0];
    const Tree twin = controller("1");
    tree.copy(top, children(children(twin.root())[0])[0]);
    const auto refusal = bridge::validate_native(models(), tree.root());
    ASSERT_TRUE(refusal.has_value());
    EXPECT_THAT(refusal->path, HasSubstr("interface-configuration"));
    EXPECT_THAT(refusal->message + refusal->path, HasSubstr("Ots0/0/0/2"));
}

TEST(ValidateNative, RefusesAnEntryWithoutAKey)
{
    Tree tree = controller("1");
    Tree::remove(children(children(tree.root())[0])[0], 1);
    const auto refusal = bridge::validate_native(models(), tree.root());
    ASSERT_TRUE(refusal.has_value());
    EXPECT_THAT(refusal->path, HasSubstr("interface-configuration"));
}

TEST(ValidateNative, RefusesElementsThatNoModelHas)
{
    Tree tree;
    tree.add(tree.root(), "nothing", "urn:x");
    EXPECT_EQ(bridge::validate_native(models(), tree.root()).value().path, "/nothing");
    Tree other = controller("1");
    other.add(children(other.root())[0], "colour", ZPF_NS_IFMGR_CFG, "red");
    EXPECT_EQ(bridge::validate_native(models(), other.root()).value().path, "/interface-configurations/colour");
}

TEST(ValidateNative, TakesNamesWithQuotes)
{
    for (const std::string_view name : {"it's", "say \"so\"", "it's \"both\""}) {
        Tree tree = controller("1");
        tree.set_value(*find_child(children(children(tree.root())[0])[0], "interface-name"), name);
        EXPECT_FALSE(bridge::validate_native(models(), tree.root()).has_value()) << name;
    }
}

} // namespace
} // namespace zpf::test

// SPDX-License-Identifier: Apache-2.0
//
// Reads: subtree filters, in which an element without text selects and one with text matches.
#include <gmock/gmock.h>

#include "bridge_testing.hpp"
#include "zpf/records.h"

namespace zpf::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const std::string kEntry = "optical-attenuator/attenuators/attenuator";

std::string entry(const std::string& inside)
{
    return optical_attenuator("<attenuators><attenuator>" + inside + "</attenuator></attenuators>");
}

/// In a read every node carries the operation 0.
std::vector<std::string> filter_lines(const bridge::Request& request)
{
    return lines(request.tree.root(), ZPF_OP_MERGE);
}

struct Wrapping {
    const char* name;
    std::string before;
    std::string after;
    uint32_t kind;
};

void PrintTo(const Wrapping& wrapping, std::ostream* out)
{
    *out << wrapping.before << "..." << wrapping.after;
}

class ReadInAWrapping : public ::testing::TestWithParam<Wrapping> {};

TEST_P(ReadInAWrapping, SaysWhatItIs)
{
    const auto request = bridge::parse_request(models(), GetParam().before + entry("<name>A</name>") + GetParam().after,
                                               "request.xml", std::nullopt);
    EXPECT_EQ(request.kind, GetParam().kind);
    EXPECT_THAT(filter_lines(request),
                ElementsAre("optical-attenuator", "optical-attenuator/attenuators", kEntry, kEntry + "/name = A"));
}

const std::string kBase = " xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"";

INSTANTIATE_TEST_SUITE_P(
    Xml, ReadInAWrapping,
    ::testing::Values(
        Wrapping{"Get", "<get><filter>", "</filter></get>", ZPF_REQUEST_GET},
        Wrapping{"GetOfTheProtocol", "<get" + kBase + "><filter type=\"subtree\">", "</filter></get>", ZPF_REQUEST_GET},
        Wrapping{"GetConfig", "<get-config><source><running/></source><filter>", "</filter></get-config>",
                 ZPF_REQUEST_GET_CONFIG},
        Wrapping{"Rpc", "<rpc message-id=\"1\"" + kBase + "><get><filter type='subtree'>", "</filter></get></rpc>",
                 ZPF_REQUEST_GET},
        Wrapping{"PrefixedType",
                 "<n:get xmlns:n=\"urn:ietf:params:xml:ns:netconf:base:1.0\"><n:filter n:type=\"subtree\">",
                 "</n:filter></n:get>", ZPF_REQUEST_GET}),
    [](const auto& tested) { return tested.param.name; });

TEST(ReadRequest, WithoutAFilterHasNoNodes)
{
    for (const char* text :
         {"<get/>", "<get><filter/></get>", "<get-config><source><running/></source></get-config>"}) {
        const auto request = bridge::parse_request(models(), text, "request.xml", std::nullopt);
        EXPECT_THAT(filter_lines(request), IsEmpty()) << text;
        EXPECT_NE(request.kind, std::nullopt) << text;
    }
}

TEST(ReadRequest, MayBeABareElementOrAFilterWhenTheCallerSaysItIsARead)
{
    for (const std::string& text : {optical_attenuator(""), "<filter>" + optical_attenuator("") + "</filter>"}) {
        const auto request = parse_get(text);
        EXPECT_THAT(filter_lines(request), ElementsAre("optical-attenuator"));
        EXPECT_EQ(request.kind, uint32_t{ZPF_REQUEST_GET});
    }
}

TEST(ReadRequest, TellsContentMatchesFromSelections)
{
    EXPECT_THAT(filter_lines(parse_get(entry(" <name> 0/0-VOA-BST2 </name><config><attenuation/></config><state/> "))),
                ElementsAre("optical-attenuator", "optical-attenuator/attenuators", kEntry,
                            kEntry + "/name = 0/0-VOA-BST2", kEntry + "/config", kEntry + "/config/attenuation",
                            kEntry + "/state"));
}

TEST(ReadRequest, TakesEntriesWithoutKeysAndSeveralOfThem)
{
    const auto request =
        parse_get(optical_attenuator("<attenuators><attenuator/><attenuator><config/></attenuator></attenuators>"));
    EXPECT_THAT(filter_lines(request), ElementsAre("optical-attenuator", "optical-attenuator/attenuators", kEntry,
                                                   kEntry, kEntry + "/config"));
}

TEST(ReadRequest, ValidatesNoValue)
{
    EXPECT_THAT(filter_lines(parse_get(entry("<config><attenuation>abc</attenuation></config>"))),
                ::testing::Contains(kEntry + "/config/attenuation = abc"));
}

TEST(ReadRequest, KeepsElementsThatNoModelHas)
{
    const auto request = parse_get(entry("<colour><deep>red</deep></colour><name xmlns=\"urn:x\"/>"));
    EXPECT_THAT(filter_lines(request),
                ElementsAre("optical-attenuator", "optical-attenuator/attenuators", kEntry, kEntry + "/colour",
                            kEntry + "/colour/deep = red", kEntry + "/name"));
    const Node* const list = find_child(*find_child(children(request.tree.root())[0], "attenuators"), "attenuator");
    EXPECT_EQ(ns_of(children(*list)[0]), ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR);
    EXPECT_EQ(ns_of(children(*list)[1]), "urn:x");
}

TEST(ReadRequest, IgnoresOperationAttributes)
{
    EXPECT_THAT(filter_lines(parse_get(optical_attenuator("<attenuators nc:operation=\"delete\"/>", kNc))),
                ElementsAre("optical-attenuator", "optical-attenuator/attenuators"));
}

TEST(ReadRequest, MayBeJson)
{
    const char* const text = R"({"ietf-netconf:get": {"filter": {"openconfig-optical-attenuator:optical-attenuator":
        {"attenuators": {"attenuator": [{"name": "A", "config": {}, "state": {"attenuation": [null]}}]}}}}})";
    const auto request = bridge::parse_request(models(), text, "request.json", std::nullopt);
    EXPECT_EQ(request.kind, uint32_t{ZPF_REQUEST_GET});
    EXPECT_THAT(filter_lines(request),
                ElementsAre("optical-attenuator", "optical-attenuator/attenuators", kEntry, kEntry + "/name = A",
                            kEntry + "/config", kEntry + "/state", kEntry + "/state/attenuation"));
}

struct Refused {
    const char* name;
    std::string text;
    std::string start;
    std::string word;
};

void PrintTo(const Refused& refused, std::ostream* out)
{
    *out << refused.name << ": " << refused.text;
}

class BadRead : public ::testing::TestWithParam<Refused> {};

TEST_P(BadRead, IsRefusedWithFileLineAndReason)
{
    EXPECT_THAT(bad_input([] { parse_get(GetParam().text); }),
                AllOf(StartsWith("request.xml:" + GetParam().start), HasSubstr(GetParam().word)));
}

INSTANTIATE_TEST_SUITE_P(
    Xml, BadRead,
    ::testing::Values(Refused{"XPath", "<get>\n<filter type=\"xpath\" select=\"/x\"/></get>",
                              "2: /get/filter: ", "subtree"},
                      Refused{"UnknownTop", "<get><filter>\n\n<interfaces xmlns=\"urn:x\"/></filter></get>",
                              "3: /get/filter/interfaces: ", "module"},
                      Refused{"AnEdit", "<edit-config/>", "1: /edit-config: ", "two things"},
                      Refused{"OtherKindOfRead", "<get-config/>", "1: /get-config: ", "two things"}),
    [](const auto& tested) { return tested.param.name; });

} // namespace
} // namespace zpf::test

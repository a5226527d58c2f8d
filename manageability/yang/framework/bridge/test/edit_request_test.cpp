// SPDX-License-Identifier: Apache-2.0
//
// Edits as clients write them, in either syntax, and those that no mapping should ever see.
#include <gmock/gmock.h>

#include "bridge_testing.hpp"
#include "zpf/records.h"

namespace zpf::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const char* const kEdit = "<attenuators><attenuator><name>0/0-VOA-BST2</name>"
                          "<config><attenuation>12.5</attenuation></config></attenuator></attenuators>";

const auto kEditLines = ElementsAre(
    "optical-attenuator", "optical-attenuator/attenuators", "optical-attenuator/attenuators/attenuator",
    "optical-attenuator/attenuators/attenuator/name = 0/0-VOA-BST2", "optical-attenuator/attenuators/attenuator/config",
    "optical-attenuator/attenuators/attenuator/config/attenuation = 12.5");

std::string attenuator(const std::string& inside)
{
    return optical_attenuator("<attenuators><attenuator>" + inside + "</attenuator></attenuators>", kNc);
}

struct Wrapping {
    const char* name;
    std::string before;
    std::string after;
};

void PrintTo(const Wrapping& wrapping, std::ostream* out)
{
    *out << wrapping.before << "..." << wrapping.after;
}

class EditInAWrapping : public ::testing::TestWithParam<Wrapping> {};

TEST_P(EditInAWrapping, IsTheSameEdit)
{
    const auto request = parse_edit(GetParam().before + optical_attenuator(kEdit) + GetParam().after);
    EXPECT_THAT(request_lines(request), kEditLines);
    EXPECT_EQ(request.kind, uint32_t{ZPF_REQUEST_EDIT_CONFIG});
    EXPECT_EQ(request.default_operation, std::nullopt);
}

const std::string kBase = " xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"";

INSTANTIATE_TEST_SUITE_P(
    Xml, EditInAWrapping,
    ::testing::Values(
        Wrapping{"None", "", ""}, Wrapping{"Declaration", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", "\n"},
        Wrapping{"Comments", "<!-- before: <a> --><!-- more -->", "<!-- after -->"},
        Wrapping{"BareConfig", "<config>", "</config>"}, Wrapping{"BareData", "<data>", "</data>"},
        Wrapping{"Config", "<config" + kBase + ">", "</config>"},
        Wrapping{"PrefixedConfig", "<x:config xmlns:x=\"urn:ietf:params:xml:ns:netconf:base:1.0\">", "</x:config>"},
        Wrapping{"EditConfig",
                 "<edit-config" + kBase +
                     "><target><running/></target><test-option>set</test-option>"
                     "<error-option>rollback-on-error</error-option><config>",
                 "</config></edit-config>"},
        Wrapping{"Rpc", "<rpc message-id=\"7\"" + kBase + "><edit-config><target><candidate/></target><config>",
                 "</config></edit-config></rpc>"}),
    [](const auto& tested) { return tested.param.name; });

TEST(EditRequest, MayBeJson)
{
    const char* const text = R"({"openconfig-optical-attenuator:optical-attenuator": {"attenuators": {"attenuator": [
        {"name": "0/0-VOA-BST2", "config": {"attenuation": "12.5"}}]}}})";
    EXPECT_THAT(request_lines(parse_edit(text)), kEditLines);
}

TEST(EditRequest, MayBeJsonInObjectsOfTheProtocol)
{
    const char* const text = R"({"ietf-netconf:edit-config": {"default-operation": "none", "config": {
        "openconfig-optical-attenuator:optical-attenuator": {"attenuators": {"attenuator": [
        {"name": "0/0-VOA-BST2", "config": {"attenuation": "12.5"}}]}}}}})";
    const auto request = parse_edit(text);
    EXPECT_THAT(request_lines(request), kEditLines);
    EXPECT_EQ(request.default_operation, int32_t{ZPF_OP_NONE});
}

TEST(EditRequest, KeepsNamespacesThatTheWrappingDeclares)
{
    const std::string text = "<config xmlns:o=\"" ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR
                             "\"><o:optical-attenuator><o:attenuators/></o:optical-attenuator></config>";
    const auto request = parse_edit(text);
    EXPECT_THAT(request_lines(request), ElementsAre("optical-attenuator", "optical-attenuator/attenuators"));
    EXPECT_EQ(ns_of(children(request.tree.root())[0]), ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR);
}

TEST(EditRequest, HasItsKindFromTheCallerOrFromTheWrapping)
{
    const auto kind_of = [](const std::string& text) {
        return bridge::parse_request(models(), text, "request.xml", std::nullopt).kind;
    };
    EXPECT_EQ(kind_of("<edit-config><config>" + optical_attenuator(kEdit) + "</config></edit-config>"),
              uint32_t{ZPF_REQUEST_EDIT_CONFIG});
    EXPECT_EQ(kind_of(optical_attenuator(kEdit)), std::nullopt);
    EXPECT_EQ(kind_of("<get><filter>" + optical_attenuator("") + "</filter></get>"), uint32_t{ZPF_REQUEST_GET});
}

TEST(EditRequest, CannotBeTwoThingsAtOnce)
{
    EXPECT_THAT(bad_input([] { parse_edit("<get><filter>" + optical_attenuator("") + "</filter></get>"); }),
                StartsWith("request.xml:1: /get: "));
    EXPECT_THAT(bad_input([] { parse_edit("<filter>" + optical_attenuator("") + "</filter>"); }),
                StartsWith("request.xml:1: /filter: "));
}

struct Operation {
    const char* word;
    int32_t op;
};

void PrintTo(const Operation& operation, std::ostream* out)
{
    *out << operation.word;
}

class DefaultOperation : public ::testing::TestWithParam<Operation> {};

TEST_P(DefaultOperation, IsTakenFromTheRequest)
{
    const std::string before = "<edit-config><default-operation> ";
    const std::string after = " </default-operation><config>" + optical_attenuator(kEdit) + "</config></edit-config>";
    EXPECT_EQ(parse_edit(before + GetParam().word + after).default_operation, GetParam().op);
}

INSTANTIATE_TEST_SUITE_P(Words, DefaultOperation,
                         ::testing::Values(Operation{"merge", ZPF_OP_MERGE}, Operation{"replace", ZPF_OP_REPLACE},
                                           Operation{"none", ZPF_OP_NONE}),
                         [](const auto& tested) { return tested.param.word; });

TEST(EditRequest, RefusesADefaultOperationThatIsNone)
{
    EXPECT_THAT(
        bad_input([] { parse_edit("<edit-config>\n<default-operation>delete</default-operation></edit-config>"); }),
        AllOf(StartsWith("request.xml:2: /edit-config/default-operation: "), HasSubstr("delete")));
}

class OperationAttribute : public ::testing::TestWithParam<Operation> {};

TEST_P(OperationAttribute, MarksItsNodeInXml)
{
    const std::string word = GetParam().word;
    const auto request = parse_edit(attenuator("<name>A</name><config nc:operation=\"" + word + "\"/>"));
    EXPECT_THAT(request_lines(request),
                ::testing::Contains("optical-attenuator/attenuators/attenuator/config [" + word + "]"));
}

TEST_P(OperationAttribute, MarksItsNodeInJson)
{
    const std::string word = GetParam().word;
    const std::string text = R"({"openconfig-optical-attenuator:optical-attenuator": {"attenuators": {"attenuator": [
        {"@": {"ietf-netconf:operation": ")" +
                             word + R"("}, "name": "A", "config": {"attenuation": "1",
         "@attenuation": {"ietf-netconf:operation": ")" +
                             word + R"("}}}]}}})";
    EXPECT_THAT(request_lines(parse_edit(text)),
                ElementsAre("optical-attenuator", "optical-attenuator/attenuators",
                            "optical-attenuator/attenuators/attenuator [" + word + "]",
                            "optical-attenuator/attenuators/attenuator/name = A",
                            "optical-attenuator/attenuators/attenuator/config",
                            "optical-attenuator/attenuators/attenuator/config/attenuation = 1.0 [" + word + "]"));
}

INSTANTIATE_TEST_SUITE_P(Words, OperationAttribute,
                         ::testing::Values(Operation{"merge", ZPF_OP_MERGE}, Operation{"replace", ZPF_OP_REPLACE},
                                           Operation{"create", ZPF_OP_CREATE}, Operation{"delete", ZPF_OP_DELETE},
                                           Operation{"remove", ZPF_OP_REMOVE}),
                         [](const auto& tested) { return tested.param.word; });

TEST(EditRequest, TakesADefaultNamespaceOfTheProtocolForTheAttribute)
{
    const std::string text = "<nc:config" + std::string(kNc) + ">" +
                             optical_attenuator("<attenuators nc:operation=\"remove\"/>") + "</nc:config>";
    EXPECT_THAT(request_lines(parse_edit(text)),
                ElementsAre("optical-attenuator", "optical-attenuator/attenuators [remove]"));
}

TEST(EditRequest, KnowsTheAttributeOfAnEmptyLeafInJson)
{
    const char* const text = R"({"openconfig-optical-attenuator:optical-attenuator": {"attenuators": {"attenuator": [
        {"name": "A", "config": {"attenuation": [null], "@attenuation": {"ietf-netconf:operation": "delete"}}}]}}})";
    EXPECT_THAT(request_lines(parse_edit(text)),
                ::testing::Contains("optical-attenuator/attenuators/attenuator/config/attenuation [delete]"));
}

TEST(EditRequest, TrimsTextsAndTakesEmptyElementsForValueless)
{
    const auto request = parse_edit(
        attenuator("\n  <name>\n 0/0-VOA-BST0\t</name>\n <config><attenuation/><enabled> </enabled></config>"));
    EXPECT_THAT(request_lines(request), ElementsAre("optical-attenuator", "optical-attenuator/attenuators",
                                                    "optical-attenuator/attenuators/attenuator",
                                                    "optical-attenuator/attenuators/attenuator/name = 0/0-VOA-BST0",
                                                    "optical-attenuator/attenuators/attenuator/config",
                                                    "optical-attenuator/attenuators/attenuator/config/attenuation",
                                                    "optical-attenuator/attenuators/attenuator/config/enabled"));
}

TEST(EditRequest, LeavesMissingKeysToTheMapping)
{
    EXPECT_THAT(request_lines(parse_edit(attenuator("<config><attenuation>1</attenuation></config>"))),
                ::testing::Contains("optical-attenuator/attenuators/attenuator/config/attenuation = 1.0"));
    EXPECT_THAT(request_lines(parse_edit(attenuator("<name/>"))),
                ::testing::Contains("optical-attenuator/attenuators/attenuator/name"));
    EXPECT_THAT(request_lines(parse_edit(attenuator(""))),
                ElementsAre("optical-attenuator", "optical-attenuator/attenuators",
                            "optical-attenuator/attenuators/attenuator"));
}

TEST(EditRequest, LeavesNamesAndTheUpperLimitToTheMapping)
{
    const auto request =
        parse_edit(attenuator("<name>no such &amp; name</name><config><attenuation>20.01</attenuation></config>"));
    EXPECT_THAT(request_lines(request),
                AllOf(::testing::Contains("optical-attenuator/attenuators/attenuator/name = no such & name"),
                      ::testing::Contains("optical-attenuator/attenuators/attenuator/config/attenuation = 20.01")));
}

TEST(EditRequest, CanCarryAMode)
{
    EXPECT_THAT(
        request_lines(parse_edit(attenuator("<config><attenuation-mode>CONSTANT_POWER</attenuation-mode></config>"))),
        ::testing::Contains("optical-attenuator/attenuators/attenuator/config/attenuation-mode = CONSTANT_POWER"));
}

struct Refused {
    const char* name;
    std::string text;
    std::string start; ///< what the message begins with: file, line, path
    std::string word;  ///< what it must name
};

void PrintTo(const Refused& refused, std::ostream* out)
{
    *out << refused.name << ": " << refused.text;
}

class BadEdit : public ::testing::TestWithParam<Refused> {};

TEST_P(BadEdit, IsRefusedWithFileLineAndReason)
{
    const std::string message = bad_input([] { parse_edit(GetParam().text); });
    EXPECT_THAT(message, StartsWith("request.xml:" + GetParam().start));
    EXPECT_THAT(message, HasSubstr(GetParam().word));
    EXPECT_EQ(message.find('\n'), std::string::npos) << message;
}

const std::string kEntryPath = "/optical-attenuator/attenuators/attenuator";

INSTANTIATE_TEST_SUITE_P(
    Xml, BadEdit,
    ::testing::Values(
        Refused{"UnknownNamespace", "\n<optical-attenuator xmlns=\"urn:other\"/>",
                "2: /optical-attenuator: ", "namespace"},
        Refused{"NoNamespace", "<optical-attenuator><attenuators/></optical-attenuator>",
                "1: /optical-attenuator: ", "namespace"},
        Refused{"UnknownTop", "<x xmlns=\"urn:x\"/>", "1: /x: ", "module"},
        Refused{"UnknownElement", attenuator("\n\n<colour>red</colour>"),
                "3: " + kEntryPath + "/colour: ", "no such element"},
        Refused{"ForeignElement", attenuator("<name xmlns=\"urn:x\">A</name>"),
                "1: " + kEntryPath + "/name: ", "no such element"},
        Refused{"NotANumber", attenuator("<config>\n<attenuation>abc</attenuation></config>"),
                "2: " + kEntryPath + "/config/attenuation: ", "abc"},
        Refused{"BelowZero", attenuator("<config><attenuation>-0.01</attenuation></config>"),
                "1: " + kEntryPath + "/config/attenuation: ", "-0.01"},
        Refused{"TooManyDigits", attenuator("<config><attenuation>1.234</attenuation></config>"),
                "1: " + kEntryPath + "/config/attenuation: ", "1.234"},
        Refused{"NotABoolean", attenuator("<config><enabled>maybe</enabled></config>"),
                "1: " + kEntryPath + "/config/enabled: ", "maybe"},
        Refused{"NotAMode", attenuator("<config><attenuation-mode>LOUD</attenuation-mode></config>"),
                "1: " + kEntryPath + "/config/attenuation-mode: ", "LOUD"},
        Refused{"WrongOperation", attenuator("<name>A</name>\n<config nc:operation=\"destroy\"/>"),
                "2: " + kEntryPath + "/config: ", "destroy"},
        Refused{"NoneIsNoAttribute", attenuator("<config nc:operation=\"none\"/>"),
                "1: " + kEntryPath + "/config: ", "none"},
        Refused{"TextInAContainer", attenuator("<config>12.5</config>"), "1: " + kEntryPath + "/config: ", "12.5"},
        Refused{"ElementsInALeaf", attenuator("<name><x/></name>"), "1: " + kEntryPath + "/name: ", "leaf"},
        Refused{"LeafTwice", attenuator("<config><attenuation>1</attenuation>\n<attenuation>2</attenuation></config>"),
                "2: " + kEntryPath + "/config/attenuation: ", "twice"},
        Refused{"ContainerTwice", attenuator("<config/><config/>"), "1: " + kEntryPath + "/config: ", "twice"},
        Refused{"NothingInTheConfig", "<config/>", " ", "no configuration"}),
    [](const auto& tested) { return tested.param.name; });

std::string json_entry(const std::string& inside)
{
    return "{\"openconfig-optical-attenuator:optical-attenuator\": {\"attenuators\": {\"attenuator\": [{\n" + inside +
           "\n}]}}}";
}

INSTANTIATE_TEST_SUITE_P(
    Json, BadEdit,
    ::testing::Values(
        Refused{"NothingInIt", "{}", " ", "no configuration"},
        Refused{"OperationOfNothing",
                json_entry("\"name\": \"A\", \"@colour\": {\"ietf-netconf:operation\": \"delete\"}"),
                " " + kEntryPath + "/colour: ", "not there"},
        Refused{"ListAsAnObject",
                "{\"openconfig-optical-attenuator:optical-attenuator\": {\"attenuators\": {\"attenuator\": {}}}}",
                "1: " + kEntryPath + ": ", "array"},
        Refused{"ContainerAsAnArray", json_entry("\"config\": [{}]"), "2: " + kEntryPath + "/config: ", "array"},
        Refused{"UnknownModule", "{\n\"no-such-module:optical-attenuator\": {}}", "2: /optical-attenuator: ", "module"},
        Refused{"NoModule", "{\"optical-attenuator\": {}}", "1: /optical-attenuator: ", "module"},
        Refused{"UnknownElement", json_entry("\"name\": \"A\",\n\"colour\": \"red\""),
                "3: " + kEntryPath + "/colour: ", "no such element"},
        Refused{"NotANumber", json_entry("\"name\": \"A\",\n\n\"config\": {\"attenuation\": \"abc\"}"),
                "4: " + kEntryPath + "/config/attenuation: ", "abc"},
        Refused{"WrongOperation",
                json_entry("\"name\": \"A\",\n\"config\": {\"@\": {\"ietf-netconf:operation\": \"destroy\"}}"),
                "3: " + kEntryPath + "/config: ", "destroy"},
        Refused{"LeafTwice", json_entry("\"config\": {\"attenuation\": \"1\",\n\"attenuation\": \"2\"}"),
                "3: " + kEntryPath + "/config/attenuation: ", "twice"}),
    [](const auto& tested) { return tested.param.name; });

} // namespace
} // namespace zpf::test

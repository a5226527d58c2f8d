// SPDX-License-Identifier: Apache-2.0
//
// Files with edits, with and without what a client puts around them.
#include "edit_file.hpp"

#include <gmock/gmock.h>

#include "xml.hpp"

namespace zpf::cli {
namespace {

using ::testing::HasSubstr;

constexpr const char* kBase = "urn:ietf:params:xml:ns:netconf:base:1.0";

/// The top element of the model, as the agent would see it.
XmlElement content_of(const EditFile& file)
{
    return parse_xml(config_element(file, kBase)).children.front().children.front();
}

TEST(EditFile, TakesTheModelsTopElement)
{
    const EditFile file = read_edit("<?xml version=\"1.0\"?>\n<!-- one -->\n<top xmlns=\"urn:t\"><x>1</x></top>\n");
    EXPECT_EQ(content_of(file).ns, "urn:t");
    EXPECT_EQ(content_of(file).text_at("x"), "1");
    EXPECT_EQ(file.target, "");
    EXPECT_EQ(file.default_operation, "");
}

TEST(EditFile, TakesParametersOfAnEdit)
{
    const EditFile file = read_edit("<rpc message-id='1' xmlns='urn:ietf:params:xml:ns:netconf:base:1.0'><edit-config>"
                                    "<target><candidate/></target><default-operation>none</default-operation>"
                                    "<test-option>set</test-option><error-option>rollback-on-error</error-option>"
                                    "<config><top xmlns='urn:t'/></config></edit-config></rpc>");
    EXPECT_EQ(content_of(file).name, "top");
    EXPECT_EQ(file.target, "candidate");
    EXPECT_EQ(file.default_operation, "none");
    EXPECT_EQ(file.test_option, "set");
    EXPECT_EQ(file.error_option, "rollback-on-error");
}

TEST(EditFile, KeepsNamespacesThatWereDeclaredFurtherOut)
{
    const EditFile file = read_edit("<nc:config xmlns:nc='urn:ietf:params:xml:ns:netconf:base:1.0' xmlns='urn:t&amp;u'>"
                                    "<top nc:operation='delete'/></nc:config>");
    const XmlElement top = content_of(file);
    EXPECT_EQ(top.ns, "urn:t&u");
    EXPECT_EQ(top.attributes.front().first, "nc:operation");
    EXPECT_THAT(config_element(file, kBase), HasSubstr("xmlns:nc=\"urn:ietf"));
}

TEST(EditFile, SaysWhatIsNoEdit)
{
    const std::pair<const char*, const char*> cases[] = {
        {"<get xmlns='urn:ietf:params:xml:ns:netconf:base:1.0'/>", "<get> is neither"},
        {"<edit-config><target><running/></target></edit-config>", "no config"},
        {"<edit-config><target/><config/></edit-config>", "target has to hold"},
        {"<edit-config><nix/><config/></edit-config>", "unknown element nix"},
        {"<rpc/>", "<rpc> is empty"},
        {"{}", "outside"}};
    for (const auto& [text, why] : cases) {
        try {
            read_edit(text);
            ADD_FAILURE() << text;
        } catch (const BadXml& error) {
            EXPECT_THAT(error.what(), HasSubstr(why)) << text;
        }
    }
}

} // namespace
} // namespace zpf::cli

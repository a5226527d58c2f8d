// SPDX-License-Identifier: Apache-2.0
//
// Start tags of requests and replies.
#include "envelope.hpp"

#include <gtest/gtest.h>

namespace {

using zpf::agent::Envelope;

std::string reply_to(const std::string& message)
{
    std::string out;
    const auto envelope = Envelope::scan(message);
    if (!envelope) {
        return "unreadable";
    }
    envelope->open_reply(out);
    return out;
}

constexpr const char* kReply = R"(<rpc-reply xmlns="urn:ietf:params:xml:ns:netconf:base:1.0")";

TEST(Envelope, GivesAllAttributesBackAsTheyWereWritten)
{
    EXPECT_EQ(reply_to(R"(<rpc message-id="1" xmlns="urn:ietf:params:xml:ns:netconf:base:1.0"><get/></rpc>)"),
              std::string{kReply} + R"( message-id="1">)");
    EXPECT_EQ(reply_to("<?xml version='1.0'?>\n<nc:rpc xmlns:nc='urn:x' a='&lt;1' nc:b = \"2\" message-id='&amp;'  >"),
              std::string{kReply} + R"( xmlns:nc='urn:x' a='&lt;1' nc:b = "2" message-id='&amp;'>)");
}

TEST(Envelope, LooksBehindComments)
{
    EXPECT_EQ(reply_to("<?xml version='1.0'?>\n<!-- <rpc a='1'> --> <?x y?><rpc message-id='3'>"),
              std::string{kReply} + " message-id='3'>");
}

TEST(Envelope, KnowsWhetherThereIsAMessageId)
{
    EXPECT_EQ(Envelope::scan(R"(<rpc message-id="a>b">)")->message_id(), "a>b");
    EXPECT_FALSE(Envelope::scan("<rpc>")->has_message_id());
    EXPECT_TRUE(Envelope::scan(R"(<rpc message-id="">)")->has_message_id());
}

TEST(Envelope, TellsRequestsApartByAllButTheMessageId)
{
    std::string one;
    std::string two;
    std::string three;
    Envelope::scan(R"(<rpc message-id="1"><get/></rpc>)")->identity(one);
    Envelope::scan(R"(<rpc message-id="22"><get/></rpc>)")->identity(two);
    Envelope::scan(R"(<rpc message-id="1"><get /></rpc>)")->identity(three);
    EXPECT_EQ(one, two);
    EXPECT_NE(one, three);
}

TEST(Envelope, LeavesWhatItCannotReadToTheParser)
{
    for (const char* text : {"", "rpc", "<", "<rpc", "<hello>", "<rpc message-id>", "<rpc message-id=1>",
                             "<rpc message-id=\"1>", "<!-- <rpc>", "<?xml"}) {
        EXPECT_EQ(reply_to(text), "unreadable") << text;
    }
}

} // namespace

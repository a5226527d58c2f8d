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

TEST(Envelope, TakesWhatXmlAllowsInAttributes)
{
    for (const char* attributes :
         {" message-id='1\t\n>'", " message-id=\"&#65;&#x10FFFF;&#xa;&lt;&gt;&amp;&apos;&quot;\"", " message-id='\"'",
          " message-id=\"\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80\x7F\"", " xml:lang='en' message-id=''",
          " x:y='1' xmlns:x='urn:x' y='2'", " xmlns:x='urn:x' xmlns:z='urn:z' x:y='1' z:y='2'",
          " \xC3\xA4-1.b='1' _='2' message-id\n =\n'3'"}) {
        EXPECT_EQ(reply_to("<rpc" + std::string{attributes} + ">"), kReply + std::string{attributes} + ">");
    }
}

TEST(Envelope, RefusesAttributesThatAreNotWellFormed)
{
    for (const char* attributes : {" message-id='&foo;'",
                                   " message-id='&'",
                                   " message-id='&lt'",
                                   " message-id='&#;'",
                                   " message-id='&#x;'",
                                   " message-id='&#1;'",
                                   " message-id='&#0;'",
                                   " message-id='&#xD800;'",
                                   " message-id='&#xFFFE;'",
                                   " message-id='&#x110000;'",
                                   " message-id='&#99999999999;'",
                                   " message-id='&#-5;'",
                                   " message-id='&#65'",
                                   " message-id='&#X41;'",
                                   " message-id='a<b'",
                                   " message-id='\x01'",
                                   " message-id='1' message-id='1'",
                                   " a='1' message-id='2' a='3'",
                                   " xmlns='urn:x' xmlns='urn:y'",
                                   " message-id='1'a='2'",
                                   " 1='2'",
                                   " -a='2'",
                                   " a b='2'",
                                   " :a='2'",
                                   " a:='2'",
                                   " a:b:c='2' xmlns:a='urn:a'",
                                   "='1'",
                                   " x:y='1'",
                                   " a/='1'",
                                   " x:y='1' xmlns:X='urn:x'",
                                   " xmlns:x='urn:x' xmlns:z='urn:x' x:y='1' z:y='2'",
                                   " xmlns:x=''",
                                   " xmlns:xml='urn:x'",
                                   " xmlns:xmlns='urn:x'",
                                   " xmlns:x='http://www.w3.org/2000/xmlns/'"}) {
        EXPECT_EQ(reply_to("<rpc" + std::string{attributes} + ">"), "unreadable") << attributes;
    }
    EXPECT_EQ(reply_to(std::string{"<rpc a='"} + '\0' + "'>"), "unreadable");
    EXPECT_EQ(reply_to("<rpc message-id='1' "), "unreadable");
}

TEST(Envelope, RefusesBytesThatAreNoCharacters)
{
    for (const char* bytes :
         {"\xFF", "\x80", "\xC3", "\xC3\x28", "\xC0\xAF", "\xE0\x80\xAF", "\xE2\x82", "\xED\xA0\x80", "\xEF\xBF\xBE",
          "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"}) {
        EXPECT_EQ(reply_to("<rpc message-id='" + std::string{bytes} + "'>"), "unreadable");
        EXPECT_EQ(reply_to("<rpc a" + std::string{bytes} + "='1'>"), "unreadable");
    }
    EXPECT_EQ(reply_to("<rpc a='\xC3"), "unreadable");
}

TEST(Envelope, ReadsNoMoreAttributesThanItHoldsAgainstEachOther)
{
    std::string attributes;
    for (std::size_t i = 0; i < Envelope::kMostAttributes; ++i) {
        attributes += " a" + std::to_string(i) + "='1'";
    }
    EXPECT_EQ(reply_to("<rpc" + attributes + ">"), kReply + attributes + ">");
    EXPECT_EQ(reply_to("<rpc" + attributes + " more='1'>"), "unreadable");
}

} // namespace

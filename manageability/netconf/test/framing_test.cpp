// SPDX-License-Identifier: Apache-2.0
//
// Both framings, byte by byte and at once, and what is refused.
#include "zpf_netconf/framing.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace {

using zpf::netconf::append_message;
using zpf::netconf::Deframer;
using zpf::netconf::Framing;
using zpf::netconf::FramingError;

std::vector<std::string> messages_of(Deframer& deframer)
{
    std::vector<std::string> messages;
    while (const auto message = deframer.next()) {
        messages.emplace_back(*message);
    }
    return messages;
}

Deframer chunked(std::size_t max_bytes = 1000)
{
    Deframer deframer(max_bytes);
    deframer.set_framing(Framing::chunked);
    return deframer;
}

TEST(EndOfMessage, IsFoundHoweverTheBytesCome)
{
    const std::string bytes = "<a/>]]>]]><b>]]></b>]]>]]><c";
    for (std::size_t step = 1; step <= bytes.size(); ++step) {
        Deframer deframer(1000);
        std::vector<std::string> messages;
        for (std::size_t at = 0; at < bytes.size(); at += step) {
            deframer.feed(std::string_view{bytes}.substr(at, step));
            for (std::string& message : messages_of(deframer)) {
                messages.push_back(std::move(message));
            }
        }
        EXPECT_THAT(messages, testing::ElementsAre("<a/>", "<b>]]></b>")) << "in steps of " << step;
        EXPECT_TRUE(deframer.in_message());
    }
}

TEST(EndOfMessage, RefusesMoreThanAllowedBeforeTheEndHasCome)
{
    Deframer deframer(10);
    deframer.feed("0123456789");
    EXPECT_FALSE(deframer.next());
    deframer.feed("0");
    EXPECT_THROW(deframer.next(), FramingError);
}

TEST(Chunks, AreJoinedHoweverTheBytesCome)
{
    const std::string bytes = "\n#4\n<a>\n\n#5\n</a>\n\n##\n\n#1\nb\n##\n\n#3\nc";
    for (std::size_t step = 1; step <= bytes.size(); ++step) {
        Deframer deframer = chunked();
        std::vector<std::string> messages;
        for (std::size_t at = 0; at < bytes.size(); at += step) {
            deframer.feed(std::string_view{bytes}.substr(at, step));
            for (std::string& message : messages_of(deframer)) {
                messages.push_back(std::move(message));
            }
        }
        EXPECT_THAT(messages, testing::ElementsAre("<a>\n</a>\n", "b")) << "in steps of " << step;
        EXPECT_TRUE(deframer.in_message());
    }
}

class BadChunk : public testing::TestWithParam<const char*> {};

TEST_P(BadChunk, EndsTheSession)
{
    Deframer deframer = chunked();
    deframer.feed(GetParam());
    EXPECT_THROW(deframer.next(), FramingError);
}

INSTANTIATE_TEST_SUITE_P(All, BadChunk,
                         testing::Values("garbage", "#4\nabcd", "\n#0\n", "\n#04\nabcd", "\n#x\n", "\n#-1\n", "\n#\n",
                                         "\n##\n", "\n# 4\n", "\n#4294967296\n", "\n#99999999999", "\n#1001\n",
                                         "\n#1\naX"));

TEST(Chunks, RefuseASumThatIsTooLong)
{
    Deframer deframer = chunked(10);
    deframer.feed("\n#6\n123456\n#5\n");
    EXPECT_THROW(deframer.next(), FramingError);
}

TEST(Framing, ChangesBetweenTwoMessagesThatCameTogether)
{
    Deframer deframer(1000);
    deframer.feed("<hello/>]]>]]>\n#6\n<rpc/>\n##\n");
    EXPECT_EQ(deframer.next(), "<hello/>");
    deframer.set_framing(Framing::chunked);
    EXPECT_EQ(deframer.next(), "<rpc/>");
    EXPECT_FALSE(deframer.next());
    EXPECT_FALSE(deframer.in_message());
}

TEST(Framing, TakesWhatItWrites)
{
    std::mt19937 random(20261121);
    for (const Framing framing : {Framing::end_of_message, Framing::chunked}) {
        std::vector<std::string> sent;
        std::string bytes;
        for (int i = 0; i < 200; ++i) {
            sent.emplace_back(1 + random() % 5000, static_cast<char>('a' + i % 26));
            append_message(bytes, framing, sent.back());
        }
        Deframer deframer(5000);
        deframer.set_framing(framing);
        std::vector<std::string> received;
        for (std::size_t at = 0; at < bytes.size();) {
            const std::size_t step = 1 + random() % 9000;
            deframer.feed(std::string_view{bytes}.substr(at, step));
            at += step;
            for (std::string& message : messages_of(deframer)) {
                received.push_back(std::move(message));
            }
        }
        EXPECT_EQ(received, sent);
        EXPECT_EQ(deframer.pending_bytes(), 0u);
    }
}

} // namespace

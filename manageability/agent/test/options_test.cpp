// SPDX-License-Identifier: Apache-2.0
//
// Addresses to listen at, and numbers within bounds.
#include "options.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using zpf::agent::parse_listen;

TEST(Listen, TakesTheThreeKinds)
{
    EXPECT_EQ(parse_listen("unix:/run/x:y").place, "/run/x:y");
    const auto ssh = parse_listen("ssh:127.0.0.1:8300");
    EXPECT_EQ(ssh.kind + " " + ssh.place + " " + std::to_string(ssh.port), "ssh 127.0.0.1 8300");
    const auto tls = parse_listen("tls:[::1]:0");
    EXPECT_EQ(tls.kind + " " + tls.place + " " + std::to_string(tls.port), "tls ::1 0");
}

TEST(Listen, RefusesAllElse)
{
    for (const char* text : {"", "unix:", "ssh:", "ssh:1.2.3.4", "ssh:1.2.3.4:", "ssh:1.2.3.4:x", "ssh:1.2.3.4:65536",
                             "tcp:1.2.3.4:5", "/run/x", "tls:[::1]"}) {
        EXPECT_THROW(parse_listen(text), std::invalid_argument) << text;
    }
}

TEST(Numbers, AreTakenFromTheLeastToTheMost)
{
    using namespace zpf::agent;
    for (const char* text : {"1", "256", "65535"}) {
        EXPECT_EQ(complaint_of(text, kSessionsRange), "") << text;
    }
    for (const char* text : {"0.001", "20", "1e3", "86400"}) {
        EXPECT_EQ(complaint_of(text, kSecondsRange), "") << text;
    }
    EXPECT_EQ(complaint_of("0", kSlewRange), "");
}

TEST(Numbers, AreRefusedWithTheRangeThatTheyAreOutOf)
{
    using namespace zpf::agent;
    EXPECT_EQ(complaint_of("0", kSessionsRange), "\"0\" is no whole number from 1 to 65535");
    EXPECT_EQ(complaint_of("nan", kSecondsRange), "\"nan\" is no number from 0.001 to 86400");
    for (const char* text : {"", "-1", "1.5", "65536", "99999999999999999999", "many", "5x", " 5"}) {
        EXPECT_NE(complaint_of(text, kSessionsRange), "") << text;
    }
    for (const char* text : {"", "0", "-1", "1e300", "inf", "-nan", "1e999", "soon", "5s"}) {
        EXPECT_NE(complaint_of(text, kSecondsRange), "") << text;
    }
    for (const char* text : {"nan", "-1", "inf"}) {
        EXPECT_NE(complaint_of(text, kSlewRange), "") << text;
    }
}

} // namespace

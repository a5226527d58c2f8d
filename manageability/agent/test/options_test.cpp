// SPDX-License-Identifier: Apache-2.0
//
// Addresses to listen at.
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

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// zpf-netconf between pipes and a UNIX socket, and behind the system's sshd.
#include "transport_testing.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <array>
#include <cstring>

namespace zpf::agent::testing {

namespace {

using ::testing::HasSubstr;

/** A UNIX socket whose one client the test serves. */
class NetconfSubsystem : public ::testing::Test {
protected:
    NetconfSubsystem()
        : socket_(folder_.path("netconf.sock")), listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, socket_.c_str(), socket_.size());
        const void* raw = &address;
        EXPECT_EQ(::bind(listener_.get(), static_cast<const sockaddr*>(raw), sizeof address), 0);
        EXPECT_EQ(::listen(listener_.get(), 8), 0);
        ::chmod(folder_.path().c_str(), 0711);
        ::chmod(socket_.c_str(), 0666);
        const timeval patience{kPatience.count(), 0};
        ::setsockopt(listener_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }

    [[nodiscard]] std::vector<std::string> command() const { return {ZPF_NETCONF_PROGRAM, "--socket", socket_}; }
    [[nodiscard]] UniqueFd accepted() const
    {
        return UniqueFd{::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)};
    }

    TempFolder folder_;
    std::string socket_;
    UniqueFd listener_;
};

TEST_F(NetconfSubsystem, RelaysAMegabyteInBothDirectionsAtOnce)
{
    Program program(command());
    const UniqueFd agent = accepted();
    const std::string up = pattern(1024 * 1024);
    const std::string down(up.rbegin(), up.rend());
    std::thread writer([&] {
        EXPECT_TRUE(send_all(program.input(), up));
        program.end_input();
    });
    std::thread agent_writer([&] { EXPECT_TRUE(send_all(agent.get(), down)); });
    std::thread agent_reader([&] { EXPECT_TRUE(receive_all(agent.get()) == up); });
    EXPECT_TRUE(receive(program.output(), down.size()) == down);
    writer.join();
    agent_writer.join();
    agent_reader.join();
}

TEST_F(NetconfSubsystem, HandsOnRepliesAfterItsInputHasEnded)
{
    Program program(command());
    UniqueFd agent = accepted();
    ASSERT_TRUE(send_all(program.input(), "request"));
    program.end_input();
    bool ended = false;
    EXPECT_EQ(receive_all(agent.get(), &ended), "request");
    EXPECT_TRUE(ended);
    ASSERT_TRUE(send_all(agent.get(), "reply"));
    agent.reset();
    EXPECT_EQ(receive_all(program.output()), "reply");
    EXPECT_EQ(program.wait(), 0);
}

TEST_F(NetconfSubsystem, EndsWhenTheAgentClosesAlthoughItsInputIsOpen)
{
    Program program(command());
    accepted().reset();
    EXPECT_EQ(program.wait(), 0);
}

TEST_F(NetconfSubsystem, HoldsUpAnAgentWhoseClientDoesNotRead)
{
    Program program(command());
    const UniqueFd agent = accepted();
    constexpr size_t kFlood = 16 * 1024 * 1024;
    const size_t taken = send_until_stalled(agent.get(), kFlood);
    EXPECT_LT(taken, 2 * 1024 * 1024U);
    EXPECT_EQ(receive(program.output(), taken).size(), taken);
}

TEST_F(NetconfSubsystem, DeliversWhatAClientThatIsGoneHadSent)
{
    // Standard input and output are one socket, as they may be with sshd; closing it ends both at once.
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    UniqueFd client{ends[0]};
    UniqueFd standard{ends[1]};
    Program program({"/bin/sh", "-c",
                     "exec <&" + std::to_string(standard.get()) + " >&" + std::to_string(standard.get()) + " " +
                         ZPF_NETCONF_PROGRAM + " --socket " + socket_},
                    standard.get());
    standard.reset();
    const UniqueFd agent = accepted();
    const std::string sent = pattern(100'000);
    ASSERT_TRUE(send_all(client.get(), sent));
    client.reset();
    bool ended = false;
    EXPECT_TRUE(receive_all(agent.get(), &ended) == sent);
    EXPECT_TRUE(ended);
    EXPECT_EQ(program.wait(), 0);
}

TEST_F(NetconfSubsystem, UsesNoProcessorWhileNothingMoves)
{
    Program program(command());
    const UniqueFd agent = accepted();
    ASSERT_TRUE(send_all(program.input(), "x"));
    ASSERT_EQ(receive(agent.get(), 1), "x");
    program.end_input();
    EXPECT_EQ(receive_all(agent.get()), ""); // half closed
    constexpr std::chrono::milliseconds kWatched{300};
    std::this_thread::sleep_for(kWatched);
    const ActivityMark before = activity_of(program.pid());
    std::this_thread::sleep_for(kWatched); // the span that is measured
    EXPECT_EQ(activity_of(program.pid()).ticks, before.ticks);
    EXPECT_EQ(activity_of(program.pid()).wake_ups, before.wake_ups);
}

TEST_F(NetconfSubsystem, SaysThatTheAgentIsNotThere)
{
    const std::string nowhere = folder_.path("nowhere.sock");
    Program program({ZPF_NETCONF_PROGRAM, "--socket", nowhere});
    EXPECT_EQ(program.wait(), 1);
    EXPECT_THAT(program.errors(), ::testing::AllOf(HasSubstr(nowhere), HasSubstr("is zpfd running?")));
}

TEST_F(NetconfSubsystem, RefusesArgumentsItDoesNotKnow)
{
    Program program({ZPF_NETCONF_PROGRAM, "--sockets"});
    EXPECT_EQ(program.wait(), 2);
    EXPECT_THAT(program.errors(), HasSubstr("usage"));
}

TEST_F(NetconfSubsystem, ServesClientsOfTheSystemsSshd)
{
    const char* sshd = "/usr/sbin/sshd";
    if (::access(sshd, X_OK) != 0) {
        GTEST_SKIP() << sshd << " is not installed: the way through the system's sshd was not tried";
    }
    ASSERT_EQ(run({"ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", folder_.path("host")}), 0);
    ASSERT_EQ(run({"ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", folder_.path("client")}), 0);
    const std::string user = ::getpwuid(::getuid())->pw_name;
    // Debian's sshd wants this folder to be there, and makes it only when it is started as a service.
    ::mkdir("/run/sshd", 0755);
    const std::string config = folder_.write(
        "sshd_config", "HostKey " + folder_.path("host") + "\nAuthorizedKeysFile " + folder_.path("client.pub") +
                           "\nStrictModes no\nUsePAM no\nPermitRootLogin yes\n"
                           "PasswordAuthentication no\nPidFile none\nSubsystem netconf " +
                           ZPF_NETCONF_PROGRAM + " --socket " + socket_ + "\n");
    // sshd serves one connection on its standard input and output; so no port has to be found for it.
    const std::string proxy =
        std::string{"ProxyCommand="} + sshd + " -i -f " + config + " -E " + folder_.path("sshd.log");
    Program ssh({"ssh",
                 "-F",
                 "none",
                 "-i",
                 folder_.path("client"),
                 "-l",
                 user,
                 "-o",
                 proxy,
                 "-o",
                 "BatchMode=yes",
                 "-o",
                 "IdentitiesOnly=yes",
                 "-o",
                 "IdentityAgent=none",
                 "-o",
                 "StrictHostKeyChecking=no",
                 "-o",
                 "UserKnownHostsFile=/dev/null",
                 "-o",
                 "LogLevel=ERROR",
                 "-s",
                 "localhost",
                 "netconf"});
    UniqueFd agent = accepted();
    ASSERT_TRUE(agent) << ssh.errors() << read_text(folder_.path("sshd.log"));
    const std::string sent = pattern(300'000);
    std::thread writer([&] { EXPECT_TRUE(send_all(ssh.input(), sent)); });
    EXPECT_TRUE(receive(agent.get(), sent.size()) == sent);
    writer.join();
    ASSERT_TRUE(send_all(agent.get(), "reply"));
    agent.reset();
    EXPECT_EQ(receive_all(ssh.output()), "reply");
    EXPECT_EQ(ssh.wait(), 0) << ssh.errors();
}

} // namespace

} // namespace zpf::agent::testing

// SPDX-License-Identifier: Apache-2.0
//
// What only the SSH transport does: host keys, public keys, channels, and the system's ssh client at the other end.
#include "ssh_setup.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <csignal>
#include <filesystem>

namespace zpf::agent::testing {

namespace {

using ::testing::HasSubstr;

class SshTransport : public ::testing::Test {
protected:
    void start(AgentDouble& agent) { start(agent, setup_.options()); }
    void start(AgentDouble& agent, const SshOptions& options)
    {
        transport_.reset(); // an earlier one
        transport_ = listen_ssh("127.0.0.1", 0, options, agent.arrival(), log_.sink());
        port_ = port_of(*transport_);
    }
    int login_of_alice()
    {
        SshSteps client(port_);
        return client.shake_hands() ? client.log_in(setup_.key()) : SSH_AUTH_ERROR;
    }
    /** Logged in, without a channel. */
    std::unique_ptr<SshSteps> alice()
    {
        auto client = std::make_unique<SshSteps>(port_);
        EXPECT_TRUE(client->shake_hands());
        EXPECT_EQ(client->log_in(setup_.key()), SSH_AUTH_SUCCESS);
        return client;
    }

    SshSetup setup_;
    LogLines log_;
    AgentDouble echo_{AgentDouble::Manner::echoes};
    AgentDouble keep_{AgentDouble::Manner::keeps};
    std::unique_ptr<Transport> transport_;
    uint16_t port_ = 0;
};

TEST_F(SshTransport, RefusesAKeyThatNobodyListed)
{
    start(echo_);
    SshSteps client(port_);
    ASSERT_TRUE(client.shake_hands());
    EXPECT_EQ(client.log_in(setup_.strangers_key()), SSH_AUTH_DENIED);
    EXPECT_EQ(client.open_channel(), nullptr);
    EXPECT_TRUE(echo_.peers().empty());
}

TEST_F(SshTransport, RefusesAUserWithoutKeys)
{
    start(echo_);
    SshSteps client(port_, "bob");
    ASSERT_TRUE(client.shake_hands());
    EXPECT_EQ(client.log_in(setup_.key()), SSH_AUTH_DENIED);
}

TEST_F(SshTransport, RefusesPasswordsAndOffersPublicKeysOnly)
{
    start(echo_);
    SshSteps client(port_);
    ASSERT_TRUE(client.shake_hands());
    EXPECT_EQ(ssh_userauth_none(client.session(), nullptr), SSH_AUTH_DENIED);
    EXPECT_EQ(ssh_userauth_list(client.session(), nullptr), static_cast<int>(SSH_AUTH_METHOD_PUBLICKEY));
    EXPECT_EQ(client.log_in_with_password("alice"), SSH_AUTH_DENIED);
    EXPECT_EQ(client.log_in(setup_.key()), SSH_AUTH_SUCCESS);
}

TEST_F(SshTransport, ClosesAConnectionAfterTooManyRefusedAttempts)
{
    start(echo_);
    SshSteps client(port_);
    ASSERT_TRUE(client.shake_hands());
    for (int attempt = 0; attempt < setup_.options().max_auth_tries; ++attempt) {
        EXPECT_EQ(client.log_in_with_password("guess"), SSH_AUTH_DENIED);
    }
    EXPECT_TRUE(log_.has("too many authentication failures"));
    const int fd = ssh_get_fd(client.session()); // none once the client has noticed
    bool ended = fd < 0;
    if (!ended) {
        receive_all(fd, &ended);
    }
    EXPECT_TRUE(ended);
}

TEST_F(SshTransport, ServesNoShellNoCommandNoTerminalAndNoOtherSubsystem)
{
    start(echo_);
    const auto client = alice();
    ssh_channel channel = client->open_channel();
    ASSERT_NE(channel, nullptr);
    EXPECT_NE(ssh_channel_request_pty(channel), SSH_OK);
    EXPECT_NE(ssh_channel_request_shell(channel), SSH_OK);
    EXPECT_NE(ssh_channel_request_exec(channel, "id"), SSH_OK);
    EXPECT_NE(ssh_channel_request_subsystem(channel, "sftp"), SSH_OK);
    EXPECT_TRUE(echo_.peers().empty());
    EXPECT_EQ(ssh_channel_request_subsystem(channel, "netconf"), SSH_OK);
}

TEST_F(SshTransport, ForwardsNothing)
{
    start(echo_);
    const auto client = alice();
    ssh_channel forward = ssh_channel_new(client->session()); // the session's
    EXPECT_NE(ssh_channel_open_forward(forward, "127.0.0.1", port_, "127.0.0.1", 1), SSH_OK);
    EXPECT_NE(ssh_channel_listen_forward(client->session(), "127.0.0.1", 0, nullptr), SSH_OK);
}

TEST_F(SshTransport, RefusesASecondChannelAndKeepsServingTheFirst)
{
    start(echo_);
    const auto client = alice();
    ssh_channel channel = client->open_channel();
    ASSERT_EQ(ssh_channel_request_subsystem(channel, "netconf"), SSH_OK);
    EXPECT_EQ(client->open_channel(), nullptr);
    EXPECT_TRUE(log_.has("a further channel was refused"));
    ASSERT_EQ(ssh_channel_write(channel, "still", 5), 5);
    char got[5] = {};
    EXPECT_EQ(ssh_channel_read_timeout(channel, got, 5, 0, 20'000), 5);
}

TEST_F(SshTransport, ReadsTheKeysAnewAtEachLogin)
{
    start(echo_);
    EXPECT_EQ(login_of_alice(), SSH_AUTH_SUCCESS);
    setup_.folder().write("authorized_keys", read_text(setup_.strangers_key() + ".pub"));
    EXPECT_EQ(login_of_alice(), SSH_AUTH_DENIED);
    setup_.folder().write("authorized_keys",
                          read_text(setup_.strangers_key() + ".pub") + read_text(setup_.key() + ".pub"));
    EXPECT_EQ(login_of_alice(), SSH_AUTH_SUCCESS);
}

TEST_F(SshTransport, IgnoresAFileOfKeysThatOthersMayWrite)
{
    start(echo_);
    ::chmod(setup_.authorized_keys().c_str(), 0620);
    EXPECT_EQ(login_of_alice(), SSH_AUTH_DENIED);
    EXPECT_TRUE(log_.has("open to others"));
}

TEST_F(SshTransport, SkipsKeysWithOptionsAndSaysSo)
{
    start(echo_);
    setup_.folder().write("authorized_keys", "no-pty " + read_text(setup_.key() + ".pub"));
    EXPECT_EQ(login_of_alice(), SSH_AUTH_DENIED);
    EXPECT_TRUE(log_.has("authorized_keys:1: skipped"));
}

TEST_F(SshTransport, KeepsItsHostKeysOverARestart)
{
    start(echo_);
    const std::string ed25519 = read_text(setup_.folder().path("ssh_host_ed25519_key"));
    const std::string ecdsa = read_text(setup_.folder().path("ssh_host_ecdsa_key"));
    EXPECT_THAT(ed25519, HasSubstr("PRIVATE KEY"));
    EXPECT_THAT(ecdsa, HasSubstr("PRIVATE KEY"));
    EXPECT_EQ(mode_of(setup_.folder().path("ssh_host_ed25519_key")), 0600U);
    EXPECT_EQ(mode_of(setup_.folder().path("ssh_host_ecdsa_key")), 0600U);
    start(echo_);
    EXPECT_EQ(read_text(setup_.folder().path("ssh_host_ed25519_key")), ed25519);
    EXPECT_EQ(read_text(setup_.folder().path("ssh_host_ecdsa_key")), ecdsa);
    EXPECT_EQ(login_of_alice(), SSH_AUTH_SUCCESS);
}

TEST_F(SshTransport, LeavesNothingButItsTwoKeysInTheirFolder)
{
    const TempFolder keys;
    SshOptions options = setup_.options();
    options.host_key_dir = keys.path();
    start(echo_, options);
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(keys.path())) {
        names.push_back(entry.path().filename());
    }
    EXPECT_THAT(names, ::testing::UnorderedElementsAre("ssh_host_ed25519_key", "ssh_host_ecdsa_key"));
}

TEST_F(SshTransport, RefusesToStartOnAHostKeyThatIsDamagedOrOpenToOthers)
{
    const auto refusal = [this] {
        try {
            start(echo_);
        } catch (const std::runtime_error& error) {
            return std::string{error.what()};
        }
        return std::string{"started"};
    };
    const std::string file = setup_.folder().write("ssh_host_ed25519_key", "no key\n");
    EXPECT_THAT(refusal(), ::testing::AllOf(HasSubstr(file), HasSubstr("is no private key")));
    EXPECT_EQ(read_text(file), "no key\n");
    ::chmod(file.c_str(), 0644);
    EXPECT_THAT(refusal(), ::testing::AllOf(HasSubstr(file), HasSubstr("chmod 600")));
}

TEST_F(SshTransport, RefusesToStartWithoutAFolderForHostKeys)
{
    SshOptions options = setup_.options();
    options.host_key_dir = setup_.folder().path("missing");
    EXPECT_THROW(start(echo_, options), std::runtime_error);
}

TEST_F(SshTransport, StopsAlthoughAChannelWaitsForItsSubsystem)
{
    start(echo_);
    const auto client = alice();
    ASSERT_NE(client->open_channel(), nullptr);
    transport_->stop();
    EXPECT_FALSE(connect_to(port_));
}

TEST_F(SshTransport, ListensOnIpv6AndOnAllAddresses)
{
    const auto everywhere = listen_ssh("", 0, setup_.options(), keep_.arrival(), {});
    const auto client = setup_.connect(port_of(*everywhere));
    EXPECT_TRUE(client->connected());
    EXPECT_EQ(keep_.next().second.host, "127.0.0.1");
    try {
        const auto local = listen_ssh("[::1]", 0, setup_.options(), keep_.arrival(), {});
        EXPECT_THAT(local->where(), ::testing::StartsWith("ssh:[::1]:"));
    } catch (const std::runtime_error& error) {
        GTEST_SKIP() << "no IPv6 on this machine: " << error.what();
    }
}

TEST_F(SshTransport, AnswersKeepAliveRequests)
{
    start(echo_);
    // The client gives up when a request remains unanswered while the next is due.
    Program ssh(setup_.ssh_command(port_, {"-o", "ServerAliveInterval=1", "-o", "ServerAliveCountMax=1"}));
    ASSERT_TRUE(send_all(ssh.input(), "x"));
    EXPECT_EQ(receive(ssh.output(), 1), "x");
    constexpr std::chrono::milliseconds kThreeIntervals{3'200};
    std::this_thread::sleep_for(kThreeIntervals); // the client's own clock decides
    ASSERT_TRUE(send_all(ssh.input(), "y"));
    EXPECT_EQ(receive(ssh.output(), 1), "y");
}

struct ClientOptions {
    const char* name;
    std::vector<std::string> options;
};

const std::vector<ClientOptions> kClientOptions{
    {"Default", {}},
    {"Rekeying", {"-o", "RekeyLimit=64K"}},
    {"AskingForCompression", {"-C"}},
    {"Gcm", {"-o", "Ciphers=aes256-gcm@openssh.com"}},
    {"OlderAlgorithms",
     {"-o", "HostKeyAlgorithms=ecdsa-sha2-nistp256", "-o", "KexAlgorithms=diffie-hellman-group14-sha256", "-o",
      "Ciphers=aes128-ctr", "-o", "MACs=hmac-sha2-256"}},
};

class SystemSshClient : public SshTransport, public ::testing::WithParamInterface<ClientOptions> {};

TEST_P(SystemSshClient, EchoesAMegabyteInBothDirectionsAtOnce)
{
    start(echo_);
    Program ssh(setup_.ssh_command(port_, GetParam().options));
    const std::string sent = pattern(1024 * 1024);
    std::thread writer([&] {
        EXPECT_TRUE(send_all(ssh.input(), sent));
        ssh.end_input();
    });
    EXPECT_TRUE(receive_all(ssh.output()) == sent);
    writer.join();
    EXPECT_EQ(ssh.wait(), 0) << ssh.errors();
}

INSTANTIATE_TEST_SUITE_P(Options, SystemSshClient, ::testing::ValuesIn(kClientOptions),
                         [](const auto& the) { return std::string{the.param.name}; });

TEST_F(SshTransport, EndsTheStreamOfASystemClientThatIsKilled)
{
    start(keep_);
    Program ssh(setup_.ssh_command(port_));
    const auto [stream, peer] = keep_.next();
    ASSERT_TRUE(send_all(ssh.input(), "half a mess"));
    EXPECT_EQ(receive(stream.get(), 11), "half a mess");
    ssh.kill(SIGKILL);
    bool ended = false;
    receive_all(stream.get(), &ended);
    EXPECT_TRUE(ended);
}

TEST_F(SshTransport, EndsTheSystemClientInOrderWhenTheAgentCloses)
{
    start(keep_);
    Program ssh(setup_.ssh_command(port_));
    auto [stream, peer] = keep_.next();
    ASSERT_TRUE(send_all(stream.get(), "good bye"));
    stream.reset();
    EXPECT_EQ(receive_all(ssh.output()), "good bye");
    EXPECT_EQ(ssh.wait(), 0) << ssh.errors();
}

TEST_F(SshTransport, TellsTheSystemClientThatAConnectionIsOneTooMany)
{
    SshOptions options = setup_.options();
    options.max_connections = 0;
    start(echo_, options);
    Program ssh(setup_.ssh_command(port_, {"-o", "LogLevel=DEBUG1"}));
    EXPECT_EQ(ssh.wait(), 255);
    EXPECT_THAT(ssh.errors(), HasSubstr("Too many connections"));
}

TEST_F(SshTransport, RefusesAShellToTheSystemClient)
{
    start(echo_);
    std::vector<std::string> command = setup_.ssh_command(port_);
    command.resize(command.size() - 3);
    command.insert(command.end(), {"127.0.0.1", "id"});
    EXPECT_EQ(run(command), 255);
    EXPECT_TRUE(echo_.peers().empty());
}

TEST_F(SshTransport, HidesWhatAClientNamesItselfFromTheTerminal)
{
    start(echo_);
    {
        SshSteps client(port_, "eve\n\x1b[31mroot");
        ASSERT_TRUE(client.shake_hands());
        EXPECT_EQ(client.log_in(setup_.key()), SSH_AUTH_DENIED);
    }
    EXPECT_TRUE(log_.has("eve??[31mroot"));
    EXPECT_EQ(log_.all().find('\x1b'), std::string::npos);
}

} // namespace

} // namespace zpf::agent::testing

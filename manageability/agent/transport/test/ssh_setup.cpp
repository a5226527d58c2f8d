// SPDX-License-Identifier: Apache-2.0
//
// The SSH clients of the tests.
#include "ssh_setup.hpp"

#include <gtest/gtest.h>

namespace zpf::agent::testing {

namespace {

constexpr int kPatienceMs = 20'000;

class SshTestClient : public TestClient {
public:
    SshTestClient(uint16_t port, const std::string& key) : steps_(port)
    {
        if (steps_.shake_hands() && steps_.log_in(key) == SSH_AUTH_SUCCESS) {
            channel_ = steps_.open_channel();
        }
        connected_ = channel_ != nullptr && ssh_channel_request_subsystem(channel_, "netconf") == SSH_OK;
    }

    [[nodiscard]] bool connected() const override { return connected_; }

    bool send(std::string_view bytes) override
    {
        return ssh_channel_write(channel_, bytes.data(), static_cast<uint32_t>(bytes.size())) ==
               static_cast<int>(bytes.size());
    }

    std::string receive(size_t count) override
    {
        std::string all(count, '\0');
        size_t done = 0;
        while (done < count) {
            const int got = ssh_channel_read_timeout(channel_, all.data() + done, static_cast<uint32_t>(count - done),
                                                     0, kPatienceMs);
            if (got <= 0) {
                break;
            }
            done += static_cast<size_t>(got);
        }
        all.resize(done);
        return all;
    }

    size_t send_until_stalled(size_t limit) override
    {
        constexpr int kStalledMs = 300;
        ssh_set_blocking(steps_.session(), 0);
        const std::string bytes = pattern(limit);
        size_t total = 0;
        for (bool stalled = false; total < limit;) {
            const auto piece = static_cast<uint32_t>(std::min<size_t>(limit - total, 16 * 1024));
            const int sent = ssh_channel_write(channel_, bytes.data() + total, piece);
            if (sent > 0) {
                total += static_cast<size_t>(sent);
                stalled = false;
            } else if (sent < 0 || stalled) {
                break;
            } else {
                ssh_channel_poll_timeout(channel_, kStalledMs, 0); // works off what comes meanwhile
                stalled = true;
            }
        }
        ssh_set_blocking(steps_.session(), 1);
        return total;
    }

    void end() override { ssh_channel_send_eof(channel_); }
    void abort() override { ssh_silent_disconnect(steps_.session()); }

private:
    SshSteps steps_;
    ssh_channel channel_ = nullptr; // the session's
    bool connected_ = false;
};

} // namespace

SshSteps::SshSteps(uint16_t port, const std::string& user) : session_(ssh_new())
{
    const unsigned int number = port;
    const long timeout_s = 20;
    const bool reads_configuration = false;
    ssh_options_set(session_.get(), SSH_OPTIONS_HOST, "127.0.0.1");
    ssh_options_set(session_.get(), SSH_OPTIONS_PORT, &number);
    ssh_options_set(session_.get(), SSH_OPTIONS_USER, user.c_str());
    ssh_options_set(session_.get(), SSH_OPTIONS_TIMEOUT, &timeout_s);
    ssh_options_set(session_.get(), SSH_OPTIONS_PROCESS_CONFIG, &reads_configuration);
}

SshSteps::~SshSteps()
{
    ssh_disconnect(session_.get());
}

bool SshSteps::shake_hands()
{
    return ssh_connect(session_.get()) == SSH_OK;
}

int SshSteps::log_in(const std::string& key_file)
{
    ssh_key raw = nullptr;
    if (ssh_pki_import_privkey_file(key_file.c_str(), nullptr, nullptr, nullptr, &raw) != SSH_OK) {
        return SSH_AUTH_ERROR;
    }
    const SshKey key{raw};
    return ssh_userauth_publickey(session_.get(), nullptr, key.get());
}

int SshSteps::log_in_with_password(const std::string& password)
{
    return ssh_userauth_password(session_.get(), nullptr, password.c_str());
}

ssh_channel SshSteps::open_channel()
{
    ssh_channel channel = ssh_channel_new(session_.get());
    if (channel != nullptr && ssh_channel_open_session(channel) != SSH_OK) {
        ssh_channel_free(channel);
        return nullptr;
    }
    return channel;
}

SshSetup::SshSetup()
{
    for (const std::string& file : {key(), strangers_key()}) {
        EXPECT_EQ(run({"ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", file}), 0);
    }
    folder_.write("authorized_keys", "# keys of this test\n\n" + read_text(key() + ".pub"));
}

SshOptions SshSetup::options() const
{
    SshOptions options;
    options.host_key_dir = folder_.path();
    options.authorized_keys = {{"alice", authorized_keys()}};
    return options;
}

std::unique_ptr<Transport> SshSetup::listen(ConnectionLimits limits, Arrival arrival, LogSink log)
{
    SshOptions all = options();
    static_cast<ConnectionLimits&>(all) = limits;
    return listen_ssh("127.0.0.1", 0, all, std::move(arrival), std::move(log));
}

std::unique_ptr<TestClient> SshSetup::connect(uint16_t port)
{
    return std::make_unique<SshTestClient>(port, key());
}

std::vector<std::string> SshSetup::ssh_command(uint16_t port, const std::vector<std::string>& extra) const
{
    std::vector<std::string> command{"ssh", "-F", "none", "-p", std::to_string(port), "-i", key(), "-l", "alice"};
    command.insert(command.end(), extra.begin(), extra.end()); // first, since ssh takes the first value of an option
    for (const char* option : {"BatchMode=yes", "IdentitiesOnly=yes", "IdentityAgent=none", "StrictHostKeyChecking=no",
                               "UserKnownHostsFile=/dev/null", "GlobalKnownHostsFile=/dev/null", "LogLevel=ERROR"}) {
        command.insert(command.end(), {"-o", option});
    }
    command.insert(command.end(), {"-s", "127.0.0.1", "netconf"});
    return command;
}

} // namespace zpf::agent::testing

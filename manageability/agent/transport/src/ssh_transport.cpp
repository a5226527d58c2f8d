// SPDX-License-Identifier: Apache-2.0
//
// Puts the pieces of the SSH transport together: listener, host keys, one link and relay for each connection.
#include "log_text.hpp"
#include "relay.hpp"
#include "ssh_host_keys.hpp"
#include "ssh_link.hpp"
#include "tcp_server.hpp"

#include <stdexcept>

namespace zpf::agent {

namespace {

/// Groups whose parameters are fixed, so that nothing is read and no number of a client's choice is used.
constexpr const char* kKeyExchanges =
    "curve25519-sha256,curve25519-sha256@libssh.org,ecdh-sha2-nistp256,ecdh-sha2-nistp384,"
    "ecdh-sha2-nistp521,diffie-hellman-group16-sha512,diffie-hellman-group14-sha256";

/// Plain keys only: no certificates, and RSA not with SHA-1.
constexpr const char* kKeyTypes =
    "ssh-ed25519,ecdsa-sha2-nistp256,ecdsa-sha2-nistp384,ecdsa-sha2-nistp521,rsa-sha2-512,"
    "rsa-sha2-256,sk-ssh-ed25519@openssh.com,sk-ecdsa-sha2-nistp256@openssh.com";

void set(ssh_bind bind, ssh_bind_options_e option, const void* value)
{
    if (ssh_bind_options_set(bind, option, value) != SSH_OK) {
        throw std::runtime_error(std::string{"ssh: an option of the server is refused: "} + ssh_get_error(bind));
    }
}

SshBind make_bind(const std::string& host_key_dir)
{
    SshBind bind{ssh_bind_new()};
    if (!bind) {
        throw std::runtime_error("ssh: no memory for a server");
    }
    constexpr bool kReadsConfiguration = false; // of other SSH servers on this machine
    set(bind.get(), SSH_BIND_OPTIONS_PROCESS_CONFIG, &kReadsConfiguration);
    set(bind.get(), SSH_BIND_OPTIONS_BANNER, "zpfd");
    set(bind.get(), SSH_BIND_OPTIONS_KEY_EXCHANGE, kKeyExchanges);
    set(bind.get(), SSH_BIND_OPTIONS_PUBKEY_ACCEPTED_KEY_TYPES, kKeyTypes);
    for (SshKey& key : load_host_keys(host_key_dir)) {
        set(bind.get(), SSH_BIND_OPTIONS_IMPORT_KEY, key.get());
        static_cast<void>(key.release()); // the bind frees it
    }
    return bind;
}

class SshTransport : public Transport {
public:
    SshTransport(const std::string& address, uint16_t port, SshOptions options, Arrival arrival, LogSink log)
        : server_{std::move(options), log, make_bind(server_.options.host_key_dir), {}},
          tcp_(address, port,
               {server_.options.max_connections, "Too many connections; try again later.\r\n", "ssh", log})
    {
        if (server_.options.authorized_keys.empty()) {
            say(log, 1, tcp_.where(), ": no authorized keys are given, so nobody can log in");
        }
        terms_ = {tcp_.stop_fd(), server_.options.login_timeout, server_.options.drain_timeout, std::move(arrival),
                  std::move(log)};
        tcp_.accept([this](UniqueFd socket, const std::string& host) {
            Queues queues;
            SshLink link(std::move(socket), host, server_, queues);
            serve(link, queues, terms_);
        });
    }
    ~SshTransport() override { stop(); }

    SshTransport(const SshTransport&) = delete;
    SshTransport& operator=(const SshTransport&) = delete;

    [[nodiscard]] std::string where() const override { return tcp_.where(); }
    void stop() override { tcp_.stop(); }

private:
    SshServer server_;
    RelayTerms terms_;
    TcpServer tcp_; // last: its threads use the others
};

} // namespace

std::unique_ptr<Transport> listen_ssh(const std::string& address, uint16_t port, SshOptions options, Arrival arrival,
                                      LogSink log)
{
    return std::make_unique<SshTransport>(address, port, std::move(options), std::move(arrival), std::move(log));
}

} // namespace zpf::agent

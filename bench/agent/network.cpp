// SPDX-License-Identifier: Apache-2.0
//
// Keys, sshd, and the programs of SSH and TLS clients.
#include "network.hpp"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <stdexcept>

namespace zpf::bench {

namespace {

using agent::UniqueFd;

sockaddr_in loopback(uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

bool listens(uint16_t port)
{
    const UniqueFd stream(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = loopback(port);
    const void* raw = &address;
    return ::connect(stream.get(), static_cast<const sockaddr*>(raw), sizeof address) == 0;
}

Process start_sshd(const Setting& setting, const Credentials& credentials, uint16_t port,
                   const std::string& agent_socket, const std::string& reference_socket)
{
    const std::string log = setting.file("sshd.log");
    const std::string host_key = setting.file("sshd_host_key");
    run_program({"ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", host_key}, log);
    const auto config = setting.file("sshd_config");
    write_file(config, fmt::format("Port {}\nListenAddress 127.0.0.1\nHostKey {}\nPidFile none\nUsePAM no\n"
                                   "StrictModes no\nPasswordAuthentication no\nKbdInteractiveAuthentication no\n"
                                   "PermitRootLogin prohibit-password\nAuthorizedKeysFile {}\nMaxStartups 64\n"
                                   "LogLevel ERROR\nSubsystem {} {} --socket {}\n"
                                   "Subsystem {} /usr/sbin/netconf-subsystem --ncxserver-sockname={}@{}\n",
                                   port, host_key, credentials.ssh_public_key, SshFront::kAgentSubsystem,
                                   (setting.programs / "zpf-netconf").string(), agent_socket,
                                   SshFront::kReferenceSubsystem, port, reference_socket));
    return Process({{"/usr/sbin/sshd", "-D", "-e", "-f", config}, {}, {}, log});
}

} // namespace

uint16_t free_port()
{
    const UniqueFd stream(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = loopback(0);
    void* raw = &address;
    socklen_t length = sizeof address;
    if (::bind(stream.get(), static_cast<const sockaddr*>(raw), length) != 0 ||
        ::getsockname(stream.get(), static_cast<sockaddr*>(raw), &length) != 0) {
        throw std::runtime_error("no free port on the loopback");
    }
    return ntohs(address.sin_port);
}

Credentials::Credentials(const Setting& setting)
    : ssh_key(setting.file("client_key")),
      ssh_public_key(ssh_key + ".pub"),
      tls_key(setting.file("client_tls.key")),
      tls_certificate(setting.file("client_tls.crt"))
{
    const std::string log = setting.file("keys.log");
    run_program({"ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", ssh_key}, log);
    run_program({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                 "-days", "2", "-subj", "/CN=" + setting.user, "-keyout", tls_key, "-out", tls_certificate},
                log);
    const std::string line =
        run_program({"openssl", "x509", "-noout", "-fingerprint", "-sha256", "-in", tls_certificate}, log);
    tls_fingerprint = line.substr(line.find('=') + 1);
    tls_fingerprint.erase(
        std::remove_if(tls_fingerprint.begin(), tls_fingerprint.end(), [](char c) { return c == ':' || c == '\n'; }),
        tls_fingerprint.end());
}

Client connect_ssh(const Setting& setting, const Credentials& credentials, uint16_t port, const std::string& subsystem,
                   std::chrono::milliseconds pause)
{
    Program program;
    program.arguments = {"ssh",
                         "-F",
                         "none",
                         "-i",
                         credentials.ssh_key,
                         "-p",
                         std::to_string(port),
                         "-o",
                         "IdentitiesOnly=yes",
                         "-o",
                         "BatchMode=yes",
                         "-o",
                         "StrictHostKeyChecking=no",
                         "-o",
                         "UserKnownHostsFile=/dev/null",
                         "-o",
                         "LogLevel=ERROR",
                         "-s",
                         setting.user + "@127.0.0.1",
                         subsystem};
    program.log = setting.file("ssh.log");
    return client_through(program, pause, setting.watch);
}

Client connect_tls(const Setting& setting, const Credentials& credentials, uint16_t port)
{
    Program program;
    program.arguments = {"openssl",
                         "s_client",
                         "-quiet",
                         "-connect",
                         fmt::format("127.0.0.1:{}", port),
                         "-cert",
                         credentials.tls_certificate,
                         "-key",
                         credentials.tls_key};
    program.log = setting.file("s_client.log");
    return client_through(program, std::chrono::milliseconds{0}, setting.watch);
}

SshFront::SshFront(const Setting& setting, const Credentials& credentials, uint16_t port,
                   const std::string& agent_socket, const std::string& reference_socket)
    : process_(start_sshd(setting, credentials, port, agent_socket, reference_socket))
{
    static constexpr std::chrono::seconds kPatience{10};
    const auto end = Clock::now() + kPatience;
    while (!listens(port)) {
        setting.watch.sleep(std::chrono::milliseconds{20});
        if (process_.ended() || Clock::now() > end) {
            throw std::runtime_error("sshd does not listen: " + tail_of(setting.file("sshd.log")));
        }
    }
}

} // namespace zpf::bench

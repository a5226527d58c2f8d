// SPDX-License-Identifier: Apache-2.0
//
// Puts the pieces of the TLS transport together: listener, certificates, one link and relay for each connection.
#include "log_text.hpp"
#include "relay.hpp"
#include "state_file.hpp"
#include "tcp_server.hpp"
#include "tls_link.hpp"
#include "tls_own_certificate.hpp"

#include <stdexcept>

namespace zpf::agent {

namespace {

/// A fatal alert, internal_error: what a TLS client can be told before any handshake.
constexpr std::array<char, 7> kRefusal{0x15, 0x03, 0x03, 0x00, 0x02, 0x02, 0x50};

void load_certificate(SSL_CTX* context, const CertificateFiles& files)
{
    constexpr mode_t kOpenToStrangers = 0027; // a group that shares the key may read it
    if (!read_file(files.key, kOpenToStrangers)) {
        throw std::runtime_error(files.key + ": no such file; name the private key of the certificate");
    }
    if (SSL_CTX_use_certificate_chain_file(context, files.certificate.c_str()) != 1) {
        throw std::runtime_error(files.certificate + ": no certificate can be read from it: " + openssl_reason());
    }
    if (SSL_CTX_use_PrivateKey_file(context, files.key.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_check_private_key(context) != 1) {
        throw std::runtime_error(files.key + ": is no private key of " + files.certificate + ": " + openssl_reason());
    }
}

void load_authority(SSL_CTX* context, const std::string& file, bool only_theirs)
{
    STACK_OF(X509_NAME)* names = SSL_load_client_CA_file(file.c_str());
    if (names == nullptr || SSL_CTX_load_verify_locations(context, file.c_str(), nullptr) != 1) {
        throw std::runtime_error(file + ": no certificate authority can be read from it: " + openssl_reason());
    }
    // A client may keep back a certificate of none of the authorities that it is told of (RFC 8446, 4.2.4).
    if (only_theirs) {
        SSL_CTX_set_client_CA_list(context, names); // takes them
    } else {
        sk_X509_NAME_pop_free(names, X509_NAME_free);
    }
}

TlsContext make_context(const TlsOptions& options, TlsIdentities& identities)
{
    if (options.certificate_file.empty() != options.key_file.empty()) {
        throw std::runtime_error("tls: a certificate file and a key file belong together; name both or neither");
    }
    TlsContext context{SSL_CTX_new(TLS_server_method())};
    if (!context || SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1) {
        throw std::runtime_error("tls: no server can be set up: " + openssl_reason());
    }
    // A session that is resumed would pass without its certificate being looked at again.
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_num_tickets(context.get(), 0);
    SSL_CTX_set_options(context.get(), SSL_OP_NO_TICKET | SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION |
                                           SSL_OP_CIPHER_SERVER_PREFERENCE);
    SSL_CTX_set_mode(context.get(),
                     SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER | SSL_MODE_RELEASE_BUFFERS);
    load_certificate(context.get(), options.certificate_file.empty()
                                        ? own_certificate(options.state_dir)
                                        : CertificateFiles{options.certificate_file, options.key_file});
    if (!options.ca_file.empty()) {
        load_authority(context.get(), options.ca_file, options.users.empty());
    }
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
    SSL_CTX_set_cert_verify_callback(context.get(), TlsIdentities::verify, &identities);
    return context;
}

class TlsTransport : public Transport {
public:
    TlsTransport(const std::string& address, uint16_t port, const TlsOptions& options, Arrival arrival, LogSink log)
        : server_{options, log, TlsIdentities(options.users, !options.ca_file.empty()),
                  make_context(options, server_.identities)},
          tcp_(address, port, {options.max_connections, {kRefusal.begin(), kRefusal.end()}, "tls", log})
    {
        terms_ = {tcp_.stop_fd(), options.login_timeout, options.drain_timeout, std::move(arrival), std::move(log)};
        tcp_.accept([this](UniqueFd socket, const std::string& host) {
            Queues queues;
            TlsLink link(std::move(socket), host, server_, queues);
            serve(link, queues, terms_);
        });
    }
    ~TlsTransport() override { stop(); }

    TlsTransport(const TlsTransport&) = delete;
    TlsTransport& operator=(const TlsTransport&) = delete;

    [[nodiscard]] std::string where() const override { return tcp_.where(); }
    void stop() override { tcp_.stop(); }

private:
    TlsServer server_; // the context's callback refers to its identities: stays where it is
    RelayTerms terms_;
    TcpServer tcp_; // last: its threads use the others
};

} // namespace

std::unique_ptr<Transport> listen_tls(const std::string& address, uint16_t port, const TlsOptions& options,
                                      Arrival arrival, LogSink log)
{
    return std::make_unique<TlsTransport>(address, port, options, std::move(arrival), std::move(log));
}

} // namespace zpf::agent

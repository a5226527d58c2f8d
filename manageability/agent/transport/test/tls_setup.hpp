// SPDX-License-Identifier: Apache-2.0
//
// A TLS server's files, and clients made with OpenSSL.
#pragma once

#include "test_client.hpp"
#include "tls_handles.hpp"

namespace zpf::agent::testing {

/** A certificate and its key, both in PEM files. */
struct Identity {
    std::string certificate_file;
    std::string key_file;
    std::string fingerprint; ///< SHA-256, upper case with colons
};

struct TlsClientTerms {
    const Identity* identity = nullptr; ///< none: the client shows no certificate
    int highest_version = 0;            ///< such as TLS1_1_VERSION; 0: whatever both can
};

/** A TLS connection; shaking hands and reading tell whether the server takes the certificate. */
class TlsTestClient : public TestClient {
public:
    TlsTestClient(uint16_t port, const TlsClientTerms& terms);

    [[nodiscard]] bool connected() const override { return connected_; }
    bool send(std::string_view bytes) override;
    std::string receive(size_t count) override;
    size_t send_until_stalled(size_t limit) override;
    void end() override;
    void abort() override;

    /** The reason of the last failure, in OpenSSL's words. */
    [[nodiscard]] const std::string& reason() const { return reason_; }
    [[nodiscard]] std::string version() const { return SSL_get_version(tls_.get()); }
    /** The server's close_notify has come, and nothing else is there. */
    bool ended_properly();

private:
    UniqueFd socket_;
    TlsContext context_;
    Tls tls_;
    bool connected_ = false;
    std::string reason_;
};

class TlsSetup : public Setup {
public:
    TlsSetup();

    std::unique_ptr<Transport> listen(ConnectionLimits limits, Arrival arrival, LogSink log) override;
    std::unique_ptr<TestClient> connect(uint16_t port) override;
    [[nodiscard]] std::string transport_name() const override { return "netconf-tls"; }
    [[nodiscard]] std::string refusal() const override { return {"\x15\x03\x03\x00\x02\x02\x50", 7}; }

    [[nodiscard]] const TempFolder& folder() const { return folder_; }
    [[nodiscard]] TlsOptions options() const;
    /** A certificate for the subject, such as "/CN=alice"; signed by itself without an issuer. Made with the openssl
     * program. */
    Identity identity(const std::string& name, const std::string& subject, const Identity* issuer = nullptr) const;
    [[nodiscard]] const Identity& authority() const { return authority_; }
    [[nodiscard]] const Identity& client() const { return client_; }

private:
    TempFolder folder_;
    Identity authority_;
    Identity client_;
};

} // namespace zpf::agent::testing

// SPDX-License-Identifier: Apache-2.0
//
// The TLS clients of the tests.
#include "tls_setup.hpp"

#include <gtest/gtest.h>

#include <openssl/pem.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace zpf::agent::testing {

namespace {

std::string fingerprint_of(const std::string& file)
{
    const Bio bio{BIO_new_file(file.c_str(), "r")};
    const Certificate certificate{PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr)};
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    X509_digest(certificate.get(), EVP_sha256(), digest.data(), &length);
    std::string text;
    for (unsigned int i = 0; i < length; ++i) {
        text += i == 0 ? "" : ":";
        text += "0123456789ABCDEF"[digest[i] >> 4U];
        text += "0123456789ABCDEF"[digest[i] & 15U];
    }
    return text;
}

TlsContext client_context(const TlsClientTerms& terms)
{
    TlsContext context{SSL_CTX_new(TLS_client_method())};
    if (terms.highest_version != 0) {
        SSL_CTX_set_security_level(context.get(), 0);
        SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
        SSL_CTX_set_max_proto_version(context.get(), terms.highest_version);
    }
    if (terms.identity != nullptr) {
        EXPECT_EQ(
            SSL_CTX_use_certificate_file(context.get(), terms.identity->certificate_file.c_str(), SSL_FILETYPE_PEM), 1);
        EXPECT_EQ(SSL_CTX_use_PrivateKey_file(context.get(), terms.identity->key_file.c_str(), SSL_FILETYPE_PEM), 1);
    }
    SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    return context;
}

} // namespace

TlsTestClient::TlsTestClient(uint16_t port, const TlsClientTerms& terms)
    : socket_(connect_to(port)), context_(client_context(terms)), tls_(SSL_new(context_.get()))
{
    const timeval patience{kPatience.count(), 0};
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    SSL_set_fd(tls_.get(), socket_.get());
    ERR_clear_error();
    connected_ = SSL_connect(tls_.get()) == 1;
    if (!connected_) {
        reason_ = openssl_reason();
    }
}

bool TlsTestClient::send(std::string_view bytes)
{
    while (!bytes.empty()) {
        const int sent = SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size()));
        if (sent <= 0) {
            reason_ = openssl_reason();
            return false;
        }
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

std::string TlsTestClient::receive(size_t count)
{
    std::string all(count, '\0');
    size_t done = 0;
    while (done < count) {
        const int got = SSL_read(tls_.get(), all.data() + done, static_cast<int>(count - done));
        if (got <= 0) {
            reason_ = openssl_reason();
            break;
        }
        done += static_cast<size_t>(got);
    }
    all.resize(done);
    return all;
}

size_t TlsTestClient::send_until_stalled(size_t limit)
{
    constexpr int kStalledMs = 300;
    const int before = ::fcntl(socket_.get(), F_GETFL);
    ::fcntl(socket_.get(), F_SETFL, before | O_NONBLOCK);
    const std::string bytes = pattern(limit);
    size_t total = 0;
    while (total < limit) {
        const int sent = SSL_write(tls_.get(), bytes.data() + total, static_cast<int>(limit - total));
        if (sent > 0) {
            total += static_cast<size_t>(sent);
            continue;
        }
        pollfd entry{socket_.get(), POLLOUT, 0};
        if (SSL_get_error(tls_.get(), sent) != SSL_ERROR_WANT_WRITE || ::poll(&entry, 1, kStalledMs) <= 0) {
            break;
        }
    }
    ::fcntl(socket_.get(), F_SETFL, before);
    return total;
}

void TlsTestClient::end()
{
    SSL_shutdown(tls_.get());
}

void TlsTestClient::abort()
{
    socket_.reset();
}

bool TlsTestClient::ended_properly()
{
    char byte = 0;
    const int got = SSL_read(tls_.get(), &byte, 1);
    return got <= 0 && SSL_get_error(tls_.get(), got) == SSL_ERROR_ZERO_RETURN;
}

TlsSetup::TlsSetup()
    : authority_(identity("authority", "/CN=Test authority")), client_(identity("alice", "/CN=alice", &authority_))
{}

TlsOptions TlsSetup::options() const
{
    TlsOptions options;
    options.state_dir = folder_.path();
    options.ca_file = authority_.certificate_file;
    return options;
}

Identity TlsSetup::identity(const std::string& name, const std::string& subject, const Identity* issuer) const
{
    Identity made{folder_.path(name + ".crt"), folder_.path(name + ".key"), {}};
    std::vector<std::string> command{
        "openssl", "req",   "-x509", "-newkey", "ec",          "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days",
        "2",       "-subj", subject, "-keyout", made.key_file, "-out",     made.certificate_file};
    if (issuer != nullptr) {
        command.insert(command.end(), {"-CA", issuer->certificate_file, "-CAkey", issuer->key_file, "-addext",
                                       "basicConstraints=CA:FALSE"});
    }
    EXPECT_EQ(run(command), 0) << name;
    made.fingerprint = fingerprint_of(made.certificate_file);
    return made;
}

std::unique_ptr<Transport> TlsSetup::listen(ConnectionLimits limits, Arrival arrival, LogSink log)
{
    TlsOptions all = options();
    static_cast<ConnectionLimits&>(all) = limits;
    return listen_tls("127.0.0.1", 0, all, std::move(arrival), std::move(log));
}

std::unique_ptr<TestClient> TlsSetup::connect(uint16_t port)
{
    return std::make_unique<TlsTestClient>(port, TlsClientTerms{&client_, 0});
}

} // namespace zpf::agent::testing

// SPDX-License-Identifier: Apache-2.0
//
// The key is written first: should the machine stop in between, the next start makes the certificate for it.
#include "tls_own_certificate.hpp"

#include "state_file.hpp"
#include "tls_handles.hpp"

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>

#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace zpf::agent {

namespace {

constexpr long kDaySeconds = 24L * 60 * 60;
constexpr int kValidDays = 3652;

void check(bool done, const char* what)
{
    if (!done) {
        throw std::runtime_error(std::string{"tls: no certificate can be made, "} + what + ": " + openssl_reason());
    }
}

std::string text_of(const Bio& bio)
{
    char* data = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &data);
    return {data, static_cast<size_t>(length)};
}

Bio memory()
{
    Bio bio{BIO_new(BIO_s_mem())};
    check(bio != nullptr, "memory");
    return bio;
}

std::string new_key_text()
{
    const PrivateKey key{EVP_EC_gen("P-256")};
    const Bio bio = memory();
    check(key && PEM_write_bio_PrivateKey(bio.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1, "key");
    return text_of(bio);
}

PrivateKey parse_key(const std::string& text, const std::string& path)
{
    const Bio bio{BIO_new_mem_buf(text.data(), static_cast<int>(text.size()))};
    PrivateKey key{bio ? PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr) : nullptr};
    if (!key) {
        throw std::runtime_error(path + ": is no private key (" + openssl_reason() +
                                 "); restore it, or remove it and the " +
                                 "certificate beside it to have new ones made");
    }
    return key;
}

void add_extension(X509* certificate, int nid, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    const CertificateExtension extension{X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str())};
    check(extension && X509_add_ext(certificate, extension.get(), -1) == 1, value.c_str());
}

void set_names(X509* certificate)
{
    std::array<char, 64> host{}; // a common name has no more
    if (::gethostname(host.data(), host.size() - 1) != 0 || host[0] == '\0') {
        std::strcpy(host.data(), "zpfd");
    }
    X509_NAME* name = X509_get_subject_name(certificate);
    const std::string text = host.data();
    const std::vector<unsigned char> bytes(text.begin(), text.end());
    check(X509_NAME_add_entry_by_NID(name, NID_commonName, MBSTRING_UTF8, bytes.data(), static_cast<int>(bytes.size()),
                                     -1, 0) == 1 &&
              X509_set_issuer_name(certificate, name) == 1,
          "names");
    add_extension(certificate, NID_subject_alt_name, "DNS:" + text + ",DNS:localhost,IP:127.0.0.1,IP:::1");
}

void set_serial(X509* certificate)
{
    uint64_t serial = 0;
    std::array<unsigned char, sizeof serial> bytes{};
    check(RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) == 1, "random number");
    std::memcpy(&serial, bytes.data(), bytes.size());
    check(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1U) == 1, "serial number");
}

std::string new_certificate_text(EVP_PKEY* key)
{
    const Certificate certificate{X509_new()};
    check(certificate && X509_set_version(certificate.get(), X509_VERSION_3) == 1, "version");
    set_serial(certificate.get());
    // A day back, for clients whose clock is behind.
    check(X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -kDaySeconds) != nullptr &&
              X509_time_adj_ex(X509_getm_notAfter(certificate.get()), kValidDays, 0, nullptr) != nullptr &&
              X509_set_pubkey(certificate.get(), key) == 1,
          "validity");
    set_names(certificate.get());
    add_extension(certificate.get(), NID_basic_constraints, "critical,CA:FALSE");
    add_extension(certificate.get(), NID_key_usage, "critical,digitalSignature");
    add_extension(certificate.get(), NID_ext_key_usage, "serverAuth");
    check(X509_sign(certificate.get(), key, EVP_sha256()) > 0, "signature");
    const Bio bio = memory();
    check(PEM_write_bio_X509(bio.get(), certificate.get()) == 1, "text");
    return text_of(bio);
}

} // namespace

CertificateFiles own_certificate(const std::string& folder)
{
    constexpr mode_t kOpenToOthers = 0077;
    constexpr mode_t kWritableByOthers = 0022;
    constexpr mode_t kReadable = 0644;
    CertificateFiles files{folder + "/tls_server.crt", folder + "/tls_server.key"};
    const bool has_certificate = read_file(files.certificate, kWritableByOthers).has_value();
    auto key_text = read_file(files.key, kOpenToOthers);
    if (has_certificate && key_text) {
        return files;
    }
    if (has_certificate) {
        throw std::runtime_error(
            files.key + ": is missing, and " + files.certificate + " is of no use without it; restore the " +
            "key, or remove the certificate to have new ones made, which clients will have to accept anew");
    }
    if (!key_text) {
        write_new_file(files.key, new_key_text());
        key_text = read_file(files.key, kOpenToOthers); // another process may have been first
    }
    write_new_file(files.certificate, new_certificate_text(parse_key(key_text.value(), files.key).get()), kReadable);
    return files;
}

} // namespace zpf::agent

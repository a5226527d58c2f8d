// SPDX-License-Identifier: Apache-2.0
//
// Fingerprints and common names.
#include "tls_identity.hpp"

#include <algorithm>
#include <stdexcept>

#include <fmt/format.h>

namespace zpf::agent {

namespace {

constexpr size_t kFingerprintDigits = 64; // SHA-256

std::string plain_fingerprint(const std::string& text)
{
    std::string plain;
    for (const char c : text) {
        if (c >= 'A' && c <= 'F') {
            plain += static_cast<char>(c - 'A' + 'a');
        } else if ((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f')) {
            plain += c;
        } else if (c != ':') {
            return {};
        }
    }
    return plain;
}

std::string fingerprint_of(X509* certificate)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (X509_digest(certificate, EVP_sha256(), digest.data(), &length) != 1) {
        return {};
    }
    std::string text;
    for (const unsigned char byte : std::span{digest}.first(length)) {
        text += "0123456789abcdef"[byte >> 4U];
        text += "0123456789abcdef"[byte & 15U];
    }
    return text;
}

/** The common name when there is exactly one, of printable characters: two would leave open who this is. */
std::optional<std::string> common_name_of(X509* certificate)
{
    const X509_NAME* subject = X509_get_subject_name(certificate);
    const int at = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
    if (at < 0 || X509_NAME_get_index_by_NID(subject, NID_commonName, at) >= 0) {
        return std::nullopt;
    }
    unsigned char* raw = nullptr;
    const int length = ASN1_STRING_to_UTF8(&raw, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, at)));
    const OpensslText text{raw};
    if (length <= 0) {
        return std::nullopt;
    }
    const std::string name(text.get(), text.get() + length);
    const bool shows = std::all_of(name.begin(), name.end(), [](char c) {
        const auto code = static_cast<unsigned char>(c);
        return code >= 0x20 && code != 0x7f;
    });
    return shows ? std::optional(name) : std::nullopt;
}

} // namespace

TlsIdentities::TlsIdentities(const std::vector<UserEntry>& users, bool has_authority) : has_authority_(has_authority)
{
    for (const auto& [fingerprint, user] : users) {
        const std::string plain = plain_fingerprint(fingerprint);
        if (plain.size() != kFingerprintDigits || user.empty()) {
            throw std::runtime_error(
                fmt::format("tls: '{}' for user '{}' is no SHA-256 fingerprint (64 hexadecimal digits, colons allowed) "
                            "and name; openssl x509 -noout -fingerprint -sha256 -in FILE prints it",
                            fingerprint, user));
        }
        user_by_fingerprint_[plain] = user;
    }
    if (!has_authority_ && user_by_fingerprint_.empty()) {
        throw std::runtime_error(
            "tls: neither a certificate authority nor a client's fingerprint is given, so nobody could log "
            "in; give one of them");
    }
}

const std::string* TlsIdentities::listed_user(X509* certificate) const
{
    const auto found = user_by_fingerprint_.find(fingerprint_of(certificate));
    return found == user_by_fingerprint_.end() ? nullptr : &found->second;
}

std::optional<std::string> TlsIdentities::user_of(X509* certificate) const
{
    if (const std::string* const user = listed_user(certificate)) {
        return *user;
    }
    return has_authority_ ? common_name_of(certificate) : std::nullopt;
}

int TlsIdentities::verify(X509_STORE_CTX* store, void* identities)
{
    const auto& self = *static_cast<const TlsIdentities*>(identities);
    X509* certificate = X509_STORE_CTX_get0_cert(store);
    const bool listed = certificate != nullptr && self.listed_user(certificate) != nullptr;
    if (!listed && self.has_authority_ && X509_verify_cert(store) != 1) {
        return 0;
    }
    if (certificate == nullptr || !self.user_of(certificate)) {
        X509_STORE_CTX_set_error(store, X509_V_ERR_CERT_REJECTED);
        return 0;
    }
    X509_STORE_CTX_set_error(store, X509_V_OK);
    return 1;
}

} // namespace zpf::agent

// SPDX-License-Identifier: Apache-2.0
//
// Who a client certificate stands for.
#pragma once

#include "tls_handles.hpp"
#include "zpf_transport/transport.hpp"

#include <map>
#include <optional>
#include <span>

namespace zpf::agent {

class TlsIdentities {
public:
    /** Throws std::runtime_error when an entry of `users` is no SHA-256 fingerprint and user. */
    TlsIdentities(const std::vector<UserEntry>& users, bool has_authority);

    /** The user by fingerprint, else, where an authority vouches for names, the one common name; nothing if there is
     * none. */
    [[nodiscard]] std::optional<std::string> user_of(X509* certificate) const;

    /** For SSL_CTX_set_cert_verify_callback, with the object as its argument. A certificate is good when its
     * fingerprint is listed, whoever has signed it, or when an authority vouches for it. One that names no user is
     * never good. */
    static int verify(X509_STORE_CTX* store, void* identities);

private:
    /** The user of the certificate's fingerprint, or null. */
    [[nodiscard]] const std::string* listed_user(X509* certificate) const;

    std::map<std::string, std::string, std::less<>> user_by_fingerprint_; // lower-case hexadecimal
    bool has_authority_;
};

} // namespace zpf::agent

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

    /** For SSL_CTX_set_cert_verify_callback, with the object as its argument. Without authority, a certificate is good
     * exactly when its fingerprint is listed; with one, also the chain has to hold. One that names no user is never
     * good. */
    static int verify(X509_STORE_CTX* store, void* identities);

private:
    std::map<std::string, std::string, std::less<>> user_by_fingerprint_; // lower-case hexadecimal
    bool has_authority_;
};

} // namespace zpf::agent

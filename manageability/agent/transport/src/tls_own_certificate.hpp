// SPDX-License-Identifier: Apache-2.0
//
// The server's own certificate, for machines that nobody has given one.
#pragma once

#include <string>

namespace zpf::agent {

struct CertificateFiles {
    std::string certificate;
    std::string key;
};

/**
 * Names tls_server.crt and tls_server.key in the folder. Where they are missing a P-256 key (mode 0600) and a
 * certificate signed with it are made, for this machine's name and "localhost", good for ten years. Throws
 * std::runtime_error, also when there is a certificate whose key is gone.
 */
CertificateFiles own_certificate(const std::string& folder);

} // namespace zpf::agent

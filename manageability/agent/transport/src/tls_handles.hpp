// SPDX-License-Identifier: Apache-2.0
//
// Owners of OpenSSL's handles, and its errors as text.
#pragma once

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <array>
#include <memory>
#include <string>

namespace zpf::agent {

struct TlsFree {
    void operator()(SSL_CTX* context) const noexcept { SSL_CTX_free(context); }
    void operator()(SSL* ssl) const noexcept { SSL_free(ssl); }
    void operator()(X509* certificate) const noexcept { X509_free(certificate); }
    void operator()(X509_EXTENSION* extension) const noexcept { X509_EXTENSION_free(extension); }
    void operator()(EVP_PKEY* key) const noexcept { EVP_PKEY_free(key); }
    void operator()(BIO* bio) const noexcept { BIO_free_all(bio); }
    void operator()(unsigned char* text) const noexcept { OPENSSL_free(text); }
};

using TlsContext = std::unique_ptr<SSL_CTX, TlsFree>;
using Tls = std::unique_ptr<SSL, TlsFree>;
using Certificate = std::unique_ptr<X509, TlsFree>;
using CertificateExtension = std::unique_ptr<X509_EXTENSION, TlsFree>;
using PrivateKey = std::unique_ptr<EVP_PKEY, TlsFree>;
using Bio = std::unique_ptr<BIO, TlsFree>;
using OpensslText = std::unique_ptr<unsigned char, TlsFree>;

/** The reason of the calling thread's first error, for people; the thread's errors are forgotten. */
inline std::string openssl_reason()
{
    const unsigned long code = ERR_get_error();
    ERR_clear_error();
    const char* reason = ERR_reason_error_string(code);
    return reason != nullptr ? reason : "no reason given";
}

} // namespace zpf::agent

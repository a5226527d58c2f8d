// SPDX-License-Identifier: Apache-2.0
//
// What only the TLS transport does: certificates, fingerprints, versions.
#include "tls_setup.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <openssl/pem.h>

#include <algorithm>

namespace zpf::agent::testing {

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

class TlsTransport : public ::testing::Test {
protected:
    void start(const TlsOptions& options)
    {
        transport_.reset();
        transport_ = listen_tls("127.0.0.1", 0, options, echo_.arrival(), log_.sink());
        port_ = port_of(*transport_);
    }
    /** Echoed, and so let in: with TLS 1.3 a client learns only when reading that its certificate was refused. */
    bool lets_in(const Identity* identity, int highest_version = 0)
    {
        TlsTestClient client(port_, {identity, highest_version});
        const bool in = client.connected() && client.send("hello") && client.receive(5) == "hello";
        reason_ = client.reason();
        return in;
    }
    std::string refusal_to_start(const TlsOptions& options)
    {
        try {
            start(options);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "started";
    }

    TlsSetup setup_;
    LogLines log_;
    AgentDouble echo_{AgentDouble::Manner::echoes};
    std::unique_ptr<Transport> transport_;
    uint16_t port_ = 0;
    std::string reason_;
};

TEST_F(TlsTransport, TakesTheUserFromTheCommonName)
{
    start(setup_.options());
    ASSERT_TRUE(lets_in(&setup_.client()));
    EXPECT_EQ(echo_.peers().at(0).user, "alice");
}

TEST_F(TlsTransport, PrefersTheUserOfTheFingerprint)
{
    TlsOptions options = setup_.options();
    options.users = {{setup_.client().fingerprint, "operator"}};
    start(options);
    ASSERT_TRUE(lets_in(&setup_.client()));
    EXPECT_EQ(echo_.peers().at(0).user, "operator");
}

TEST_F(TlsTransport, RefusesAClientWithoutACertificate)
{
    start(setup_.options());
    EXPECT_FALSE(lets_in(nullptr));
    EXPECT_THAT(reason_, HasSubstr("certificate required"));
    EXPECT_TRUE(echo_.peers().empty());
}

TEST_F(TlsTransport, RefusesACertificateOfAnotherAuthorityWhoseFingerprintIsNotListed)
{
    const Identity other = setup_.identity("other", "/CN=Test authority");
    const Identity forged = setup_.identity("forged", "/CN=alice", &other);
    const Identity lonely = setup_.identity("lonely", "/CN=alice");
    const Identity listed = setup_.identity("listed", "/CN=alice");
    TlsOptions options = setup_.options();
    options.users = {{listed.fingerprint, "alice"}};
    start(options);
    EXPECT_FALSE(lets_in(&forged));
    EXPECT_FALSE(lets_in(&lonely));
    EXPECT_TRUE(echo_.peers().empty());
    EXPECT_TRUE(lets_in(&setup_.client()));
}

TEST_F(TlsTransport, TakesAListedCertificateBesideThoseOfTheAuthority)
{
    const Identity lonely = setup_.identity("lonely", "/CN=whoever");
    const Identity other = setup_.identity("other", "/CN=Another authority");
    const Identity signed_elsewhere = setup_.identity("elsewhere", "/CN=whoever", &other);
    TlsOptions options = setup_.options();
    options.users = {{lonely.fingerprint, "bob"}, {signed_elsewhere.fingerprint, "carol"}};
    start(options);
    ASSERT_TRUE(lets_in(&lonely)) << reason_;
    EXPECT_EQ(echo_.peers().back().user, "bob");
    ASSERT_TRUE(lets_in(&lonely, TLS1_2_VERSION)) << reason_;
    ASSERT_TRUE(lets_in(&signed_elsewhere)) << reason_;
    EXPECT_EQ(echo_.peers().back().user, "carol");
    ASSERT_TRUE(lets_in(&setup_.client())) << reason_;
    EXPECT_EQ(echo_.peers().back().user, "alice");
}

TEST_F(TlsTransport, TakesExactlyTheListedCertificatesWithoutAnAuthority)
{
    const Identity mine = setup_.identity("mine", "/CN=whoever");
    const Identity lookalike = setup_.identity("lookalike", "/CN=whoever");
    std::string plain = mine.fingerprint;
    plain.erase(std::remove(plain.begin(), plain.end(), ':'), plain.end());
    std::string lower = plain;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return c >= 'A' && c <= 'F' ? c + 32 : c; });
    for (const std::string& fingerprint : {mine.fingerprint, plain, lower}) {
        TlsOptions options = setup_.options();
        options.ca_file.clear();
        options.users = {{fingerprint, "bob"}};
        start(options);
        EXPECT_TRUE(lets_in(&mine)) << fingerprint;
        EXPECT_EQ(echo_.peers().back().user, "bob");
        EXPECT_FALSE(lets_in(&lookalike)) << fingerprint;
        EXPECT_FALSE(lets_in(&setup_.client())) << fingerprint;
    }
}

TEST_F(TlsTransport, RefusesACertificateThatNamesNobodyOrTwo)
{
    start(setup_.options());
    const Identity two = setup_.identity("two", "/CN=alice/CN=root", &setup_.authority());
    const Identity controls = setup_.identity("controls", "/CN=alice\x1b[31m", &setup_.authority());
    const Identity nobody = setup_.identity("nobody", "/O=Optics", &setup_.authority());
    EXPECT_FALSE(lets_in(&nobody));
    EXPECT_FALSE(lets_in(&two));
    EXPECT_FALSE(lets_in(&controls));
    EXPECT_TRUE(echo_.peers().empty());
}

TEST_F(TlsTransport, SpeaksTls12AndLaterOnly)
{
    start(setup_.options());
    EXPECT_FALSE(lets_in(&setup_.client(), TLS1_1_VERSION));
    EXPECT_THAT(reason_, HasSubstr("protocol version"));
    EXPECT_TRUE(lets_in(&setup_.client(), TLS1_2_VERSION));
    TlsTestClient latest(port_, {&setup_.client(), 0});
    EXPECT_EQ(latest.version(), "TLSv1.3");
}

TEST_F(TlsTransport, SaysGoodByeProperly)
{
    AgentDouble keep(AgentDouble::Manner::keeps);
    const auto transport = listen_tls("127.0.0.1", 0, setup_.options(), keep.arrival(), {});
    TlsTestClient client(port_of(*transport), {&setup_.client(), 0});
    auto [stream, peer] = keep.next();
    stream.reset();
    EXPECT_TRUE(client.ended_properly());
}

TEST_F(TlsTransport, MakesItsOwnCertificateOnceForTenYears)
{
    start(setup_.options());
    const std::string key = setup_.folder().path("tls_server.key");
    const std::string certificate = setup_.folder().path("tls_server.crt");
    EXPECT_EQ(mode_of(key), 0600U);
    const std::string key_text = read_text(key);
    const std::string certificate_text = read_text(certificate);
    start(setup_.options());
    EXPECT_EQ(read_text(key), key_text);
    EXPECT_EQ(read_text(certificate), certificate_text);

    const Bio bio{BIO_new_file(certificate.c_str(), "r")};
    const Certificate parsed{PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr)};
    ASSERT_TRUE(parsed);
    int days = 0;
    int seconds = 0;
    ASN1_TIME_diff(&days, &seconds, nullptr, X509_get0_notAfter(parsed.get()));
    EXPECT_NEAR(days, 3652, 1);
    EXPECT_EQ(X509_cmp_current_time(X509_get0_notBefore(parsed.get())), -1);
    EXPECT_EQ(X509_verify(parsed.get(), X509_get0_pubkey(parsed.get())), 1);
    EXPECT_EQ(X509_check_host(parsed.get(), "localhost", 0, 0, nullptr), 1);
}

TEST_F(TlsTransport, MakesTheCertificateForAKeyThatIsAlreadyThere)
{
    start(setup_.options());
    const std::string key = read_text(setup_.folder().path("tls_server.key"));
    ASSERT_EQ(::unlink(setup_.folder().path("tls_server.crt").c_str()), 0);
    start(setup_.options());
    EXPECT_EQ(read_text(setup_.folder().path("tls_server.key")), key);
    EXPECT_TRUE(lets_in(&setup_.client()));
}

TEST_F(TlsTransport, ServesTheFilesThatAreNamed)
{
    TlsOptions options = setup_.options();
    const Identity server = setup_.identity("server", "/CN=localhost", &setup_.authority());
    options.certificate_file = server.certificate_file;
    options.key_file = server.key_file;
    start(options);
    EXPECT_TRUE(lets_in(&setup_.client()));
}

TEST_F(TlsTransport, SaysWhyItDoesNotStart)
{
    TlsOptions nobody = setup_.options();
    nobody.ca_file.clear();
    EXPECT_THAT(refusal_to_start(nobody), HasSubstr("nobody could log in"));

    TlsOptions odd = setup_.options();
    odd.users = {{"AB:CD", "alice"}};
    EXPECT_THAT(refusal_to_start(odd), AllOf(HasSubstr("AB:CD"), HasSubstr("SHA-256")));

    TlsOptions half = setup_.options();
    half.certificate_file = setup_.client().certificate_file;
    EXPECT_THAT(refusal_to_start(half), HasSubstr("name both or neither"));

    TlsOptions mixed = half;
    mixed.key_file = setup_.authority().key_file;
    EXPECT_THAT(refusal_to_start(mixed), AllOf(HasSubstr(mixed.key_file), HasSubstr("is no private key of")));

    TlsOptions missing = setup_.options();
    missing.ca_file = setup_.folder().path("missing.crt");
    EXPECT_THAT(refusal_to_start(missing), HasSubstr("missing.crt"));

    start(setup_.options());
    ASSERT_EQ(::unlink(setup_.folder().path("tls_server.key").c_str()), 0);
    EXPECT_THAT(refusal_to_start(setup_.options()), AllOf(HasSubstr("tls_server.key"), HasSubstr("restore")));
}

} // namespace

} // namespace zpf::agent::testing

// SPDX-License-Identifier: Apache-2.0
//
// An SSH server's files, and clients made with libssh.
#pragma once

#include "ssh_handles.hpp"
#include "test_client.hpp"

namespace zpf::agent::testing {

/** The steps of an SSH client, one by one. */
class SshSteps {
public:
    explicit SshSteps(uint16_t port, const std::string& user = "alice");
    ~SshSteps();
    SshSteps(const SshSteps&) = delete;
    SshSteps& operator=(const SshSteps&) = delete;

    bool shake_hands();
    /** libssh's result of a login with the key in the file. */
    int log_in(const std::string& key_file);
    int log_in_with_password(const std::string& password);
    /** A channel of the session, refused: null. */
    ssh_channel open_channel();
    [[nodiscard]] ssh_session session() const { return session_.get(); }

private:
    SshSession session_;
};

class SshSetup : public Setup {
public:
    SshSetup();

    std::unique_ptr<Transport> listen(ConnectionLimits limits, Arrival arrival, LogSink log) override;
    std::unique_ptr<TestClient> connect(uint16_t port) override;
    [[nodiscard]] std::string transport_name() const override { return "netconf-ssh"; }
    [[nodiscard]] std::string refusal() const override { return "Too many connections; try again later.\r\n"; }

    [[nodiscard]] const TempFolder& folder() const { return folder_; }
    [[nodiscard]] std::string key() const { return folder_.path("alice"); }
    [[nodiscard]] std::string strangers_key() const { return folder_.path("stranger"); }
    [[nodiscard]] std::string authorized_keys() const { return folder_.path("authorized_keys"); }
    [[nodiscard]] SshOptions options() const;
    /** The system's ssh client, asking for the subsystem, with further options. */
    [[nodiscard]] std::vector<std::string> ssh_command(uint16_t port, const std::vector<std::string>& extra = {}) const;

private:
    TempFolder folder_;
};

} // namespace zpf::agent::testing

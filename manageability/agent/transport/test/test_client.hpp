// SPDX-License-Identifier: Apache-2.0
//
// Clients of both transports behind one face, so that what both have to do is tested with the same lines.
#pragma once

#include "transport_testing.hpp"

namespace zpf::agent::testing {

class TestClient {
public:
    virtual ~TestClient() = default;

    /** Logged in, with a session. */
    [[nodiscard]] virtual bool connected() const = 0;
    virtual bool send(std::string_view bytes) = 0;
    /** Reads `count` bytes, or fewer when the session ends first. */
    virtual std::string receive(size_t count) = 0;
    /** Sends until nothing could be sent for a while; returns how much was. */
    virtual size_t send_until_stalled(size_t limit) = 0;
    /** Says that nothing more will be sent. */
    virtual void end() = 0;
    /** Drops the connection without a word. */
    virtual void abort() = 0;
};

/** One transport with what its clients need. Files are made once, in a folder of the set-up. */
class Setup {
public:
    virtual ~Setup() = default;
    virtual std::unique_ptr<Transport> listen(ConnectionLimits limits, Arrival arrival, LogSink log) = 0;
    virtual std::unique_ptr<TestClient> connect(uint16_t port) = 0;
    [[nodiscard]] virtual std::string transport_name() const = 0;
    /** What a client beyond the limit is told, as it stands on the wire. */
    [[nodiscard]] virtual std::string refusal() const = 0;
};

} // namespace zpf::agent::testing

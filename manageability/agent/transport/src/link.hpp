// SPDX-License-Identifier: Apache-2.0
//
// The client's side of a relay: a connection that logs in, encrypts and decrypts. Nothing here waits; whoever drives a
// link polls its descriptor.
#pragma once

#include "byte_queue.hpp"
#include "zpf_transport/transport.hpp"

namespace zpf::agent {

/** Plain bytes of one connection, on their way. */
struct Queues {
    ByteQueue received; ///< from the client; the link fills it
    ByteQueue to_send;  ///< to the client; the link empties it
};

class Link {
public:
    virtual ~Link() = default;

    [[nodiscard]] virtual int descriptor() const = 0;

    /** Poll events that could move something now; 0 when only the queues can change that. */
    [[nodiscard]] virtual short events() const = 0;

    /**
     * Moves what can be moved between the connection and the queues. `ready` says that poll reported the descriptor.
     * Returns whether anything moved. Never throws over what a client does: a broken connection is gone().
     */
    virtual bool advance(bool ready) = 0;

    /** The client is known and may have its session. */
    [[nodiscard]] virtual bool logged_in() const = 0;
    [[nodiscard]] virtual const Peer& peer() const = 0;

    /** The client sends no more, and all that it has sent is in the queue. */
    [[nodiscard]] virtual bool received_all() const = 0;

    /** Nothing can be sent any more: the client has closed, or the connection is lost. */
    [[nodiscard]] virtual bool gone() const = 0;

    /** Tells the client that nothing follows what was sent; the queue is empty. */
    virtual void end_sending() = 0;

    /** Begins an orderly end in both directions; gone() tells when the client has joined in. Again does nothing. */
    virtual void close() = 0;
};

} // namespace zpf::agent

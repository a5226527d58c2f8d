// SPDX-License-Identifier: Apache-2.0
//
// Signals that end a command which follows something, held back so that it ends in order.
#pragma once

#include <csignal>

namespace zpf::cli {

/// While it lives, SIGINT, SIGTERM, a terminal's end and that of who reads the output wait to be asked for.
class SignalsBlocked {
public:
    SignalsBlocked()
    {
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGINT);
        sigaddset(&signals_, SIGTERM);
        sigaddset(&signals_, SIGHUP);
        sigaddset(&signals_, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &signals_, &mask_before_);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr); }

    const sigset_t& signals() const { return signals_; }

private:
    sigset_t signals_;
    sigset_t mask_before_;
};

} // namespace zpf::cli

// SPDX-License-Identifier: Apache-2.0
//
// Log lines put together from pieces, safe to show: what a client names itself cannot forge a line or drive a terminal.
#pragma once

#include "zpf_transport/transport.hpp"

#include <cerrno>
#include <string>
#include <string_view>
#include <system_error>

namespace zpf::agent {

/** `text` with everything but printable ASCII replaced, and cut after 64 characters. */
inline std::string printable(std::string_view text)
{
    constexpr size_t kLongest = 64;
    std::string shown{text.substr(0, kLongest)};
    for (char& c : shown) {
        if (c < ' ' || c > '~') {
            c = '?';
        }
    }
    return shown + (text.size() > kLongest ? "..." : "");
}

/** What the last failed system call says. */
inline std::string errno_text(int error = errno)
{
    return std::generic_category().message(error);
}

template <typename... Pieces>
void say(const LogSink& log, int level, const Pieces&... pieces)
{
    if (log) {
        std::string line;
        (line.append(pieces), ...);
        log(level, line);
    }
}

} // namespace zpf::agent

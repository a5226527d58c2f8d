// SPDX-License-Identifier: Apache-2.0
//
// Time, interruption, progress.
#include "watch.hpp"

#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <stdexcept>

namespace zpf::bench {

namespace {

volatile std::sig_atomic_t interruption = 0;

void on_signal(int /*number*/)
{
    interruption = 1;
}

} // namespace

Watch::Watch(std::chrono::seconds limit) : limit_(limit), terminal_(::isatty(STDERR_FILENO) == 1)
{
    struct sigaction action {};
    action.sa_handler = on_signal; // without SA_RESTART: waiting calls come back
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
}

bool Watch::interrupted()
{
    return interruption != 0;
}

void Watch::check() const
{
    if (interrupted()) {
        throw std::runtime_error("interrupted");
    }
    if (Clock::now() - begin_ > limit_) {
        throw std::runtime_error(fmt::format("the {} s for the whole run are used up (--limit)", limit_.count()));
    }
}

void Watch::sleep(std::chrono::milliseconds time) const
{
    const auto end = Clock::now() + time;
    for (auto now = Clock::now(); now < end; now = Clock::now()) {
        check();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
        ::poll(nullptr, 0, static_cast<int>(std::min<std::chrono::milliseconds::rep>(left.count(), 1000)));
    }
}

void Watch::show(const std::string& step) const
{
    if (terminal_) {
        const auto passed = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin_);
        fmt::print(stderr, "\r\033[K{:>4} s  {}", passed.count(), step);
        std::fflush(stderr);
    }
}

void Watch::clear() const
{
    if (terminal_) {
        fmt::print(stderr, "\r\033[K");
    }
}

} // namespace zpf::bench

// SPDX-License-Identifier: Apache-2.0
//
// The one owner of a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace zpf::agent {

/** Closes its descriptor when it goes; holds -1 when it owns none. Moving hands the descriptor over. */
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) noexcept : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    [[nodiscard]] int get() const noexcept { return fd_; }
    explicit operator bool() const noexcept { return fd_ >= 0; }

    /** Gives the descriptor away: the caller closes it. */
    [[nodiscard]] int release() noexcept { return std::exchange(fd_, -1); }

    /** Closes what is held and owns `fd` from here on. */
    void reset(int fd = -1) noexcept
    {
        if (const int old = std::exchange(fd_, fd); old >= 0 && old != fd) {
            ::close(old);
        }
    }

private:
    int fd_ = -1;
};

} // namespace zpf::agent

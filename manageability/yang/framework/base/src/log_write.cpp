// SPDX-License-Identifier: Apache-2.0
//
// One line, one write: the system call behind the debug log.
// A program must not end because the reader of its log did.
#include "log_write.hpp"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace zpf::base {
namespace {

bool write_all(int fd, std::string_view rest) noexcept
{
    while (!rest.empty()) {
        const ssize_t written = ::write(fd, rest.data(), rest.size());
        if (written > 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

/** Keeps SIGPIPE from this thread, and takes away the one that a failed write left behind. */
class BrokenPipeHeldBack {
public:
    BrokenPipeHeldBack() noexcept
    {
        sigset_t pending;
        sigpending(&pending);
        was_pending_ = sigismember(&pending, SIGPIPE) == 1;
        sigemptyset(&broken_pipe_);
        sigaddset(&broken_pipe_, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &broken_pipe_, &mask_before_);
    }
    BrokenPipeHeldBack(const BrokenPipeHeldBack&) = delete;
    BrokenPipeHeldBack& operator=(const BrokenPipeHeldBack&) = delete;
    ~BrokenPipeHeldBack()
    {
        constexpr timespec kAtOnce{};
        if (!was_pending_) {
            sigtimedwait(&broken_pipe_, nullptr, &kAtOnce);
        }
        pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr);
    }

private:
    sigset_t broken_pipe_;
    sigset_t mask_before_;
    bool was_pending_;
};

} // namespace

bool write_line(int fd, std::string_view line, bool is_plain_file) noexcept
{
    if (is_plain_file) {
        return write_all(fd, line);
    }
    const BrokenPipeHeldBack held_back;
    return write_all(fd, line);
}

} // namespace zpf::base

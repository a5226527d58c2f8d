// SPDX-License-Identifier: Apache-2.0
//
// zpf-netconf: hands a client of the system's sshd on to the agent. Relays standard input and output to the agent's
// UNIX socket until the agent has closed it; the agent sees the user that sshd logged in.
#include "byte_queue.hpp"
#include "zpf_transport/default_socket.hpp"
#include "zpf_transport/unique_fd.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

using zpf::agent::ByteQueue;
using zpf::agent::UniqueFd;

namespace {

constexpr size_t kChunkBytes = 32 * 1024;

/** Makes a descriptor non-blocking; standard streams may be shared, so that the old mode is put back at the end. */
class NonBlocking {
public:
    explicit NonBlocking(int fd) : fd_(fd), before_(::fcntl(fd, F_GETFL))
    {
        ::fcntl(fd_, F_SETFL, before_ | O_NONBLOCK);
    }
    ~NonBlocking() { ::fcntl(fd_, F_SETFL, before_); }
    NonBlocking(const NonBlocking&) = delete;
    NonBlocking& operator=(const NonBlocking&) = delete;

private:
    int fd_;
    int before_;
};

/** One direction. Reads only when all it has read is written, so that a slow reader holds up the writer. */
class Flow {
public:
    Flow(int from, int to) : from_(from), to_(to) {}

    /** Passes on what one read gives. The next poll tells of more: cheaper than a second read that finds nothing. */
    void step(bool readable)
    {
        if (flush() && readable && !ended_ && fill()) {
            flush();
        }
    }

    /** Moves all that can be moved without waiting. */
    void drain()
    {
        while (flush() && !ended_ && fill()) {}
    }

    [[nodiscard]] bool ended() const { return ended_ && waiting_.empty(); }
    [[nodiscard]] bool empty() const { return waiting_.empty(); }
    [[nodiscard]] bool broken() const { return broken_; }
    [[nodiscard]] pollfd reads() const { return {waiting_.empty() && !ended_ ? from_ : -1, POLLIN, 0}; }
    [[nodiscard]] pollfd writes() const { return {waiting_.empty() ? -1 : to_, POLLOUT, 0}; }

private:
    bool fill()
    {
        std::array<char, kChunkBytes> chunk;
        const ssize_t got = ::read(from_, chunk.data(), chunk.size());
        if (got > 0) {
            waiting_.append(std::span{chunk}.first(static_cast<size_t>(got)));
            return true;
        }
        ended_ = got == 0 || (errno != EAGAIN && errno != EINTR);
        return false;
    }

    /** Returns whether nothing is left to write. */
    bool flush()
    {
        while (!waiting_.empty()) {
            const auto bytes = waiting_.bytes();
            const ssize_t put = ::write(to_, bytes.data(), bytes.size());
            if (put < 0 && errno != EINTR) {
                if (errno != EAGAIN) {
                    broken_ = ended_ = true;
                    waiting_.clear();
                }
                return false;
            }
            waiting_.take(put > 0 ? static_cast<size_t>(put) : 0);
        }
        return true;
    }

    int from_;
    int to_;
    ByteQueue waiting_;
    bool ended_ = false;
    bool broken_ = false;
};

/** The client is gone; what it sent before still goes to the agent. */
void deliver_rest(Flow& to_agent)
{
    for (to_agent.drain(); !to_agent.empty(); to_agent.drain()) {
        pollfd entry = to_agent.writes();
        ::poll(&entry, 1, -1);
    }
}

void relay(const UniqueFd& agent)
{
    const NonBlocking input(STDIN_FILENO);
    const NonBlocking output(STDOUT_FILENO);
    Flow to_agent(STDIN_FILENO, agent.get());
    Flow to_client(agent.get(), STDOUT_FILENO);
    bool told_agent = false;
    for (;;) {
        // The last entry asks for nothing and so reports only that nobody reads standard output any more.
        std::array<pollfd, 5> fds{to_agent.reads(), to_agent.writes(), to_client.reads(), to_client.writes(),
                                  pollfd{STDOUT_FILENO, 0, 0}};
        if (::poll(fds.data(), fds.size(), -1) < 0) {
            continue; // a signal
        }
        if (fds[4].revents != 0) {
            return deliver_rest(to_agent);
        }
        to_agent.step(fds[0].revents != 0);
        to_client.step(fds[2].revents != 0);
        if (to_client.broken()) {
            return deliver_rest(to_agent);
        }
        if (to_client.ended()) {
            return;
        }
        if (to_agent.ended() && !told_agent) {
            told_agent = true;
            ::shutdown(agent.get(), SHUT_WR); // replies may still come
        }
    }
}

int fail(const std::string& what)
{
    std::fprintf(stderr, "zpf-netconf: %s\n", what.c_str());
    return 1;
}

int serve(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return fail("'" + path + "' is no path of a socket: it has none or too many characters");
    }
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const UniqueFd agent{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    const void* raw = &address;
    if (!agent || ::connect(agent.get(), static_cast<const sockaddr*>(raw), sizeof address) != 0) {
        return fail("the agent does not answer at " + path + ": " + std::strerror(errno) + "; is zpfd running?");
    }
    const NonBlocking socket(agent.get());
    relay(agent);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    std::signal(SIGPIPE, SIG_IGN);
    const std::string_view first = argc > 1 ? argv[1] : "";
    if (argc == 1) {
        return serve(zpf::agent::kDefaultSocket);
    }
    if (argc == 3 && first == "--socket") {
        return serve(argv[2]);
    }
    if (argc == 2 && first.starts_with("--socket=")) {
        return serve(std::string{first.substr(first.find('=') + 1)});
    }
    const bool asked = argc == 2 && (first == "--help" || first == "-h");
    std::fprintf(asked ? stdout : stderr,
                 "usage: zpf-netconf [--socket PATH]\n"
                 "Relays standard input and output to the agent's socket (default: %s).\n"
                 "For sshd_config: Subsystem netconf <this program>\n",
                 zpf::agent::kDefaultSocket);
    return asked ? 0 : 2;
}

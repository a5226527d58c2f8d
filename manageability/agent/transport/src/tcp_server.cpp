// SPDX-License-Identifier: Apache-2.0
//
// Accepting, counting and joining. Threads start with all signals blocked: those are for the main thread, and a write
// to a connection that is gone must not end the process.
#include "tcp_server.hpp"

#include "log_text.hpp"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <array>
#include <csignal>
#include <stdexcept>

namespace zpf::agent {

namespace {

class SignalsBlocked {
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_{};
};

struct AddressList {
    addrinfo* first = nullptr;
    ~AddressList()
    {
        if (first != nullptr) {
            freeaddrinfo(first);
        }
    }
};

/** Numeric host and port of a socket address; IPv4 in IPv6 clothes is shown as IPv4. */
std::pair<std::string, std::string> numeric(const sockaddr_storage& address, socklen_t length)
{
    std::array<char, NI_MAXHOST> host{};
    std::array<char, NI_MAXSERV> port{};
    const void* raw = &address;
    if (getnameinfo(static_cast<const sockaddr*>(raw), length, host.data(), host.size(), port.data(), port.size(),
                    NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
        return {"unknown", "0"};
    }
    std::string text = host.data();
    if (text.starts_with("::ffff:") && text.find('.') != std::string::npos) {
        text.erase(0, 7);
    }
    return {text, port.data()};
}

std::string joined(const std::string& host, const std::string& port)
{
    return (host.find(':') == std::string::npos ? host : '[' + host + ']') + ':' + port;
}

void set_option(int fd, int level, int name, int value)
{
    ::setsockopt(fd, level, name, &value, sizeof value);
}

/** Has the kernel ask after a silent client, so that one whose machine is gone does not stay for ever. */
void keep_alive(int fd)
{
    constexpr int kIdleBeforeFirst_s = 120;
    constexpr int kBetween_s = 30;
    constexpr int kUnanswered = 4;
    set_option(fd, SOL_SOCKET, SO_KEEPALIVE, 1);
    set_option(fd, IPPROTO_TCP, TCP_KEEPIDLE, kIdleBeforeFirst_s);
    set_option(fd, IPPROTO_TCP, TCP_KEEPINTVL, kBetween_s);
    set_option(fd, IPPROTO_TCP, TCP_KEEPCNT, kUnanswered);
}

UniqueFd bound_socket(const addrinfo& at)
{
    UniqueFd fd{::socket(at.ai_family, at.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, at.ai_protocol)};
    if (fd) {
        set_option(fd.get(), SOL_SOCKET, SO_REUSEADDR, 1);
        if (at.ai_family == AF_INET6) {
            set_option(fd.get(), IPPROTO_IPV6, IPV6_V6ONLY, 0);
        }
        if (::bind(fd.get(), at.ai_addr, at.ai_addrlen) != 0 || ::listen(fd.get(), SOMAXCONN) != 0) {
            const int error = errno;
            fd.reset();
            errno = error;
        }
    }
    return fd;
}

std::string advice_for(int error)
{
    switch (error) {
    case EADDRINUSE:
        return "; stop what listens there, or choose another port";
    case EACCES:
        return "; ports below 1024 need the capability CAP_NET_BIND_SERVICE, or choose another port";
    case EADDRNOTAVAIL:
        return "; this machine has no such address";
    default:
        return {};
    }
}

UniqueFd listening_socket(const std::string& name, const std::string& address, uint16_t port)
{
    const bool everywhere = address.empty() || address == "*";
    std::string host = address;
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    }
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    AddressList list;
    const std::string service = std::to_string(port);
    const std::string what = "cannot listen on " + name + ':' + joined(host, service);
    if (const int rc = getaddrinfo(everywhere ? nullptr : host.c_str(), service.c_str(), &hints, &list.first);
        rc != 0) {
        throw std::runtime_error(what + ": " + gai_strerror(rc) + "; give a numeric address of this machine");
    }
    int error = EADDRNOTAVAIL;
    // All addresses at once are IPv6's, where the machine has it; otherwise the resolver's order holds.
    for (const int family : {AF_INET6, AF_UNSPEC}) {
        for (const addrinfo* at = list.first; at != nullptr; at = at->ai_next) {
            if (family == AF_INET6 && (!everywhere || at->ai_family != AF_INET6)) {
                continue;
            }
            if (UniqueFd fd = bound_socket(*at)) {
                return fd;
            }
            error = errno;
        }
    }
    throw std::runtime_error(what + ": " + errno_text(error) + advice_for(error));
}

UniqueFd event_fd()
{
    UniqueFd fd{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    if (!fd) {
        throw std::runtime_error("no event descriptor: " + errno_text());
    }
    return fd;
}

void count_up(const UniqueFd& event)
{
    eventfd_write(event.get(), 1);
}

UniqueFd spare_descriptor()
{
    return UniqueFd{::open("/dev/null", O_RDONLY | O_CLOEXEC)};
}

} // namespace

TcpServer::TcpServer(const std::string& address, uint16_t port, Terms terms)
    : terms_(std::move(terms)),
      listener_(listening_socket(terms_.name, address, port)),
      stop_(event_fd()),
      ended_(event_fd()),
      spare_(spare_descriptor())
{
    sockaddr_storage bound{};
    socklen_t length = sizeof bound;
    void* raw = &bound;
    ::getsockname(listener_.get(), static_cast<sockaddr*>(raw), &length);
    const auto [host, actual_port] = numeric(bound, length);
    where_ = terms_.name + ':' + joined(host, actual_port);
}

TcpServer::~TcpServer()
{
    stop();
}

void TcpServer::accept(Serve serve)
{
    serve_ = std::move(serve);
    const SignalsBlocked blocked;
    acceptor_ = std::thread([this] { accept_until_stopped(); });
}

void TcpServer::stop()
{
    count_up(stop_);
    if (acceptor_.joinable()) {
        acceptor_.join();
    }
    for (Connection& connection : connections_) {
        connection.thread.join();
    }
    connections_.clear();
}

void TcpServer::accept_until_stopped()
{
    for (;;) {
        std::array<pollfd, 3> fds{pollfd{listener_.get(), POLLIN, 0}, pollfd{stop_.get(), POLLIN, 0},
                                  pollfd{ended_.get(), POLLIN, 0}};
        if (::poll(fds.data(), fds.size(), -1) < 0) {
            continue;
        }
        if (fds[1].revents != 0) {
            listener_.reset(); // from here on a client is told that nobody listens
            return;
        }
        join_those_over();
        if (fds[0].revents != 0) {
            accept_one();
        }
    }
}

void TcpServer::accept_one()
{
    sockaddr_storage from{};
    socklen_t length = sizeof from;
    void* raw = &from;
    UniqueFd socket{::accept4(listener_.get(), static_cast<sockaddr*>(raw), &length, SOCK_CLOEXEC | SOCK_NONBLOCK)};
    if (!socket) {
        if (errno == EMFILE || errno == ENFILE) {
            refuse_for_want_of_descriptors();
        }
        return; // anything else is a connection that went before it was accepted
    }
    std::string host = numeric(from, length).first;
    if (connections_.size() >= static_cast<size_t>(terms_.max_connections)) {
        say(terms_.log, 2, terms_.name, " from ", host, ": refused, there are ", std::to_string(connections_.size()),
            " connections");
        ::send(socket.get(), terms_.refusal.data(), terms_.refusal.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        ::shutdown(socket.get(), SHUT_WR);
        return;
    }
    set_option(socket.get(), IPPROTO_TCP, TCP_NODELAY, 1);
    keep_alive(socket.get());
    start(std::move(socket), std::move(host));
}

void TcpServer::refuse_for_want_of_descriptors()
{
    say(terms_.log, 1, terms_.name, ": no descriptor for a connection, refused; raise the limit of open files");
    spare_.reset();
    UniqueFd{::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)}.reset();
    spare_ = spare_descriptor();
}

void TcpServer::start(UniqueFd socket, std::string host)
{
    Connection& connection = connections_.emplace_back();
    try {
        connection.thread = std::thread([this, &connection, fd = std::move(socket), from = std::move(host)]() mutable {
            run(connection, std::move(fd), from);
        });
    } catch (const std::system_error& error) {
        connections_.pop_back();
        say(terms_.log, 1, terms_.name, ": no thread for a connection, refused: ", error.what());
    }
}

void TcpServer::run(Connection& connection, UniqueFd socket, const std::string& host)
{
    try {
        serve_(std::move(socket), host);
    } catch (const std::exception& error) {
        say(terms_.log, 1, terms_.name, " from ", host, ": connection given up: ", error.what());
    }
    const std::lock_guard lock(mutex_);
    connection.over = true;
    count_up(ended_);
}

void TcpServer::join_those_over()
{
    eventfd_t count = 0;
    eventfd_read(ended_.get(), &count);
    std::list<Connection> over;
    {
        const std::lock_guard lock(mutex_);
        for (auto at = connections_.begin(); at != connections_.end();) {
            const auto here = at++;
            if (here->over) {
                over.splice(over.end(), connections_, here);
            }
        }
    }
    for (Connection& connection : over) {
        connection.thread.join();
    }
}

} // namespace zpf::agent

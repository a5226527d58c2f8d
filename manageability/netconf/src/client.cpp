// SPDX-License-Identifier: Apache-2.0
//
// The blocking client.
#include "zpf_netconf/client.hpp"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <limits>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace zpf::netconf {

namespace {

constexpr std::string_view kHello = R"(<hello xmlns="urn:ietf:params:xml:ns:netconf:base:1.0"><capabilities>)"
                                    "<capability>urn:ietf:params:netconf:base:1.0</capability>"
                                    "<capability>urn:ietf:params:netconf:base:1.1</capability>"
                                    "</capabilities></hello>";
constexpr std::size_t kMaxReplyBytes = std::numeric_limits<std::size_t>::max() / 2; // the agent is trusted

int connect_to(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        throw ConnectionError(path + ": longer than a socket's path may be");
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        throw ConnectionError(std::string{"no socket: "} + std::strerror(errno));
    }
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        const int error = errno;
        ::close(fd);
        const bool absent = error == ENOENT || error == ECONNREFUSED;
        throw ConnectionError(path + ": cannot reach the agent: " + std::strerror(error) +
                              (absent ? "; is zpfd running, and does it listen there?" : ""));
    }
    return fd;
}

/// Text of each element of this name, whatever its prefix.
std::vector<std::string> texts_of(std::string_view message, std::string_view name)
{
    std::vector<std::string> texts;
    for (std::size_t at = 0; (at = message.find(name, at)) != std::string_view::npos; at += name.size()) {
        const char before = at > 0 ? message[at - 1] : ' ';
        const std::size_t begin = at + name.size();
        if ((before != '<' && before != ':') || begin >= message.size() || message[begin] != '>') {
            continue;
        }
        if (before == ':' && message.rfind('<', at) < message.rfind('/', at)) {
            continue; // a closing tag with a prefix
        }
        const std::size_t end = message.find('<', begin);
        texts.emplace_back(message.substr(begin + 1, end - begin - 1));
    }
    return texts;
}

/// Local name of the message's top element.
std::string_view top_name(std::string_view message)
{
    std::size_t at = 0;
    while ((at = message.find('<', at)) != std::string_view::npos && at + 1 < message.size() &&
           (message[at + 1] == '?' || message[at + 1] == '!')) {
        ++at;
    }
    if (at == std::string_view::npos) {
        return {};
    }
    std::string_view name = message.substr(at + 1, message.find_first_of(" \t\r\n/>", at + 1) - at - 1);
    if (const auto colon = name.find(':'); colon != std::string_view::npos) {
        name.remove_prefix(colon + 1);
    }
    return name;
}

} // namespace

Client::Client(const std::string& socket_path, std::chrono::milliseconds timeout)
    : Client(connect_to(socket_path), timeout)
{}

Client::Client(int connected_socket, std::chrono::milliseconds timeout)
    : socket_(connected_socket), timeout_(timeout), deframer_(kMaxReplyBytes)
{
    try {
        hello();
    } catch (...) {
        ::close(socket_);
        throw;
    }
}

Client::~Client()
{
    ::close(socket_);
}

void Client::hello()
{
    send(kHello);
    const std::string message = receive(timeout_);
    if (top_name(message) != "hello") {
        throw ConnectionError("the other side says no hello; is this a NETCONF server's socket?");
    }
    capabilities_ = texts_of(message, "capability");
    for (const std::string& id : texts_of(message, "session-id")) {
        std::from_chars(id.data(), id.data() + id.size(), session_id_);
    }
    for (const std::string& capability : capabilities_) {
        if (capability == "urn:ietf:params:netconf:base:1.1") {
            framing_ = Framing::chunked;
            deframer_.set_framing(framing_);
        }
    }
}

std::string Client::request(std::string_view operation)
{
    const std::string id = std::to_string(++last_message_id_);
    std::string message = R"(<rpc xmlns="urn:ietf:params:xml:ns:netconf:base:1.0" message-id=")" + id + "\">";
    message.append(operation).append("</rpc>");
    send(message);
    for (;;) {
        std::string reply = receive(timeout_);
        if (reply.empty()) {
            throw ConnectionError("the agent has not answered in " + std::to_string(timeout_.count()) + " ms");
        }
        if (top_name(reply) != "notification") {
            return reply;
        }
        notifications_.push_back(std::move(reply));
    }
}

std::string Client::next_notification(std::chrono::milliseconds patience)
{
    if (notifications_.empty()) {
        return receive(patience);
    }
    std::string first = std::move(notifications_.front());
    notifications_.pop_front();
    return first;
}

void Client::send(std::string_view message)
{
    std::string bytes;
    append_message(bytes, framing_, message);
    for (std::string_view rest = bytes; !rest.empty();) {
        const ssize_t sent = ::send(socket_, rest.data(), rest.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) {
            throw ConnectionError(std::string{"the agent has closed the session: "} + std::strerror(errno));
        }
        rest.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(sent, 0)));
    }
}

std::string Client::receive(std::chrono::milliseconds patience)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    std::array<char, 65536> bytes;
    for (;;) {
        if (const auto message = deframer_.next()) {
            return std::string{*message};
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd wait{socket_, POLLIN, 0};
        const int ready = ::poll(&wait, 1, static_cast<int>(std::max<long long>(left.count(), 0)));
        if (ready == 0) {
            return {};
        }
        const ssize_t got = ready < 0 ? -1 : ::read(socket_, bytes.data(), bytes.size());
        if (got == 0) {
            throw ConnectionError("the agent has closed the session");
        }
        if (got < 0 && errno != EINTR) {
            throw ConnectionError(std::string{"the session is broken: "} + std::strerror(errno));
        }
        deframer_.feed({bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0))});
    }
}

} // namespace zpf::netconf

// SPDX-License-Identifier: Apache-2.0
//
// The client's side of a session.
#include "session.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace zpf::bench {

namespace {

using agent::UniqueFd;

constexpr std::size_t kMaxReplyBytes = std::size_t{64} * 1024 * 1024;
constexpr std::chrono::seconds kPatience{20};
constexpr std::string_view kHello =
    R"(<hello xmlns="urn:ietf:params:xml:ns:netconf:base:1.0"><capabilities>)"
    R"(<capability>urn:ietf:params:netconf:base:1.1</capability></capabilities></hello>)";

std::runtime_error system_error(const std::string& what)
{
    return std::runtime_error(what + ": " + std::strerror(errno));
}

} // namespace

Session::Session(UniqueFd stream, std::string_view preamble, std::chrono::milliseconds pause, const Watch& watch)
    : stream_(std::move(stream)), deframer_(kMaxReplyBytes)
{
    ::fcntl(stream_.get(), F_SETFL, ::fcntl(stream_.get(), F_GETFL) | O_NONBLOCK);
    out_ = preamble;
    netconf::append_message(out_, framing_, kHello);
    write_out();
    std::optional<std::string_view> hello;
    while (!(hello = read_message())) {
        wait_readable(watch);
    }
    if (hello->find(":base:1.1") == std::string_view::npos) {
        throw std::runtime_error("the server does not frame in chunks");
    }
    framing_ = netconf::Framing::chunked;
    deframer_.set_framing(framing_);
    watch.sleep(pause);
}

void Session::send(std::string_view operation)
{
    id_text_ = fmt::format("message-id=\"{}\"", ++id_);
    message_ = R"(<rpc xmlns="urn:ietf:params:xml:ns:netconf:base:1.0" )";
    message_.append(id_text_).append(">").append(operation).append("</rpc>");
    netconf::append_message(out_, framing_, message_);
    write_out();
}

bool Session::receive()
{
    const auto message = read_message();
    if (!message) {
        return false;
    }
    reply_ = *message;
    check_reply();
    return true;
}

std::string Session::request(std::string_view operation, const Watch& watch)
{
    send(operation);
    while (!receive()) {
        wait_readable(watch);
    }
    return std::string{reply_};
}

void Session::wait_readable(const Watch& watch) const
{
    watch.check();
    pollfd entry{stream_.get(), POLLIN, 0};
    if (::poll(&entry, 1, static_cast<int>(std::chrono::milliseconds{kPatience}.count())) == 0) {
        throw std::runtime_error(fmt::format("no answer within {} s", kPatience.count()));
    }
}

void Session::write_out()
{
    std::string_view rest = out_;
    while (!rest.empty()) {
        const ssize_t written = ::send(stream_.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
        if (written >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
            continue;
        }
        pollfd entry{stream_.get(), POLLOUT, 0};
        if (errno != EAGAIN || ::poll(&entry, 1, static_cast<int>(std::chrono::milliseconds{kPatience}.count())) <= 0) {
            throw system_error("the server does not take a request");
        }
    }
    out_.clear();
}

std::optional<std::string_view> Session::read_message()
{
    std::array<char, 64 * 1024> bytes;
    const ssize_t got = ::recv(stream_.get(), bytes.data(), bytes.size(), 0);
    if (got == 0) {
        throw std::runtime_error("the server has closed the session");
    }
    if (got < 0 && errno != EAGAIN && errno != EINTR) {
        throw system_error("reading a reply");
    }
    deframer_.feed({bytes.data(), got > 0 ? static_cast<std::size_t>(got) : 0});
    return deframer_.next();
}

void Session::check_reply() const
{
    const std::string_view head = reply_.substr(0, 400);
    if (head.find(id_text_) == std::string_view::npos || reply_.find("<rpc-error") != std::string_view::npos) {
        throw std::runtime_error(fmt::format("request {} was answered: {}", id_, reply_.substr(0, 1000)));
    }
}

UniqueFd connect_unix(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        throw std::runtime_error(path + " is too long for a socket; choose a shorter --dir");
    }
    std::memcpy(address.sun_path, path.c_str(), path.size());
    UniqueFd stream(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const void* raw = &address;
    if (!stream || ::connect(stream.get(), static_cast<const sockaddr*>(raw), sizeof address) != 0) {
        throw system_error(path);
    }
    return stream;
}

Client client_through(const Program& carrier, std::chrono::milliseconds pause, const Watch& watch)
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw system_error("socketpair");
    }
    UniqueFd ours(ends[0]);
    UniqueFd theirs(ends[1]);
    Program program = carrier;
    program.input = program.output = theirs.get();
    Process process(program);
    theirs.reset(); // so that the end of the program is seen as the end of the stream
    try {
        Session session(std::move(ours), {}, pause, watch);
        return {std::move(process), std::move(session)};
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(
            fmt::format("{}: {}; {}", program.arguments.front(), error.what(), tail_of(program.log)));
    }
}

} // namespace zpf::bench

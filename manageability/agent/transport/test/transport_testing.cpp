// SPDX-License-Identifier: Apache-2.0
//
// Helpers of the transports' tests: files, sockets and marks of activity.
#include "transport_testing.hpp"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace zpf::agent::testing {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kPatienceMs = 20'000;
constexpr int kStalledMs = 300;

bool ready(int fd, short events, int timeout_ms)
{
    pollfd entry{fd, events, 0};
    return ::poll(&entry, 1, timeout_ms) > 0;
}

/** Sends back what comes, until the client ends. */
void echo(const UniqueFd& stream)
{
    ::fcntl(stream.get(), F_SETFL, 0);
    std::array<char, 65536> chunk;
    ssize_t got = 0;
    while ((got = ::read(stream.get(), chunk.data(), chunk.size())) > 0 &&
           send_all(stream.get(), {chunk.data(), static_cast<size_t>(got)})) {}
    ::shutdown(stream.get(), SHUT_RDWR);
}

ActivityMark activity_of_tasks(const std::string& folder, const std::set<std::string>& but)
{
    constexpr int kFieldsBeforeTimes = 11; // of stat, after the name
    ActivityMark mark;
    for (const auto& task : std::filesystem::directory_iterator(folder)) {
        if (but.count(task.path().filename()) != 0) {
            continue;
        }
        const std::string stat = read_text(task.path() / "stat");
        std::istringstream fields(stat.substr(stat.rfind(')') + 1));
        std::string skipped;
        for (int i = 0; i < kFieldsBeforeTimes; ++i) {
            fields >> skipped;
        }
        long user = 0;
        long system = 0;
        fields >> user >> system;
        mark.ticks += user + system;
        std::istringstream status(read_text(task.path() / "status"));
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("voluntary_ctxt_switches:")) {
                mark.wake_ups += std::stol(line.substr(line.find(':') + 1));
            }
        }
    }
    return mark;
}

} // namespace

TempFolder::TempFolder()
{
    std::string name = (std::filesystem::temp_directory_path() / "zpf-transport-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    path_ = name;
}

TempFolder::~TempFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TempFolder::path(const std::string& name) const
{
    return name.empty() ? path_ : path_ + '/' + name;
}

std::string TempFolder::write(const std::string& name, const std::string& text, mode_t mode) const
{
    std::ofstream(path(name), std::ios::binary) << text;
    ::chmod(path(name).c_str(), mode);
    return path(name);
}

std::string read_text(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

mode_t mode_of(const std::string& path)
{
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

bool send_all(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        if (!ready(fd, POLLOUT, kPatienceMs)) {
            return false;
        }
        const ssize_t sent = ::write(fd, bytes.data(), bytes.size());
        if (sent < 0 && errno != EAGAIN && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(sent > 0 ? static_cast<size_t>(sent) : 0);
    }
    return true;
}

std::string receive(int fd, size_t count)
{
    std::string all;
    std::array<char, 65536> chunk;
    while (all.size() < count && ready(fd, POLLIN, kPatienceMs)) {
        const ssize_t got = ::read(fd, chunk.data(), std::min(chunk.size(), count - all.size()));
        if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) {
            break;
        }
        all.append(chunk.data(), got > 0 ? static_cast<size_t>(got) : 0);
    }
    return all;
}

std::string receive_all(int fd, bool* ended)
{
    std::string all;
    std::array<char, 65536> chunk;
    bool end = false;
    while (!end && ready(fd, POLLIN, kPatienceMs)) {
        const ssize_t got = ::read(fd, chunk.data(), chunk.size());
        all.append(chunk.data(), got > 0 ? static_cast<size_t>(got) : 0);
        end = got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR);
    }
    if (ended != nullptr) {
        *ended = end;
    }
    return all;
}

size_t send_until_stalled(int fd, size_t limit)
{
    size_t total = 0;
    while (total < limit && ready(fd, POLLOUT, kStalledMs)) {
        const std::string piece = pattern(std::min<size_t>(limit - total, 16 * 1024));
        const ssize_t sent = ::send(fd, piece.data(), piece.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent < 0 && errno != EAGAIN) {
            break;
        }
        total += sent > 0 ? static_cast<size_t>(sent) : 0;
    }
    return total;
}

bool connect_to(int socket, uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const void* raw = &address;
    return ::connect(socket, static_cast<const sockaddr*>(raw), sizeof address) == 0;
}

UniqueFd connect_to(uint16_t port)
{
    UniqueFd fd{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    if (!connect_to(fd.get(), port)) {
        fd.reset();
    }
    return fd;
}

uint16_t port_of(const Transport& transport)
{
    const std::string where = transport.where();
    return static_cast<uint16_t>(std::stoi(where.substr(where.rfind(':') + 1)));
}

std::string pattern(size_t count)
{
    std::string text(count, '\0');
    uint32_t state = 12345;
    for (char& c : text) {
        state = state * 1664525U + 1013904223U;
        c = static_cast<char>(state >> 24U);
    }
    return text;
}

std::set<std::string> threads()
{
    std::set<std::string> names;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        names.insert(task.path().filename());
    }
    return names;
}

ActivityMark activity_of_threads_but(const std::set<std::string>& known)
{
    return activity_of_tasks("/proc/self/task", known);
}

ActivityMark activity_of(pid_t process)
{
    return activity_of_tasks("/proc/" + std::to_string(process) + "/task", {});
}

AgentDouble::~AgentDouble()
{
    const std::lock_guard lock(mutex_);
    for (const UniqueFd& stream : stop_) {
        ::shutdown(stream.get(), SHUT_RDWR);
    }
    for (std::thread& thread : echoing_) {
        thread.join();
    }
}

Arrival AgentDouble::arrival()
{
    return [this](UniqueFd stream, Peer peer) {
        const std::lock_guard lock(mutex_);
        peers_.push_back(peer);
        if (manner_ == Manner::keeps) {
            kept_.emplace_back(std::move(stream), std::move(peer));
            arrived_.notify_all();
            return;
        }
        stop_.emplace_back(::fcntl(stream.get(), F_DUPFD_CLOEXEC, 0));
        echoing_.emplace_back([own = std::move(stream)] { echo(own); });
    };
}

std::pair<UniqueFd, Peer> AgentDouble::next()
{
    std::unique_lock lock(mutex_);
    if (!arrived_.wait_for(lock, kPatience, [this] { return !kept_.empty(); })) {
        return {};
    }
    auto session = std::move(kept_.front());
    kept_.pop_front();
    return session;
}

std::vector<Peer> AgentDouble::peers()
{
    const std::lock_guard lock(mutex_);
    return peers_;
}

LogSink LogLines::sink()
{
    return [this](int, std::string_view text) {
        const std::lock_guard lock(mutex_);
        lines_.append(text).append("\n");
        grown_.notify_all();
    };
}

bool LogLines::has(const std::string& text)
{
    std::unique_lock lock(mutex_);
    return grown_.wait_for(lock, kPatience, [&] { return lines_.find(text) != std::string::npos; });
}

std::string LogLines::all()
{
    const std::lock_guard lock(mutex_);
    return lines_;
}

} // namespace zpf::agent::testing

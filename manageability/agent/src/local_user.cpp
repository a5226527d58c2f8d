// SPDX-License-Identifier: Apache-2.0
//
// UNIX sockets and the users behind them.
#include "local_user.hpp"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <grp.h>
#include <pwd.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace zpf::agent {

namespace {

constexpr std::size_t kEntryBytes = 16 * 1024; ///< a line of the system's users or groups

} // namespace

Peer local_peer(int socket)
{
    ucred credentials{};
    socklen_t size = sizeof(credentials);
    Peer peer;
    peer.transport = "unix";
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        peer.user = "nobody";
        return peer;
    }
    std::vector<char> buffer(kEntryBytes);
    passwd entry{};
    passwd* found = nullptr;
    ::getpwuid_r(credentials.uid, &entry, buffer.data(), buffer.size(), &found);
    peer.user = found ? found->pw_name : std::to_string(credentials.uid);
    peer.recovery = credentials.uid == ::geteuid();
    return peer;
}

std::vector<std::string> local_groups(const std::string& user)
{
    std::vector<char> buffer(kEntryBytes);
    passwd entry{};
    passwd* found = nullptr;
    ::getpwnam_r(user.c_str(), &entry, buffer.data(), buffer.size(), &found);
    if (found == nullptr) {
        return {};
    }
    int count = 64;
    std::vector<gid_t> ids(static_cast<std::size_t>(count));
    if (::getgrouplist(user.c_str(), found->pw_gid, ids.data(), &count) < 0) {
        ids.resize(static_cast<std::size_t>(count));
        ::getgrouplist(user.c_str(), found->pw_gid, ids.data(), &count);
    }
    ids.resize(static_cast<std::size_t>(count));
    std::vector<std::string> names;
    for (const gid_t id : ids) {
        group record{};
        group* named = nullptr;
        std::vector<char> text(kEntryBytes);
        ::getgrgid_r(id, &record, text.data(), text.size(), &named);
        if (named != nullptr) {
            names.emplace_back(named->gr_name);
        }
    }
    return names;
}

UniqueFd listen_unix(const std::string& path)
{
    const auto fail = [&](const std::string& what) -> std::runtime_error {
        return std::runtime_error("unix:" + path + ": " + what + ": " + std::strerror(errno));
    };
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof(address.sun_path)) {
        throw std::runtime_error("unix:" + path + ": a socket's path has 1 to " +
                                 std::to_string(sizeof(address.sun_path) - 1) + " bytes");
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    const auto* const raw = reinterpret_cast<const sockaddr*>(&address);
    const auto open = [] { return UniqueFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)); };
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    UniqueFd socket = open();
    if (::bind(socket.get(), raw, sizeof(address)) != 0) {
        struct stat status {};
        if (errno != EADDRINUSE || ::lstat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) {
            throw fail("cannot listen here");
        }
        const UniqueFd probe = open();
        if (::connect(probe.get(), raw, sizeof(address)) == 0 || errno == EAGAIN) {
            throw std::runtime_error("unix:" + path + ": another agent listens here; stop it, or name another socket");
        }
        ::unlink(path.c_str()); // left behind by an agent that was killed
        socket = open();
        if (::bind(socket.get(), raw, sizeof(address)) != 0) {
            throw fail("cannot listen here");
        }
    }
    ::chmod(path.c_str(), 0666); // who may do what is a matter of the access rules
    if (::listen(socket.get(), 128) != 0) {
        throw fail("cannot listen here");
    }
    return socket;
}

} // namespace zpf::agent

// SPDX-License-Identifier: Apache-2.0
//
// Starting netconfd with what it can take of the attenuators' module.
#include "servers.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstring>
#include <regex>
#include <stdexcept>

#include "requests.hpp"

namespace zpf::bench {

namespace {

using agent::UniqueFd;

constexpr const char* kModule = "openconfig-optical-attenuator";
constexpr const char* kModuleRoot = "/usr/share/yuma/modules/";
constexpr std::chrono::seconds kStartPatience{20};

/// netconfd cannot follow references into the inventory of components: they become strings.
std::string without_references(const std::string& module)
{
    static const std::regex reference(R"re(type leafref \{\s*path "/oc-platform:[^"]*";\s*\})re");
    static const std::regex import(R"(import openconfig-platform \{[^}]*\})");
    const std::string text = std::regex_replace(std::regex_replace(module, reference, "type string;"), import, "");
    if (text.find("oc-platform") != std::string::npos) {
        throw std::runtime_error(std::string{kModule} + " refers to components in a way that is not known here");
    }
    return text;
}

/// @return the module's file, in a folder with those that it imports
std::filesystem::path prepare_modules(const Setting& setting)
{
    const auto folder = setting.file("reference-yang");
    std::filesystem::create_directory(folder);
    std::filesystem::path found;
    for (const auto& entry : std::filesystem::directory_iterator(setting.models)) {
        const std::string name = entry.path().filename();
        if (name.starts_with(std::string{kModule} + "@")) {
            found = folder / name;
            write_file(found, without_references(read_file(entry.path())));
        } else if (name.starts_with("openconfig-types@") || name.starts_with("openconfig-extensions@")) {
            std::filesystem::copy_file(entry.path(), folder / name);
        }
    }
    if (found.empty()) {
        throw std::runtime_error(fmt::format("no {} in {}", kModule, setting.models.string()));
    }
    return found;
}

/// Lets netconfd's relay connect to a socket of ours and takes what it sends first.
std::string observe_connect_line(const Setting& setting, uint16_t ssh_port)
{
    const std::string path = setting.file("relay.sock");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const void* raw = &address;
    const UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::bind(listener.get(), static_cast<const sockaddr*>(raw), sizeof address) != 0 ||
        ::listen(listener.get(), 1) != 0) {
        throw std::runtime_error("no socket at " + path);
    }
    const std::string log = setting.file("relay.log");
    Process relay({{"/usr/sbin/netconf-subsystem", fmt::format("--ncxserver-sockname={}@{}", ssh_port, path)},
                   {fmt::format("SSH_CONNECTION=127.0.0.1 1024 127.0.0.1 {}", ssh_port), "USER=" + setting.user},
                   {},
                   log});
    static constexpr int kPatience_ms = 10'000;
    const auto wait_for = [&log](int descriptor) {
        pollfd entry{descriptor, POLLIN, 0};
        if (::poll(&entry, 1, kPatience_ms) <= 0) {
            throw std::runtime_error("netconf-subsystem sends no connect line: " + tail_of(log));
        }
    };
    wait_for(listener.get());
    const UniqueFd stream(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    static constexpr std::string_view kEndMark = "]]>]]>";
    std::string line;
    while (line.find(kEndMark) == std::string::npos) {
        wait_for(stream.get());
        std::array<char, 1024> bytes{};
        const ssize_t got = ::read(stream.get(), bytes.data(), bytes.size());
        if (got <= 0) {
            throw std::runtime_error("netconf-subsystem ends without a connect line: " + tail_of(log));
        }
        line.append(bytes.data(), static_cast<std::size_t>(got));
    }
    return line.substr(0, line.find(kEndMark) + kEndMark.size());
}

} // namespace

ReferenceServer::ReferenceServer(const Setting& setting, uint16_t ssh_port)
    : setting_(setting),
      socket_(setting.file("reference.sock")),
      connect_line_(observe_connect_line(setting, ssh_port)),
      process_(start(ssh_port))
{
    const auto end = Clock::now() + kStartPatience;
    for (;;) {
        try {
            connect().session.request(edit_both(), setting.watch);
            return;
        } catch (const std::runtime_error& error) {
            setting.watch.check();
            if (process_.ended() || Clock::now() > end) {
                throw std::runtime_error(
                    fmt::format("netconfd: {}; {}", error.what(), tail_of(setting.file("reference.log"))));
            }
            setting.watch.sleep(std::chrono::milliseconds{20});
        }
    }
}

Process ReferenceServer::start(uint16_t ssh_port) const
{
    const auto module = prepare_modules(setting_);
    std::vector<std::string> search{module.parent_path()};
    for (const char* folder : {"netconfcentral", "ietf", "ietf-derived", "yuma123"}) {
        search.push_back(std::string{kModuleRoot} + folder);
    }
    // What was edited is written below this, and not over what the user keeps for a netconfd of their own.
    const auto home = setting_.file("reference-home");
    std::filesystem::create_directories(home / "data");
    Program program;
    program.arguments = {"/usr/sbin/netconfd",
                         "--no-startup",
                         fmt::format("--yuma-home={}", home.string()),
                         "--target=running",
                         "--log-level=warn",
                         fmt::format("--module={}", module.string()),
                         fmt::format("--modpath={}", fmt::join(search, ":")),
                         fmt::format("--ncxserver-sockname={}", socket_),
                         fmt::format("--port={}", ssh_port),
                         fmt::format("--superuser={}", setting_.user)};
    program.environment = {"YUMA_HOME=" + home.string()};
    program.folder = home;
    program.log = setting_.file("reference.log");
    return Process(program);
}

Client ReferenceServer::connect() const
{
    return {std::nullopt, Session(connect_unix(socket_), connect_line_, kPauseAfterHello, setting_.watch)};
}

} // namespace zpf::bench

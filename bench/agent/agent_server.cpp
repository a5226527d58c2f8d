// SPDX-License-Identifier: Apache-2.0
//
// Starting zpfd.
#include "servers.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

#include "requests.hpp"

namespace zpf::bench {

namespace {

using agent::UniqueFd;

constexpr std::chrono::seconds kStartPatience{60}; // for a big seed

} // namespace

AgentServer::AgentServer(const Setting& setting, const AgentOptions& options)
    : setting_(setting), socket_(setting.file(options.name + ".sock")), began_(Clock::now()), process_([&] {
          std::array<int, 2> ends{};
          if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
              throw std::runtime_error("no pipe");
          }
          output_.reset(ends[0]);
          const UniqueFd theirs(ends[1]);
          return start(options, theirs.get());
      }())
{
    wait_until_ready(setting.file(options.name + ".log"));
    start_time_ = Clock::now() - began_;
}

Process AgentServer::start(const AgentOptions& options, int output) const
{
    const auto store = setting_.file(options.name + ".store");
    Program program;
    program.arguments = {setting_.programs / "zpfd", "--store", store, "--listen", "unix:" + socket_};
    if (!std::filesystem::exists(store)) {
        const auto seed = setting_.file(options.name + ".seed.xml");
        write_file(seed, native_seed(options.interfaces));
        program.arguments.insert(program.arguments.end(), {"--seed", seed});
    }
    program.arguments.insert(program.arguments.end(), options.arguments.begin(), options.arguments.end());
    program.log = setting_.file(options.name + ".log");
    program.output = output;
    return Process(program);
}

void AgentServer::wait_until_ready(const std::string& log)
{
    const auto end = Clock::now() + kStartPatience;
    while (ready_line_.find('\n') == std::string::npos) {
        setting_.watch.check();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        pollfd entry{output_.get(), POLLIN, 0};
        std::array<char, 512> bytes{};
        ssize_t got = 0;
        if (left.count() > 0 && ::poll(&entry, 1, static_cast<int>(left.count())) > 0) {
            got = ::read(output_.get(), bytes.data(), bytes.size());
        }
        if (got <= 0) {
            throw std::runtime_error("zpfd does not get ready: " + tail_of(log));
        }
        ready_line_.append(bytes.data(), static_cast<std::size_t>(got));
    }
    if (!ready_line_.starts_with("ready")) {
        throw std::runtime_error("zpfd says \"" + ready_line_ + "\" and not that it is ready");
    }
}

Client AgentServer::connect() const
{
    return {std::nullopt, Session(connect_unix(socket_), {}, std::chrono::milliseconds{0}, setting_.watch)};
}

} // namespace zpf::bench

// SPDX-License-Identifier: Apache-2.0
//
// Programs that run beside a test.
#include "transport_testing.hpp"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <stdexcept>

extern char** environ;

namespace zpf::agent::testing {

namespace {

struct Pipe {
    UniqueFd read;
    UniqueFd write;
    Pipe()
    {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        read.reset(ends[0]);
        write.reset(ends[1]);
    }
};

struct SpawnSettings {
    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
    SpawnSettings()
    {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
    }
    ~SpawnSettings()
    {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
};

} // namespace

Program::Program(const std::vector<std::string>& arguments, int inherited)
{
    std::signal(SIGPIPE, SIG_IGN); // a program that ends early is seen by its status
    Pipe in;
    Pipe out;
    Pipe err;
    SpawnSettings settings;
    posix_spawn_file_actions_adddup2(&settings.actions, in.read.get(), 0);
    posix_spawn_file_actions_adddup2(&settings.actions, out.write.get(), 1);
    posix_spawn_file_actions_adddup2(&settings.actions, err.write.get(), 2);
    if (inherited >= 0) {
        posix_spawn_file_actions_adddup2(&settings.actions, inherited, inherited); // which takes close-on-exec off
    }
    std::vector<std::string> own = arguments;
    std::vector<char*> argv;
    for (std::string& argument : own) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    if (posix_spawnp(&pid_, argv[0], &settings.actions, &settings.attributes, argv.data(), environ) != 0) {
        throw std::runtime_error("cannot run " + arguments.at(0));
    }
    input_ = std::move(in.write);
    output_ = std::move(out.read);
    errors_ = std::move(err.read);
}

Program::~Program()
{
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
}

void Program::kill(int signal) const
{
    if (pid_ > 0) {
        ::kill(pid_, signal);
    }
}

std::string Program::errors() const
{
    return receive_all(errors_.get());
}

int Program::wait()
{
    if (pid_ <= 0) {
        return status_;
    }
    const UniqueFd ended{static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0))};
    pollfd entry{ended.get(), POLLIN, 0};
    constexpr int kPatienceMs = 20'000;
    if (::poll(&entry, 1, kPatienceMs) != 1) {
        return -1;
    }
    int raw = 0;
    ::waitpid(std::exchange(pid_, -1), &raw, 0);
    status_ = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
    return status_;
}

int run(const std::vector<std::string>& arguments)
{
    Program program(arguments);
    program.end_input();
    return program.wait();
}

} // namespace zpf::agent::testing

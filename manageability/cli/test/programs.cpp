// SPDX-License-Identifier: Apache-2.0
//
// Starting programs, reading what they say, and ending them by their ids.
#include "programs.hpp"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace zpf::cli::test {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kPatience{30};

std::array<int, 2> new_pipe()
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    return ends;
}

/// Reads what is there, waiting for it until the deadline. @return false at the end, or when nothing came
bool read_more(int descriptor, std::string& text, Clock::time_point deadline)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd waited{descriptor, POLLIN, 0};
    if (left <= 0 || ::poll(&waited, 1, static_cast<int>(left)) != 1) {
        return false;
    }
    std::array<char, 4096> bytes;
    const ssize_t got = ::read(descriptor, bytes.data(), bytes.size());
    text.append(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return got > 0;
}

} // namespace

TemporaryFolder::TemporaryFolder()
{
    std::string name = std::filesystem::temp_directory_path() / "zpf-cli-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    path_ = name;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(const std::string& name, const std::string& content) const
{
    std::ofstream(file(name), std::ios::binary) << content;
    return file(name);
}

Program::Program(const std::vector<std::string>& arguments, const std::string& input)
{
    const auto in = new_pipe();
    const auto out = new_pipe();
    const auto err = new_pipe();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
    std::vector<std::string> own = arguments;
    std::vector<char*> argv;
    for (std::string& argument : own) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    const int failed = ::posix_spawnp(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    // What a pipe holds at once is enough for the inputs of these tests.
    const bool written = ::write(in[1], input.data(), input.size()) == static_cast<ssize_t>(input.size());
    for (const int done : {in[0], in[1], out[1], err[1]}) {
        ::close(done);
    }
    out_ = out[0];
    err_ = err[0];
    if (failed != 0 || !written) {
        throw std::runtime_error("cannot run " + arguments.at(0));
    }
}

Program::~Program()
{
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    ::close(out_);
    ::close(err_);
}

bool Program::wait_for(int descriptor, std::string& so_far, const std::string& text)
{
    const auto deadline = Clock::now() + kPatience;
    while (so_far.find(text) == std::string::npos) {
        if (!read_more(descriptor, so_far, deadline)) {
            return false;
        }
    }
    return true;
}

void Program::signal(int number) const
{
    ::kill(pid_, number);
}

Outcome Program::end()
{
    const auto deadline = Clock::now() + kPatience;
    while (read_more(out_, out_text_, deadline)) {}
    while (read_more(err_, err_text_, deadline)) {}
    if (Clock::now() >= deadline) {
        ::kill(pid_, SIGKILL);
    }
    int raw = 0;
    ::waitpid(std::exchange(pid_, -1), &raw, 0);
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw), out_text_, err_text_};
}

Outcome run(const std::vector<std::string>& arguments, const std::string& input)
{
    return Program(arguments, input).end();
}

RunningAgent::RunningAgent()
    : agent_({ZPFD_PROGRAM, "--store", folder_.file("store"), "--listen", "unix:" + socket_, "--seed", ZPF_SEED})
{
    if (!agent_.wait_for_output("ready")) {
        throw std::runtime_error("the agent does not start: " + agent_.end().err);
    }
}

std::vector<std::string> RunningAgent::command(std::vector<std::string> arguments) const
{
    arguments.insert(arguments.begin(), ZPF_PROGRAM);
    arguments.insert(arguments.end(), {"--socket", socket_});
    return arguments;
}

Outcome RunningAgent::zpf(std::vector<std::string> arguments, const std::string& input) const
{
    return run(command(std::move(arguments)), input);
}

Json RunningAgent::json(std::vector<std::string> arguments) const
{
    arguments.emplace_back("--json");
    const Outcome outcome = zpf(arguments);
    if (outcome.status != 0) {
        throw std::runtime_error("status " + std::to_string(outcome.status) + ": " + outcome.err);
    }
    return Json::parse(outcome.out);
}

void RunningAgent::stop()
{
    agent_.signal(SIGTERM);
    agent_.end();
}

} // namespace zpf::cli::test

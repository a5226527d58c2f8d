// SPDX-License-Identifier: Apache-2.0
//
// Starting and stopping programs.
#include "process.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "zpf_transport/unique_fd.hpp"

namespace zpf::bench {

namespace {

using agent::UniqueFd;

std::vector<char*> pointers_to(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> environment_with(const std::vector<std::string>& own)
{
    std::vector<std::string> all = own;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view inherited = *entry;
        const std::string_view name = inherited.substr(0, inherited.find('=') + 1);
        bool replaced = false;
        for (const std::string& mine : own) {
            replaced = replaced || mine.starts_with(name);
        }
        if (!replaced) {
            all.emplace_back(inherited);
        }
    }
    return all;
}

/// In the child. Nothing here may allocate: the child of a fork only calls what signal handlers may call.
[[noreturn]] void become(char* const* arguments, char* const* environment, const char* folder, std::array<int, 3> io)
{
    ::setpgid(0, 0); // ^C is for the benchmark, which then stops its programs
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::signal(SIGPIPE, SIG_DFL);
    ::signal(SIGINT, SIG_DFL);
    ::signal(SIGTERM, SIG_DFL);
    for (int i = 0; i < 3; ++i) {
        ::dup2(io[static_cast<std::size_t>(i)], i);
    }
    if (*folder == '\0' || ::chdir(folder) == 0) {
        ::execvpe(arguments[0], arguments, environment);
    }
    static constexpr std::string_view kMessage = "could not be run\n";
    static_cast<void>(!::write(STDERR_FILENO, kMessage.data(), kMessage.size()));
    ::_exit(127);
}

int exit_status(int status)
{
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

Process::Process(const Program& program)
{
    std::vector<std::string> arguments = program.arguments;
    std::vector<std::string> environment = environment_with(program.environment);
    const std::vector<char*> argument_pointers = pointers_to(arguments);
    const std::vector<char*> environment_pointers = pointers_to(environment);
    const UniqueFd nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    const UniqueFd log(::open(program.log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    if (!nothing || !log) {
        throw std::runtime_error(fmt::format("{}: {}", program.log, std::strerror(errno)));
    }
    const std::array<int, 3> io{program.input < 0 ? nothing.get() : program.input,
                                program.output < 0 ? log.get() : program.output, log.get()};
    pid_ = ::fork();
    if (pid_ < 0) {
        throw std::runtime_error(fmt::format("{} cannot be started: {}", arguments.front(), std::strerror(errno)));
    }
    if (pid_ == 0) {
        become(argument_pointers.data(), environment_pointers.data(), program.folder.c_str(), io);
    }
}

Process::Process(Process&& other) noexcept : pid_(std::exchange(other.pid_, -1)), status_(other.status_) {}

Process::~Process()
{
    stop();
}

bool Process::ended()
{
    return wait(std::chrono::milliseconds{0}) >= 0;
}

int Process::wait(std::chrono::milliseconds patience)
{
    if (pid_ < 0) {
        return status_;
    }
    const UniqueFd handle(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
    pollfd entry{handle.get(), POLLIN, 0};
    ::poll(&entry, 1, static_cast<int>(patience.count()));
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) != pid_) {
        return -1;
    }
    pid_ = -1;
    return status_ = exit_status(status);
}

void Process::stop()
{
    if (pid_ < 0) {
        return;
    }
    ::kill(pid_, SIGTERM);
    if (wait(std::chrono::seconds{5}) >= 0) {
        return;
    }
    ::kill(pid_, SIGKILL);
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    status_ = exit_status(status);
}

std::string run_program(const std::vector<std::string>& arguments, const std::string& log)
{
    const std::string output = log + ".output";
    const UniqueFd out(::open(output.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    Process process({arguments, {}, {}, log, -1, out.get()});
    if (const int status = process.wait(std::chrono::seconds{20}); status != 0) {
        throw std::runtime_error(fmt::format("{}: status {}; {}", fmt::join(arguments, " "), status, tail_of(log)));
    }
    std::ostringstream text;
    text << std::ifstream(output).rdbuf();
    return text.str();
}

std::string tail_of(const std::string& file)
{
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    static constexpr std::size_t kBytes = 600;
    const std::string all = text.str();
    return all.substr(all.size() - std::min(all.size(), kBytes));
}

} // namespace zpf::bench

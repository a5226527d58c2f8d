// SPDX-License-Identifier: Apache-2.0
//
// A child process between files: what it reads, what it writes, and how it ends.
#include "program.hpp"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <ostream>
#include <stdexcept>

namespace zpf::scenarios {

namespace {

// Of the processor's time, not of the clock's, so that a busy machine fails no test. Sanitizers take their share.
constexpr rlim_t kMostSeconds = ZPF_CLI_CPU_SECONDS;

std::string contents(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

[[noreturn]] void become_zpf(const std::filesystem::path& folder, const std::vector<std::string>& arguments)
{
    const rlimit limit{kMostSeconds, kMostSeconds};
    setrlimit(RLIMIT_CPU, &limit);
    const int in = open((folder / "in").c_str(), O_RDONLY);
    const int out = open((folder / "out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int err = open((folder / "err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(in, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    std::vector<char*> argv{const_cast<char*>(ZPF_PROGRAM)};
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    execv(ZPF_PROGRAM, argv.data());
    _exit(127);
}

} // namespace

void PrintTo(const Outcome& outcome, std::ostream* os)
{
    *os << "status " << outcome.status << "\n--- output\n" << outcome.out << "--- errors\n" << outcome.err;
}

Workbench::Workbench()
{
    std::string name = std::filesystem::temp_directory_path() / "zpf-scenario-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    folder_ = name;
}

Workbench::~Workbench()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string Workbench::file(const std::string& name, const std::string& text) const
{
    std::ofstream(folder_ / name, std::ios::binary) << text;
    return folder_ / name;
}

Outcome Workbench::zpf(const std::vector<std::string>& arguments, const std::string& input) const
{
    file("in", input);
    const pid_t child = fork();
    if (child == 0) {
        become_zpf(folder_, arguments);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        throw std::runtime_error("zpf cannot be started");
    }
    Outcome outcome;
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    outcome.out = contents(folder_ / "out");
    outcome.err = contents(folder_ / "err");
    return outcome;
}

} // namespace zpf::scenarios

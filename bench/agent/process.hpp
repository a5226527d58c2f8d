// SPDX-License-Identifier: Apache-2.0
//
// Programs that the benchmark starts, and stops by their process ids.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <sys/types.h>

namespace zpf::bench {

struct Program {
    std::vector<std::string> arguments;   ///< the first is the program, searched for in PATH
    std::vector<std::string> environment; ///< NAME=VALUE; these replace those that are inherited
    std::string folder;                   ///< to run in; empty: this one
    std::string log;                      ///< file that takes standard error, and output unless there is `output`
    int input = -1;                       ///< descriptor for standard input; -1: nothing to read
    int output = -1;                      ///< descriptor for standard output; -1: the log
};

/// A running program. It ends with its owner, and is killed by the system if the benchmark itself is.
class Process {
public:
    /// Throws std::runtime_error when it cannot be started.
    explicit Process(const Program& program);
    ~Process();
    Process(Process&& other) noexcept;
    Process& operator=(Process&&) = delete;
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t pid() const { return pid_; }
    /// True once it has ended by itself.
    bool ended();
    /// Waits for its end. @return its exit status, 128 and more for a signal; -1 when it does not end in time
    int wait(std::chrono::milliseconds patience);
    /// Asks it to end, and kills it if it does not within five seconds.
    void stop();

private:
    pid_t pid_ = -1;
    int status_ = -1;
};

/// Runs a short program to its end. @return its standard output. Throws std::runtime_error when it fails, with what it
/// said, or takes longer than 20 seconds.
std::string run_program(const std::vector<std::string>& arguments, const std::string& log);

/// The end of a text file, for a message; empty when there is none.
std::string tail_of(const std::string& file);

} // namespace zpf::bench

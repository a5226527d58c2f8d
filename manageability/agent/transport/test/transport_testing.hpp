// SPDX-License-Identifier: Apache-2.0
//
// What the tests of transports share: a folder of their own, programs run beside the test, an agent, bounded input and
// output.
#pragma once

#include "zpf_transport/transport.hpp"

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <set>
#include <thread>

namespace zpf::agent::testing {

/// No test waits longer than this for anything that is to happen.
constexpr std::chrono::seconds kPatience{20};

/** A fresh folder, removed with all that is in it. */
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    [[nodiscard]] std::string path(const std::string& name = "") const;
    /** Writes a file, mode 0600 unless said otherwise, and gives its path. */
    std::string write(const std::string& name, const std::string& text, mode_t mode = 0600) const;

private:
    std::string path_;
};

std::string read_text(const std::string& path);
mode_t mode_of(const std::string& path);

/** A program with pipes to its standard streams; killed by its process id when it still runs at the end. */
class Program {
public:
    /** `inherited`, when given, is open in the program under the same number. */
    explicit Program(const std::vector<std::string>& arguments, int inherited = -1);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    [[nodiscard]] int input() const { return input_.get(); }
    [[nodiscard]] int output() const { return output_.get(); }
    void end_input() { input_.reset(); }
    [[nodiscard]] pid_t pid() const { return pid_; }
    void kill(int signal) const;
    /** What it wrote to standard error; call it once the program has ended. */
    [[nodiscard]] std::string errors() const;
    /** Its exit status once it has ended, 128 and the signal when it was killed; -1 when it does not end. */
    int wait();

private:
    pid_t pid_ = -1;
    int status_ = -1;
    UniqueFd input_;
    UniqueFd output_;
    UniqueFd errors_;
};

/** Runs a program to its end without input; its exit status. */
int run(const std::vector<std::string>& arguments);

bool send_all(int fd, std::string_view bytes);
/** Reads `count` bytes, or to end of file when it is reached first, or what has come within kPatience. */
std::string receive(int fd, size_t count);
/** Reads to the end; `ended` tells whether there was one within kPatience. */
std::string receive_all(int fd, bool* ended = nullptr);
/** Writes until nothing could be written for a while; returns how much was. */
size_t send_until_stalled(int fd, size_t limit);
/** Connects a TCP socket to a port of this machine. */
bool connect_to(int socket, uint16_t port);
UniqueFd connect_to(uint16_t port);
/** The port in "ssh:127.0.0.1:830". */
uint16_t port_of(const Transport& transport);
/** `count` bytes in which no stretch is like another. */
std::string pattern(size_t count);

/** What some threads have used; equal marks mean that none of them ran in between. */
struct ActivityMark {
    long ticks = 0;
    long wake_ups = 0;
    bool operator==(const ActivityMark&) const = default;
};
/** The threads of this process. */
std::set<std::string> threads();
ActivityMark activity_of_threads_but(const std::set<std::string>& known);
ActivityMark activity_of(pid_t process);

/** Takes sessions: echoes what comes until the client ends, or keeps them for the test. */
class AgentDouble {
public:
    enum class Manner { echoes, keeps };
    explicit AgentDouble(Manner manner) : manner_(manner) {}
    ~AgentDouble();
    AgentDouble(const AgentDouble&) = delete;
    AgentDouble& operator=(const AgentDouble&) = delete;

    [[nodiscard]] Arrival arrival();
    /** The next session that was kept; without a descriptor when none comes. */
    std::pair<UniqueFd, Peer> next();
    [[nodiscard]] std::vector<Peer> peers();

private:
    const Manner manner_;
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<Peer> peers_;
    std::deque<std::pair<UniqueFd, Peer>> kept_;
    std::vector<std::thread> echoing_;
    std::vector<UniqueFd> stop_;
};

/** Collects log lines. */
class LogLines {
public:
    LogSink sink();
    /** Waits for a line that has the text in it. */
    bool has(const std::string& text);
    [[nodiscard]] std::string all();

private:
    std::mutex mutex_;
    std::condition_variable grown_;
    std::string lines_;
};

} // namespace zpf::agent::testing

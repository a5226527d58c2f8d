// SPDX-License-Identifier: Apache-2.0
//
// Programs that a test runs: to their end, or beside it until it has seen enough.
#pragma once

#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/types.h>
#include <vector>

namespace zpf::cli::test {

/// An edit that takes away all that is configured of the port behind attenuator 0/0-VOA-BST0.
inline constexpr const char* kRemovalOfBst0 =
    R"(<interface-configurations xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-ifmgr-cfg"
         xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0"><interface-configuration nc:operation="delete">
         <active>act</active><interface-name>Ots0/0/0/0</interface-name>
       </interface-configuration></interface-configurations>)";

using Json = nlohmann::ordered_json;

/// A folder that goes with the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string file(const std::string& name) const { return path_ / name; }
    /// Writes a file and returns its name.
    std::string write(const std::string& name, const std::string& content) const;

private:
    std::filesystem::path path_;
};

struct Outcome {
    int status = -1; ///< 128 and the signal for a program that was ended by one
    std::string out;
    std::string err;
};

/// A program beside the test; killed by its id with the object if it has not ended by then.
class Program {
public:
    explicit Program(const std::vector<std::string>& arguments, const std::string& input = "");
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Waits for text in what the program writes. @return false when it ends, or has not written it in time
    bool wait_for_output(const std::string& text) { return wait_for(out_, out_text_, text); }
    bool wait_for_errors(const std::string& text) { return wait_for(err_, err_text_, text); }

    void signal(int number) const;

    /// Waits for the end, for a bounded time; a program that is still there is killed.
    Outcome end();

private:
    static bool wait_for(int descriptor, std::string& so_far, const std::string& text);

    pid_t pid_ = -1;
    int out_ = -1;
    int err_ = -1;
    std::string out_text_;
    std::string err_text_;
};

/// Runs a program to its end.
Outcome run(const std::vector<std::string>& arguments, const std::string& input = "");

/// An agent on a store of its own, with a device of two attenuators (3.0 and 9.5 dB) and one other port.
class RunningAgent {
public:
    RunningAgent();

    const std::string& socket() const { return socket_; }
    /// Runs `zpf` with these arguments against the agent.
    Outcome zpf(std::vector<std::string> arguments, const std::string& input = "") const;
    /// The same with --json, and what it printed.
    Json json(std::vector<std::string> arguments) const;
    /// Arguments that run `zpf` against the agent.
    std::vector<std::string> command(std::vector<std::string> arguments) const;
    void stop();
    const TemporaryFolder& folder() const { return folder_; }

private:
    TemporaryFolder folder_;
    std::string socket_ = folder_.file("socket");
    Program agent_;
};

} // namespace zpf::cli::test

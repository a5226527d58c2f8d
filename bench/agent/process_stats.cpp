// SPDX-License-Identifier: Apache-2.0
//
// Reads /proc.
#include "process_stats.hpp"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace zpf::bench {

namespace {

std::runtime_error unreadable(const std::string& file)
{
    return std::runtime_error(file + " cannot be read; has the process ended?");
}

std::vector<pid_t> threads_of(pid_t process)
{
    std::vector<pid_t> threads;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(fmt::format("/proc/{}/task", process), error)) {
        threads.push_back(std::stoi(entry.path().filename().string()));
    }
    if (threads.empty()) {
        throw unreadable(fmt::format("/proc/{}/task", process));
    }
    return threads;
}

} // namespace

std::chrono::nanoseconds processor_time(pid_t process)
{
    std::chrono::nanoseconds sum{0};
    for (const pid_t thread : threads_of(process)) {
        int64_t time_ns = 0;
        if (std::ifstream(fmt::format("/proc/{}/task/{}/schedstat", process, thread)) >> time_ns) {
            sum += std::chrono::nanoseconds{time_ns};
        }
    }
    return sum;
}

uint64_t processor_ticks(pid_t process)
{
    const std::string file = fmt::format("/proc/{}/stat", process);
    std::string line;
    std::getline(std::ifstream(file), line);
    const auto name_end = line.rfind(')'); // the name may hold blanks
    if (name_end == std::string::npos) {
        throw unreadable(file);
    }
    std::istringstream fields(line.substr(name_end + 1));
    std::string skipped;
    for (int i = 0; i < 11; ++i) { // from the state to the count of page faults
        fields >> skipped;
    }
    uint64_t user = 0;
    uint64_t system = 0;
    if (!(fields >> user >> system)) {
        throw unreadable(file);
    }
    return user + system;
}

uint64_t resident_bytes(pid_t process)
{
    const std::string file = fmt::format("/proc/{}/status", process);
    std::ifstream in(file);
    static const std::string kKey = "VmRSS:";
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(kKey)) {
            return std::stoull(line.substr(kKey.size())) * 1024;
        }
    }
    throw unreadable(file);
}

Pinned::Pinned(std::vector<pid_t> processes) : processes_(std::move(processes))
{
    ::sched_getaffinity(0, sizeof before_, &before_);
    std::size_t last = CPU_SETSIZE - 1; // the first one often serves the devices
    while (last > 0 && !CPU_ISSET(last, &before_)) {
        --last;
    }
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(last, &one);
    for (const pid_t process : processes_) {
        for (const pid_t thread : threads_of(process)) {
            if (::sched_setaffinity(thread, sizeof one, &one) != 0) {
                throw std::runtime_error(fmt::format("process {} cannot be held on one processor", process));
            }
        }
    }
}

Pinned::~Pinned()
{
    for (const pid_t process : processes_) {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(fmt::format("/proc/{}/task", process), error)) {
            ::sched_setaffinity(std::stoi(entry.path().filename().string()), sizeof before_, &before_);
        }
    }
}

} // namespace zpf::bench

// SPDX-License-Identifier: Apache-2.0
//
// Description of the machine, from what the system says of itself.
#include "machine.hpp"

#include <fmt/format.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <fstream>

namespace zpf::bench {

namespace {

/// Value of the first "key : value" line of a file of the system, or a question mark.
std::string value_in(const char* file, const std::string& key)
{
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        const auto colon = line.find(':');
        if (line.starts_with(key) && colon != std::string::npos) {
            const auto value = line.find_first_not_of(" \t", colon + 1);
            return value == std::string::npos ? "?" : line.substr(value);
        }
    }
    return "?";
}

std::string compiler()
{
#if defined(__clang__)
    return fmt::format("clang {}.{}.{}", __clang_major__, __clang_minor__, __clang_patchlevel__);
#else
    return fmt::format("g++ {}.{}.{}", __GNUC__, __GNUC_MINOR__, __GNUC_PATCHLEVEL__);
#endif
}

} // namespace

std::string machine_description()
{
    utsname system{};
    uname(&system);
    const double memory_gib = static_cast<double>(sysconf(_SC_PHYS_PAGES)) *
                              static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0 * 1024.0);
    return fmt::format("{} ({} MHz), {} cores, {:.0f} GiB; {} {}; {}, {} build; libyang {}",
                       value_in("/proc/cpuinfo", "model name"), value_in("/proc/cpuinfo", "cpu MHz"),
                       sysconf(_SC_NPROCESSORS_ONLN), memory_gib, system.sysname, system.release, compiler(),
                       ZPF_BUILD_TYPE, ZPF_LIBYANG_VERSION);
}

} // namespace zpf::bench

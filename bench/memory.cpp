// SPDX-License-Identifier: Apache-2.0
//
// Counting runs. Each is done once, since a count does not vary.
#include "memory.hpp"

#include <unistd.h>

#include <fstream>
#include <stdexcept>

#include "device.hpp"
#include "messages.hpp"
#include "native_walk.hpp"

namespace zpf::bench {

namespace {

std::size_t resident_bytes()
{
    std::size_t program_pages = 0;
    std::size_t resident_pages = 0;
    std::ifstream("/proc/self/statm") >> program_pages >> resident_pages;
    return resident_pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

void require(bool as_expected, const char* what)
{
    if (!as_expected) {
        throw std::runtime_error(std::string(what) + " does not go as it should");
    }
}

} // namespace

std::vector<CountedWork> count_allocations_by_work()
{
    const Tree edit = device().edit_request(kEditOneLeaf);
    const Tree refused = device().edit_request(kEditRefused);
    const Tree one = device().get_request(kGetOneEntry);
    const Tree everything = device().get_request(kGetEverything);
    NativeWalk walk(1000);
    check_that_allocations_are_counted(); // with all libraries loaded
    return {
        {"edit of one leaf", count_allocations([&] { require(!device().edit(edit).refusal, "the edit of one leaf"); })},
        {"edit that is refused",
         count_allocations([&] { require(device().edit(refused).refusal.has_value(), "the refused edit"); })},
        {"get of one entry", count_allocations([&] { require(!device().get(one).refusal, "the get of one entry"); })},
        {"get of everything",
         count_allocations([&] { require(!device().get(everything).refusal, "the get of everything"); })},
        {"native walk, 1000 entries", count_allocations([&] { require(walk.run() == ZPF_RC_OK, "the native walk"); })},
    };
}

WalkMemory measure_walk_memory(std::size_t entries)
{
    NativeWalk walk(entries);
    const std::size_t before = resident_bytes();
    const Allocations allocations = count_allocations([&] { require(walk.run() == ZPF_RC_OK, "the native walk"); });
    const std::size_t after = resident_bytes();
    return {entries, allocations.bytes, after > before ? after - before : 0};
}

} // namespace zpf::bench

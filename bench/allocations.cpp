// SPDX-License-Identifier: Apache-2.0
//
// The allocator's entry points, defined once more in this program: the dynamic linker gives them to all libraries. They
// hand on to the C library's own; while nothing is counted that is all they do, so times are not touched.
#include "allocations.hpp"

#include <execinfo.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

extern "C" {
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* memory, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);
}

namespace zpf::bench {

namespace {

/// Where a library's code lies.
struct Range {
    std::string_view object_file; ///< part of its file name; empty is this program
    std::size_t begin = 0;
    std::size_t end = 0;
};

enum Watched : std::size_t { kPlugin, kMap, kBase, kProgram, kWatchedCount };

struct Count {
    std::array<Range, kWatchedCount> ranges{{{"liboc_attenuator"}, {"libzpf_map"}, {"libzpf_base"}, {""}}};
    std::array<std::size_t, kWatchedCount> calls{};
    std::size_t bytes = 0;
};

constinit Count* count = nullptr; // while something is counted; the program has one thread

int find_range(dl_phdr_info* info, std::size_t, void* arg)
{
    Range& range = *static_cast<Range*>(arg);
    const std::string_view path = info->dlpi_name;
    const std::string_view file = path.substr(path.rfind('/') + 1);
    if (range.object_file.empty() ? !path.empty() : file.find(range.object_file) == std::string_view::npos) {
        return 0;
    }
    for (const ElfW(Phdr) & part : std::span{info->dlpi_phdr, info->dlpi_phnum}) {
        if (part.p_type == PT_LOAD && (part.p_flags & PF_X) != 0) {
            range.begin = info->dlpi_addr + part.p_vaddr;
            range.end = range.begin + part.p_memsz;
        }
    }
    return 1;
}

/// The nearest watched library that the call came through.
Watched caller(const Count& into)
{
    constexpr int kOwnFrames = 3; // this function, note() and the allocator's entry point, less if they were inlined
    std::array<void*, 64> frames{};
    const int depth = backtrace(frames.data(), static_cast<int>(frames.size()));
    for (int i = 0; i < depth; ++i) {
        const auto at = reinterpret_cast<std::size_t>(frames[static_cast<std::size_t>(i)]);
        for (std::size_t library = 0; library < into.ranges.size(); ++library) {
            const bool own_frame = library == kProgram && i < kOwnFrames;
            if (!own_frame && at >= into.ranges[library].begin && at < into.ranges[library].end) {
                return static_cast<Watched>(library);
            }
        }
    }
    return kProgram;
}

void note(std::size_t bytes)
{
    if (count == nullptr) {
        return;
    }
    Count* const into = std::exchange(count, nullptr); // looking at the stack may allocate
    ++into->calls[caller(*into)];
    into->bytes += bytes;
    count = into;
}

Allocations count_in(Count& into, const std::function<void()>& work)
{
    count = &into;
    try {
        work();
    } catch (...) {
        count = nullptr;
        throw;
    }
    count = nullptr;
    return {into.calls[kPlugin], into.calls[kMap] + into.calls[kBase], into.calls[kProgram], into.bytes};
}

void find_ranges(std::span<Range> ranges)
{
    for (Range& range : ranges) {
        if (dl_iterate_phdr(find_range, &range) == 0 || range.end == range.begin) {
            throw std::runtime_error("no code of " + std::string(range.object_file) + " in this process");
        }
    }
    std::array<void*, 1> once{};
    backtrace(once.data(), 1); // loads what it needs, before anything is counted
}

} // namespace

Allocations count_allocations(const std::function<void()>& work)
{
    Count into;
    find_ranges(into.ranges);
    return count_in(into, work);
}

void check_that_allocations_are_counted()
{
    // This program stands in for the plug-in: what is known to allocate in it must be put down to it.
    Count into;
    find_ranges(into.ranges);
    into.ranges[kPlugin] = into.ranges[kProgram];
    into.ranges[kProgram] = {};
    const Allocations seen = count_in(into, [] {
        const auto release = [](void* memory) {
            void* volatile kept = memory; // else the compiler drops pairs that come to nothing
            std::free(kept);
        };
        release(std::malloc(8));             // direct
        release(strdup("by the C library")); // by way of the C library
        release(::operator new(100));        // by way of the C++ library, which takes it from the C library
        release(std::realloc(nullptr, 10));  // and the other entry points
        release(std::calloc(2, 5));
        release(std::aligned_alloc(64, 64));
    });
    if (seen.by_plugin != 6 || seen.bytes != 8 + 17 + 100 + 10 + 10 + 64) {
        throw std::runtime_error("allocations are not counted as they should be: " + std::to_string(seen.by_plugin) +
                                 " calls for " + std::to_string(seen.bytes) + " bytes were seen");
    }
}

} // namespace zpf::bench

#define ZPF_INTERPOSED __attribute__((visibility("default")))

extern "C" {

ZPF_INTERPOSED void* malloc(std::size_t bytes)
{
    zpf::bench::note(bytes);
    return __libc_malloc(bytes);
}

ZPF_INTERPOSED void* calloc(std::size_t members, std::size_t bytes)
{
    zpf::bench::note(members * bytes);
    return __libc_calloc(members, bytes);
}

ZPF_INTERPOSED void* realloc(void* memory, std::size_t bytes)
{
    zpf::bench::note(bytes);
    return __libc_realloc(memory, bytes);
}

ZPF_INTERPOSED void* aligned_alloc(std::size_t alignment, std::size_t bytes)
{
    zpf::bench::note(bytes);
    return __libc_memalign(alignment, bytes);
}

ZPF_INTERPOSED int posix_memalign(void** memory, std::size_t alignment, std::size_t bytes)
{
    zpf::bench::note(bytes);
    *memory = __libc_memalign(alignment, bytes);
    return *memory != nullptr ? 0 : ENOMEM;
}
}

// SPDX-License-Identifier: Apache-2.0
//
// The filtered debug log.
// A line of ordinary length is formatted on the stack and handed to the system in one write to a file opened for
// appending, so lines of several threads and processes never mix and nothing is allocated.
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "errno_kept.hpp"
#include "file_descriptor.hpp"
#include "log_write.hpp"
#include "refusal.hpp"
#include "zpf/diagnostics.h"
#include "zpf_base/log.h"

using zpf::base::ErrnoKept;
using zpf::base::FileDescriptor;
using zpf::base::write_line;

struct zpf_log {
    FileDescriptor file;  // none: standard error, unless there is a sink
    bool is_plain_file;   // nobody can hang up on a plain file
    zpf_log_sink sink;    // takes the lines in place of a file
    void* sink_arg;       // first argument of the sink
    std::mutex sink_lock; // one line at a time reaches the sink
    std::atomic<std::uint64_t> failed_lines;
};

namespace {

constexpr std::size_t kOrdinaryLineBytes = 2048; // longest line formatted on the stack, line end included
constexpr std::uint32_t kSiteUnknown = 0xFFFFFFFF;
constexpr std::uint32_t kSiteBeingNumbered = 0xFFFFFFFE;

constinit std::atomic<std::uint32_t> sites_numbered{0};

/** The log of contexts without one. Never destroyed: other static objects may report while the process ends. */
union StandardError {
    zpf_log log;
    constexpr StandardError() : log{} {}
    ~StandardError() {}
};

constinit StandardError standard_error;

zpf_log& log_of(void* log)
{
    return log != nullptr ? *static_cast<zpf_log*>(log) : standard_error.log;
}

/** Gives a call site its number with its first line. A thread that comes second leaves the numbering to the first. */
void number_site(std::uint32_t* slot)
{
    std::atomic_ref<std::uint32_t> site{*slot};
    std::uint32_t seen = site.load(std::memory_order_relaxed);
    if (seen == kSiteUnknown && site.compare_exchange_strong(seen, kSiteBeingNumbered, std::memory_order_relaxed)) {
        site.store(sites_numbered.fetch_add(1, std::memory_order_relaxed), std::memory_order_relaxed);
    }
}

void count_failure(zpf_log& log)
{
    log.failed_lines.fetch_add(1, std::memory_order_relaxed);
}

/** Hands out a line of `length` characters; the byte behind them is free for a line end or a terminator. */
void deliver(zpf_log& log, char* line, std::size_t length)
{
    if (log.sink != nullptr) {
        line[length] = '\0';
        const std::lock_guard guard{log.sink_lock};
        log.sink(log.sink_arg, line);
        return;
    }
    line[length] = '\n';
    const int fd = log.file.get() >= 0 ? log.file.get() : STDERR_FILENO;
    if (!write_line(fd, {line, length + 1}, log.is_plain_file)) {
        count_failure(log);
    }
}

/** Delivers a line that did not fit the stack. Without memory for it false, and nothing is written. */
__attribute__((format(printf, 3, 0))) bool deliver_long(zpf_log& log, std::size_t length, const char* fmt,
                                                        std::va_list args)
{
    const std::unique_ptr<char[]> line{new (std::nothrow) char[length + 1]};
    if (line == nullptr) {
        return false;
    }
    const int formatted = std::vsnprintf(line.get(), length + 1, fmt, args);
    deliver(log, line.get(), std::min(length, static_cast<std::size_t>(std::max(formatted, 0))));
    return true;
}

} // namespace

int zpf_debug_should_log(const zpf_log_filter* filter, int level)
{
    const auto bit = static_cast<unsigned>(level);
    return filter != nullptr && bit < 32 && (filter->levels >> bit & 1U) != 0;
}

void log_filter_emit(void* log, unsigned long, unsigned long, unsigned long, unsigned long, unsigned long,
                     std::uint32_t* slot, const char* fmt, ...)
{
    const ErrnoKept errno_kept;
    if (slot != nullptr) {
        number_site(slot);
    }
    zpf_log& out = log_of(log);
    std::array<char, kOrdinaryLineBytes> line;
    std::va_list args;
    va_start(args, fmt);
    // clang-tidy 14 overlooks va_start() in all files of a run but the first. NOLINTNEXTLINE(clang-analyzer-valist.*)
    const int formatted = std::vsnprintf(line.data(), line.size(), fmt, args);
    va_end(args);
    if (formatted < 0) {
        count_failure(out); // a %ls that is no text, or a line beyond 2 GB
        return;
    }
    const auto length = static_cast<std::size_t>(formatted);
    if (length < line.size()) {
        deliver(out, line.data(), length);
        return;
    }
    va_start(args, fmt);
    if (!deliver_long(out, length, fmt, args)) {
        count_failure(out);
        deliver(out, line.data(), line.size() - 1); // its beginning says more than silence
    }
    va_end(args);
}

zpf_log* zpf_log_open(const char* path, char* why, size_t why_size)
{
    return zpf::base::open_or_explain(why, why_size, [path]() -> zpf_log* {
        if (path == nullptr) {
            return new zpf_log{};
        }
        FileDescriptor file{::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, 0640)};
        struct stat status = {};
        if (file.get() < 0 || ::fstat(file.get(), &status) != 0) {
            throw zpf::base::refusal_by_system(path);
        }
        return new zpf_log{std::move(file), S_ISREG(status.st_mode), nullptr, nullptr, {}, {}};
    });
}

zpf_log* zpf_log_to_sink(zpf_log_sink sink, void* arg)
{
    return new (std::nothrow) zpf_log{{}, false, sink, arg, {}, {}};
}

void zpf_log_close(zpf_log* log)
{
    delete log;
}

std::uint64_t zpf_log_failed_lines(const zpf_log* log)
{
    return (log != nullptr ? *log : standard_error.log).failed_lines.load(std::memory_order_relaxed);
}

int zpf_log_filter_set(std::uint32_t* levels, const char* word)
{
    constexpr std::uint32_t kErrors = 1U << ZPF_LEVEL_ERROR;
    constexpr std::uint32_t kTraces = 1U << ZPF_LEVEL_TRACE;
    const std::string_view wanted{word != nullptr ? word : ""};
    if (wanted == "off") {
        *levels = 0;
    } else if (wanted == "error") {
        *levels = kErrors;
    } else if (wanted == "trace") {
        *levels = kErrors | kTraces;
    } else {
        return -1;
    }
    return 0;
}

std::uint32_t zpf_log_site_count(void)
{
    return sites_numbered.load(std::memory_order_relaxed);
}

// SPDX-License-Identifier: Apache-2.0
//
// The parts of reporting that run seldom: writing a trace line, and stopping at a missing context.
#include "report.hpp"

#include <cstdarg>
#include <cstdio>

// The C library's own end of a failed assertion; <cassert> declares it only in builds that keep assertions.
extern "C" [[noreturn]] void __assert_fail(const char* assertion, const char* file, unsigned line,
                                           const char* function) noexcept;

namespace oc_attenuator {

void write_trace_line(void* trace_buf, const char* format, ...)
{
    char line[ZPF_TRACE_LINE_BYTES];
    va_list arguments;
    va_start(arguments, format);
    // The analyzer does not see that va_start() has initialised the list.
    std::vsnprintf(line, sizeof line, format, arguments); // NOLINT(clang-analyzer-valist.Uninitialized)
    va_end(arguments);
    trace_ring_write(trace_buf, ZPF_TRACE_FLAGS, line);
}

void fail_without_context(const char* file, unsigned line, const char* prototype)
{
    __assert_fail("NULL != ctx", file, line, prototype);
}

void fail_without_context(const Function& walker)
{
    char prototype[256];
    std::snprintf(prototype, sizeof prototype, "qerrno %s(zpf_map_ctx, const qidl_zpf_datatree*, qidl_zpf_datatree*)",
                  walker.name);
    fail_without_context(walker.file, walker.line, prototype);
}

} // namespace oc_attenuator

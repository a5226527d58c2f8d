// SPDX-License-Identifier: Apache-2.0
//
// How every function of the plug-in reports: one message, from one place in the code, to the debug log and to the
// trace ring, each when its own switch admits it.
//
// Reports are macros because a place in the code is what they are about: each owns its filter slot and its line number.
// Formatting a trace line is kept out of line, so that a suppressed report costs one call and one test.
#ifndef OC_ATTENUATOR_REPORT_HPP
#define OC_ATTENUATOR_REPORT_HPP

#include "zpf/zpf.h"

#include <cstdint>

namespace oc_attenuator {

/** What a function that is made from a template calls itself, and where it is written down. */
struct Function {
    const char* name;
    const char* file;
    unsigned line;
};

/** Names a walker; the place is the caller's. */
constexpr Function function(const char* name, const char* file = __builtin_FILE(), unsigned line = __builtin_LINE())
{
    return {name, file, line};
}

/** What a filter slot holds before its first line; the log facility owns it from then on. */
constexpr uint32_t kFreshSlot = 0xFFFFFFFFu;

/** Formats one line (at most ZPF_TRACE_LINE_BYTES, cut silently) and hands it to the ring. */
[[gnu::cold, gnu::noinline, gnu::format(printf, 2, 3)]] void write_trace_line(void* trace_buf, const char* format, ...);

/** Ends the program as a failed assertion "NULL != ctx" does; unlike assert() in release builds, too. */
[[noreturn, gnu::cold]] void fail_without_context(const char* file, unsigned line, const char* prototype);

/** The same for a walker, whose prototype is composed from its name. */
[[noreturn, gnu::cold]] void fail_without_context(const Function& walker);

inline void require_context(zpf_map_ctx ctx, const Function& walker)
{
    if (ctx == nullptr) [[unlikely]] {
        fail_without_context(walker);
    }
}

/** Text for a "%s" that may have nothing to show. */
inline const char* text_or_null(const char* text)
{
    return text != nullptr ? text : "(null)";
}

} // namespace oc_attenuator

#define OCATT_REQUIRE_CONTEXT(ctx)                                                                                     \
    do {                                                                                                               \
        if ((ctx) == nullptr) [[unlikely]] {                                                                           \
            oc_attenuator::fail_without_context(__FILE__, __LINE__, static_cast<const char*>(__PRETTY_FUNCTION__));    \
        }                                                                                                              \
    } while (false)

#define OCATT_REPORT(level, word, log, ctx, function_name, message, ...)                                               \
    do {                                                                                                               \
        static uint32_t slot = oc_attenuator::kFreshSlot;                                                              \
        if (zpf_debug_should_log(&(ctx)->log_filter, level) != 0) [[unlikely]] {                                       \
            log_filter_emit((ctx)->log, 0, 0, 0, 0, 0, &slot, word ": ZPF: ctx=%p," message,                           \
                            static_cast<void*>(ctx) __VA_OPT__(, ) __VA_ARGS__);                                       \
        }                                                                                                              \
        if ((ctx)->trace_enabled != 0) [[unlikely]] {                                                                  \
            oc_attenuator::write_trace_line((ctx)->trace_buf, "#%u: " word ": %s:%d ctx=%p," message,                  \
                                            ret_nc_zpf_trace_index_incr(), function_name, __LINE__,                    \
                                            static_cast<void*>(ctx) __VA_OPT__(, ) __VA_ARGS__);                       \
        }                                                                                                              \
    } while (false)

/** Reports `message` (a literal) with its arguments under the name of the reporting function. */
#define OCATT_TRACE(ctx, function_name, message, ...)                                                                  \
    OCATT_REPORT(ZPF_LEVEL_TRACE, "TRC", trc_log, ctx, function_name, message __VA_OPT__(, ) __VA_ARGS__)
#define OCATT_ERROR(ctx, function_name, message, ...)                                                                  \
    OCATT_REPORT(ZPF_LEVEL_ERROR, "ERR", err_log, ctx, function_name, message __VA_OPT__(, ) __VA_ARGS__)

#endif

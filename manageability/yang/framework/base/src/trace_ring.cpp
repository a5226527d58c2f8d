// SPDX-License-Identifier: Apache-2.0
//
// Writers of the trace ring.
// A line gets its number by one atomic addition, and with it its slot. A writer that was overtaken by a whole round
// while it wrote leaves the slot to its successor; what the two may have mixed fails the checksum.
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <memory>

#include "errno_kept.hpp"
#include "refusal.hpp"
#include "trace_file.hpp"
#include "zpf/diagnostics.h"
#include "zpf_base/trace.h"

using namespace zpf::base;

struct zpf_trace_ring {
    RingMemory memory;
    zpf_trace_observer observer = nullptr;
    void* observer_arg = nullptr;
};

namespace {

constinit std::atomic<std::uint32_t> trace_index{0};
constinit std::atomic<std::uint32_t> process_id{0}; // asking the system would cost more than all the rest of a line

void note_process_id()
{
    process_id.store(static_cast<std::uint32_t>(::getpid()), std::memory_order_relaxed);
}

void follow_process_id()
{
    static const bool children_follow = pthread_atfork(nullptr, nullptr, note_process_id) == 0;
    static_cast<void>(children_follow); // without memory for the handler children trace under their parent's number
    note_process_id();
}

std::uint64_t now_ns()
{
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<std::uint64_t>(now.tv_nsec);
}

/** Takes the slot for this line; false when a line of a later round has it. */
bool claim(RingSlot& slot, std::uint64_t sequence)
{
    std::uint64_t seen = slot.state.load(std::memory_order_relaxed);
    while (seen < writing(sequence)) { // each turn means that another writer got on
        if (slot.state.compare_exchange_weak(seen, writing(sequence), std::memory_order_release,
                                             std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

void fill(RingSlot& slot, std::uint64_t sequence, const LineWords& line, std::size_t count)
{
    // Release on every word: a reader that sees one of them also sees that the slot is being written.
    slot.check.store(checksum(sequence, line.data(), count), std::memory_order_release);
    for (std::size_t i = 0; i < count; ++i) {
        slot.line[i].store(line[i], std::memory_order_release);
    }
    std::uint64_t mine = writing(sequence);
    slot.state.compare_exchange_strong(mine, finished(sequence), std::memory_order_release, std::memory_order_relaxed);
}

} // namespace

std::uint32_t ret_nc_zpf_trace_index_incr(void)
{
    return trace_index.fetch_add(1, std::memory_order_relaxed) + 1;
}

void trace_ring_write(void* trace_buf, std::uint64_t flags, const char* line)
{
    if (trace_buf == nullptr || line == nullptr) {
        return;
    }
    auto& ring = *static_cast<zpf_trace_ring*>(trace_buf);
    const std::size_t length = strnlen(line, ZPF_TRACE_LINE_BYTES - 1);
    const std::size_t count = line_words(length);
    LineWords words;
    words[count - 1] = 0; // for the bytes that the text leaves of its last word
    words[0] = now_ns();
    words[1] = flags;
    words[2] = std::uint64_t{length} << 32 | process_id.load(std::memory_order_relaxed);
    std::memcpy(&words[kFactWords], line, length);
    const std::uint64_t sequence = ring.memory.position().fetch_add(1, std::memory_order_relaxed);
    if (RingSlot& slot = ring.memory.slot(sequence); claim(slot, sequence)) {
        fill(slot, sequence, words, count);
    }
    if (ring.observer != nullptr) {
        const ErrnoKept errno_kept;
        ring.observer(ring.observer_arg, line);
    }
}

zpf_trace_ring* zpf_trace_ring_open(const char* path, uint32_t slots, char* why, size_t why_size)
{
    return open_or_explain(why, why_size, [path, slots] {
        follow_process_id();
        return new zpf_trace_ring{path != nullptr ? RingMemory::of_file(path, slots) : RingMemory::of_process(slots)};
    });
}

void zpf_trace_ring_close(zpf_trace_ring* ring)
{
    delete ring;
}

void zpf_trace_ring_observe(zpf_trace_ring* ring, zpf_trace_observer observer, void* arg)
{
    ring->observer = observer;
    ring->observer_arg = arg;
}

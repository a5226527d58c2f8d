// SPDX-License-Identifier: Apache-2.0
//
// Reader of the trace ring.
// It copies a slot and then looks whether the slot was left alone meanwhile; it changes nothing and holds up nobody.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "refusal.hpp"
#include "trace_file.hpp"
#include "zpf_base/trace.h"

using namespace zpf::base;

struct zpf_trace_reader {
    const RingMemory memory;
    std::uint64_t next = 0;         // sequence number of the line to read next
    std::uint32_t patience = 0;     // calls that wait for an unfinished line
    std::uint32_t calls_waited = 0; // since the last line read
};

namespace {

enum class Found { kLine, kUnfinished, kGone };

std::uint64_t oldest(const RingMemory& ring, std::uint64_t position)
{
    return position - std::min<std::uint64_t>(position, ring.slot_count());
}

void unpack(const LineWords& words, std::uint64_t sequence, std::size_t length, zpf_trace_line& line)
{
    line.sequence = sequence;
    line.time_ns = words[0];
    line.flags = words[1];
    line.pid = static_cast<std::uint32_t>(words[2]);
    std::memcpy(line.text, &words[kFactWords], length);
    line.text[length] = '\0';
}

Found read_slot(const RingSlot& slot, std::uint64_t sequence, zpf_trace_line& line)
{
    const std::uint64_t state = slot.state.load(std::memory_order_acquire);
    if (state != finished(sequence)) {
        return state < finished(sequence) ? Found::kUnfinished : Found::kGone;
    }
    LineWords words;
    const std::uint64_t check = slot.check.load(std::memory_order_acquire);
    words[2] = slot.line[2].load(std::memory_order_acquire);
    const std::uint64_t length = words[2] >> 32;
    if (length >= sizeof line.text) {
        return Found::kGone;
    }
    // Acquire on every word: the second look at the state comes after all of them.
    const std::size_t count = line_words(length);
    for (std::size_t i = 0; i < count; ++i) {
        words[i] = slot.line[i].load(std::memory_order_acquire);
    }
    if (slot.state.load(std::memory_order_relaxed) != state || words[2] >> 32 != length ||
        checksum(sequence, words.data(), count) != check) {
        return Found::kGone;
    }
    unpack(words, sequence, length, line);
    return Found::kLine;
}

} // namespace

zpf_trace_reader* zpf_trace_reader_open(const char* path, char* why, size_t why_size)
{
    return open_or_explain(why, why_size, [path] {
        auto* const reader = new zpf_trace_reader{RingMemory::to_read(path)};
        zpf_trace_reader_seek_last(reader, kMaxSlots);
        return reader;
    });
}

int zpf_trace_reader_next(zpf_trace_reader* reader, zpf_trace_line* line, uint64_t* lost)
{
    const std::uint64_t position = zpf_trace_reader_position(reader);
    std::uint64_t sequence = std::max(reader->next, oldest(reader->memory, position));
    for (; sequence < position; ++sequence) {
        const Found found = read_slot(reader->memory.slot(sequence), sequence, *line);
        if (found == Found::kLine) {
            if (lost != nullptr) {
                *lost = sequence - reader->next;
            }
            reader->next = sequence + 1;
            reader->calls_waited = 0;
            return 1;
        }
        if (found == Found::kUnfinished && reader->calls_waited < reader->patience) {
            ++reader->calls_waited;
            return 0;
        }
    }
    return 0;
}

void zpf_trace_reader_set_patience(zpf_trace_reader* reader, uint32_t calls)
{
    reader->patience = calls;
}

void zpf_trace_reader_seek_last(zpf_trace_reader* reader, uint64_t count)
{
    const std::uint64_t position = zpf_trace_reader_position(reader);
    reader->next = std::max(oldest(reader->memory, position), position - std::min(position, count));
}

uint64_t zpf_trace_reader_position(const zpf_trace_reader* reader)
{
    return reader->memory.position().load(std::memory_order_acquire);
}

void zpf_trace_reader_close(zpf_trace_reader* reader)
{
    delete reader;
}

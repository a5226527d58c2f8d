// SPDX-License-Identifier: Apache-2.0
//
// The trace ring as it stands in its file; README.md describes it for other readers.
// Every word that changes while others look is atomic, and lock-free atomics work between processes as between threads.
#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "zpf/diagnostics.h"
#include "zpf_base/trace.h"

namespace zpf::base {

using Word = std::atomic<std::uint64_t>;
static_assert(Word::is_always_lock_free && sizeof(Word) == sizeof(std::uint64_t));
static_assert(sizeof zpf_trace_line::text == ZPF_TRACE_LINE_BYTES);

inline constexpr std::uint64_t kRingMagic = 0x45434152'5446505A; // "ZPFTRACE" as little-endian memory holds it
inline constexpr std::uint32_t kRingVersion = 1;
inline constexpr std::uint32_t kMaxSlots = 1U << 24; // 5 GiB

/** Words of a line: time, flags, process and length, text. */
inline constexpr std::size_t kFactWords = 3;
inline constexpr std::size_t kTextWords = (ZPF_TRACE_LINE_BYTES + 7) / 8;
inline constexpr std::size_t kLineWords = kFactWords + kTextWords;
using LineWords = std::array<std::uint64_t, kLineWords>;

inline constexpr std::size_t line_words(std::size_t text_bytes)
{
    return kFactWords + (text_bytes + 7) / 8;
}

/** What never changes once the file is made. */
struct RingShape {
    std::uint64_t magic;
    std::uint32_t version;
    std::uint32_t slot_bytes;
    std::uint32_t slot_count;
    std::uint32_t reserved;
    std::uint64_t check; // checksum of the words before
};

struct RingHeader {
    RingShape shape;
    std::array<std::uint64_t, 4> unused;
    Word position; // sequence number of the next line; on a cache line of its own
    std::array<std::uint64_t, 7> unused_behind;
};

struct alignas(64) RingSlot {
    Word state; // 0, or what writing() or finished() gives
    Word check; // checksum of the line, so that a line mixed from two is not taken for one
    std::array<Word, kLineWords> line;
};

static_assert(sizeof(RingShape) == 32 && sizeof(RingHeader) == 128 && offsetof(RingHeader, position) == 64 &&
              sizeof(RingSlot) == 320);

inline constexpr std::uint64_t writing(std::uint64_t sequence)
{
    return 2 * sequence + 1;
}
inline constexpr std::uint64_t finished(std::uint64_t sequence)
{
    return 2 * sequence + 2;
}

inline constexpr std::uint64_t ring_bytes(std::uint32_t slot_count)
{
    return sizeof(RingHeader) + std::uint64_t{slot_count} * sizeof(RingSlot);
}

/** Checksum of words that belong together; the salt ties them to their place in the ring's history. */
inline constexpr std::uint64_t checksum(std::uint64_t seed, const std::uint64_t* words, std::size_t count)
{
    std::uint64_t sum = seed + 0x9E3779B97F4A7C15;
    for (std::size_t i = 0; i < count; ++i) {
        sum = std::rotl((sum ^ words[i]) * 0xD6E8FEB86659FD93, 29);
    }
    return sum;
}

/** Checksum of a shape's words but the last. */
inline constexpr std::uint64_t shape_checksum(const RingShape& shape)
{
    const std::array<std::uint64_t, 3> words{shape.magic, std::uint64_t{shape.version} << 32 | shape.slot_bytes,
                                             std::uint64_t{shape.slot_count} << 32 | shape.reserved};
    return checksum(0, words.data(), words.size());
}

} // namespace zpf::base

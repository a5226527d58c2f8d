// SPDX-License-Identifier: Apache-2.0
//
// The memory of a trace ring: made, checked, mapped and unmapped. Throws Refusal with the file's name and the reason.
#pragma once

#include <cstdint>
#include <string>

#include "trace_layout.hpp"

namespace zpf::base {

class FileDescriptor;

class RingMemory {
public:
    /** Maps the file for writing; makes it when it is missing or empty. Any other file than such a ring is refused. */
    static RingMemory of_file(const std::string& path, std::uint32_t slots);
    /** A ring that ends with the process and its children. */
    static RingMemory of_process(std::uint32_t slots);
    /** Maps the file for reading; only the const members may be used. */
    static const RingMemory to_read(const std::string& path);

    RingMemory(RingMemory&& other) noexcept;
    RingMemory& operator=(RingMemory&&) = delete;
    ~RingMemory();

    std::uint32_t slot_count() const { return slot_count_; }
    Word& position() { return header_->position; }
    const Word& position() const { return header_->position; }
    RingSlot& slot(std::uint64_t sequence) { return slots_[sequence & (slot_count_ - 1)]; }
    const RingSlot& slot(std::uint64_t sequence) const { return slots_[sequence & (slot_count_ - 1)]; }

private:
    RingMemory(void* memory, std::uint32_t slot_count);
    static RingMemory map(const FileDescriptor& file, const std::string& path, std::uint32_t slot_count, int access);

    RingHeader* header_;
    RingSlot* slots_;
    std::uint32_t slot_count_; // a power of two
};

} // namespace zpf::base

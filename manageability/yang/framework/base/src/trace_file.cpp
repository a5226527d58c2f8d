// SPDX-License-Identifier: Apache-2.0
//
// The memory of a trace ring: made, checked, mapped and unmapped.
// A file is made in two steps, its shape first; a maker killed in between leaves a file that the next one makes anew.
#include "trace_file.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <bit>
#include <cerrno>
#include <new>
#include <utility>

#include "file_descriptor.hpp"
#include "refusal.hpp"

namespace zpf::base {
namespace {

std::uint32_t rounded_slots(const std::string& what, std::uint32_t slots)
{
    if (slots > kMaxSlots) {
        throw Refusal{what + ": a trace ring holds at most " + std::to_string(kMaxSlots) + " lines, not " +
                      std::to_string(slots)};
    }
    return std::bit_ceil(slots != 0 ? slots : ZPF_TRACE_DEFAULT_SLOTS);
}

RingShape shape_of(std::uint32_t slot_count)
{
    RingShape shape{kRingMagic, kRingVersion, sizeof(RingSlot), slot_count, 0, 0};
    shape.check = shape_checksum(shape);
    return shape;
}

FileDescriptor open_plain_file(const std::string& path, int flags)
{
    // Non-blocking, so that a named pipe in the file's place is refused and not waited for.
    FileDescriptor file{::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0640)};
    struct stat status = {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0) {
        throw refusal_by_system(path);
    }
    if (!S_ISREG(status.st_mode)) {
        throw Refusal{path + ": not a plain file"};
    }
    return file;
}

std::uint64_t size_of(const FileDescriptor& file, const std::string& path)
{
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0) {
        throw refusal_by_system(path);
    }
    return static_cast<std::uint64_t>(status.st_size);
}

/** Reads the shape and refuses what no ring of this program could have. */
RingShape read_shape(const FileDescriptor& file, const std::string& path)
{
    RingShape shape = {};
    const ssize_t got = ::pread(file.get(), &shape, sizeof shape, 0);
    if (got < 0) {
        throw refusal_by_system(path);
    }
    if (got == 0) {
        throw Refusal{path + ": empty, no trace ring yet"};
    }
    if (got != sizeof shape || shape.magic != kRingMagic) {
        throw Refusal{path + ": not a trace ring"};
    }
    if (shape.version != kRingVersion) {
        throw Refusal{path + ": a trace ring of version " + std::to_string(shape.version) + "; this program knows " +
                      std::to_string(kRingVersion)};
    }
    if (shape.check != shape_checksum(shape) || shape.slot_bytes != sizeof(RingSlot) ||
        !std::has_single_bit(shape.slot_count) || shape.slot_count > kMaxSlots) {
        throw Refusal{path + ": damaged: the header of the trace ring contradicts itself"};
    }
    return shape;
}

void refuse_other_size(const FileDescriptor& file, const std::string& path, std::uint32_t slot_count)
{
    const std::uint64_t size = size_of(file, path);
    if (size != ring_bytes(slot_count)) {
        throw Refusal{path + ": damaged: " + std::to_string(size) + " bytes long, but its header says " +
                      std::to_string(ring_bytes(slot_count))};
    }
}

/** Keeps other makers of the file out. Writers and readers of a finished ring never meet this lock. */
class MakersLock {
public:
    MakersLock(const FileDescriptor& file, const std::string& path) : fd_{file.get()}
    {
        while (::flock(fd_, LOCK_EX) != 0) {
            if (errno != EINTR) {
                throw refusal_by_system(path);
            }
        }
    }
    MakersLock(const MakersLock&) = delete;
    MakersLock& operator=(const MakersLock&) = delete;
    ~MakersLock() { ::flock(fd_, LOCK_UN); } // closing would not do: a mapping keeps the open file, and so its lock

private:
    int fd_;
};

bool is_unmade(const FileDescriptor& file, const std::string& path)
{
    const std::uint64_t size = size_of(file, path);
    if (size == sizeof(RingShape)) {
        read_shape(file, path); // refuses a file that only happens to have this size
    }
    return size == 0 || size == sizeof(RingShape);
}

void make(const FileDescriptor& file, const std::string& path, std::uint32_t slot_count)
{
    const RingShape shape = shape_of(slot_count);
    if (::pwrite(file.get(), &shape, sizeof shape, 0) != sizeof shape) {
        throw refusal_by_system(path);
    }
    // Blocks are allocated now: a disk that fills up later must not end a program that traces.
    const int failed = ::posix_fallocate(file.get(), 0, static_cast<off_t>(ring_bytes(slot_count)));
    if (failed != 0) {
        errno = failed;
        const Refusal reason = refusal_by_system(path);
        if (::ftruncate(file.get(), 0) != 0) {
            throw Refusal{std::string{reason.what()} + "; remove the file"};
        }
        throw reason;
    }
}

/**
 * Empties slots that claim to be ahead of the ring's position, as a power cut or a damaged disk leaves them: writers
 * would take their own lines for outdated. Slots that live writers fill are behind the position, read after them.
 */
void empty_slots_ahead(RingMemory& ring)
{
    for (std::uint32_t i = 0; i < ring.slot_count(); ++i) {
        std::uint64_t state = ring.slot(i).state.load(std::memory_order_acquire);
        if (state >= writing(ring.position().load(std::memory_order_acquire))) {
            ring.slot(i).state.compare_exchange_strong(state, 0, std::memory_order_relaxed);
        }
    }
}

} // namespace

RingMemory RingMemory::of_file(const std::string& path, std::uint32_t slots)
{
    const std::uint32_t slot_count = rounded_slots(path, slots);
    const FileDescriptor file = open_plain_file(path, O_RDWR | O_CREAT);
    const MakersLock lock{file, path};
    if (is_unmade(file, path)) {
        make(file, path, slot_count);
    }
    const RingShape shape = read_shape(file, path);
    refuse_other_size(file, path, shape.slot_count);
    if (shape.slot_count != slot_count) {
        throw Refusal{path + ": a trace ring of " + std::to_string(shape.slot_count) + " lines, not of " +
                      std::to_string(slot_count)};
    }
    RingMemory ring = map(file, path, slot_count, PROT_READ | PROT_WRITE);
    empty_slots_ahead(ring);
    return ring;
}

RingMemory RingMemory::of_process(std::uint32_t slots)
{
    const std::uint32_t slot_count = rounded_slots("trace ring in memory", slots);
    void* const memory =
        ::mmap(nullptr, ring_bytes(slot_count), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw refusal_by_system("trace ring in memory");
    }
    return RingMemory{new (memory) RingHeader{shape_of(slot_count), {}, {}, {}}, slot_count};
}

const RingMemory RingMemory::to_read(const std::string& path)
{
    const FileDescriptor file = open_plain_file(path, O_RDONLY);
    const RingShape shape = read_shape(file, path);
    refuse_other_size(file, path, shape.slot_count);
    return map(file, path, shape.slot_count, PROT_READ);
}

RingMemory RingMemory::map(const FileDescriptor& file, const std::string& path, std::uint32_t slot_count, int access)
{
    // A writer has its pages ready beforehand, so that no line of the first round waits for one.
    const int populate = (access & PROT_WRITE) != 0 ? MAP_POPULATE : 0;
    void* const memory = ::mmap(nullptr, ring_bytes(slot_count), access, MAP_SHARED | populate, file.get(), 0);
    if (memory == MAP_FAILED) {
        throw refusal_by_system(path);
    }
    return RingMemory{memory, slot_count};
}

RingMemory::RingMemory(void* memory, std::uint32_t slot_count)
    : header_{static_cast<RingHeader*>(memory)},
      slots_{reinterpret_cast<RingSlot*>(static_cast<RingHeader*>(memory) + 1)},
      slot_count_{slot_count}
{}

RingMemory::RingMemory(RingMemory&& other) noexcept
    : header_{std::exchange(other.header_, nullptr)}, slots_{other.slots_}, slot_count_{other.slot_count_}
{}

RingMemory::~RingMemory()
{
    if (header_ != nullptr) {
        ::munmap(header_, ring_bytes(slot_count_));
    }
}

} // namespace zpf::base

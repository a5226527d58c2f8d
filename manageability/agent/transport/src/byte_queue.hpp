// SPDX-License-Identifier: Apache-2.0
//
// Bytes on their way from one descriptor to another. How many may wait is the business of whoever fills the queue.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace zpf::agent {

class ByteQueue {
public:
    void append(std::span<const char> bytes)
    {
        if (begin_ > 0 && bytes_.size() + bytes.size() > bytes_.capacity()) {
            bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(begin_));
            begin_ = 0;
        }
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    }

    /** What waits, oldest first. Valid until the next append or take. */
    [[nodiscard]] std::span<const char> bytes() const { return std::span{bytes_}.subspan(begin_); }
    [[nodiscard]] size_t size() const { return bytes_.size() - begin_; }
    [[nodiscard]] bool empty() const { return size() == 0; }

    /** Forgets the oldest `count` bytes; `count` is at most size(). */
    void take(size_t count)
    {
        begin_ += count;
        if (begin_ == bytes_.size()) {
            clear();
        }
    }

    void clear()
    {
        begin_ = 0;
        bytes_.clear();
        if (bytes_.capacity() > kKeptBytes) {
            std::vector<char>{}.swap(bytes_); // a burst is over; an idle connection holds little
        }
    }

private:
    static constexpr size_t kKeptBytes = 64 * 1024;

    std::vector<char> bytes_;
    size_t begin_ = 0;
};

} // namespace zpf::agent

// SPDX-License-Identifier: Apache-2.0
//
// Owner of a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace zpf::base {

class FileDescriptor {
public:
    constexpr FileDescriptor() = default;
    explicit FileDescriptor(int fd) : fd_{fd} {}
    FileDescriptor(FileDescriptor&& other) noexcept : fd_{std::exchange(other.fd_, -1)} {}
    FileDescriptor& operator=(FileDescriptor&&) = delete;
    ~FileDescriptor()
    {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }

    int get() const { return fd_; }

private:
    int fd_ = -1;
};

} // namespace zpf::base

// SPDX-License-Identifier: Apache-2.0
//
// A report may stand between a failed call and the code that reads errno; it must not change it.
#pragma once

#include <cerrno>

namespace zpf::base {

class ErrnoKept {
public:
    ErrnoKept() = default;
    ErrnoKept(const ErrnoKept&) = delete;
    ErrnoKept& operator=(const ErrnoKept&) = delete;
    ~ErrnoKept() { errno = kept_; }

private:
    int kept_ = errno;
};

} // namespace zpf::base

// SPDX-License-Identifier: Apache-2.0
//
// From a code of the system or the database to an error that an operator can act on.
#pragma once

#include <string>
#include <string_view>

#include "kelda/error.hpp"

namespace kelda::detail {

/// Throws the StoreError for an errno or LMDB code. `doing` completes "cannot ...".
[[noreturn]] void fail(int code, std::string_view doing, const std::string& path);

/// Does so unless the code is 0.
inline void require(int code, std::string_view doing, const std::string& path)
{
    if (code != 0) {
        fail(code, doing, path);
    }
}

[[noreturn]] void fail_damaged(const std::string& path, std::string_view what);

} // namespace kelda::detail

// SPDX-License-Identifier: Apache-2.0
//
// Why a file cannot be opened. Inside the library a reason is thrown; at the C line it becomes a text and a null.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <system_error>

namespace zpf::base {

struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/** The refusal of a system call that has just failed. */
inline Refusal refusal_by_system(const std::string& path)
{
    return Refusal{path + ": " + std::generic_category().message(errno)};
}

/** Runs `open`; a failure gives null and its reason in `why`, which may be null. */
template <typename Open>
auto open_or_explain(char* why, std::size_t why_size, Open open) noexcept -> decltype(open())
{
    try {
        return open();
    } catch (const std::exception& reason) {
        if (why != nullptr && why_size > 0) {
            std::snprintf(why, why_size, "%s", reason.what());
        }
        return nullptr;
    }
}

} // namespace zpf::base

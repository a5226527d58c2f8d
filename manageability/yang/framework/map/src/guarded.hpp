// SPDX-License-Identifier: Apache-2.0
//
// The line between the C interface and what is behind it: nothing is thrown across. The only catch-all there is.
#pragma once

#include <exception>

#include "context_priv.hpp"

namespace zpf {

template <typename Body>
qerrno guarded(zpf_map_ctx ctx, Body body) noexcept
{
    try {
        return body();
    } catch (const std::exception&) { // out of memory: kept, so that a caller that drops the result cannot hide it
        return fail(ctx, ZPF_RC_BAD_TREE);
    }
}

} // namespace zpf

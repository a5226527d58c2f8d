// SPDX-License-Identifier: Apache-2.0
//
// What the framework notes on a list entry of an output tree when it creates it (`fw_mark`): how a removal is meant,
// and under which entry of the request the entry came to be. Both are known at that moment only.
#pragma once

#include "zpf/records.h"

namespace zpf {

enum class RemovalMark : uint8_t {
    none = 0,
    all = 1,  ///< expansion of a delete above the list: every entry that the mapping knows, only the leaves given below
    repl = 2, ///< first pass of a replaced entry: only the leaves given below
    own = 3,  ///< the client removes this very entry
};

inline RemovalMark removal_mark(const qidl_zpf_datatree& node)
{
    return static_cast<RemovalMark>(node.fw_mark & 0xFF);
}

/// Number of the request's node, from 1; 0: made outside of any.
inline uint32_t request_number_of(const qidl_zpf_datatree& node)
{
    return node.fw_mark >> 8;
}

inline uint32_t make_mark(RemovalMark mark, uint32_t request_number)
{
    return static_cast<uint32_t>(mark) | request_number << 8;
}

inline const char* to_string(RemovalMark mark)
{
    switch (mark) {
    case RemovalMark::all:
        return "ALL";
    case RemovalMark::repl:
        return "REPL";
    case RemovalMark::own:
        return "OWN";
    case RemovalMark::none:
        break;
    }
    return "";
}

} // namespace zpf

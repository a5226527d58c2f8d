// SPDX-License-Identifier: Apache-2.0
//
// Operations of edits, as requests spell them (RFC 6241, 7.2).
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "zpf/records.h"

namespace zpf::bridge {

struct OperationWord {
    std::string_view text;
    int32_t op;
};

inline constexpr std::array kOperations{OperationWord{"merge", ZPF_OP_MERGE}, OperationWord{"replace", ZPF_OP_REPLACE},
                                        OperationWord{"create", ZPF_OP_CREATE}, OperationWord{"delete", ZPF_OP_DELETE},
                                        OperationWord{"remove", ZPF_OP_REMOVE}};
inline constexpr std::array kDefaultOperations{
    OperationWord{"merge", ZPF_OP_MERGE}, OperationWord{"replace", ZPF_OP_REPLACE}, OperationWord{"none", ZPF_OP_NONE}};

/// The operation with this spelling, or nothing.
template <std::size_t N>
std::optional<int32_t> find_operation(const std::array<OperationWord, N>& words, std::string_view text)
{
    for (const OperationWord& word : words) {
        if (word.text == text) {
            return word.op;
        }
    }
    return std::nullopt;
}

} // namespace zpf::bridge

// SPDX-License-Identifier: Apache-2.0
//
// Tokens of XPath expressions, as far as those who look at expressions as texts need them.
#pragma once

#include <string_view>

namespace zpf::agent {

inline bool begins_name(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
inline bool continues_name(char c)
{
    return begins_name(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}
inline bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// Literals, words (names and numbers) and single characters, in order.
template <typename Take>
void for_each_token(std::string_view xpath, const Take& take)
{
    for (std::size_t begin = 0, end = 0; begin < xpath.size(); begin = end) {
        const char c = xpath[begin];
        end = begin + 1;
        if (c == '\'' || c == '"') {
            const std::size_t close = xpath.find(c, end);
            end = close == std::string_view::npos ? xpath.size() : close + 1;
        } else if (continues_name(c) && c != '-') {
            while (end < xpath.size() && continues_name(xpath[end])) {
                ++end;
            }
        }
        take(xpath.substr(begin, end - begin));
    }
}

} // namespace zpf::agent

// SPDX-License-Identifier: Apache-2.0
//
// Steps of record names.
#include "record_path.hpp"

namespace zpf::agent {

namespace {

constexpr char kHex[] = "0123456789ABCDEF";

bool is_unreserved(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_' || c == '~';
}

int hex_value(char c)
{
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                  : -1;
}

} // namespace

void append_encoded(std::string& out, std::string_view value)
{
    for (const char c : value) {
        if (is_unreserved(c)) {
            out.push_back(c);
        } else {
            const auto byte = static_cast<unsigned char>(c);
            out.append({'%', kHex[byte >> 4], kHex[byte & 0xF]});
        }
    }
}

std::string decoded(std::string_view text)
{
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? hex_value(text[i + 1]) : -1;
        const int low = high >= 0 ? hex_value(text[i + 2]) : -1;
        if (low >= 0) {
            plain.push_back(static_cast<char>(high * 16 + low));
            i += 2;
        } else {
            plain.push_back(text[i]);
        }
    }
    return plain;
}

PathStep parse_step(std::string_view step)
{
    PathStep parsed;
    const auto equals = step.find('=');
    std::string_view name = step.substr(0, equals);
    if (const auto colon = name.find(':'); colon != std::string_view::npos) {
        parsed.module = name.substr(0, colon);
        name.remove_prefix(colon + 1);
    }
    parsed.name = name;
    if (equals != std::string_view::npos) {
        std::string_view keys = step.substr(equals + 1);
        for (;;) {
            const auto comma = keys.find(',');
            parsed.keys.push_back(decoded(keys.substr(0, comma)));
            if (comma == std::string_view::npos) {
                break;
            }
            keys.remove_prefix(comma + 1);
        }
    }
    return parsed;
}

} // namespace zpf::agent

// SPDX-License-Identifier: Apache-2.0
//
// Reads the keys under which the store keeps configuration.
#include "config_key.hpp"

#include <charconv>

namespace zpf::device {

namespace {

constexpr std::string_view kEntryPrefix =
    "/config/Quarn-KMT-VN-ifmgr-cfg:interface-configurations/interface-configuration=";
constexpr std::string_view kAttenuation = "/Quarn-KMT-VN-controller-ots-cfg:ots/ots-tx-voa-attenuation";

} // namespace

std::optional<std::string> percent_decoded(std::string_view text)
{
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i];
            continue;
        }
        const std::string_view digits = text.substr(i + 1, 2);
        unsigned code = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
        if (digits.size() != 2 || error != std::errc{} || end != digits.data() + digits.size()) {
            return std::nullopt;
        }
        decoded += static_cast<char>(code);
        i += 2;
    }
    return decoded;
}

bool is_ots_port(std::string_view name)
{
    if (!name.starts_with("Ots")) {
        return false;
    }
    bool digit_before = false;
    for (const char c : name.substr(3)) {
        const bool digit = c >= '0' && c <= '9';
        if (!digit && (c != '/' || !digit_before)) {
            return false;
        }
        digit_before = digit;
    }
    return digit_before;
}

std::optional<ConfigKey> parse_config_key(std::string_view key)
{
    if (!key.starts_with(kEntryPrefix)) {
        return std::nullopt;
    }
    const std::string_view entry = key.substr(kEntryPrefix.size());
    const std::string_view keys = entry.substr(0, entry.find('/'));
    const std::size_t comma = keys.find(',');
    if (comma == std::string_view::npos || percent_decoded(keys.substr(0, comma)) != "act") {
        return std::nullopt;
    }
    const std::optional<std::string> port = percent_decoded(keys.substr(comma + 1));
    if (!port || !is_ots_port(*port)) {
        return std::nullopt;
    }
    return ConfigKey{*port, entry.substr(keys.size()) == kAttenuation};
}

} // namespace zpf::device

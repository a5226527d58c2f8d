// SPDX-License-Identifier: Apache-2.0
//
// Reads the keys under which the store keeps configuration, as far as the simulated device is concerned.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zpf::device {

/// What a key of the store means for an OTS port.
struct ConfigKey {
    std::string port;         ///< decoded, as in "Ots0/0/0/2"
    bool attenuation = false; ///< the leaf is the port's attenuation
};

/// Nothing for keys that are not below an interface configuration in force (`act`) of an OTS port, and for keys with
/// broken percent-encoding.
std::optional<ConfigKey> parse_config_key(std::string_view key);

/// Text with %XX decoded; nothing if an encoding is broken.
std::optional<std::string> percent_decoded(std::string_view text);

/// Whether a name is one of an OTS port: "Ots" and numbers separated by slashes.
bool is_ots_port(std::string_view name);

} // namespace zpf::device

// SPDX-License-Identifier: Apache-2.0
//
// Names of records in the store: "/config/" and the path of a data resource as RFC 8040, 3.5.3 writes it, e.g.
// /config/Quarn-KMT-VN-ifmgr-cfg:interface-configurations/interface-configuration=act,Ots0%2F0%2F0%2F2/shutdown
//
// A leaf's record holds its canonical value. A list entry, a leaf-list's value and a presence container have a record
// of their own, empty or, where users order the list, with its place in the list; keys are only in the name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zpf::agent {

inline constexpr std::string_view kConfigBranch = "/config/";
inline constexpr std::string_view kOperBranch = "/oper/optics/if/";
inline constexpr std::string_view kAgentBranch = "/agent/";

/// Appends a key's value, all but unreserved characters percent-encoded.
void append_encoded(std::string& out, std::string_view value);
std::string decoded(std::string_view text);

/// One step of a record's name: "module:name=key1,key2".
struct PathStep {
    std::string_view module; ///< empty: as the step before
    std::string_view name;
    std::vector<std::string> keys; ///< decoded; also a leaf-list's value
};
PathStep parse_step(std::string_view step);

/// True when the record is at the prefix or below it: "/a/b" is not below "/a/bc".
inline bool is_at_or_below(std::string_view key, std::string_view prefix)
{
    return key.starts_with(prefix) && (key.size() == prefix.size() || key[prefix.size()] == '/');
}

} // namespace zpf::agent

// SPDX-License-Identifier: Apache-2.0
//
// Prefixes of data paths.
#include "short_path.hpp"

#include <algorithm>

namespace zpf::cli {

namespace {

/// Where the predicate or the step that begins there ends; quoted values may hold anything.
std::size_t end_of(std::string_view path, std::size_t at, std::string_view ends)
{
    char quote = '\0';
    for (; at < path.size(); ++at) {
        const char c = path[at];
        if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if (c == '\'' || c == '"') {
            quote = c;
        } else if (ends.find(c) != std::string_view::npos) {
            break;
        }
    }
    return at;
}

std::string_view without_prefix(std::string_view name)
{
    const auto colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

} // namespace

std::string short_path(std::string_view path)
{
    std::string out;
    std::string_view module;
    for (std::size_t at = 0; at < path.size();) {
        const char opening = path[at];
        const std::size_t end = end_of(path, at + 1, opening == '[' ? "]" : "/[");
        const std::string_view part = path.substr(at + 1, end - at - 1);
        const std::string_view name = part.substr(0, part.find_first_of("='\""));
        const std::string_view bare = without_prefix(name);
        const std::string_view prefix = bare.size() < name.size() ? name.substr(0, name.size() - bare.size() - 1) : "";
        out += opening;
        if (opening == '/' && !prefix.empty() && prefix != module) {
            out.append(prefix).append(":");
            module = prefix;
        }
        out.append(bare).append(part.substr(name.size()));
        at = end;
        if (opening == '[' && at < path.size()) {
            out += path[at++];
        }
    }
    return out;
}

std::string top_of(std::string_view path)
{
    if (!path.starts_with('/')) {
        return {};
    }
    return std::string{without_prefix(path.substr(1, end_of(path, 1, "/[") - 1))};
}

std::string key_in_path(std::string_view path, std::string_view name)
{
    for (std::size_t at = end_of(path, 0, "["); at < path.size(); at = end_of(path, at, "[")) {
        const std::size_t end = end_of(path, at + 1, "]");
        const std::string_view predicate = path.substr(at + 1, end - at - 1);
        const auto equals = predicate.find('=');
        if (equals != std::string_view::npos && without_prefix(predicate.substr(0, equals)) == name &&
            predicate.size() >= equals + 3) {
            return std::string{predicate.substr(equals + 2, predicate.size() - equals - 3)};
        }
        at = end;
    }
    return {};
}

} // namespace zpf::cli

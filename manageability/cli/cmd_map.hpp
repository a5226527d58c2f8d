// SPDX-License-Identifier: Apache-2.0
//
// `zpf map`: maps one request, as a mapping author wants to see it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "output.hpp"

namespace zpf::cli {

enum class Format { tree, xml, json };

struct MapOptions {
    std::string request;                      ///< file, "-" is standard input
    std::optional<std::string> native;        ///< file with native data, "-" is standard input
    std::optional<uint32_t> kind;             ///< enum zpf_request_kind; nothing: as the request says, else edit-config
    std::optional<int32_t> default_operation; ///< merge, replace or none; nothing: as the request says, else merge
    std::string plugin;
    std::vector<std::string> yang_dirs;
    Format format = Format::tree;
    bool explain = false;
    std::string log_level = "off"; ///< off, error or trace
    std::string log_file;          ///< empty: standard error
    std::string trace_file;        ///< trace ring to write; empty: none
    Colour colour = Colour::automatic;
};

/// @return exit status
int run_map(const MapOptions& options);

} // namespace zpf::cli

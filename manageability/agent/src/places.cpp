// SPDX-License-Identifier: Apache-2.0
//
// Folders of plug-ins and models.
#include "places.hpp"

#include <filesystem>

#include "locate.hpp"

namespace zpf::agent {

void fill_places(Options& options)
{
    namespace fs = std::filesystem;
    if (options.plugin_dir.empty()) {
        options.plugin_dir = fs::path(cli::default_plugin()).parent_path();
    }
    if (options.yang_dirs.empty()) {
        options.yang_dirs.push_back(cli::default_yang_dir());
    }
    if (options.protocol_yang_dirs.empty()) {
        options.protocol_yang_dirs.push_back(fs::path(cli::default_yang_dir()).parent_path() / "yang-agent");
        options.protocol_yang_dirs.push_back(ZPF_IETF_YANG_DIR);
    }
    if (options.trace_file.empty()) {
        options.trace_file = fs::path(options.store) / "trace";
    }
    options.trace_file = fs::absolute(options.trace_file); // tools elsewhere are told of it
}

} // namespace zpf::agent

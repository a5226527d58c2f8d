// SPDX-License-Identifier: Apache-2.0
//
// `zpf store`: dump, load, check, compact and compare data stores, without an agent in between.
#pragma once

#include <iostream>
#include <string>

namespace CLI {
class App;
}

namespace zpf::cli {

struct StoreOptions {
    std::string folder;      ///< of the store; add_store() sets the default
    std::string prefix = {}; ///< dump: only records whose keys begin with it
    std::string file = {};   ///< load: the dump, "-" for standard input
    bool merge = false;      ///< load: records that the dump does not name stay
    std::string before = {}; ///< diff: a store's folder or a dump
    std::string after = {};  ///< diff: the same; empty for `folder`
    bool json = false;
};

/// Adds the command and its sub-commands. `options` is filled in when the command line is parsed.
void add_store(CLI::App& app, StoreOptions& options);

/// Runs the sub-command of `zpf store` that the parsed command line names.
/// @return exit status: 0 done and fine, 1 damaged, different, or the output could not be written, 2 usage, 3 cannot be
///         read or written
int run_store(const CLI::App& app, const StoreOptions& options, std::ostream& out = std::cout,
              std::ostream& err = std::cerr);

// Each sub-command alone; these throw kelda::StoreError and kelda::BadDump for status 3.

int run_store_dump(const StoreOptions& options, std::ostream& out);
int run_store_load(const StoreOptions& options, std::ostream& out);
int run_store_check(const StoreOptions& options, std::ostream& out);
int run_store_compact(const StoreOptions& options, std::ostream& out);
int run_store_diff(const StoreOptions& options, std::ostream& out);

} // namespace zpf::cli

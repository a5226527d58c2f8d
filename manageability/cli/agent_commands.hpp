// SPDX-License-Identifier: Apache-2.0
//
// The commands that talk to the agent. Each function adds one; when the command line names it, parsing puts what is to
// be run into `chosen`.
#pragma once

#include <functional>

#include "output.hpp"

namespace CLI {
class App;
}

namespace zpf::cli {

/// What the parsed command line asks for; each command puts its own there.
struct Chosen {
    std::function<int(Colour)> run; ///< returns the exit status
};

void add_show(CLI::App& app, Chosen& chosen);
void add_set(CLI::App& app, Chosen& chosen);
void add_get(CLI::App& app, Chosen& chosen);
void add_edit(CLI::App& app, Chosen& chosen);
void add_watch(CLI::App& app, Chosen& chosen);
void add_sessions(CLI::App& app, Chosen& chosen);
void add_stats(CLI::App& app, Chosen& chosen);
void add_log(CLI::App& app, Chosen& chosen);
void add_fault(CLI::App& app, Chosen& chosen);

/// `zpf trace`, of a file or of the running agent's ring.
void add_trace(CLI::App& app, Chosen& chosen);

/// `zpf completion`: scripts made from `app`, which has to outlive the run.
void add_completion(CLI::App& app, Chosen& chosen);

} // namespace zpf::cli

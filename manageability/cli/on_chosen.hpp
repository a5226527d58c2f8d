// SPDX-License-Identifier: Apache-2.0
//
// From a command that the parser has found to its function.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>

#include "agent_commands.hpp"

namespace zpf::cli {

/// When the command line names the command, `run` is what is to be run, with the options as they were filled in.
template <typename Options>
void on_chosen(CLI::App& command, Chosen& chosen, const std::shared_ptr<Options>& options, int (*run)(const Options&))
{
    command.callback([&command, &chosen, options, run] {
        if (!command.get_subcommands().empty()) {
            return; // one of them is meant, and has had its turn
        }
        chosen.run = [options, run](Colour colour) {
            options->colour = colour;
            return run(*options);
        };
    });
}

} // namespace zpf::cli

// SPDX-License-Identifier: Apache-2.0
//
// `zpf symbols`: what a plug-in exports, told from the library itself and from the models.
#pragma once

#include <string>
#include <vector>

#include "output.hpp"

namespace zpf::cli {

struct SymbolsOptions {
    std::string plugin;
    std::vector<std::string> yang_dirs;
    bool json = false;
    Colour colour = Colour::automatic;
};

/// @return exit status
int run_symbols(const SymbolsOptions& options);

} // namespace zpf::cli

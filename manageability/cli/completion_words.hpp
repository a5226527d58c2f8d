// SPDX-License-Identifier: Apache-2.0
//
// What can stand where on the command line, told by the parser itself, for completion scripts.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace zpf::cli {

/// What an option or an argument takes.
struct ValueWords {
    enum Kind { words, file, folder, attenuator, other };
    Kind kind = other;
    std::vector<std::string> list; ///< for `words`
};

struct OptionWords {
    std::vector<std::string> names; ///< with their dashes
    std::string help;
    bool takes_value = false;
    ValueWords value;
};

struct CommandWords {
    std::string path; ///< names from below the program on, e.g. "sessions kill"; empty for the program itself
    std::vector<std::pair<std::string, std::string>> commands; ///< below this one: name, help
    std::vector<OptionWords> options; ///< its own, and those of the commands above, which are taken here, too
    std::vector<ValueWords> arguments;
};

/// The program and all of its commands, each before those below it.
std::vector<CommandWords> completion_words(const CLI::App& app);

} // namespace zpf::cli

// SPDX-License-Identifier: Apache-2.0
//
// Reads the parser's commands and options.
#include "completion_words.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <set>

namespace zpf::cli {

namespace {

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(separator, begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

/// Told by the type's name as it stands in the help: "{a,b}" and "a|b" are words.
ValueWords value_of(const CLI::Option& option)
{
    static const std::set<std::string> kFiles{"FILE", "PATH", "REQUEST", "BEFORE", "AFTER"};
    const std::string type = option.get_type_name();
    const auto open = type.find('{');
    const auto close = type.find('}');
    if (open != std::string::npos && close != std::string::npos) {
        return {ValueWords::words, split(type.substr(open + 1, close - open - 1), ',')};
    }
    if (type.find('|') != std::string::npos) {
        return {ValueWords::words, split(type, '|')};
    }
    if (type == "DIR") {
        return {ValueWords::folder, {}};
    }
    if (type == "ATTENUATOR") {
        return {ValueWords::attenuator, {}};
    }
    // The path that `get` takes is none of files.
    const bool argument_of_files =
        option.get_positional() && option.get_name() != "PATH" && kFiles.contains(option.get_name());
    return {argument_of_files || kFiles.contains(type) ? ValueWords::file : ValueWords::other, {}};
}

OptionWords option_of(const CLI::Option& option)
{
    OptionWords words;
    for (const std::string& name : option.get_snames()) {
        words.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        words.names.push_back("--" + name);
    }
    words.help = option.get_description();
    words.takes_value = option.get_items_expected_max() > 0;
    words.value = value_of(option);
    return words;
}

void add(const CLI::App& app, const std::string& path, std::vector<OptionWords> options, std::vector<CommandWords>& all)
{
    CommandWords command;
    command.path = path;
    for (const CLI::Option* option : app.get_options()) {
        if (option->nonpositional()) {
            OptionWords words = option_of(*option);
            std::erase_if(options, [&](const OptionWords& above) { return above.names == words.names; });
            options.push_back(std::move(words));
        } else {
            command.arguments.push_back(value_of(*option));
        }
    }
    command.options = options;
    const auto below = app.get_subcommands([](const CLI::App*) { return true; });
    for (const CLI::App* sub : below) {
        command.commands.emplace_back(sub->get_name(), sub->get_description());
    }
    all.push_back(std::move(command));
    for (const CLI::App* sub : below) {
        add(*sub, path.empty() ? sub->get_name() : path + " " + sub->get_name(), options, all);
    }
}

} // namespace

std::vector<CommandWords> completion_words(const CLI::App& app)
{
    std::vector<CommandWords> all;
    add(app, "", {}, all);
    return all;
}

} // namespace zpf::cli

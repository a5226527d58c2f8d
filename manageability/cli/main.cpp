// SPDX-License-Identifier: Apache-2.0
//
// zpf: the command line, its help and its exit statuses.
#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdio>
#include <map>
#include <memory>

#include "agent_commands.hpp"
#include "cmd_map.hpp"
#include "cmd_store.hpp"
#include "cmd_symbols.hpp"
#include "locate.hpp"
#include "output.hpp"
#include "zpf_bridge/bad_input.hpp"
#include "zpf_map/plugin.hpp"

namespace {

using namespace zpf::cli;

constexpr const char* kExitStatuses = "Exit status: 0 done, 1 the request was refused, 2 usage, 3 bad input file.";

template <typename Value>
using Words = std::map<std::string, Value>;

const Words<uint32_t> kKinds{
    {"edit-config", ZPF_REQUEST_EDIT_CONFIG}, {"get", ZPF_REQUEST_GET}, {"get-config", ZPF_REQUEST_GET_CONFIG}};
const Words<int32_t> kDefaultOperations{{"merge", ZPF_OP_MERGE}, {"replace", ZPF_OP_REPLACE}, {"none", ZPF_OP_NONE}};
const Words<Format> kFormats{{"tree", Format::tree}, {"xml", Format::xml}, {"json", Format::json}};
const Words<Colour> kColours{{"auto", Colour::automatic}, {"always", Colour::always}, {"never", Colour::never}};

/// One of the words, stored as what it stands for.
template <typename Value, typename Target>
CLI::Option* add_word(CLI::App& app, const std::string& name, Target& target, const Words<Value>& words,
                      const std::string& help)
{
    std::string list;
    for (const auto& [word, value] : words) {
        list += (list.empty() ? "" : "|") + word;
    }
    return app
        .add_option_function<std::string>(
            name,
            [&target, &words, name, list](const std::string& word) {
                const auto found = words.find(word);
                if (found == words.end()) {
                    throw CLI::ValidationError(name, "\"" + word + "\" is none of " + list);
                }
                target = found->second;
            },
            help)
        ->type_name(list);
}

void add_map(CLI::App& app, MapOptions& options)
{
    CLI::App& map = *app.add_subcommand("map", "Maps one request and prints what becomes of it");
    map.add_option("REQUEST", options.request,
                   "The request, XML or JSON: the model's top element, or an edit-config, "
                   "get or get-config around it (\"-\": standard input)")
        ->required();
    add_word(map, "--kind", options.kind, kKinds,
             "What the request is, unless it says so itself (default: edit-config)");
    map.add_option("--native", options.native,
                   "Native data, XML or JSON: an edit is applied to them, a read is answered from them")
        ->type_name("FILE");
    add_word(map, "--default-operation", options.default_operation, kDefaultOperations,
             "For parts of an edit without an operation (default: as the request says, else merge)");
    map.add_option("--plugin", options.plugin, "The plug-in (default: the attenuator's)")->type_name("FILE");
    map.add_option("--yang-dir", options.yang_dirs,
                   "Folder of YANG modules, instead of those that came with zpf; may "
                   "be given several times")
        ->type_name("DIR");
    add_word(map, "--format", options.format, kFormats, "How results are printed (default: tree)");
    map.add_flag("--explain", options.explain,
                 "Tells the story: every walker, callback and translation, what each added, who refused what");
    map.add_option("--log", options.log_level, "Debug log of the framework and the plug-in (default: off)")
        ->check(CLI::IsMember({"off", "error", "trace"}));
    map.add_option("--log-file", options.log_file, "Where the debug log goes (default: standard error)")
        ->type_name("FILE");
    map.add_option("--trace-file", options.trace_file, "Trace ring to write numbered lines to; see zpf trace")
        ->type_name("FILE");
    map.footer(std::string("A refusal is printed on standard error as a client would see it.\n") + kExitStatuses);
}

void add_symbols(CLI::App& app, SymbolsOptions& options)
{
    CLI::App& symbols = *app.add_subcommand("symbols", "Shows what a plug-in exports and what it does with each node");
    symbols.add_option("--plugin", options.plugin, "The plug-in (default: the attenuator's)")->type_name("FILE");
    symbols.add_option("--yang-dir", options.yang_dirs, "Folder of YANG modules, instead of those that came with zpf")
        ->type_name("DIR");
    symbols.add_flag("--json", options.json, "As JSON");
    symbols.footer("mapped: a translation takes the node; accepted: taken without mapping; refused: not supported;\n"
                   "no callback: the model has the node, the plug-in does not know it.\n"
                   "Each callback is called in a context of its own to find out.\n" +
                   std::string(kExitStatuses));
}

template <typename Options>
void set_defaults(Options& options)
{
    if (options.plugin.empty()) {
        options.plugin = default_plugin();
    }
    if (options.yang_dirs.empty()) {
        options.yang_dirs.push_back(default_yang_dir());
    }
}

/// Commands that work on files; each puts its own into `chosen` when the command line names it.
void add_file_commands(CLI::App& app, Chosen& chosen)
{
    const auto map = std::make_shared<MapOptions>();
    const auto symbols = std::make_shared<SymbolsOptions>();
    const auto store = std::make_shared<StoreOptions>();
    add_map(app, *map);
    add_symbols(app, *symbols);
    add_store(app, *store);
    app.get_subcommand("map")->callback([&chosen, map] {
        chosen.run = [map](Colour colour) {
            set_defaults(*map);
            map->colour = colour;
            return run_map(*map);
        };
    });
    app.get_subcommand("symbols")->callback([&chosen, symbols] {
        chosen.run = [symbols](Colour colour) {
            set_defaults(*symbols);
            symbols->colour = colour;
            return run_symbols(*symbols);
        };
    });
    app.get_subcommand("store")->callback(
        [&chosen, &app, store] { chosen.run = [&app, store](Colour) { return run_store(app, *store); }; });
}

void add_commands(CLI::App& app, Chosen& chosen)
{
    add_show(app, chosen);
    add_set(app, chosen);
    add_get(app, chosen);
    add_edit(app, chosen);
    add_watch(app, chosen);
    add_sessions(app, chosen);
    add_stats(app, chosen);
    add_log(app, chosen);
    add_fault(app, chosen);
    add_trace(app, chosen);
    add_file_commands(app, chosen);
    add_completion(app, chosen);
}

/// A word that is no command is found missing as a command before it is found unknown; the word says more.
CLI::ParseError with_unknown_word(const CLI::App& app, const CLI::ParseError& error)
{
    const std::vector<std::string> left = app.remaining();
    if (left.empty() || !app.get_subcommands().empty()) {
        return error;
    }
    const std::string kind = left.front().starts_with('-') ? "option" : "command";
    return {"\"" + left.front() + "\" is no " + kind, CLI::ExitCodes::ExtrasError};
}

int run(const Chosen& chosen, Colour colour)
{
    try {
        const int status = chosen.run(colour);
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
            print_error("the output cannot be written", colour);
            return status == kDone ? kRefused : status;
        }
        return status;
    } catch (const std::exception& error) { // what is wrong with a file, a plug-in or a model, in words
        print_error(error.what(), colour);
        return kBadInput;
    }
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): outside of the try blocks only memory can be short
int main(int argc, char** argv)
{
    CLI::App app{
        "zpf: manages the attenuators through their agent; maps requests to native data and back, and shows how"};
    app.name("zpf");
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("zpf ") + ZPF_VERSION);
    app.fallthrough();
    Colour colour = Colour::automatic;
    add_word(app, "--colour,--color", colour, kColours, "Colour (default: auto, on a terminal)");
    Chosen chosen;
    add_commands(app, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::RequiredError& error) {
        app.exit(with_unknown_word(app, error));
        return kUsage;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kUsage;
    }
    return run(chosen, colour);
}

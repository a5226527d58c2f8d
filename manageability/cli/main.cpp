// SPDX-License-Identifier: Apache-2.0
//
// zpf: the command line, its help and its exit statuses.
#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <map>

#include "cmd_map.hpp"
#include "cmd_symbols.hpp"
#include "cmd_trace.hpp"
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

void add_trace(CLI::App& app, TraceOptions& options)
{
    CLI::App& trace = *app.add_subcommand("trace", "Prints the lines of a trace ring, newest last");
    trace.add_option("FILE", options.file, "The ring's file")->required();
    trace.add_flag("-f,--follow", options.follow, "Goes on with new lines until interrupted");
    trace.add_option("-n,--last", options.last, "At most so many of the lines that are there")->type_name("N");
    trace.add_option("--grep", options.grep, "Only lines with this text in them")->type_name("TEXT");
    trace.add_flag("--json", options.json, "One JSON object a line");
    trace.footer(kExitStatuses);
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

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): outside of the try blocks only memory can be short
int main(int argc, char** argv)
{
    CLI::App app{"zpf: maps OpenConfig requests to native data and back, and shows how"};
    app.name("zpf");
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("zpf ") + ZPF_VERSION);
    app.fallthrough();
    Colour colour = Colour::automatic;
    add_word(app, "--colour,--color", colour, kColours, "Colour (default: auto, on a terminal)");
    MapOptions map;
    SymbolsOptions symbols;
    TraceOptions trace;
    add_map(app, map);
    add_symbols(app, symbols);
    add_trace(app, trace);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kUsage;
    }
    set_defaults(map);
    set_defaults(symbols);
    map.colour = symbols.colour = colour;
    try {
        if (app.got_subcommand("map")) {
            return run_map(map);
        }
        return app.got_subcommand("symbols") ? run_symbols(symbols) : run_trace(trace);
    } catch (const std::exception& error) { // what is wrong with a file, a plug-in or a model, in words
        print_error(error.what(), colour);
        return kBadInput;
    }
}

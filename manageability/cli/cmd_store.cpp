// SPDX-License-Identifier: Apache-2.0
//
// `zpf store`: command line, and printing of what the store's tools find.
#include "cmd_store.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "kelda/tools.hpp"

namespace zpf::cli {

namespace {

using Json = nlohmann::ordered_json;

enum Status { kDone = 0, kFound = 1, kUsage = 2, kCannot = 3 };

constexpr const char* kExitStatuses =
    "Exit status: 0 done and fine, 1 damaged or different, 2 usage, 3 cannot be read or written.";

/// One object a line. Bytes that are no UTF-8 are replaced: a dump without --json has them all.
std::string json_line(const Json& object)
{
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json json_text(const std::optional<std::string_view>& text)
{
    return text ? Json(*text) : Json(nullptr);
}

kelda::Store open_for_reading(const std::string& folder)
{
    return kelda::Store::open(folder, {.create = false, .read_only = true});
}

/// A dump's records, in memory.
class DumpReader final : public kelda::Reader {
public:
    explicit DumpReader(const std::string& file)
    {
        std::ifstream in{file, std::ios::binary};
        if (!in) {
            throw kelda::BadDump{fmt::format("cannot open: {}", std::strerror(errno))};
        }
        kelda::read_dump(in, [&](std::string_view key, std::string_view value) { records_.emplace(key, value); });
    }

    std::optional<std::string_view> get(std::string_view key) const override
    {
        const auto found = records_.find(key);
        return found == records_.end() ? std::nullopt : std::optional<std::string_view>{found->second};
    }

    void scan_from(std::string_view prefix, std::string_view first_key, kelda::Visitor visit) const override
    {
        for (auto at = records_.lower_bound(std::max(prefix, first_key)); at != records_.end(); ++at) {
            if (!at->first.starts_with(prefix) || !visit(at->first, at->second)) {
                return;
            }
        }
    }

private:
    std::map<std::string, std::string, std::less<>> records_;
};

/// One side of a comparison: a folder is a store, a file is a dump.
std::unique_ptr<kelda::Reader> open_side(const std::string& path)
{
    if (std::filesystem::is_regular_file(path)) {
        try {
            return std::make_unique<DumpReader>(path);
        } catch (const kelda::BadDump& error) {
            throw kelda::BadDump{fmt::format("{}: {}", path, error.what())};
        }
    }
    return std::make_unique<kelda::Snapshot>(open_for_reading(path).snapshot()); // keeps the store open
}

void print_check(const kelda::CheckReport& report, const StoreOptions& options, std::ostream& out)
{
    if (options.json) {
        out << json_line({{"sound", report.is_sound},
                          {"problem", report.problem},
                          {"written-meanwhile", report.is_written},
                          {"pages", report.pages},
                          {"records", report.records},
                          {"value-bytes", report.value_bytes}});
    } else if (!report.is_sound) {
        out << report.problem << '\n';
    } else {
        out << fmt::format("{}: sound, {} records with {} bytes of values", options.folder, report.records,
                           report.value_bytes)
            << (report.is_written ? "; an agent writes it, so its pages were not looked at one by one\n"
                                  : fmt::format(", {} pages\n", report.pages));
    }
}

/// What had to be mended before the store could be written.
void print_undone(const std::string& undone, std::ostream& out)
{
    if (!undone.empty()) {
        out << undone << '\n';
    }
}

void add_folder(CLI::App& command, StoreOptions& options)
{
    command.add_option("--store", options.folder, "Folder of the store")->type_name("DIR")->capture_default_str();
}

void add_reading(CLI::App& store, StoreOptions& options)
{
    CLI::App& dump = *store.add_subcommand("dump", "Prints the records, one a line, sorted by key");
    dump.add_option("--prefix", options.prefix, "Only records whose keys begin with it")->type_name("TEXT");
    CLI::App& check = *store.add_subcommand("check", "Reads all of the store and says whether it is sound");
    CLI::App& diff = *store.add_subcommand("diff", "Compares two stores or dumps");
    diff.add_option("BEFORE", options.before, "Folder of a store, or file of a dump")->required();
    diff.add_option("AFTER", options.after, "The same (default: the store)");
    for (CLI::App* command : {&dump, &check, &diff}) {
        add_folder(*command, options);
        command->add_flag("--json", options.json, "As JSON, one object a line");
        command->footer(std::string{"May run beside an agent.\n"} + kExitStatuses);
    }
}

void add_writing(CLI::App& store, StoreOptions& options)
{
    CLI::App& load =
        *store.add_subcommand("load", "Reads a dump back, all of it or nothing; makes the store if need be");
    load.add_option("FILE", options.file, "The dump (\"-\": standard input)")->required();
    load.add_flag("--merge", options.merge, "Records that the dump does not name stay (default: they go)");
    CLI::App& compact = *store.add_subcommand("compact", "Rewrites the store's file without the space that is free");
    for (CLI::App* command : {&load, &compact}) {
        add_folder(*command, options);
        command->add_flag("--json", options.json, "As JSON");
        command->footer(std::string{"The agent has to be stopped.\n"} + kExitStatuses);
    }
}

} // namespace

void add_store(CLI::App& app, StoreOptions& options)
{
    options.folder = kelda::kDefaultFolder;
    CLI::App& store = *app.add_subcommand("store", "Dumps, loads, checks, compacts and compares data stores");
    store.require_subcommand(1);
    add_reading(store, options);
    add_writing(store, options);
    store.footer(kExitStatuses);
}

int run_store(const CLI::App& app, const StoreOptions& options, std::ostream& out, std::ostream& err)
{
    const std::map<std::string, int (*)(const StoreOptions&, std::ostream&)> commands{{"dump", run_store_dump},
                                                                                      {"load", run_store_load},
                                                                                      {"check", run_store_check},
                                                                                      {"compact", run_store_compact},
                                                                                      {"diff", run_store_diff}};
    try {
        const CLI::App* const command = app.get_subcommand("store")->get_subcommands().at(0);
        const int status = commands.at(command->get_name())(options, out);
        if (!out.flush()) {
            err << "zpf store: the output cannot be written\n";
            return kFound;
        }
        return status;
    } catch (const std::exception& error) { // what is wrong with a store or a dump, in words
        err << "zpf store: " << error.what() << '\n';
        return kCannot;
    }
}

int run_store_dump(const StoreOptions& options, std::ostream& out)
{
    const kelda::Store store = open_for_reading(options.folder);
    const kelda::Snapshot snapshot = store.snapshot();
    if (!options.json) {
        kelda::dump(snapshot, out, options.prefix);
        return kDone;
    }
    snapshot.scan(options.prefix, [&](std::string_view key, std::string_view value) {
        out << json_line({{"key", key}, {"value", value}});
        return !out.fail();
    });
    return kDone;
}

int run_store_load(const StoreOptions& options, std::ostream& out)
{
    std::ifstream file;
    if (options.file != "-") {
        file.open(options.file, std::ios::binary);
        if (!file) {
            throw kelda::BadDump{fmt::format("cannot open {}: {}", options.file, std::strerror(errno))};
        }
    }
    kelda::Store store = kelda::Store::open(options.folder);
    const std::uint64_t records = kelda::load(store, options.file == "-" ? std::cin : file,
                                              options.merge ? kelda::LoadMode::merge : kelda::LoadMode::replace);
    if (options.json) {
        out << json_line({{"records", records}, {"created", store.created()}, {"undone", store.undone()}});
    } else {
        print_undone(store.undone(), out);
        out << fmt::format("{}: {} records loaded{}\n", options.folder, records,
                           store.created() ? " into a new store" : "");
    }
    return kDone;
}

int run_store_check(const StoreOptions& options, std::ostream& out)
{
    const kelda::CheckReport report = kelda::check(options.folder);
    print_check(report, options, out);
    return report.is_sound ? kDone : kFound;
}

int run_store_compact(const StoreOptions& options, std::ostream& out)
{
    const kelda::Compacted done = kelda::compact(options.folder);
    if (options.json) {
        out << json_line(
            {{"bytes-before", done.bytes_before}, {"bytes-after", done.bytes_after}, {"undone", done.undone}});
    } else {
        print_undone(done.undone, out);
        out << fmt::format("{}: {} bytes before, {} after\n", options.folder, done.bytes_before, done.bytes_after);
    }
    return kDone;
}

int run_store_diff(const StoreOptions& options, std::ostream& out)
{
    const auto before = open_side(options.before);
    const auto after = open_side(options.after.empty() ? options.folder : options.after);
    if (!options.json) {
        return kelda::diff(*before, *after, out) == 0 ? kDone : kFound;
    }
    const std::uint64_t count = kelda::diff(*before, *after, [&](const kelda::Difference& difference) {
        out << json_line({{"key", difference.key},
                          {"before", json_text(difference.before)},
                          {"after", json_text(difference.after)}});
    });
    return count == 0 ? kDone : kFound;
}

} // namespace zpf::cli

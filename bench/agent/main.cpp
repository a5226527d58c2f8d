// SPDX-License-Identifier: Apache-2.0
//
// zpf-bench-agent: the agent beside Debian's netconfd, which serves the same OpenConfig module, in the same run.
// An aim that is missed is told in the table only: the status says whether everything could be measured.
#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <functional>
#include <string>
#include <vector>

#include "../machine.hpp"
#include "measure.hpp"

namespace {

using namespace zpf::bench;

const std::vector<std::string> kGroups{"start", "memory", "idle", "reads", "ssh", "edits", "interfaces"};

struct Options {
    bool quick = false;
    bool json = false;
    bool million = false;
    int limit_s = 0; ///< 0: by default
    int rounds = 0;  ///< 0: by default
    std::filesystem::path folder = std::filesystem::temp_directory_path();
    std::filesystem::path programs = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    std::vector<std::string> groups = kGroups;
};

void add_options(CLI::App& app, Options& options)
{
    app.add_flag("--quick", options.quick, "As short as it can be: shows that everything runs, within a minute");
    app.add_flag("--json", options.json, "Figures for programs");
    app.add_flag("--million", options.million, "A million requests for memory, not 200,000");
    app.add_option("--rounds", options.rounds, "Rounds of each measurement [5]")->check(CLI::Range(1, 101));
    app.add_option("--only", options.groups, "Measure these only; commas between them")
        ->delimiter(',')
        ->check(CLI::IsMember(kGroups));
    app.add_option("--limit", options.limit_s, "Most time for the whole run, seconds [360]")
        ->check(CLI::PositiveNumber);
    app.add_option("--dir", options.folder,
                   "Where stores are made: on the disk that is to be measured [" + options.folder.string() + "]")
        ->check(CLI::ExistingDirectory);
    app.add_option("--bin", options.programs, "Folder of zpfd and zpf-netconf [that of this program]")
        ->check(CLI::ExistingDirectory);
    app.footer("Exit status: 0 all was measured, whatever the figures; 1 something could not be; 2 usage.");
}

Amount amount_for(const Options& options)
{
    Amount amount;
    if (options.quick) {
        amount.rounds = 1;
        amount.slice = amount.edit_slice = std::chrono::milliseconds{50};
        amount.starts = 3;
        amount.memory_requests = 20'000;
        amount.idle = std::chrono::seconds{2};
    }
    if (options.million) {
        amount.memory_requests = 1'000'000;
    }
    amount.rounds = options.rounds > 0 ? options.rounds : amount.rounds;
    return amount;
}

std::string user_name()
{
    const passwd* const entry = ::getpwuid(::geteuid());
    if (entry == nullptr) {
        throw std::runtime_error("the user who runs this has no name; sshd could not let it in");
    }
    return entry->pw_name;
}

/// Measures one group; a failure becomes a row.
void attempt(const Options& options, const std::string& group, Rows& rows, const std::function<void(Rows&)>& measure)
{
    if (std::find(options.groups.begin(), options.groups.end(), group) == options.groups.end()) {
        return;
    }
    try {
        measure(rows);
    } catch (const std::exception& error) {
        rows.push_back(failed_row(group, error.what()));
    }
}

Rows measure(const Options& options, const Setting& setting)
{
    setting.watch.show("starting the servers");
    const Field field(setting);
    Rows rows;
    attempt(options, "start", rows, [&](Rows& all) { measure_start(setting, all); });
    attempt(options, "memory", rows, [&](Rows& all) { measure_memory(setting, field, all); });
    attempt(options, "idle", rows, [&](Rows& all) { measure_idle(setting, field.credentials, all); });
    attempt(options, "reads", rows, [&](Rows& all) { measure_reads(setting, field, all); });
    attempt(options, "ssh", rows, [&](Rows& all) { measure_ssh(setting, field, all); });
    attempt(options, "edits", rows, [&](Rows& all) { measure_edits(setting, field, all); });
    attempt(options, "interfaces", rows, [&](Rows& all) { measure_interfaces(setting, all); });
    setting.watch.clear();
    return rows;
}

int run(const Options& options)
{
    const Amount amount = amount_for(options);
    static constexpr int kQuickLimit_s = 60;
    static constexpr int kLimit_s = 360;
    const int limit_s = options.limit_s > 0 ? options.limit_s : options.quick ? kQuickLimit_s : kLimit_s;
    const Watch watch{std::chrono::seconds{limit_s}};
    const TemporaryFolder folder(options.folder);
    const Setting setting{
        amount, watch, folder, options.programs, options.programs.parent_path() / "share/zpf/yang", user_name()};
    const Rows rows = measure(options, setting);
    double load = 0;
    ::getloadavg(&load, 1);
    if (options.json) {
        const nlohmann::json all{{"machine", machine_description()},
                                 {"load_average", load},
                                 {"disk_in_memory", folder.in_memory()},
                                 {"rounds", amount.rounds},
                                 {"rows", to_json(rows)}};
        fmt::print("{}\n", all.dump(2));
    } else {
        fmt::print("{}\nMedians of {} rounds; load average {:.1f} at the end{}.\n\n{}", machine_description(),
                   amount.rounds, load,
                   folder.in_memory() ? "; the stores were in memory, so that durable edits mean nothing (--dir)" : "",
                   print_table(rows));
    }
    const bool complete =
        std::none_of(rows.begin(), rows.end(), [](const Row& row) { return row.verdict == Verdict::failed; });
    return complete ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        CLI::App app("Measures the agent beside another NETCONF server.", "zpf-bench-agent");
        Options options;
        add_options(app, options);
        try {
            app.parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            return app.exit(error) == 0 ? 0 : 2;
        }
        return run(options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "zpf-bench-agent: {}\n", error.what());
        return 1;
    }
}

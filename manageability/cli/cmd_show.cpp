// SPDX-License-Identifier: Apache-2.0
//
// `zpf show`: the attenuators, one a line.
#include <fmt/format.h>

#include "agent_client.hpp"
#include "attenuators.hpp"
#include "json_values.hpp"
#include "on_chosen.hpp"
#include "table.hpp"

namespace zpf::cli {

namespace {

using Json = nlohmann::ordered_json;

struct ShowOptions : AgentOptions {
    bool names_only = false;
};

void print_json(const std::vector<Attenuator>& attenuators, const ShowOptions& options)
{
    Json list = Json::array();
    for (const Attenuator& each : attenuators) {
        if (options.names_only) {
            list.push_back(each.name);
            continue;
        }
        list.push_back({{"name", each.name},
                        {"controller", each.controller.empty() ? Json(nullptr) : Json(each.controller)},
                        {"configured-db", json_number(each.configured_db)},
                        {"actual-db", json_number(each.actual_db)},
                        {"enabled", json_boolean(each.enabled)}});
    }
    fmt::print("{}\n", list.dump(2));
}

void print_text(const std::vector<Attenuator>& attenuators, const ShowOptions& options)
{
    std::vector<std::vector<std::string>> rows;
    for (const Attenuator& each : attenuators) {
        if (options.names_only) {
            fmt::print("{}\n", each.name);
            continue;
        }
        rows.push_back({each.name, each.controller, each.configured_db, each.actual_db,
                        each.enabled == "true"    ? "yes"
                        : each.enabled == "false" ? "no"
                                                  : ""});
    }
    if (!options.names_only) {
        print_table(
            {{"NAME"}, {"CONTROLLER"}, {"CONFIGURED dB", Align::right}, {"ACTUAL dB", Align::right}, {"ENABLED"}}, rows,
            options.colour);
    }
}

int show(const ShowOptions& options)
{
    return with_agent(options, [&](AgentClient& agent) {
        const std::vector<Attenuator> attenuators = read_attenuators(agent);
        options.json ? print_json(attenuators, options) : print_text(attenuators, options);
        return kDone;
    });
}

} // namespace

void add_show(CLI::App& app, Chosen& chosen)
{
    const auto options = std::make_shared<ShowOptions>();
    CLI::App& command = *app.add_subcommand("show", "Shows the attenuators: configured, actual, enabled");
    add_agent_options(command, *options);
    command.add_flag("--names", options->names_only, "Only their names, one a line");
    command.footer(std::string{"\"-\": not configured, or the device did not read it.\n"} + kAgentExitStatuses);
    on_chosen(command, chosen, options, show);
}

} // namespace zpf::cli

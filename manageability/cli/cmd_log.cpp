// SPDX-License-Identifier: Apache-2.0
//
// `zpf log`: level of the running agent's debug log.
#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "agent_client.hpp"
#include "on_chosen.hpp"

namespace zpf::cli {

namespace {

struct LogOptions : AgentOptions {
    std::string level; ///< empty: only tell
};

int log(const LogOptions& options)
{
    return with_agent(options, [&](AgentClient& agent) {
        if (!options.level.empty()) {
            agent.rpc(fmt::format(R"(<set-diagnostics xmlns="{}"><log>{}</log></set-diagnostics>)", kAgentNamespace,
                                  options.level));
        }
        const std::string level = read_agent_state(agent).text_at("diagnostics/log");
        if (options.json) {
            fmt::print("{}\n", nlohmann::ordered_json{{"log", level}}.dump(2));
        } else {
            fmt::print("debug log: {}\n", level);
        }
        return kDone;
    });
}

} // namespace

void add_log(CLI::App& app, Chosen& chosen)
{
    const auto options = std::make_shared<LogOptions>();
    CLI::App& command = *app.add_subcommand("log", "Sets the level of the agent's debug log, or shows it");
    command.add_option("LEVEL", options->level, "The level (default: shows what it is)")
        ->check(CLI::IsMember({"off", "error", "trace"}));
    add_agent_options(command, *options);
    command.footer(std::string{"The log is written where the agent writes its messages: standard error, or the "
                               "journal.\n"} +
                   kAgentExitStatuses);
    on_chosen(command, chosen, options, log);
}

} // namespace zpf::cli

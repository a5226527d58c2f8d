// SPDX-License-Identifier: Apache-2.0
//
// `zpf fault`: what goes wrong at the simulated device, for tests and for training.
#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <optional>

#include "agent_client.hpp"
#include "attenuators.hpp"
#include "json_values.hpp"
#include "on_chosen.hpp"
#include "table.hpp"

namespace zpf::cli {

namespace {

using Json = nlohmann::ordered_json;

struct FaultOptions : AgentOptions {
    std::string port; ///< controller or attenuator; empty: only tell
    std::string kind;
    std::optional<double> value_db;
    std::optional<std::uint32_t> delay_ms;
    bool clear = false;
};

void check_usage(const FaultOptions& options)
{
    const bool has_port = !options.port.empty();
    if (options.clear && !options.kind.empty()) {
        throw CLI::ValidationError("--clear", "ends all faults of the port, so it takes no KIND");
    }
    if (has_port && !options.clear && options.kind.empty()) {
        throw CLI::ValidationError("KIND", "which fault, or --clear?");
    }
    if (!has_port && options.clear) {
        throw CLI::ValidationError("--clear", "of which PORT?");
    }
    if (options.value_db && options.kind != "refuse-value") {
        throw CLI::ValidationError("--value", "goes with refuse-value only");
    }
    if (options.delay_ms && options.kind != "reads-slowly") {
        throw CLI::ValidationError("--delay", "goes with reads-slowly only");
    }
}

std::string request_of(const FaultOptions& options)
{
    const std::string controller = controller_of(options.port);
    const std::string port = xml_escaped(controller.empty() ? options.port : controller);
    if (options.clear) {
        return fmt::format(R"(<clear-fault xmlns="{}"><port>{}</port></clear-fault>)", kAgentNamespace, port);
    }
    std::string details;
    if (options.value_db) {
        constexpr double kTenthsPerDb = 10;
        details += fmt::format("<value>{}</value>", std::lround(*options.value_db * kTenthsPerDb));
    }
    if (options.delay_ms) {
        details += fmt::format("<delay>{}</delay>", *options.delay_ms);
    }
    return fmt::format(R"(<inject-fault xmlns="{}"><port>{}</port><kind>{}</kind>{}</inject-fault>)", kAgentNamespace,
                       port, options.kind, details);
}

/// The faults that there are now.
void print_faults(AgentClient& agent, const FaultOptions& options)
{
    const XmlElement state = read_agent_state(agent);
    const XmlElement* const device = state.child("device");
    Json list = Json::array();
    std::vector<std::vector<std::string>> rows;
    for (const XmlElement& fault : device ? device->children : std::vector<XmlElement>{}) {
        if (fault.name == "fault") {
            list.push_back({{"port", fault.text_at("port")}, {"kind", fault.text_at("kind")}});
            rows.push_back({fault.text_at("port"), fault.text_at("kind")});
        }
    }
    if (options.json) {
        fmt::print("{}\n", list.dump(2));
    } else if (rows.empty()) {
        fmt::print("no faults\n");
    } else {
        print_table({{"PORT"}, {"FAULT"}}, rows, options.colour);
    }
}

int fault(const FaultOptions& options)
{
    return with_agent(options, [&](AgentClient& agent) {
        if (!options.port.empty()) {
            agent.rpc(request_of(options));
        }
        print_faults(agent, options);
        return kDone;
    });
}

} // namespace

void add_fault(CLI::App& app, Chosen& chosen)
{
    const auto options = std::make_shared<FaultOptions>();
    CLI::App& command = *app.add_subcommand("fault", "Makes the simulated device fail, or shows which faults it has");
    command.add_option("PORT", options->port, "Controller, or its attenuator (default: shows the faults)")
        ->type_name("ATTENUATOR");
    command
        .add_option("KIND", options->kind,
                    "A value is refused, a configuration is not answered, nothing can be read, readings come late")
        ->check(CLI::IsMember({"refuse-value", "no-answer", "reads-nothing", "reads-slowly"}));
    command.add_option("--value", options->value_db, "The value that is refused (default: any)")
        ->type_name("DB")
        ->check(CLI::Range(0.0, 1000.0));
    command.add_option("--delay", options->delay_ms, "How late readings come, milliseconds")->type_name("MS");
    command.add_flag("--clear", options->clear, "Ends the faults of the port");
    add_agent_options(command, *options);
    command.footer(std::string{"Prints the faults that there are then.\n"} + kAgentExitStatuses);
    command.parse_complete_callback([options] { check_usage(*options); });
    on_chosen(command, chosen, options, fault);
}

} // namespace zpf::cli

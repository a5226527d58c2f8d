// SPDX-License-Identifier: Apache-2.0
//
// `zpf set`: one attenuator to a value.
#include <fmt/format.h>

#include "agent_client.hpp"
#include "attenuators.hpp"
#include "json_values.hpp"
#include "on_chosen.hpp"
#include "zpf_namespaces.h"

namespace zpf::cli {

namespace {

using Json = nlohmann::ordered_json;

struct SetOptions : AgentOptions {
    std::string attenuator;
    std::string value_db;
};

/// Elements of one attenuator with something inside of its entry.
std::string entry_of(const std::string& name, const std::string& inner)
{
    return fmt::format(R"(<optical-attenuator xmlns="{}"><attenuators><attenuator><name>{}</name>{})"
                       "</attenuator></attenuators></optical-attenuator>",
                       ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR, xml_escaped(name), inner);
}

std::string configured_db(AgentClient& agent, const std::string& name)
{
    const XmlElement reply = agent.get_config(entry_of(name, "<config><attenuation/></config>"));
    return reply.text_at("data/optical-attenuator/attenuators/attenuator/config/attenuation");
}

int set(const SetOptions& options)
{
    return with_agent(options, [&](AgentClient& agent) {
        const std::string& name = options.attenuator;
        const std::string before = configured_db(agent, name);
        const std::string leaves = fmt::format("<config><name>{}</name><attenuation>{}</attenuation></config>",
                                               xml_escaped(name), xml_escaped(options.value_db));
        agent.rpc(fmt::format("<edit-config><target><running/></target><config>{}</config></edit-config>",
                              entry_of(name, leaves)));
        // What was sent may be finer than what the device can be set to.
        const std::string after = configured_db(agent, name);
        if (options.json) {
            const Json result{{"name", name}, {"before-db", json_number(before)}, {"after-db", json_number(after)}};
            fmt::print("{}\n", result.dump(2));
        } else {
            const Style style = Style::of(stdout, options.colour);
            fmt::print("{}: {} -> {}{}{} dB\n", name, before.empty() ? "-" : before, style.good,
                       after.empty() ? "-" : after, style.off);
        }
        return kDone;
    });
}

} // namespace

void add_set(CLI::App& app, Chosen& chosen)
{
    const auto options = std::make_shared<SetOptions>();
    CLI::App& command = *app.add_subcommand("set", "Sets the attenuation of an attenuator, in dB");
    command.add_option("ATTENUATOR", options->attenuator, "Its name, such as 0/0-VOA-BST2")
        ->required()
        ->type_name("ATTENUATOR");
    command.add_option("DB", options->value_db, "Attenuation in dB, such as 12.5")->required()->type_name("DB");
    add_agent_options(command, *options);
    command.footer(std::string{"Prints the value before and after, as the device has it.\n"} + kAgentExitStatuses);
    on_chosen(command, chosen, options, set);
}

} // namespace zpf::cli

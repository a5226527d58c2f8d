// SPDX-License-Identifier: Apache-2.0
//
// Two reads: what is configured; then both trees, the attenuators, and the names of the ports that there are. The
// second one alone would not do: the agent fills an attenuation that is not configured from what the device has read.
#include "attenuators.hpp"

#include <fmt/format.h>

#include <map>
#include <set>

#include "zpf_namespaces.h"

namespace zpf::cli {

namespace {

constexpr std::string_view kAttenuatorStem = "0/0-VOA-BST";
constexpr std::string_view kControllerStem = "Ots0/0/0/";

std::string with_other_stem(const std::string& name, std::string_view stem, std::string_view other)
{
    return name.starts_with(stem) && name.size() > stem.size() ? std::string{other} + name.substr(stem.size()) : "";
}

std::set<std::string> port_names(const XmlElement& data)
{
    std::set<std::string> names;
    if (const XmlElement* const ports = data.at("ots-oper/ots-ports")) {
        for (const XmlElement& port : ports->children) {
            names.insert(port.text_at("name"));
        }
    }
    return names;
}

/// By attenuator.
std::map<std::string, std::string> read_configured(AgentClient& agent)
{
    const XmlElement reply = agent.get_config(
        fmt::format(R"(<optical-attenuator xmlns="{}"><attenuators><attenuator><name/><config><attenuation/></config>)"
                    "</attenuator></attenuators></optical-attenuator>",
                    ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR));
    std::map<std::string, std::string> configured;
    if (const XmlElement* const list = reply.at("data/optical-attenuator/attenuators")) {
        for (const XmlElement& entry : list->children) {
            configured[entry.text_at("name")] = entry.text_at("config/attenuation");
        }
    }
    return configured;
}

} // namespace

std::string controller_of(const std::string& attenuator)
{
    return with_other_stem(attenuator, kAttenuatorStem, kControllerStem);
}

std::string attenuator_of(const std::string& controller)
{
    return with_other_stem(controller, kControllerStem, kAttenuatorStem);
}

std::vector<Attenuator> read_attenuators(AgentClient& agent)
{
    std::map<std::string, std::string> configured = read_configured(agent);
    const XmlElement reply =
        agent.get(fmt::format(R"(<optical-attenuator xmlns="{}"/>)"
                              R"(<ots-oper xmlns="{}"><ots-ports><ots-port><name/></ots-port></ots-ports></ots-oper>)",
                              ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR, ZPF_NS_CONTROLLER_OTS_OPER));
    const XmlElement* const data = reply.child("data");
    const XmlElement* const list = data ? data->at("optical-attenuator/attenuators") : nullptr;
    std::vector<Attenuator> attenuators;
    if (list == nullptr) {
        return attenuators;
    }
    const std::set<std::string> ports = port_names(*data);
    for (const XmlElement& entry : list->children) {
        const std::string name = entry.text_at("name");
        const std::string controller = controller_of(name);
        attenuators.push_back({name, ports.contains(controller) ? controller : "", configured[name],
                               entry.text_at("state/actual-attenuation/instant"), entry.text_at("state/enabled")});
    }
    return attenuators;
}

} // namespace zpf::cli

// SPDX-License-Identifier: Apache-2.0
//
// Readings between the store and the model of the ports.
#include "readings.hpp"

#include <algorithm>

#include "record_path.hpp"
#include "zpf_bridge/build.hpp"

namespace zpf::agent {

namespace {

constexpr std::string_view kName = "name"; ///< record of the port's name; the others are leaves of its information

/// Schema of the list of ports: /ots-oper/ots-ports/ots-port and, below, ots-info.
struct PortSchema {
    const SchemaNode* ports;
    const SchemaNode* port;
    const SchemaNode* info;
};

std::optional<PortSchema> port_schema(const SchemaNode& top)
{
    const SchemaNode* const ports = top.find("ots-ports");
    const SchemaNode* const port = ports ? ports->find("ots-port") : nullptr;
    const SchemaNode* const info = port ? port->find("ots-info") : nullptr;
    return info ? std::optional<PortSchema>{{ports, port, info}} : std::nullopt;
}

/// Adds the port whose records begin with the branch.
void add_port(const kelda::Reader& operational, std::string_view branch, const PortSchema& schema, Node& ports,
              Tree& out)
{
    const auto name = operational.get(std::string{branch} + std::string{kName});
    if (!name) {
        return;
    }
    Node& port = out.add(ports, *schema.port);
    out.add(port, *schema.port->find(kName), *name);
    Node& info = out.add(port, *schema.info);
    operational.scan(branch, [&](std::string_view key, std::string_view value) {
        const SchemaNode* const leaf = schema.info->find(key.substr(branch.size()));
        if (leaf != nullptr) {
            out.add(info, *leaf, value);
        }
        return true;
    });
}

void add_all_ports(const kelda::Reader& operational, const PortSchema& schema, Node& ports, Tree& out)
{
    operational.scan(kOperBranch, [&](std::string_view key, std::string_view) {
        const auto slash = key.rfind('/');
        if (key.substr(slash + 1) == kName) {
            add_port(operational, key.substr(0, slash + 1), schema, ports, out);
        }
        return true;
    });
}

} // namespace

std::string reading_branch(std::string_view port)
{
    std::string branch{kOperBranch};
    branch.append(port).append("/");
    std::replace(branch.begin() + static_cast<std::ptrdiff_t>(kOperBranch.size()), branch.end() - 1, '/', '_');
    return branch;
}

void select_readings(const Yang&, const kelda::Reader& operational, const Node& selection, const SchemaNode& top,
                     Tree& out)
{
    const auto schema = port_schema(top);
    if (!schema) {
        return;
    }
    Node& ports = out.add(out.add(out.root(), top), *schema->ports);
    const Node* const wanted = find_child(selection, schema->ports->tag);
    if (wanted == nullptr || children(*wanted).empty()) {
        if (wanted != nullptr || children(selection).empty()) {
            add_all_ports(operational, *schema, ports, out);
        }
        return;
    }
    for (const Node& entry : children(*wanted)) {
        const Node* const name = find_child(entry, kName);
        if (name != nullptr && value_of(*name)) {
            add_port(operational, reading_branch(*value_of(*name)), *schema, ports, out);
        }
    }
}

bridge::DataPtr load_readings(const Yang& yang, const kelda::Reader& operational)
{
    const SchemaNode* const top = yang.schema().find_top("ots-oper");
    if (top == nullptr) {
        return nullptr;
    }
    Tree tree;
    Tree everything;
    select_readings(yang, operational, everything.add(everything.root(), *top), *top, tree);
    const Node& ports = children(tree.root()).front();
    if (children(children(ports).front()).empty()) {
        return nullptr;
    }
    return bridge::build_data(yang.models(), tree.root(), [](const bridge::Unfit&) {});
}

} // namespace zpf::agent

// SPDX-License-Identifier: Apache-2.0
//
// Between devices in plain words and native data.
#include "device.hpp"

#include <string_view>

namespace zpf::scenarios {

namespace {

constexpr const char* kInterfaces = "/interface-configurations";
constexpr const char* kInterface = "/interface-configurations/interface-configuration";
constexpr const char* kPorts = "/ots-oper/ots-ports";

std::string random_word(Dice& dice)
{
    static const std::string letters = "abcXYZ019/-. é";
    std::string word;
    for (std::uint32_t length = 1 + dice.roll(30); length > 0; --length) {
        word += letters[dice.roll(12)];
    }
    return word;
}

/// Any name but those that the plug-in takes for a controller, though a device has none that is spelt like that.
std::string random_interface(Dice& dice)
{
    static const std::vector<std::string> names{"GigabitEthernet0/0/0/0",
                                                "Ots0/0/0/1",
                                                "Ots0/0/0",
                                                "Ots0/0/0/",
                                                "XOts0/0/0/2",
                                                "Ots0/0/0/7",
                                                "ots0/0/0/0",
                                                "Ots0/0/1/0",
                                                "Ots0/0/0/-1",
                                                "MgmtEth0/0/0",
                                                "Ots0/0/0/x"};
    return dice.once_in(4) ? random_word(dice) : dice.one_of(names);
}

Interface random_settings(Dice& dice, bool optical)
{
    Interface settings;
    if (optical && !dice.once_in(3)) {
        settings.voa_tenths = static_cast<int>(dice.roll(201));
    }
    if (optical && dice.once_in(2)) {
        settings.gain_tenths = static_cast<int>(dice.roll(401));
    }
    if (dice.once_in(2)) {
        settings.description = random_word(dice);
    }
    return settings;
}

void add_leaf(Tree& tree, Node& parent, const SchemaNode& schema, const char* tag, const std::string& value)
{
    tree.add(parent, *schema.find(tag), value);
}

void add_interface(Tree& tree, Node& list, const SchemaNode& schema, const std::string& name, const Interface& settings)
{
    Node& entry = tree.add(list, schema);
    add_leaf(tree, entry, schema, "active", "act");
    add_leaf(tree, entry, schema, "interface-name", name);
    if (settings.description) {
        add_leaf(tree, entry, schema, "description", *settings.description);
    }
    if (settings.voa_tenths || settings.gain_tenths) {
        const SchemaNode& ots_schema = *schema.find("ots");
        Node& ots = tree.add(entry, ots_schema);
        if (settings.voa_tenths) {
            add_leaf(tree, ots, ots_schema, "ots-tx-voa-attenuation", std::to_string(*settings.voa_tenths));
        }
        if (settings.gain_tenths) {
            add_leaf(tree, ots, ots_schema, "ots-egress-amplifier-gain", std::to_string(*settings.gain_tenths));
        }
    }
}

template <typename Map>
std::vector<std::string> names_of(const Map& map, Dice* order)
{
    std::vector<std::string> names;
    names.reserve(map.size());
    for (const auto& [name, value] : map) {
        names.push_back(name);
    }
    if (order != nullptr) {
        order->shuffle(names);
    }
    return names;
}

std::string key_of(const Node& entry, const char* key)
{
    const Node* const leaf = find_child(entry, key);
    return leaf ? std::string(value_of(*leaf).value_or("")) : "";
}

Interface interface_of(const Node& entry, std::vector<std::string>& surprises)
{
    Interface settings;
    for (const Node& node : children(entry)) {
        const std::string tag(tag_of(node));
        if (tag == "description") {
            settings.description = std::string(value_of(node).value_or(""));
        } else if (tag == "ots") {
            for (const Node& leaf : children(node)) {
                const int tenths = std::stoi(std::string(value_of(leaf).value_or("-1")));
                if (tag_of(leaf) == "ots-tx-voa-attenuation") {
                    settings.voa_tenths = tenths;
                } else if (tag_of(leaf) == "ots-egress-amplifier-gain") {
                    settings.gain_tenths = tenths;
                } else {
                    surprises.push_back("ots/" + std::string(tag_of(leaf)));
                }
            }
        } else if (tag != "active" && tag != "interface-name") {
            surprises.push_back(tag);
        }
    }
    return settings;
}

} // namespace

std::string controller_of(const std::string& attenuator)
{
    if (attenuator == "0/0-VOA-BST0") {
        return "Ots0/0/0/0";
    }
    return attenuator == "0/0-VOA-BST2" ? "Ots0/0/0/2" : "";
}

std::string to_text(const Device& device)
{
    std::string text;
    for (const auto& [name, settings] : device.interfaces) {
        text += "  " + name;
        text += settings.voa_tenths ? " voa=" + std::to_string(*settings.voa_tenths) : "";
        text += settings.gain_tenths ? " gain=" + std::to_string(*settings.gain_tenths) : "";
        text += settings.description ? " \"" + *settings.description + "\"" : "";
        text += "\n";
    }
    for (const auto& [port, tenths] : device.readings_tenths) {
        text += "  reading of " + port + ": " + std::to_string(tenths) + "\n";
    }
    return text;
}

Device random_device(Dice& dice)
{
    Device device;
    for (std::uint32_t i = dice.roll(6); i > 0; --i) {
        const std::string name = random_interface(dice);
        device.interfaces[name] = random_settings(dice, name.find("Ots") != std::string::npos);
        if (dice.once_in(3)) {
            device.readings_tenths[random_interface(dice)] = static_cast<int>(dice.roll(201));
        }
    }
    for (const char* const controller : {"Ots0/0/0/0", "Ots0/0/0/2"}) {
        if (!dice.once_in(4)) {
            device.interfaces[controller] = random_settings(dice, true);
        }
        if (!dice.once_in(4)) {
            device.readings_tenths[controller] = static_cast<int>(dice.roll(201));
        }
    }
    return device;
}

Tree native_data(const Schema& schema, const Device& device, Dice* order)
{
    Tree tree;
    if (!device.interfaces.empty()) {
        const SchemaNode& list = *schema.find_path(kInterface);
        Node& interfaces = tree.add(tree.root(), *schema.find_path(kInterfaces));
        for (const std::string& name : names_of(device.interfaces, order)) {
            add_interface(tree, interfaces, list, name, device.interfaces.at(name));
        }
    }
    if (!device.readings_tenths.empty()) {
        const SchemaNode& ports_schema = *schema.find_path(kPorts);
        const SchemaNode& port_schema = *ports_schema.find("ots-port");
        const SchemaNode& info_schema = *port_schema.find("ots-info");
        Node& ports = tree.add(tree.add(tree.root(), *schema.find_top("ots-oper")), ports_schema);
        for (const std::string& name : names_of(device.readings_tenths, order)) {
            Node& port = tree.add(ports, port_schema);
            add_leaf(tree, port, port_schema, "name", name);
            add_leaf(tree, tree.add(port, info_schema), info_schema, "tx-voa-attenuation",
                     std::to_string(device.readings_tenths.at(name)));
        }
    }
    return tree;
}

Device device_of(const Schema& schema, const Node& native, std::vector<std::string>& surprises)
{
    Device device;
    for (const Node& top : children(native)) {
        if (schema.find_top(tag_of(top)) == nullptr) {
            surprises.emplace_back(tag_of(top));
        }
        for (const Node& node : children(top)) {
            if (tag_of(node) == "interface-configuration") {
                const std::string name = key_of(node, "interface-name");
                if (key_of(node, "active") != "act" || device.interfaces.contains(name)) {
                    surprises.push_back("entry \"" + name + "\"");
                }
                device.interfaces[name] = interface_of(node, surprises);
            } else if (tag_of(node) == "ots-ports") {
                for (const Node& port : children(node)) {
                    const Node* const info = find_child(port, "ots-info");
                    device.readings_tenths[key_of(port, "name")] =
                        info ? std::stoi(key_of(*info, "tx-voa-attenuation")) : -1;
                }
            } else {
                surprises.emplace_back(tag_of(node));
            }
        }
    }
    return device;
}

} // namespace zpf::scenarios

// SPDX-License-Identifier: Apache-2.0
//
// Making of edits.
#include "edit_plan.hpp"

#include <array>
#include <cstdio>

namespace zpf::scenarios {

namespace {

/// None most of the time, since operations everywhere would mostly be refused.
int32_t random_operation(Dice& dice, std::uint32_t rarity)
{
    static const std::vector<int32_t> operations{ZPF_OP_MERGE, ZPF_OP_REPLACE, ZPF_OP_CREATE, ZPF_OP_DELETE,
                                                 ZPF_OP_REMOVE};
    return dice.once_in(rarity) ? dice.one_of(operations) : ZPF_OP_NONE;
}

std::string random_name(Dice& dice)
{
    static const std::vector<std::string> others{"0/0-VOA-BST7",
                                                 "0/0-VOA-BST01",
                                                 "0/0-VOA-BST02",
                                                 "0/0-VOA-BST25",
                                                 "x0/0-VOA-BST2y",
                                                 "ABC",
                                                 "0/0-VOA-",
                                                 "BST0",
                                                 "Ots0/0/0/2",
                                                 "0/0-VOA-BST2 ",
                                                 "0/0-VOA-BST2-and-much-more"};
    if (dice.once_in(8)) {
        return dice.one_of(others);
    }
    return dice.once_in(2) ? "0/0-VOA-BST0" : "0/0-VOA-BST2";
}

ConfigPlan random_config(Dice& dice, const std::string& name)
{
    ConfigPlan config;
    config.op = random_operation(dice, 4);
    if ((config.op == ZPF_OP_DELETE || config.op == ZPF_OP_REMOVE) && !dice.once_in(6)) {
        return config;
    }
    if (dice.once_in(2)) {
        config.name = dice.once_in(12) ? "0/0-VOA-BST9" : name;
    }
    if (!dice.once_in(5)) {
        config.has_attenuation = true;
        config.attenuation_op = random_operation(dice, 2);
        config.hundredths = static_cast<int>(dice.once_in(10) ? 2000 + dice.roll(3) : dice.roll(2001));
        if (dice.once_in(12)) {
            config.hundredths.reset();
        }
    }
    config.sets_enabled = dice.once_in(20);
    return config;
}

Node& add(Tree& tree, Node& parent, const SchemaNode& above, const char* tag, int32_t op,
          std::optional<std::string_view> value = std::nullopt)
{
    return tree.add(parent, *above.find(tag), value, op);
}

void add_config(Tree& tree, Node& entry, const SchemaNode& list, const ConfigPlan& plan)
{
    const SchemaNode& schema = *list.find("config");
    Node& config = tree.add(entry, schema, std::nullopt, plan.op);
    if (plan.name) {
        add(tree, config, schema, "name", ZPF_OP_NONE, *plan.name);
    }
    if (plan.has_attenuation) {
        const std::string text = plan.hundredths ? db_text(*plan.hundredths) : "";
        add(tree, config, schema, "attenuation", plan.attenuation_op,
            plan.hundredths ? std::optional<std::string_view>{text} : std::nullopt);
    }
    if (plan.sets_enabled) {
        add(tree, config, schema, "enabled", ZPF_OP_NONE, "true");
    }
}

} // namespace

std::string db_text(int hundredths)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%d.%02d", hundredths / 100, hundredths % 100);
    return text.data();
}

EditPlan random_edit(Dice& dice)
{
    static const std::vector<int32_t> defaults{ZPF_OP_MERGE, ZPF_OP_MERGE,   ZPF_OP_MERGE,
                                               ZPF_OP_MERGE, ZPF_OP_REPLACE, ZPF_OP_NONE};
    EditPlan plan;
    plan.default_operation = dice.one_of(defaults);
    plan.root_op = random_operation(dice, 10);
    plan.attenuators_op = random_operation(dice, 8);
    const auto removes = [](int32_t op) { return op == ZPF_OP_DELETE || op == ZPF_OP_REMOVE; };
    if (removes(plan.root_op) && !dice.once_in(6)) {
        plan.has_attenuators = false;
        return plan;
    }
    if (removes(plan.attenuators_op) && !dice.once_in(6)) {
        return plan;
    }
    for (std::uint32_t i = 1 + dice.roll(2); i > 0; --i) {
        EntryPlan entry;
        entry.name = random_name(dice);
        entry.op = random_operation(dice, 3);
        entry.config_first = dice.once_in(4);
        if (!dice.once_in(removes(entry.op) ? 1 : 4) || dice.once_in(10)) {
            entry.config = random_config(dice, entry.name);
        }
        if (plan.entries.empty() || plan.entries.front().name != entry.name) {
            plan.entries.push_back(entry);
        }
    }
    return plan;
}

Tree request_of(const Schema& schema, const EditPlan& plan)
{
    Tree tree;
    const SchemaNode& top = *schema.find_top("optical-attenuator");
    Node& root = tree.add(tree.root(), top, std::nullopt, plan.root_op);
    if (!plan.has_attenuators) {
        return tree;
    }
    const SchemaNode& above = *top.find("attenuators");
    const SchemaNode& list = *above.find("attenuator");
    Node& attenuators = tree.add(root, above, std::nullopt, plan.attenuators_op);
    for (const EntryPlan& entry : plan.entries) {
        Node& node = tree.add(attenuators, list, std::nullopt, entry.op);
        if (entry.config && entry.config_first) {
            add_config(tree, node, list, *entry.config);
        }
        add(tree, node, list, "name", ZPF_OP_NONE, entry.name);
        if (entry.config && !entry.config_first) {
            add_config(tree, node, list, *entry.config);
        }
    }
    return tree;
}

} // namespace zpf::scenarios

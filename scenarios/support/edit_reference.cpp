// SPDX-License-Identifier: Apache-2.0
//
// What an edit has to do, from its words: first every reason to refuse it, then its effect.
#include <algorithm>
#include <set>

#include "edit_plan.hpp"

namespace zpf::scenarios {

namespace {

constexpr int kMostHundredths = 2000; // 20.00 dB

bool removes(int32_t op)
{
    return op == ZPF_OP_DELETE || op == ZPF_OP_REMOVE;
}

/// Merge lets operations below it speak; all others but none make them void.
bool settles(int32_t op)
{
    return op == ZPF_OP_REPLACE || op == ZPF_OP_CREATE || removes(op);
}

/// The plan without what is void, and without what default-operation none leaves undone.
EditPlan in_force(EditPlan plan)
{
    if (plan.default_operation == ZPF_OP_REPLACE && plan.root_op == ZPF_OP_NONE) {
        plan.root_op = ZPF_OP_REPLACE;
    }
    bool settled = settles(plan.root_op);
    plan.attenuators_op = settled ? ZPF_OP_NONE : plan.attenuators_op;
    settled = settled || settles(plan.attenuators_op);
    for (EntryPlan& entry : plan.entries) {
        entry.op = settled ? ZPF_OP_NONE : entry.op;
        if (entry.config) {
            const bool settled_here = settled || settles(entry.op);
            entry.config->op = settled_here ? ZPF_OP_NONE : entry.config->op;
            entry.config->attenuation_op =
                settled_here || settles(entry.config->op) ? ZPF_OP_NONE : entry.config->attenuation_op;
        }
    }
    if (plan.default_operation == ZPF_OP_NONE && plan.root_op == ZPF_OP_NONE && plan.attenuators_op == ZPF_OP_NONE) {
        for (EntryPlan& entry : plan.entries) {
            if (entry.op != ZPF_OP_NONE || !entry.config || entry.config->op != ZPF_OP_NONE) {
                continue;
            }
            if (entry.config->attenuation_op == ZPF_OP_NONE) {
                entry.config.reset();
            } else {
                entry.config->name.reset();
                entry.config->sets_enabled = false;
            }
        }
        std::erase_if(plan.entries, [](const EntryPlan& entry) { return entry.op == ZPF_OP_NONE && !entry.config; });
        plan.has_attenuators = !plan.entries.empty();
    }
    return plan;
}

/// What a client sees of the configuration before the edit.
class View {
public:
    explicit View(const Device& device) : device_(device) {}

    bool any() const { return has("0/0-VOA-BST0") || has("0/0-VOA-BST2"); }
    bool has(const std::string& name) const
    {
        return !controller_of(name).empty() && device_.interfaces.contains(controller_of(name));
    }
    bool has_attenuation(const std::string& name) const
    {
        return has(name) && device_.interfaces.at(controller_of(name)).voa_tenths.has_value();
    }

private:
    const Device& device_;
};

/// True when something has to be there and is not, or the other way round.
bool is_unmet(const EditPlan& plan, const View& view)
{
    bool spoken = false; // some operation above
    const auto unmet = [&](int32_t op, bool there) {
        return (op == ZPF_OP_DELETE && !there) || (op == ZPF_OP_CREATE && there) ||
               (plan.default_operation == ZPF_OP_NONE && op == ZPF_OP_NONE && !there && !spoken);
    };
    if (plan.default_operation == ZPF_OP_NONE && !plan.has_attenuators && plan.root_op == ZPF_OP_NONE) {
        return false; // nothing is left of it
    }
    if (unmet(plan.root_op, view.any())) {
        return true;
    }
    spoken = plan.root_op != ZPF_OP_NONE;
    if (plan.has_attenuators && unmet(plan.attenuators_op, view.any())) {
        return true;
    }
    const bool spoken_above = spoken || plan.attenuators_op != ZPF_OP_NONE;
    return std::any_of(plan.entries.begin(), plan.entries.end(), [&](const EntryPlan& entry) {
        spoken = spoken_above;
        if (unmet(entry.op, view.has(entry.name))) {
            return true;
        }
        spoken = spoken || entry.op != ZPF_OP_NONE;
        if (!entry.config) {
            return false;
        }
        if (unmet(entry.config->op, view.has(entry.name))) {
            return true;
        }
        spoken = spoken || entry.config->op != ZPF_OP_NONE;
        return (entry.config->name && unmet(ZPF_OP_NONE, view.has(entry.name))) ||
               (entry.config->has_attenuation && unmet(entry.config->attenuation_op, view.has_attenuation(entry.name)));
    });
}

bool is_bad_config(const EntryPlan& entry)
{
    const ConfigPlan& config = *entry.config;
    if (removes(config.op) && !config.empty()) {
        return true; // a delete with content
    }
    if (config.sets_enabled || (config.name && *config.name != entry.name)) {
        return true;
    }
    const bool sets = config.has_attenuation && !removes(config.attenuation_op) && !removes(entry.op);
    return (config.has_attenuation && config.hundredths.value_or(0) > kMostHundredths) || (sets && !config.hundredths);
}

/// True when all that the entry asks for is that something goes.
bool only_removes(const EntryPlan& entry)
{
    if (removes(entry.op)) {
        return true;
    }
    if (!entry.config) {
        return false;
    }
    const ConfigPlan& config = *entry.config;
    return removes(config.op) || (!config.name && config.has_attenuation && removes(config.attenuation_op));
}

bool is_refused(const EditPlan& plan, const Device& before)
{
    if (removes(plan.root_op) && plan.has_attenuators) {
        return true;
    }
    if (removes(plan.attenuators_op) && !plan.entries.empty()) {
        return true;
    }
    for (const EntryPlan& entry : plan.entries) {
        if ((entry.config && is_bad_config(entry)) || (controller_of(entry.name).empty() && !only_removes(entry))) {
            return true;
        }
    }
    return is_unmet(plan, View(before));
}

/// Changes to the device, one entry of the edit after the other.
class Effect {
public:
    explicit Effect(Device device) : device_(std::move(device)) {}

    void remove_all_attenuations()
    {
        for (const char* const controller : {"Ots0/0/0/0", "Ots0/0/0/2"}) {
            thin(controller);
        }
    }

    void apply(const EntryPlan& entry)
    {
        const std::string controller = controller_of(entry.name);
        if (controller.empty()) {
            return; // only removals come here, and they lead nowhere
        }
        if (removes(entry.op)) {
            device_.interfaces.erase(controller);
            return;
        }
        if (entry.op == ZPF_OP_REPLACE) {
            thin(controller);
        }
        const bool config_gives_way = entry.config && (removes(entry.config->op) || entry.config->op == ZPF_OP_REPLACE);
        const bool leaf_goes = entry.config && entry.config->has_attenuation && removes(entry.config->attenuation_op);
        const bool sets = entry.config && entry.config->has_attenuation && !leaf_goes;
        if (!device_.interfaces.contains(controller) && !sets && (config_gives_way || leaf_goes)) {
            return; // a removal makes no entry
        }
        Interface& settings = device_.interfaces[controller];
        written_.insert(controller);
        if (config_gives_way || leaf_goes) {
            settings.voa_tenths.reset();
        }
        if (sets) {
            settings.voa_tenths = *entry.config->hundredths / 10;
        }
    }

    Device finish()
    {
        for (const std::string& controller : thinned_) {
            const auto found = device_.interfaces.find(controller);
            if (found != device_.interfaces.end() && found->second.has_only_keys() && !written_.contains(controller)) {
                device_.interfaces.erase(found);
            }
        }
        return std::move(device_);
    }

private:
    void thin(const std::string& controller)
    {
        const auto found = device_.interfaces.find(controller);
        if (found != device_.interfaces.end()) {
            found->second.voa_tenths.reset();
            thinned_.insert(controller);
        }
    }

    Device device_;
    std::set<std::string> thinned_;
    std::set<std::string> written_;
};

} // namespace

bool removes_all(const EditPlan& plan)
{
    const EditPlan forceful = in_force(plan);
    return removes(forceful.root_op) || forceful.root_op == ZPF_OP_REPLACE || removes(forceful.attenuators_op) ||
           forceful.attenuators_op == ZPF_OP_REPLACE;
}

std::optional<Device> expected_of(const EditPlan& plan, const Device& before)
{
    const EditPlan forceful = in_force(plan);
    if (is_refused(forceful, before)) {
        return std::nullopt;
    }
    Effect effect(before);
    if (removes_all(plan)) {
        effect.remove_all_attenuations();
    }
    for (const EntryPlan& entry : forceful.entries) {
        effect.apply(entry);
    }
    return effect.finish();
}

} // namespace zpf::scenarios

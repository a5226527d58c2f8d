// SPDX-License-Identifier: Apache-2.0
//
// A client's edit in plain words, and what it has to do to a device.
//
// expected_of() is the reference that edits are checked against. It works on the words of the edit alone and has
// nothing in common with the way the edit is really done.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "device.hpp"
#include "dice.hpp"
#include "zpf_map/schema.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::scenarios {

struct ConfigPlan {
    int32_t op = ZPF_OP_NONE;
    std::optional<std::string> name; ///< the leaf within config
    bool has_attenuation = false;
    std::optional<int> hundredths; ///< of a dB; none for an empty element
    int32_t attenuation_op = ZPF_OP_NONE;
    bool sets_enabled = false; ///< which no device can

    bool empty() const { return !name && !has_attenuation && !sets_enabled; }
};

struct EntryPlan {
    std::string name;
    int32_t op = ZPF_OP_NONE;
    std::optional<ConfigPlan> config;
    bool config_first = false; ///< in front of the key
};

struct EditPlan {
    int32_t default_operation = ZPF_OP_MERGE;
    int32_t root_op = ZPF_OP_NONE;
    bool has_attenuators = true;
    int32_t attenuators_op = ZPF_OP_NONE;
    std::vector<EntryPlan> entries;
};

/// Edits of all kinds, bad ones among them; no two entries have one name.
EditPlan random_edit(Dice& dice);

Tree request_of(const Schema& schema, const EditPlan& plan);

/// "9.50" for 950.
std::string db_text(int hundredths);

/// The device after the edit, or nothing when the edit is to be refused.
std::optional<Device> expected_of(const EditPlan& plan, const Device& before);

/// True when the plan removes above its entries, by delete, remove or replace.
bool removes_all(const EditPlan& plan);

} // namespace zpf::scenarios

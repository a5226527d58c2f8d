// SPDX-License-Identifier: Apache-2.0
//
// A device in plain words: its interfaces and ports with the few leaves that the tests tell apart. It is turned into
// native data and read back from them.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "dice.hpp"
#include "zpf_map/schema.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::scenarios {

struct Interface {
    std::optional<int> voa_tenths;  ///< ots/ots-tx-voa-attenuation
    std::optional<int> gain_tenths; ///< ots/ots-egress-amplifier-gain
    std::optional<std::string> description;

    bool has_only_keys() const { return !voa_tenths && !gain_tenths && !description; }
    bool operator==(const Interface&) const = default;
};

struct Device {
    std::map<std::string, Interface> interfaces;
    std::map<std::string, int> readings_tenths; ///< by port

    bool operator==(const Device&) const = default;
};

/// Readable, for failing cases.
std::string to_text(const Device& device);

/// Controller of an attenuator's name, or empty for names that are none.
std::string controller_of(const std::string& attenuator);

/// Interfaces of any kind, the controllers of the attenuators mostly among them.
Device random_device(Dice& dice);

/// Native data of the device; entries in the order of their names, or as the dice fall.
Tree native_data(const Schema& schema, const Device& device, Dice* order = nullptr);

/// The device that native data describe. Leaves that a device does not have appear in `surprises`.
Device device_of(const Schema& schema, const Node& native, std::vector<std::string>& surprises);

} // namespace zpf::scenarios

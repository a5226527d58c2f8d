// SPDX-License-Identifier: Apache-2.0
//
// The requests that are measured, without blanks between elements, as clients send them; and a device to ask for.
#pragma once

#include <cstdint>
#include <string>

namespace zpf::bench {

/// The attenuator that is asked for, and edited.
inline constexpr const char* kAttenuator = "0/0-VOA-BST2";

/// Both attenuators with state.
std::string get_all();
/// One attenuator with state.
std::string get_one();
/// One attenuator's configuration.
std::string get_config_one();
/// Sets one attenuator. @param number tells edits apart: each sets another value than the one before
std::string edit_one(uint64_t number);
/// The attenuation that edit_one(number) sets, as a server prints it, without trailing zeros: "12.5", "3".
std::string edited_db(uint64_t number);

/// For a server without native data: both attenuators, set as the native seed sets them.
std::string edit_both();

/// Native data of a device with two attenuators and as many interfaces in all as asked for, four at least.
std::string native_seed(std::size_t interfaces);

} // namespace zpf::bench

// SPDX-License-Identifier: Apache-2.0
//
// Two small models: lamps as a client sees them, and the cells of the rack that light them. Dimming is in percent with
// one fraction digit for the client, in tenths natively.
//
//   acme-lamp         lamps/config/limit
//                     lamps/lamp[name]/{name, config{name, level, note, colour, fault, stray}, state{name, level, lit},
//                                       beams/beam[side, number]{side, number, width}}
//   acme-native       cells/cell[kind, id]{kind, id, dimming{lum}, note, wear, taps/tap[pin]{pin, gain}},
//                     rack/{limit, spare}
//   acme-native-oper  gauges/gauge[id]{id, lum}
#pragma once

#include "zpf_map/schema.hpp"

namespace zpf::test {

inline constexpr const char* kLampNs = "urn:acme:lamp";
inline constexpr const char* kNativeNs = "urn:acme:native";
inline constexpr const char* kOperNs = "urn:acme:native-oper";

/// All three modules; made once and shared.
const Schema& lamp_schema();

} // namespace zpf::test

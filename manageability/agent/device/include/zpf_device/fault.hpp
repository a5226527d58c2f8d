// SPDX-License-Identifier: Apache-2.0
//
// What can be wrong with a simulated port.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace zpf::device {

struct Fault {
    enum Kind {
        refuse_value,  ///< does not take an attenuation: `value_tenths`, or any when none is given; deletions pass
        no_answer,     ///< does not answer to changes of its configuration
        reads_nothing, ///< readings are missing
        reads_slowly,  ///< readings are reported `delay` late
    };

    Kind kind = refuse_value;
    std::string port; ///< as in "Ots0/0/0/2"
    std::optional<int> value_tenths{};
    std::chrono::milliseconds delay{0};

    bool operator==(const Fault&) const = default;
};

/// "refuse-value", "no-answer", "reads-nothing", "reads-slowly".
std::string_view fault_word(Fault::Kind kind);

/// The kind with that word; nothing for other words.
std::optional<Fault::Kind> fault_kind(std::string_view word);

} // namespace zpf::device

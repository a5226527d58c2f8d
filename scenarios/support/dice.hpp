// SPDX-License-Identifier: Apache-2.0
//
// Chance from a seed: the same on every machine, so that a printed seed brings a failing case back.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace zpf::scenarios {

class Dice {
public:
    explicit Dice(std::uint32_t seed) : engine_(seed) {}

    /// A number from 0 up to, not including, `sides`. The library's distributions differ between machines.
    std::uint32_t roll(std::uint32_t sides) { return static_cast<std::uint32_t>(engine_()) % sides; }
    /// True about once in `sides` rolls.
    bool once_in(std::uint32_t sides) { return roll(sides) == 0; }

    template <typename Value>
    const Value& one_of(const std::vector<Value>& values)
    {
        return values[roll(static_cast<std::uint32_t>(values.size()))];
    }

    template <typename Value>
    void shuffle(std::vector<Value>& values)
    {
        for (std::uint32_t left = static_cast<std::uint32_t>(values.size()); left > 1; --left) {
            std::swap(values[left - 1], values[roll(left)]);
        }
    }

private:
    std::mt19937 engine_;
};

} // namespace zpf::scenarios

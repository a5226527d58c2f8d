// SPDX-License-Identifier: Apache-2.0
//
// Words for the kinds of faults.
#include "zpf_device/fault.hpp"

#include <array>

namespace zpf::device {

namespace {

struct Word {
    Fault::Kind kind;
    std::string_view text;
};

constexpr std::array kWords{
    Word{Fault::refuse_value, "refuse-value"},
    Word{Fault::no_answer, "no-answer"},
    Word{Fault::reads_nothing, "reads-nothing"},
    Word{Fault::reads_slowly, "reads-slowly"},
};

} // namespace

std::string_view fault_word(Fault::Kind kind)
{
    for (const Word& word : kWords) {
        if (word.kind == kind) {
            return word.text;
        }
    }
    return {};
}

std::optional<Fault::Kind> fault_kind(std::string_view text)
{
    for (const Word& word : kWords) {
        if (word.text == text) {
            return word.kind;
        }
    }
    return std::nullopt;
}

} // namespace zpf::device

// SPDX-License-Identifier: Apache-2.0
//
// Failed assertions without the end of the program: what the plug-in hands to the C library when a context is missing.
#ifndef OC_ATTENUATOR_ASSERTION_PROBE_HPP
#define OC_ATTENUATOR_ASSERTION_PROBE_HPP

#include <functional>
#include <optional>
#include <string>

namespace test {

struct Assertion {
    std::string text;
    std::string file;
    unsigned line;
    std::string function;
};

/** Calls and comes back from the first assertion that fails; nothing when none does. */
std::optional<Assertion> failed_assertion(const std::function<void()>& call);

} // namespace test

#endif

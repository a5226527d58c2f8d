// SPDX-License-Identifier: Apache-2.0
//
// A host with the plug-in and a device's native data in memory, diagnostics off, ready for requests that are parsed
// already: what is measured is the mapping, the framework included, and nothing around it.
#pragma once

#include <string>

#include "zpf_bridge/data.hpp"
#include "zpf_map/driver.hpp"

namespace zpf::bench {

class Device {
public:
    Device();

    const Schema& schema() const { return models_.schema(); }
    const Driver& driver() const { return driver_; }

    /// Each throws Failure when the text does not parse.
    Tree edit_request(const char* text) const;
    Tree get_request(const char* text) const;

    EditResult edit(const Tree& request);
    ReadResult get(const Tree& request);

    /// The reply as the client gets it. Throws Failure when the request is refused.
    std::string reply_text(const Tree& request);

private:
    bridge::Models models_;
    Plugin plugin_;
    Driver driver_;
    Context context_;
    Tree native_;
    TreeSource source_;
    EditOptions options_;
};

/// The one device of this program.
Device& device();

} // namespace zpf::bench

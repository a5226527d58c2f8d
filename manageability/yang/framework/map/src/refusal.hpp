// SPDX-License-Identifier: Apache-2.0
//
// Result codes and host decisions as the errors that a client sees.
#pragma once

#include "zpf_map/driver.hpp"

namespace zpf {

/// The refusal that a failed walk of `request` stands for; reads error tag, message and path off the context.
Refusal refusal_of(Context& context, qerrno code, const Node& request, const Schema& schema);

/// A refusal of the host's own.
Refusal refuse(std::string tag, std::string path, std::string message, std::string bad_element = {});

} // namespace zpf

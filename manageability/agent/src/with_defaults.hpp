// SPDX-License-Identifier: Apache-2.0
//
// Modes of RFC 6243.
#pragma once

#include "element.hpp"

namespace zpf::agent {

enum class WithDefaults { explicit_only, report_all, report_all_tagged, trim };

/// Mode that an operation's with-defaults element names; explicit without one. Throws Refused.
WithDefaults with_defaults_of(Element operation, std::string_view ns);

/// libyang's printer option for the mode.
uint32_t print_option(WithDefaults mode);

} // namespace zpf::agent

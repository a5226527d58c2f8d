// SPDX-License-Identifier: Apache-2.0
//
// Modes of with-defaults.
#include "with_defaults.hpp"

#include "rpc_error.hpp"

namespace zpf::agent {

WithDefaults with_defaults_of(Element operation, std::string_view ns)
{
    const Element element = operation.child("with-defaults", ns);
    if (!element || element.text() == "explicit") {
        return WithDefaults::explicit_only;
    }
    if (element.text() == "report-all") {
        return WithDefaults::report_all;
    }
    if (element.text() == "report-all-tagged") {
        return WithDefaults::report_all_tagged;
    }
    if (element.text() == "trim") {
        return WithDefaults::trim;
    }
    throw refused_protocol("invalid-value",
                           "\"" + std::string{element.text()} +
                               "\" is none of explicit, report-all, report-all-tagged and trim.",
                           "with-defaults");
}

uint32_t print_option(WithDefaults mode)
{
    switch (mode) {
    case WithDefaults::report_all:
        return LYD_PRINT_WD_ALL;
    case WithDefaults::report_all_tagged:
        return LYD_PRINT_WD_IMPL_TAG; // what a client has set is no default, whatever its value (RFC 6243, 2.3)
    case WithDefaults::trim:
        return LYD_PRINT_WD_TRIM;
    case WithDefaults::explicit_only:
        break;
    }
    return LYD_PRINT_WD_EXPLICIT;
}

} // namespace zpf::agent

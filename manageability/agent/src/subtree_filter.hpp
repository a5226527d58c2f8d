// SPDX-License-Identifier: Apache-2.0
//
// Cutting data to what a client has asked for.
#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "element.hpp"
#include "yang.hpp"

namespace zpf::agent {

/// What a filter keeps: nodes that it selects, with all below, and others for what is below and selected.
struct Selection {
    std::unordered_set<const lyd_node*> whole;
    std::unordered_set<const lyd_node*> partly;
};

/// True when an element of a filter has attributes that data would need to have as well (RFC 6241, 6.2.2); data here
/// have none, so that it selects nothing. Those of NETCONF itself are not meant to be matched.
bool asks_for_attributes(Element filter);

/// Keeps what a subtree filter selects (RFC 6241, 6); keys of list entries stay with what is kept of them.
Selection keep_subtrees(const Yang& yang, Element filter, bridge::DataPtr& data);

/// Keeps what an XPath expression selects, with all below and the nodes above. Names carry module names in place of
/// prefixes. Throws Refused when it cannot be evaluated or selects no nodes but a value.
Selection keep_selected(const Yang& yang, const std::string& xpath, bridge::DataPtr& data);

/// Drops what is more than so many levels deep, counted from each selected node; 1 keeps the selected nodes alone, with
/// their keys and what leads there. Top nodes count as selected when nothing has selected among the data.
void keep_levels(unsigned levels, const Selection& selection, bridge::DataPtr& data);

/// Drops state, or configuration (keys of entries and nodes that lead to the rest stay).
void keep_config(bool config, bridge::DataPtr& data);

/**
 * Names of the records that matter to a subtree filter's element: every record at or below one of them; a name that
 * ends with "=" stands for all entries of its list. The element must fit the schema node.
 */
void add_record_names(Element element, const lysc_node& schema, const std::string& name,
                      std::vector<std::string>& names);

} // namespace zpf::agent

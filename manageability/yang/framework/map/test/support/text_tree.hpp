// SPDX-License-Identifier: Apache-2.0
//
// Trees from indented lines, in the form in which to_text() prints them, so that tests read and compare text.
#pragma once

#include <string_view>

#include "zpf_map/schema.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::test {

/**
 * One line a node, two blanks of indentation a level: `tag`, `tag = "value"`, `tag op=delete`, or both in this order.
 * `{uri}tag` gives a namespace of its own; else the schema's, or for tags that the models lack that of the parent.
 * @param default_operation what a node without `op=` carries; ZPF_OP_NONE makes an edit request
 */
Tree tree_of(const Schema& schema, std::string_view text, int32_t default_operation = ZPF_OP_MERGE);

inline Tree edit_of(const Schema& schema, std::string_view text)
{
    return tree_of(schema, text, ZPF_OP_NONE);
}

} // namespace zpf::test

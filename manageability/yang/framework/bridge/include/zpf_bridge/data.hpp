// SPDX-License-Identifier: Apache-2.0
//
// Between text (XML or JSON) and trees: client requests, native data, replies.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "zpf_bridge/bad_input.hpp"
#include "zpf_bridge/models.hpp"
#include "zpf_map/driver.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::bridge {

/// A request as a client wrote it.
struct Request {
    std::optional<uint32_t> kind;             ///< enum zpf_request_kind, if an element around the request says it
    std::optional<int32_t> default_operation; ///< merge, replace or none, if the request says it
    Tree tree;                                ///< top nodes below a root without tag
};

/**
 * Parses a client request: the top elements of the client model, bare or in `config`, `filter`, `data`, `edit-config`,
 * `get`, `get-config` and `rpc` elements.
 *
 * An edit is validated against the models; yet an empty leaf and a list entry without keys pass, since the mapping
 * itself says what they mean. Nodes without an operation attribute carry ZPF_OP_NONE. A read is a subtree filter
 * (RFC 6241, 6): texts are content matches and are not validated. Texts are trimmed; an empty element has no value.
 *
 * @param kind   what to take the request for when no element around it says it; with one that contradicts, BadInput
 * @param source name of the text in messages
 * Throws BadInput.
 */
Request parse_request(const Models& models, std::string_view text, const std::string& source,
                      std::optional<uint32_t> kind);

/// Parses native data, strictly; `config` or `data` may be around them. Keys come first in every entry. Throws
/// BadInput.
Tree parse_native(const Models& models, std::string_view text, const std::string& source);

/// Judges native data as they would be after an edit: each value against its type, keys, duplicates.
std::optional<Refusal> validate_native(const Models& models, const Node& root);

/// The same as far as elements, values and keys go, one by one. That is all there is to judge where no node demands
/// anything of another one and none stands twice, for a fraction of the time.
std::optional<Refusal> check_values(const Models& models, const Node& root);

enum class Syntax { xml, json };

/// Prints a reply or native data, each value validated and in canonical form. Throws Failure naming the path of a value
/// that its model does not take.
std::string print_data(const Models& models, const Node& root, Syntax syntax);

/// Prints a native edit, with operations as attributes, or a selection, with elements that have no value.
std::string print_edit(const Models& models, const Node& root, Syntax syntax);

} // namespace zpf::bridge

// SPDX-License-Identifier: Apache-2.0
//
// What the bridge's tests share: the models, trees as lines, and the message of a refused text.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "zpf_bridge/data.hpp"
#include "zpf_namespaces.h"

namespace zpf::test {

/// The device's models, loaded once.
const bridge::Models& models();

/// One line a node, in document order: "a/b = value [delete]". A node that carries `usual_op` has no word for it.
std::vector<std::string> lines(const Node& root, int32_t usual_op);

/// Of a request, in which a node without an attribute carries ZPF_OP_NONE.
std::vector<std::string> request_lines(const bridge::Request& request);

/// Of native data and replies.
std::vector<std::string> data_lines(const Tree& tree);

/// Parses under the name "request.xml".
bridge::Request parse_edit(std::string_view text);
bridge::Request parse_get(std::string_view text);

/// Parses under the name "native.xml".
Tree parse_native(std::string_view text);

/// Message of the BadInput that the call throws; "no error" when it throws none.
std::string bad_input(const std::function<void()>& call);

/// Text in the client model's top element, `namespaces` being more declarations for it.
std::string optical_attenuator(const std::string& inside, const std::string& namespaces = "");

/// Text in interface-configurations, with prefix "ots" for the augment's module.
std::string interface_configurations(const std::string& inside);

inline constexpr const char* kNc = " xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\"";

} // namespace zpf::test

// SPDX-License-Identifier: Apache-2.0
//
// Values of the agent's replies, which are texts, as programs want them. All are null for a text of another kind.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace zpf::cli {

nlohmann::ordered_json json_number(const std::string& text);
nlohmann::ordered_json json_count(const std::string& text);
nlohmann::ordered_json json_boolean(const std::string& text);

} // namespace zpf::cli

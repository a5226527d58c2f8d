// SPDX-License-Identifier: Apache-2.0
//
// Texts to numbers and booleans.
#include "json_values.hpp"

#include <charconv>
#include <cstdint>

namespace zpf::cli {

namespace {

using Json = nlohmann::ordered_json;

template <typename Value>
Json whole(const std::string& text)
{
    Value value{};
    const auto end = std::from_chars(text.data(), text.data() + text.size(), value);
    return end.ec == std::errc{} && end.ptr == text.data() + text.size() ? Json(value) : Json(nullptr);
}

} // namespace

Json json_number(const std::string& text)
{
    return whole<double>(text);
}

Json json_count(const std::string& text)
{
    return whole<std::uint64_t>(text);
}

Json json_boolean(const std::string& text)
{
    return text == "true" || text == "false" ? Json(text == "true") : Json(nullptr);
}

} // namespace zpf::cli

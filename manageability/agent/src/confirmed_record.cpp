// SPDX-License-Identifier: Apache-2.0
//
// One line for each record that is to be restored: its name, and its value behind "=" unless it is to go. Both are
// percent-encoded.
#include "confirmed_record.hpp"

#include "record_path.hpp"

namespace zpf::agent {

std::string to_record(const Confirmed& confirmed)
{
    std::string text;
    for (const auto& [name, value] : confirmed.undo) {
        append_encoded(text, name);
        if (value) {
            text.push_back('=');
            append_encoded(text, *value);
        }
        text.push_back('\n');
    }
    return text;
}

Confirmed from_record(std::string_view record)
{
    Confirmed confirmed;
    while (!record.empty()) {
        const auto end = record.find('\n');
        const std::string_view line = record.substr(0, end);
        record = end == std::string_view::npos ? std::string_view{} : record.substr(end + 1);
        const auto equals = line.find('=');
        auto& value = confirmed.undo[decoded(line.substr(0, equals))];
        if (equals != std::string_view::npos) {
            value = decoded(line.substr(equals + 1));
        }
    }
    return confirmed;
}

} // namespace zpf::agent

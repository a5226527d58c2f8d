// SPDX-License-Identifier: Apache-2.0
//
// Writing of dumps.
#include <fmt/format.h>

#include <iterator>
#include <ostream>

#include "dump_format.hpp"
#include "kelda/tools.hpp"

namespace kelda {

std::string escape(std::string_view text)
{
    std::string escaped;
    escaped.reserve(text.size());
    for (const char c : text) {
        if (c == '\\') {
            escaped += "\\\\";
        } else if (c == '\t') {
            escaped += "\\t";
        } else if (c == '\n') {
            escaped += "\\n";
        } else if (c < ' ' || c > '~') {
            fmt::format_to(std::back_inserter(escaped), "\\x{:02X}", static_cast<unsigned char>(c));
        } else {
            escaped += c;
        }
    }
    return escaped;
}

std::uint64_t dump(const Reader& reader, std::ostream& out, std::string_view prefix)
{
    std::uint64_t count = 0;
    out << detail::kDumpHead << '\n';
    reader.scan(prefix, [&](std::string_view key, std::string_view value) {
        out << escape(key) << '\t' << escape(value) << '\n';
        ++count;
        return !out.fail();
    });
    out << detail::kDumpEnd << count << '\n';
    return count;
}

} // namespace kelda

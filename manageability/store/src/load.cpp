// SPDX-License-Identifier: Apache-2.0
//
// Reading of dumps, record by record into a transaction.
#include <fmt/format.h>

#include <charconv>
#include <istream>
#include <utility>
#include <vector>

#include "dump_format.hpp"
#include "kelda/tools.hpp"

namespace kelda {

namespace {

class DumpReader {
public:
    explicit DumpReader(std::istream& in) : in_{in}
    {
        if (!next_line() || line_ != detail::kDumpHead) {
            bad(fmt::format("a dump begins with \"{}\"", detail::kDumpHead));
        }
    }

    /// False after the last record.
    bool next(std::string& key, std::string& value)
    {
        if (!next_line()) {
            bad("the dump is cut: its last line is missing");
        }
        const std::size_t tab = line_.find('\t');
        if (tab == std::string::npos) {
            require_end();
            return false;
        }
        key = unescape(std::string_view{line_}.substr(0, tab));
        value = unescape(std::string_view{line_}.substr(tab + 1));
        if (key.empty()) {
            bad("there is no key");
        }
        if (records_ > 0 && key <= last_key_) {
            bad("keys are not in order, or not each once");
        }
        last_key_ = key;
        ++records_;
        return true;
    }

    std::uint64_t records() const { return records_; }

private:
    [[noreturn]] void bad(std::string_view what) const
    {
        throw BadDump{fmt::format("line {}: {}", line_number_, what)};
    }

    /// A line that the end of the file cuts counts as none.
    bool next_line()
    {
        ++line_number_;
        return std::getline(in_, line_) && !in_.eof();
    }

    void require_end()
    {
        std::uint64_t promised = 0;
        const char* const end = line_.data() + line_.size();
        const bool is_end = line_.starts_with(detail::kDumpEnd) &&
                            std::from_chars(line_.data() + detail::kDumpEnd.size(), end, promised).ptr == end;
        if (!is_end) {
            bad("a record has a key, a tab and a value");
        }
        if (promised != records_) {
            bad(fmt::format("{} records are announced, {} are there", promised, records_));
        }
        if (next_line() || !line_.empty()) {
            bad("something follows the end");
        }
    }

    std::string unescape(std::string_view text) const
    {
        std::string plain;
        plain.reserve(text.size());
        while (!text.empty()) {
            const std::size_t taken = text.front() == '\\' ? append_escaped(text, plain) : append_plain(text, plain);
            text.remove_prefix(taken);
        }
        return plain;
    }

    static std::size_t append_plain(std::string_view text, std::string& plain)
    {
        const std::string_view run = text.substr(0, text.find('\\'));
        plain += run;
        return run.size();
    }

    std::size_t append_escaped(std::string_view text, std::string& plain) const
    {
        const char kind = text.size() > 1 ? text[1] : '\0';
        if (kind == '\\' || kind == 't' || kind == 'n') {
            plain += kind == 't' ? '\t' : kind == 'n' ? '\n' : '\\';
            return 2;
        }
        unsigned char byte = 0;
        const bool is_byte = kind == 'x' && text.size() >= 4 &&
                             std::from_chars(text.data() + 2, text.data() + 4, byte, 16).ptr == text.data() + 4;
        if (!is_byte) {
            bad("a backslash is followed by a backslash, t, n, or x and two hexadecimal digits");
        }
        plain += static_cast<char>(byte);
        return 4;
    }

    std::istream& in_;
    std::string line_;
    std::uint64_t line_number_ = 0;
    std::uint64_t records_ = 0;
    std::string last_key_;
};

} // namespace

std::uint64_t read_dump(std::istream& in, FunctionRef<void(std::string_view, std::string_view)> take)
{
    DumpReader reader{in};
    std::string key;
    std::string value;
    while (reader.next(key, value)) {
        take(key, value);
    }
    return reader.records();
}

std::uint64_t load(Store& store, std::istream& in, LoadMode mode)
{
    Transaction durable = store.write();
    std::vector<std::pair<std::string, std::string>> of_volatile;
    if (mode == LoadMode::replace) {
        durable.erase_all({});
    }
    const std::uint64_t count = read_dump(in, [&](std::string_view key, std::string_view value) {
        if (key.starts_with(kVolatilePrefix)) {
            of_volatile.emplace_back(key, value);
        } else {
            durable.put(key, value);
        }
    });
    durable.commit(); // what can fail goes first: the other branch may be lost at any time
    Transaction rest = store.write_volatile();
    if (mode == LoadMode::replace) {
        rest.erase_all({});
    }
    for (const auto& [key, value] : of_volatile) {
        rest.put(key, value);
    }
    rest.commit();
    return count;
}

} // namespace kelda

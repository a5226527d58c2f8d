// SPDX-License-Identifier: Apache-2.0
//
// A trace line as text for people and as JSON for programs.
#include "trace_format.hpp"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string_view>

namespace zpf::cli {
namespace {

constexpr std::uint64_t kNsPerSecond = 1'000'000'000;

/** Bytes of a UTF-8 character by its first one; 0 for a byte that begins none. */
std::size_t utf8_bytes_by_lead(unsigned lead)
{
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

/** Bytes of the well-formed UTF-8 character that `text` begins with; 0 when there is none. */
std::size_t utf8_character_bytes(std::string_view text)
{
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    const std::size_t length = utf8_bytes_by_lead(lead);
    if (length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    const unsigned second = length > 2 ? byte(1) : 0;
    const bool is_overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
    const bool is_beyond_unicode = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
    return is_overlong || is_beyond_unicode ? 0 : length;
}

/** U+0000 to U+001F, U+007F, and U+0080 to U+009F, which some terminals obey, too. */
bool is_control(std::string_view character)
{
    const auto first = static_cast<unsigned char>(character.front());
    return first < 0x20 || first == 0x7F || (first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0);
}

std::string hexadecimal(char byte)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(byte);
    return {kDigits[value >> 4], kDigits[value & 0xF]};
}

std::string printable(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const std::size_t length = utf8_character_bytes(text);
        if (length != 0 && !is_control(text.substr(0, length))) {
            result += text.substr(0, length);
            text.remove_prefix(length);
        } else {
            result += "\\x" + hexadecimal(text.front());
            text.remove_prefix(1);
        }
    }
    return result;
}

std::string json_string(std::string_view text)
{
    std::string result = "\"";
    while (!text.empty()) {
        const std::size_t length = utf8_character_bytes(text);
        const char first = text.front();
        if (length == 0) {
            result += "\\ufffd";
        } else if (first == '"' || first == '\\') {
            result += {'\\', first};
        } else if (length == 1 && is_control(text.substr(0, 1))) {
            result += "\\u00" + hexadecimal(first);
        } else {
            result += text.substr(0, length);
        }
        text.remove_prefix(length != 0 ? length : 1);
    }
    return result + '"';
}

std::tm local_parts(std::uint64_t time_ns)
{
    const auto seconds = static_cast<std::time_t>(time_ns / kNsPerSecond);
    std::tm parts = {};
    localtime_r(&seconds, &parts);
    return parts;
}

/** Local time to the microsecond, with `separator` between day and hour. */
std::string local_time(std::uint64_t time_ns, char separator)
{
    const std::tm parts = local_parts(time_ns);
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d%c%02d:%02d:%02d.%06" PRIu64, parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, separator, parts.tm_hour, parts.tm_min, parts.tm_sec,
                  time_ns % kNsPerSecond / 1000);
    return text.data();
}

/** Offset of local time from UTC at that time, as `+02:00`. */
std::string utc_offset(std::uint64_t time_ns)
{
    const long minutes = local_parts(time_ns).tm_gmtoff / 60;
    const long size = std::labs(minutes);
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%c%02ld:%02ld", minutes < 0 ? '-' : '+', size / 60, size % 60);
    return text.data();
}

} // namespace

std::string trace_text(const zpf_trace_line& line)
{
    return local_time(line.time_ns, ' ') + " [" + std::to_string(line.pid) + "] " + printable(line.text) + '\n';
}

std::string lost_text(std::uint64_t lost)
{
    return lost == 0 ? "" : "-- " + std::to_string(lost) + (lost == 1 ? " line" : " lines") + " lost here\n";
}

std::string trace_json(const zpf_trace_line& line, std::uint64_t lost)
{
    std::array<char, 32> flags;
    std::snprintf(flags.data(), flags.size(), "0x%" PRIx64, line.flags);
    return "{\"sequence\":" + std::to_string(line.sequence) + ",\"lost\":" + std::to_string(lost) + ",\"time\":\"" +
           local_time(line.time_ns, 'T') + utc_offset(line.time_ns) + "\",\"time_ns\":\"" +
           std::to_string(line.time_ns) + "\",\"pid\":" + std::to_string(line.pid) + ",\"flags\":\"" + flags.data() +
           "\",\"text\":" + json_string(line.text) + "}\n";
}

} // namespace zpf::cli

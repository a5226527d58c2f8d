// SPDX-License-Identifier: Apache-2.0
//
// Addresses to listen at, and numbers within bounds.
#include "options.hpp"

#include <charconv>
#include <stdexcept>
#include <type_traits>

#include <fmt/format.h>

namespace zpf::agent {

namespace {

template <typename Number>
std::string complaint(const std::string& text, const NumberRange<Number>& range)
{
    Number number{};
    const char* const text_end = text.data() + text.size();
    const auto end = std::from_chars(text.data(), text_end, number);
    // What is no number, as "nan", is neither less nor more.
    if (end.ec == std::errc{} && end.ptr == text_end && number >= range.least && number <= range.most) {
        return {};
    }
    return fmt::format("\"{}\" is no {} from {} to {}", text, std::is_integral_v<Number> ? "whole number" : "number",
                       range.least, range.most);
}

} // namespace

std::string complaint_of(const std::string& text, const NumberRange<std::size_t>& range)
{
    return complaint(text, range);
}

std::string complaint_of(const std::string& text, const NumberRange<double>& range)
{
    return complaint(text, range);
}

ListenAddress parse_listen(const std::string& text)
{
    const auto bad = [&] {
        return std::invalid_argument("--listen " + text + ": none of unix:PATH, ssh:ADDRESS:PORT and tls:ADDRESS:PORT");
    };
    const auto colon = text.find(':');
    if (colon == std::string::npos) {
        throw bad();
    }
    ListenAddress address{text.substr(0, colon), text.substr(colon + 1), 0};
    if (address.kind == "unix" && !address.place.empty()) {
        return address;
    }
    if (address.kind != "ssh" && address.kind != "tls") {
        throw bad();
    }
    const auto last = address.place.rfind(':');
    if (last == std::string::npos) {
        throw bad();
    }
    const std::string port = address.place.substr(last + 1);
    address.place.resize(last);
    if (address.place.size() > 1 && address.place.front() == '[' && address.place.back() == ']') {
        address.place = address.place.substr(1, address.place.size() - 2); // an IPv6 address
    }
    const auto end = std::from_chars(port.data(), port.data() + port.size(), address.port);
    if (end.ec != std::errc{} || end.ptr != port.data() + port.size()) {
        throw bad();
    }
    return address;
}

} // namespace zpf::agent

// SPDX-License-Identifier: Apache-2.0
//
// Refusals as XML.
#include "rpc_error.hpp"

#include <algorithm>

#include "zpf_map/driver.hpp"

namespace zpf::agent {

namespace {

/// Bytes of the well-formed character that the text begins with (Unicode, table 3-7); 0 when there is none.
std::size_t character_bytes(std::string_view text)
{
    const auto byte = [&](std::size_t at) { return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U; };
    const auto continues = [&](std::size_t from, std::size_t to) {
        for (std::size_t at = from; at < to; ++at) {
            if ((byte(at) & 0xC0U) != 0x80U) {
                return false;
            }
        }
        return true;
    };
    const unsigned first = byte(0);
    const unsigned second = byte(1);
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return continues(1, 2) ? 2 : 0;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        const bool is_odd = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F);
        return !is_odd && continues(1, 3) ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool is_odd = (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
        return !is_odd && continues(1, 4) ? 4 : 0;
    }
    return 0;
}

void append_element(std::string& out, std::string_view name, std::string_view text)
{
    out.append("<").append(name).append(">");
    append_escaped(out, text);
    out.append("</").append(name).append(">");
}

/// Names of modules are left out, whoever made the path: a client could take them for prefixes, and none is declared.
std::string without_prefixes(std::string_view path)
{
    std::string plain;
    char quote = '\0';
    std::size_t name = 0; // where it begins in `plain`
    for (const char c : path) {
        if (quote == '\0' && c == ':') {
            plain.resize(name);
            continue;
        }
        plain.push_back(c);
        if (c == quote) {
            quote = '\0';
        } else if (quote == '\0' && (c == '\'' || c == '"')) {
            quote = c;
        }
        if (c == '/' || c == '[') {
            name = quote == '\0' ? plain.size() : name;
        }
    }
    return plain;
}

void print(std::string& out, const RpcError& error)
{
    out.append(R"(<rpc-error xmlns=")").append(kBaseNamespace).append("\">");
    append_element(out, "error-type", error.type);
    append_element(out, "error-tag", error.tag);
    append_element(out, "error-severity", "error");
    if (!error.app_tag.empty()) {
        append_element(out, "error-app-tag", error.app_tag);
    }
    if (!error.path.empty()) {
        append_element(out, "error-path", without_prefixes(error.path));
    }
    if (!error.message.empty()) {
        out.append(R"(<error-message xml:lang="en">)");
        append_escaped(out, error.message);
        out.append("</error-message>");
    }
    if (!error.info.empty()) {
        out.append("<error-info>");
        for (const auto& [name, text] : error.info) {
            append_element(out, name, text);
        }
        out.append("</error-info>");
    }
    out.append("</rpc-error>");
}

} // namespace

Refused refused(std::string tag, std::string message, std::string path, std::string bad_element)
{
    RpcError error;
    error.tag = std::move(tag);
    error.message = std::move(message);
    error.path = std::move(path);
    if (!bad_element.empty()) {
        error.info.emplace_back("bad-element", std::move(bad_element));
    }
    return Refused(std::move(error));
}

Refused refused_protocol(std::string tag, std::string message, std::string bad_element)
{
    RpcError error;
    error.type = "protocol";
    error.tag = std::move(tag);
    error.message = std::move(message);
    if (!bad_element.empty()) {
        error.info.emplace_back("bad-element", std::move(bad_element));
    }
    return Refused(std::move(error));
}

Refused refused_message(std::string message)
{
    RpcError error;
    error.type = "rpc";
    error.tag = "malformed-message";
    error.message = std::move(message);
    return Refused(std::move(error));
}

Refused refused(const Refusal& refusal)
{
    RpcError error;
    error.type = refusal.type;
    error.tag = refusal.tag;
    error.app_tag = refusal.app_tag;
    error.path = refusal.path;
    error.message = refusal.message;
    if (!refusal.bad_element.empty()) {
        error.info.emplace_back("bad-element", refusal.bad_element);
    }
    return Refused(std::move(error));
}

void print(std::string& out, const std::vector<RpcError>& errors)
{
    for (const RpcError& error : errors) {
        print(out, error);
    }
}

void append_escaped(std::string& out, std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        const char c = text[at];
        if (static_cast<unsigned char>(c) >= 0x80) {
            const std::size_t bytes = character_bytes(text.substr(at));
            out.append(bytes != 0 ? text.substr(at, bytes) : "\xEF\xBF\xBD"); // U+FFFD
            at += std::max<std::size_t>(bytes, 1);
            continue;
        }
        ++at;
        switch (c) {
        case '&':
            out.append("&amp;");
            break;
        case '<':
            out.append("&lt;");
            break;
        case '>':
            out.append("&gt;");
            break;
        case '"':
            out.append("&quot;");
            break;
        default:
            out.push_back(static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r' ? '?' : c);
        }
    }
}

} // namespace zpf::agent

// SPDX-License-Identifier: Apache-2.0
//
// Refusals as XML.
#include "rpc_error.hpp"

#include "zpf_map/driver.hpp"

namespace zpf::agent {

namespace {

void append_element(std::string& out, std::string_view name, std::string_view text)
{
    out.append("<").append(name).append(">");
    append_escaped(out, text);
    out.append("</").append(name).append(">");
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
        append_element(out, "error-path", error.path);
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
    for (const char c : text) {
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

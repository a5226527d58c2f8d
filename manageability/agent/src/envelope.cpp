// SPDX-License-Identifier: Apache-2.0
//
// Start tags of rpc messages.
#include "envelope.hpp"

#include "rpc_error.hpp"

namespace zpf::agent {

namespace {

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::size_t skip_blanks(std::string_view text, std::size_t at)
{
    while (at < text.size() && is_blank(text[at])) {
        ++at;
    }
    return at;
}

/// Behind what may stand before the element: white space, the XML declaration, comments, instructions.
std::size_t skip_prolog(std::string_view text)
{
    std::size_t at = skip_blanks(text, 0);
    for (;;) {
        const std::string_view rest = text.substr(at);
        const std::string_view end = rest.starts_with("<?") ? "?>" : rest.starts_with("<!--") ? "-->" : "";
        if (end.empty()) {
            return at;
        }
        const std::size_t found = text.find(end, at);
        if (found == std::string_view::npos) {
            return text.size();
        }
        at = skip_blanks(text, found + end.size());
    }
}

} // namespace

std::optional<Envelope> Envelope::scan(std::string_view message)
{
    Envelope envelope;
    envelope.message_ = message;
    std::size_t at = skip_prolog(message);
    if (at >= message.size() || message[at] != '<') {
        return std::nullopt;
    }
    const std::size_t name_end = message.find_first_of(" \t\r\n/>", ++at);
    if (name_end == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view name = message.substr(at, name_end - at);
    if (const auto colon = name.find(':'); colon != std::string_view::npos) {
        name.remove_prefix(colon + 1);
    }
    if (name != "rpc") {
        return std::nullopt;
    }
    for (at = skip_blanks(message, name_end); at < message.size() && message[at] != '>';
         at = skip_blanks(message, at)) {
        const std::size_t equals = message.find('=', at);
        if (equals == std::string_view::npos) {
            return std::nullopt;
        }
        const std::size_t quote = skip_blanks(message, equals + 1);
        if (quote >= message.size() || (message[quote] != '"' && message[quote] != '\'')) {
            return std::nullopt;
        }
        const std::size_t end = message.find(message[quote], quote + 1);
        if (end == std::string_view::npos) {
            return std::nullopt;
        }
        std::string_view attribute = message.substr(at, equals - at);
        while (!attribute.empty() && is_blank(attribute.back())) {
            attribute.remove_suffix(1);
        }
        if (attribute == "message-id") {
            envelope.message_id_ = message.substr(quote + 1, end - quote - 1);
            envelope.has_message_id_ = true;
        }
        if (attribute != "xmlns") {
            envelope.attributes_.append(" ").append(message.substr(at, end + 1 - at));
        }
        at = end + 1;
    }
    return envelope;
}

void Envelope::identity(std::string& text) const
{
    if (!has_message_id_) {
        text = message_;
        return;
    }
    const auto begin = static_cast<std::size_t>(message_id_.data() - message_.data());
    text.assign(message_.substr(0, begin)).append(message_.substr(begin + message_id_.size()));
}

void Envelope::open_reply(std::string& out) const
{
    out.append("<rpc-reply xmlns=\"").append(kBaseNamespace).append("\"").append(attributes_).append(">");
}

void Envelope::open_anonymous_reply(std::string& out)
{
    out.append("<rpc-reply xmlns=\"").append(kBaseNamespace).append("\">");
}

} // namespace zpf::agent

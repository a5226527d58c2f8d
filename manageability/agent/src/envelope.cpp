// SPDX-License-Identifier: Apache-2.0
//
// Start tags of rpc messages.
#include "envelope.hpp"

#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

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

/// The character that begins there, moving behind it; nothing for bytes that are no UTF-8 (RFC 3629, 3).
std::optional<char32_t> take_character(std::string_view text, std::size_t& at)
{
    static constexpr std::array<char32_t, 4> kLeast{0, 0x80, 0x800, 0x10000}; // by the number of bytes that follow
    const auto byte = [&](std::size_t i) -> char32_t {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
    };
    const char32_t first = byte(at);
    const std::size_t more = first < 0x80 ? 0 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    if (more > 0 && (first < 0xC2 || first > 0xF4)) {
        return std::nullopt;
    }
    char32_t character = more == 0 ? first : first & (0x3FU >> more);
    for (std::size_t i = 1; i <= more; ++i) {
        if ((byte(at + i) & 0xC0U) != 0x80) {
            return std::nullopt;
        }
        character = character << 6U | (byte(at + i) & 0x3FU);
    }
    at += more + 1;
    return character >= kLeast[more] ? std::optional(character) : std::nullopt;
}

constexpr bool is_in(char32_t c, char32_t first, char32_t last)
{
    return c >= first && c <= last;
}

/// Char of XML 1.0.
bool is_xml_character(char32_t c)
{
    return c == '\t' || c == '\n' || c == '\r' || is_in(c, 0x20, 0xD7FF) || is_in(c, 0xE000, 0xFFFD) ||
           is_in(c, 0x10000, 0x10FFFF);
}

/// NameStartChar of XML 1.0, without the colon.
constexpr bool may_begin_name(char32_t c)
{
    return is_in(c, 'a', 'z') || is_in(c, 'A', 'Z') || c == '_' || is_in(c, 0xC0, 0xD6) || is_in(c, 0xD8, 0xF6) ||
           is_in(c, 0xF8, 0x2FF) || is_in(c, 0x370, 0x37D) || is_in(c, 0x37F, 0x1FFF) || is_in(c, 0x200C, 0x200D) ||
           is_in(c, 0x2070, 0x218F) || is_in(c, 0x2C00, 0x2FEF) || is_in(c, 0x3001, 0xD7FF) ||
           is_in(c, 0xF900, 0xFDCF) || is_in(c, 0xFDF0, 0xFFFD) || is_in(c, 0x10000, 0xEFFFF);
}

constexpr bool may_be_in_name(char32_t c)
{
    return may_begin_name(c) || is_in(c, '0', '9') || c == '-' || c == '.' || c == 0xB7 || is_in(c, 0x300, 0x36F) ||
           is_in(c, 0x203F, 0x2040);
}

/// What a byte may be by itself; the bytes of longer characters are none of it and are looked at as a whole.
enum : uint8_t { kBeginsName = 1, kInName = 2, kInValue = 4 };

constexpr std::array<uint8_t, 256> kBytes = [] {
    std::array<uint8_t, 256> bytes{};
    for (char32_t c = 0x20; c < 0x80; ++c) {
        bytes[c] = static_cast<uint8_t>((may_begin_name(c) ? kBeginsName : 0) | (may_be_in_name(c) ? kInName : 0) |
                                        (c != '&' && c != '<' ? kInValue : 0));
    }
    return bytes;
}();

bool is_byte(char byte, uint8_t what)
{
    return (kBytes[static_cast<unsigned char>(byte)] & what) != 0;
}

/// Behind a name that may have one prefix, or nothing when there is none.
std::optional<std::size_t> skip_name(std::string_view text, std::size_t at)
{
    bool begins = true;
    bool prefixed = false;
    while (at < text.size()) {
        if (is_byte(text[at], begins ? kBeginsName : kInName)) {
            begins = false;
            ++at;
            continue;
        }
        std::size_t behind = at;
        const auto character = take_character(text, behind);
        if (character == U':' && !begins && !prefixed) {
            begins = prefixed = true;
        } else if (character && (begins ? may_begin_name(*character) : may_be_in_name(*character))) {
            begins = false;
        } else {
            break;
        }
        at = behind;
    }
    return begins ? std::nullopt : std::optional(at);
}

/// Behind a reference to one character: predefined, or by the number of one that XML knows.
std::optional<std::size_t> skip_reference(std::string_view text, std::size_t at)
{
    const std::string_view rest = text.substr(at);
    for (const std::string_view known : {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;"}) {
        if (rest.starts_with(known)) {
            return at + known.size();
        }
    }
    if (!rest.starts_with("&#")) {
        return std::nullopt;
    }
    const bool hexadecimal = rest.starts_with("&#x");
    const char* const begin = rest.data() + (hexadecimal ? 3 : 2);
    uint32_t number = 0;
    const auto end = std::from_chars(begin, rest.data() + rest.size(), number, hexadecimal ? 16 : 10);
    if (end.ec != std::errc{} || end.ptr == rest.data() + rest.size() || *end.ptr != ';' || !is_xml_character(number)) {
        return std::nullopt;
    }
    return at + static_cast<std::size_t>(end.ptr + 1 - rest.data());
}

/// Place of the quote that ends a value, or nothing when something may not stand in the value.
std::optional<std::size_t> find_value_end(std::string_view text, std::size_t at, char quote)
{
    while (at < text.size() && text[at] != quote) {
        if (is_byte(text[at], kInValue)) {
            ++at;
        } else if (text[at] == '&') {
            const auto behind = skip_reference(text, at);
            if (!behind) {
                return std::nullopt;
            }
            at = *behind;
        } else {
            const auto character = take_character(text, at);
            if (!character || *character == U'<' || !is_xml_character(*character)) {
                return std::nullopt;
            }
        }
    }
    return at < text.size() ? std::optional(at) : std::nullopt;
}

struct Attribute {
    std::string_view name;
    std::string_view value;

    std::string_view prefix() const
    {
        const auto colon = name.find(':');
        return colon == std::string_view::npos ? std::string_view{} : name.substr(0, colon);
    }
    std::string_view local_name() const { return name.substr(name.find(':') + 1); } // npos + 1 is 0
};

/// The attribute that begins there, moving behind it.
std::optional<Attribute> take_attribute(std::string_view text, std::size_t& at)
{
    const auto name_end = skip_name(text, at);
    const std::size_t equals = name_end ? skip_blanks(text, *name_end) : text.size();
    if (equals >= text.size() || text[equals] != '=') {
        return std::nullopt;
    }
    const std::size_t quote = skip_blanks(text, equals + 1);
    if (quote >= text.size() || (text[quote] != '"' && text[quote] != '\'')) {
        return std::nullopt;
    }
    const auto end = find_value_end(text, quote + 1, text[quote]);
    if (!end) {
        return std::nullopt;
    }
    const Attribute attribute{text.substr(at, *name_end - at), text.substr(quote + 1, *end - quote - 1)};
    at = *end + 1;
    return attribute;
}

/// The attributes of one element, as far as they have to be held against each other.
class AttributeSet {
public:
    /// @return false when there are too many
    bool add(const Attribute& attribute)
    {
        if (count_ == list_.size()) {
            return false;
        }
        list_[count_++] = attribute;
        return true;
    }

    /// Every prefix is declared, by a declaration that is allowed, and no attribute is there twice.
    bool is_well_formed() const
    {
        for (std::size_t i = 0; i < count_; ++i) {
            const Attribute& attribute = list_[i];
            const std::string_view prefix = attribute.prefix();
            if (prefix == "xmlns" ? !may_declare(attribute) : !prefix.empty() && !name_space(prefix)) {
                return false;
            }
            for (std::size_t j = 0; j < i; ++j) {
                if (are_same(attribute, list_[j])) {
                    return false;
                }
            }
        }
        return true;
    }

private:
    static constexpr std::string_view kXml = "http://www.w3.org/XML/1998/namespace";
    static constexpr std::string_view kXmlns = "http://www.w3.org/2000/xmlns/";

    /// Namespaces in XML 1.0, 3: what is reserved, and that a prefix cannot be taken back.
    static bool may_declare(const Attribute& declaration)
    {
        return declaration.local_name() != "xmlns" && !declaration.value.empty() && declaration.value != kXmlns &&
               (declaration.local_name() == "xml") == (declaration.value == kXml);
    }

    /// What the prefix stands for, as it is written.
    std::optional<std::string_view> name_space(std::string_view prefix) const
    {
        if (prefix == "xml") {
            return kXml;
        }
        for (std::size_t i = 0; i < count_; ++i) {
            if (list_[i].prefix() == "xmlns" && list_[i].local_name() == prefix) {
                return list_[i].value;
            }
        }
        return std::nullopt;
    }

    /// The same name, or two prefixes that stand for the same.
    bool are_same(const Attribute& one, const Attribute& other) const
    {
        if (one.name == other.name) {
            return true;
        }
        const std::string_view prefix = one.prefix();
        const std::string_view other_prefix = other.prefix();
        return !prefix.empty() && !other_prefix.empty() && prefix != other_prefix && prefix != "xmlns" &&
               other_prefix != "xmlns" && one.local_name() == other.local_name() &&
               name_space(prefix) == name_space(other_prefix);
    }

    std::array<Attribute, Envelope::kMostAttributes> list_;
    std::size_t count_ = 0;
};

/// Behind the name of the start tag "rpc", or nothing when it is another.
std::optional<std::size_t> skip_rpc(std::string_view message)
{
    const std::size_t at = skip_prolog(message);
    if (at >= message.size() || message[at] != '<') {
        return std::nullopt;
    }
    const auto name_end = skip_name(message, at + 1);
    const Attribute element{message.substr(at + 1, name_end.value_or(at + 1) - at - 1), {}};
    return element.local_name() == "rpc" ? name_end : std::nullopt;
}

} // namespace

std::optional<Envelope> Envelope::scan(std::string_view message)
{
    Envelope envelope;
    envelope.message_ = message;
    const auto name_end = skip_rpc(message);
    if (!name_end) {
        return std::nullopt;
    }
    AttributeSet attributes;
    std::size_t behind = *name_end;
    for (;;) {
        std::size_t at = skip_blanks(message, behind);
        if (at < message.size() && message[at] == '>') {
            break;
        }
        const std::size_t begin = at;
        const auto attribute = begin > behind ? take_attribute(message, at) : std::nullopt; // a blank stands between
        if (!attribute || !attributes.add(*attribute)) {
            return std::nullopt;
        }
        if (attribute->name == "message-id") {
            envelope.message_id_ = attribute->value;
            envelope.has_message_id_ = true;
        }
        if (attribute->name != "xmlns") {
            envelope.attributes_.append(" ").append(message.substr(begin, at - begin));
        }
        behind = at;
    }
    return attributes.is_well_formed() ? std::optional(std::move(envelope)) : std::nullopt;
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

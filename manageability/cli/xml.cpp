// SPDX-License-Identifier: Apache-2.0
//
// A small XML reader and printer.
#include "xml.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace zpf::cli {

namespace {

constexpr std::string_view kSpace = " \t\r\n";
constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";

std::string_view trimmed(std::string_view text)
{
    const auto begin = text.find_first_not_of(kSpace);
    return begin == std::string_view::npos ? std::string_view{}
                                           : text.substr(begin, text.find_last_not_of(kSpace) - begin + 1);
}

void append_utf8(std::string& out, std::uint32_t code)
{
    const auto byte = [&out](std::uint32_t value) { out.push_back(static_cast<char>(value)); };
    if (code < 0x80) {
        byte(code);
    } else if (code < 0x800) {
        byte(0xC0 | (code >> 6));
        byte(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        byte(0xE0 | (code >> 12));
        byte(0x80 | ((code >> 6) & 0x3F));
        byte(0x80 | (code & 0x3F));
    } else {
        byte(0xF0 | (code >> 18));
        byte(0x80 | ((code >> 12) & 0x3F));
        byte(0x80 | ((code >> 6) & 0x3F));
        byte(0x80 | (code & 0x3F));
    }
}

class Parser {
public:
    explicit Parser(std::string_view text) : text_(text) { open_.emplace_back(); }

    XmlElement parse()
    {
        while (at_ < text_.size()) {
            if (text_[at_] != '<') {
                take_text();
            } else if (text_.substr(at_).starts_with("<!--")) {
                skip_past("-->");
            } else if (text_.substr(at_).starts_with("<?")) {
                skip_past("?>");
            } else if (text_.substr(at_).starts_with("<![CDATA[")) {
                take_cdata();
            } else if (text_.substr(at_).starts_with("<!")) {
                fail("a DOCTYPE is not taken");
            } else if (text_.substr(at_).starts_with("</")) {
                take_end_tag();
            } else {
                take_start_tag();
            }
        }
        if (open_.size() > 1) {
            fail("<" + open_.back().element.qualified + "> is not closed");
        }
        if (open_.front().element.children.empty()) {
            fail("there is no element");
        }
        open_.front().element.inner_end = text_.size();
        return std::move(open_.front().element);
    }

private:
    struct Open {
        XmlElement element;
        std::size_t prefixes_before = 0;
    };

    [[noreturn]] void fail(const std::string& why) const
    {
        const auto line = 1 + std::count(text_.begin(), text_.begin() + static_cast<std::ptrdiff_t>(at_), '\n');
        throw BadXml(fmt::format("line {}: {}", line, why));
    }

    void skip_past(std::string_view mark)
    {
        const auto end = text_.find(mark, at_);
        if (end == std::string_view::npos) {
            fail(fmt::format("\"{}\" is missing", mark));
        }
        at_ = end + mark.size();
    }

    void take_text()
    {
        const std::size_t end = std::min(text_.find('<', at_), text_.size());
        const std::string_view raw = text_.substr(at_, end - at_);
        if (open_.size() == 1 && !trimmed(raw).empty()) {
            fail("text outside of any element");
        }
        open_.back().element.text += unescaped(raw);
        at_ = end;
    }

    void take_cdata()
    {
        constexpr std::size_t kOpening = std::string_view{"<![CDATA["}.size();
        const std::size_t begin = at_ + kOpening;
        if (open_.size() == 1) {
            fail("text outside of any element");
        }
        skip_past("]]>");
        open_.back().element.text += text_.substr(begin, at_ - 3 - begin);
    }

    std::string unescaped(std::string_view raw) const
    {
        std::string out;
        for (std::size_t i = 0; i < raw.size(); ++i) {
            if (raw[i] != '&') {
                out.push_back(raw[i]);
                continue;
            }
            const auto end = raw.find(';', i);
            append_entity(out, end == std::string_view::npos ? std::string_view{} : raw.substr(i + 1, end - i - 1));
            i = end;
        }
        return out;
    }

    void append_entity(std::string& out, std::string_view name) const
    {
        static constexpr std::pair<std::string_view, char> kNamed[] = {
            {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
        for (const auto& [known, character] : kNamed) {
            if (name == known) {
                out.push_back(character);
                return;
            }
        }
        std::uint32_t code = 0;
        if (name.size() > 1 && name.front() == '#') {
            const bool hexadecimal = name[1] == 'x';
            const std::string_view digits = name.substr(hexadecimal ? 2 : 1);
            const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), code, hexadecimal ? 16 : 10);
            const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
            if (end.ec == std::errc{} && end.ptr == digits.data() + digits.size() && code != 0 && code <= 0x10FFFF &&
                !surrogate) {
                append_utf8(out, code);
                return;
            }
        }
        fail(fmt::format("\"&{}\" is no entity that is known here", name));
    }

    std::string_view take_name()
    {
        const auto end = text_.find_first_of(" \t\r\n=/><\"'&", at_);
        const std::string_view name = text_.substr(at_, end - at_);
        if (name.empty() || end == std::string_view::npos) {
            fail("a name is missing, or a tag has no end");
        }
        at_ = end;
        return name;
    }

    void skip_space() { at_ = std::min(text_.find_first_not_of(kSpace, at_), text_.size()); }

    char here() const { return at_ < text_.size() ? text_[at_] : '\0'; }

    void take_attribute(XmlElement& element)
    {
        std::string name{take_name()};
        skip_space();
        if (here() != '=') {
            fail("attribute " + name + " has no value");
        }
        ++at_;
        skip_space();
        const char quote = here();
        const auto end = quote == '"' || quote == '\'' ? text_.find(quote, at_ + 1) : std::string_view::npos;
        if (end == std::string_view::npos) {
            fail("attribute " + name + " has no value in quotes");
        }
        std::string value = unescaped(text_.substr(at_ + 1, end - at_ - 1));
        at_ = end + 1;
        if (name == "xmlns") {
            prefixes_.emplace_back("", value);
        } else if (name.starts_with("xmlns:")) {
            prefixes_.emplace_back(name.substr(6), value);
        }
        element.attributes.emplace_back(std::move(name), std::move(value));
    }

    void take_start_tag()
    {
        ++at_;
        Open open;
        open.prefixes_before = prefixes_.size();
        open.element.qualified = take_name();
        for (skip_space(); here() != '>' && here() != '/'; skip_space()) {
            if (at_ >= text_.size()) {
                fail("<" + open.element.qualified + " has no end");
            }
            take_attribute(open.element);
        }
        resolve(open.element);
        const bool empty = here() == '/';
        at_ += empty ? 1 : 0;
        if (here() != '>') {
            fail("<" + open.element.qualified + " has no end");
        }
        open.element.inner_begin = ++at_;
        open_.push_back(std::move(open));
        if (empty) {
            close(at_);
        }
    }

    void resolve(XmlElement& element) const
    {
        const auto colon = element.qualified.find(':');
        const std::string prefix = colon == std::string::npos ? "" : element.qualified.substr(0, colon);
        element.name = colon == std::string::npos ? element.qualified : element.qualified.substr(colon + 1);
        const auto found = std::find_if(prefixes_.rbegin(), prefixes_.rend(),
                                        [&](const auto& declared) { return declared.first == prefix; });
        if (found != prefixes_.rend()) {
            element.ns = found->second;
        } else if (prefix == "xml") {
            element.ns = kXmlNamespace;
        } else if (!prefix.empty()) {
            fail("prefix \"" + prefix + "\" is not declared");
        }
    }

    void take_end_tag()
    {
        const std::size_t inner_end = at_;
        at_ += 2;
        const std::string_view name = take_name();
        skip_space();
        if (open_.size() == 1 || name != open_.back().element.qualified || here() != '>') {
            fail(fmt::format("</{}> closes nothing", name));
        }
        ++at_;
        close(inner_end);
    }

    void close(std::size_t inner_end)
    {
        Open done = std::move(open_.back());
        open_.pop_back();
        prefixes_.resize(done.prefixes_before);
        done.element.inner_end = inner_end;
        const std::string_view own = trimmed(done.element.text);
        if (own.empty() || !done.element.children.empty()) {
            done.element.text = own;
        }
        open_.back().element.children.push_back(std::move(done.element));
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::vector<Open> open_; ///< the first one holds the top elements
    std::vector<std::pair<std::string, std::string>> prefixes_;
};

} // namespace

const XmlElement* XmlElement::child(std::string_view local_name) const
{
    const auto found = std::find_if(children.begin(), children.end(),
                                    [&](const XmlElement& element) { return element.name == local_name; });
    return found == children.end() ? nullptr : &*found;
}

const XmlElement* XmlElement::at(std::string_view path) const
{
    const XmlElement* element = this;
    while (element != nullptr && !path.empty()) {
        const auto slash = path.find('/');
        element = element->child(path.substr(0, slash));
        path = slash == std::string_view::npos ? std::string_view{} : path.substr(slash + 1);
    }
    return element;
}

std::string XmlElement::text_at(std::string_view path) const
{
    const XmlElement* const element = at(path);
    return element == nullptr ? std::string{} : element->text;
}

XmlElement parse_xml(std::string_view text)
{
    return Parser(text).parse();
}

std::string xml_escaped(std::string_view text)
{
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out.push_back(c);
        }
    }
    return out;
}

std::string xml_lines(const XmlElement& element, std::size_t indent)
{
    const std::string margin(indent, ' ');
    std::string out = margin + "<" + element.qualified;
    for (const auto& [name, value] : element.attributes) {
        out += " " + name + "=\"" + xml_escaped(value) + "\"";
    }
    if (element.children.empty() && element.text.empty()) {
        return out + "/>\n";
    }
    out += ">" + xml_escaped(element.text);
    if (!element.children.empty()) {
        out += "\n";
        for (const XmlElement& each : element.children) {
            out += xml_lines(each, indent + 2);
        }
        out += margin;
    }
    return out + "</" + element.qualified + ">\n";
}

} // namespace zpf::cli

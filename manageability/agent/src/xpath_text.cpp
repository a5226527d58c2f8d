// SPDX-License-Identifier: Apache-2.0
//
// A look at XPath expressions as texts.
#include "xpath_text.hpp"

#include <optional>

#include "rpc_error.hpp"

namespace zpf::agent {

namespace {

bool begins_name(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool continues_name(char c)
{
    return begins_name(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

Refused bad_filter(const std::string& message)
{
    return refused_protocol("invalid-value", message, "filter");
}

/// True when the rest of a path may speak of data that are not below its beginning.
bool looks_elsewhere(std::string_view rest)
{
    for (const std::string_view word : {"..", "::", "current(", "deref("}) {
        if (rest.find(word) != std::string_view::npos) {
            return true;
        }
    }
    char before = 'a';
    for (const char c : rest) {
        const bool follows_a_step = continues_name(before) || before == ']' || before == '*' || before == '/';
        if (c == '/' && !follows_a_step) {
            return true; // a path of its own, in a condition
        }
        before = c == ' ' || c == '\t' || c == '\n' || c == '\r' ? before : c;
    }
    return false;
}

/// Reads a location path as long as it is plain.
class PathReader {
public:
    explicit PathReader(std::string_view text) : text_(text) {}

    /// Nothing when not even the first step is plain.
    std::optional<std::vector<XPathStep>> read()
    {
        std::vector<XPathStep> steps;
        skip_blanks();
        while (take('/')) {
            skip_blanks();
            XPathStep step;
            if (!read_name(step)) {
                break;
            }
            steps.push_back(step);
            bool keys_only = true;
            while (keys_only && peek() == '[') {
                const std::size_t bracket = at_;
                keys_only = read_key(steps.back());
                at_ = keys_only ? at_ : bracket;
            }
            if (!keys_only) {
                break;
            }
            skip_blanks();
        }
        if (steps.empty() || looks_elsewhere(text_.substr(at_))) {
            return std::nullopt;
        }
        return steps;
    }

private:
    char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }
    bool take(char c)
    {
        const bool there = peek() == c;
        at_ += there ? 1 : 0;
        return there;
    }
    void skip_blanks()
    {
        while (peek() == ' ' || peek() == '\t' || peek() == '\n' || peek() == '\r') {
            ++at_;
        }
    }
    std::string word()
    {
        const std::size_t begin = at_;
        while (continues_name(peek())) {
            ++at_;
        }
        return std::string{text_.substr(begin, at_ - begin)};
    }
    /// A name that is neither a function nor an axis.
    bool read_name(XPathStep& step)
    {
        if (!begins_name(peek())) {
            return false;
        }
        step.name = word();
        if (peek() == ':' && at_ + 1 < text_.size() && begins_name(text_[at_ + 1])) {
            ++at_;
            step.module = std::exchange(step.name, word());
        }
        return peek() != '(' && peek() != ':';
    }
    /// "[name='value']"
    bool read_key(XPathStep& step)
    {
        take('[');
        skip_blanks();
        XPathStep key;
        if (!read_name(key)) {
            return false;
        }
        skip_blanks();
        if (!take('=')) {
            return false;
        }
        skip_blanks();
        const char quote = peek();
        if (quote != '\'' && quote != '"') {
            return false;
        }
        const std::size_t end = text_.find(quote, at_ + 1);
        if (end == std::string_view::npos) {
            return false;
        }
        const std::string value{text_.substr(at_ + 1, end - at_ - 1)};
        at_ = end + 1;
        skip_blanks();
        if (!take(']')) {
            return false;
        }
        step.keys.emplace_back(key.name, value);
        return true;
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

/// Parts between "|" outside of brackets and quotes.
std::vector<std::string_view> union_parts(std::string_view xpath)
{
    std::vector<std::string_view> parts;
    std::size_t begin = 0;
    int depth = 0;
    char quote = '\0';
    for (std::size_t i = 0; i < xpath.size(); ++i) {
        const char c = xpath[i];
        if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if (c == '\'' || c == '"') {
            quote = c;
        } else if (c == '[' || c == '(') {
            ++depth;
        } else if (c == ']' || c == ')') {
            --depth;
        } else if (c == '|' && depth == 0) {
            parts.push_back(xpath.substr(begin, i - begin));
            begin = i + 1;
        }
    }
    parts.push_back(xpath.substr(begin));
    return parts;
}

} // namespace

std::string with_module_names(const Yang& yang, std::string_view xpath, const Prefixes& prefixes)
{
    std::string out;
    for (std::size_t i = 0; i < xpath.size();) {
        const char c = xpath[i];
        if (c == '\'' || c == '"') {
            const std::size_t end = xpath.find(c, i + 1);
            if (end == std::string_view::npos) {
                throw bad_filter("The XPath expression has a quotation mark that is never closed.");
            }
            out.append(xpath.substr(i, end + 1 - i));
            i = end + 1;
            continue;
        }
        if (!begins_name(c)) {
            out.push_back(c);
            ++i;
            continue;
        }
        std::size_t end = i;
        while (end < xpath.size() && continues_name(xpath[end])) {
            ++end;
        }
        const std::string_view word = xpath.substr(i, end - i);
        const bool prefix = end + 1 < xpath.size() && xpath[end] == ':' && xpath[end + 1] != ':';
        i = end;
        if (!prefix) {
            out.append(word);
            continue;
        }
        const auto found = prefixes.find(word);
        const lys_module* const module = found == prefixes.end() ? nullptr : yang.module_of_namespace(found->second);
        if (module == nullptr) {
            throw bad_filter(found == prefixes.end() ? "The XPath expression uses the prefix \"" + std::string{word} +
                                                           "\", which is not declared."
                                                     : "No model has the namespace \"" + found->second + "\".");
        }
        out.append(module->name);
    }
    return out;
}

Prefixes declared_prefixes(std::string_view start_tag)
{
    Prefixes prefixes;
    static constexpr std::string_view kDeclaration = "xmlns:";
    for (std::size_t at = 0; (at = start_tag.find(kDeclaration, at)) != std::string_view::npos;) {
        at += kDeclaration.size();
        const std::size_t equals = start_tag.find('=', at);
        if (equals == std::string_view::npos || equals + 1 >= start_tag.size()) {
            break;
        }
        const char quote = start_tag[equals + 1];
        const std::size_t end = start_tag.find(quote, equals + 2);
        if (end == std::string_view::npos) {
            break;
        }
        prefixes.emplace(start_tag.substr(at, equals - at), start_tag.substr(equals + 2, end - equals - 2));
        at = end;
    }
    return prefixes;
}

std::vector<std::vector<XPathStep>> plain_paths(std::string_view xpath)
{
    std::vector<std::vector<XPathStep>> paths;
    for (const std::string_view part : union_parts(xpath)) {
        auto steps = PathReader(part).read();
        if (!steps) {
            return {};
        }
        paths.push_back(std::move(*steps));
    }
    return paths;
}

std::string without_predicates(std::string_view xpath)
{
    std::string plain;
    int depth = 0;
    char quote = 0;
    for (const char c : xpath) {
        if (quote == 0 && c == '[') {
            ++depth;
        }
        if (depth == 0) {
            plain += c;
        }
        if (quote == 0 && c == ']') {
            --depth;
        }
        if (quote == 0 && (c == '\'' || c == '"')) {
            quote = c;
        } else if (c == quote) {
            quote = 0;
        }
    }
    return plain;
}

} // namespace zpf::agent

// SPDX-License-Identifier: Apache-2.0
//
// A look at XPath expressions as texts.
#include "xpath_text.hpp"

#include <optional>

#include "rpc_error.hpp"
#include "xpath_tokens.hpp"

namespace zpf::agent {

namespace {

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

/// Rewrites conditions token by token; brackets are kept on a stack of its own, for a client may nest them at will.
class ConditionReckoner {
public:
    void take(std::string_view token)
    {
        const char c = token.front();
        if (too_deep_) {
            return;
        }
        if ((token == "and" || token == "or") && operand_done_) {
            Level& level = levels_.back();
            level.terms += "boolean(" + std::exchange(level.operand, "") + (token == "and" ? ")*" : ")+");
            operand_done_ = false;
        } else if (c == '(' || c == '[') {
            too_deep_ = levels_.size() > kDeepest;
            levels_.back().operand += c;
            levels_.emplace_back();
            operand_done_ = false;
        } else if ((c == ')' || c == ']') && levels_.size() > 1) {
            const std::string inner = whole(levels_.back());
            levels_.pop_back();
            levels_.back().operand.append(inner).push_back(c);
            operand_done_ = true;
        } else if (c == ',') { // the next argument of a function
            Level& level = levels_.back();
            level.before += argument(level) + ",";
            level.terms.clear();
            level.operand.clear();
            operand_done_ = false;
        } else {
            levels_.back().operand += token;
            operand_done_ = ends_operand(token);
        }
    }

    /// Nothing when brackets are not closed, or nested deeper than anybody writes.
    std::optional<std::string> finish() const
    {
        return levels_.size() == 1 && !too_deep_ ? std::optional{whole(levels_.back())} : std::nullopt;
    }

private:
    /// What stands in one pair of brackets.
    struct Level {
        std::string before;  ///< arguments that are complete
        std::string terms;   ///< operands up to the last "and" or "or", with the sign that follows
        std::string operand; ///< since then
    };

    /// The argument that is under way; outside of functions all there is.
    static std::string argument(const Level& level)
    {
        return level.terms.empty() ? level.operand : "boolean(" + level.terms + "boolean(" + level.operand + "))";
    }
    static std::string whole(const Level& level) { return level.before + argument(level); }

    /// "and", "or" and "*" are operators only after an operand (XPath 1.0, 3.7).
    bool ends_operand(std::string_view token) const
    {
        const char c = token.front();
        if (is_blank(c)) {
            return operand_done_;
        }
        if (c == '*' || token == "div" || token == "mod") {
            return !operand_done_;
        }
        return continues_name(c) ? c != '-' : c == '\'' || c == '"' || c == ')' || c == ']';
    }

    static constexpr std::size_t kDeepest = 100; // a level's text is copied into the one around it

    std::vector<Level> levels_{1};
    bool too_deep_ = false;
    bool operand_done_ = false; ///< the last token ends an operand
};

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

std::string with_reckoned_conditions(std::string_view xpath)
{
    ConditionReckoner reckoner;
    for_each_token(xpath, [&](std::string_view token) { reckoner.take(token); });
    return reckoner.finish().value_or(std::string{xpath});
}

bool calls(std::string_view xpath, std::string_view function)
{
    std::string_view before;
    bool found = false;
    for_each_token(xpath, [&](std::string_view token) {
        found = found || (token == "(" && before == function);
        before = is_blank(token.front()) ? before : token;
    });
    return found;
}

} // namespace zpf::agent

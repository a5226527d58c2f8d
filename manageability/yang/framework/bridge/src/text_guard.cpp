// SPDX-License-Identifier: Apache-2.0
//
// Iterative scanners of XML and JSON; neither judges more than nesting.
#include "text_guard.hpp"

#include <algorithm>

namespace zpf::bridge {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

class Scanner {
public:
    Scanner(std::string_view text, const std::string& source) : text_(text), source_(source) {}

protected:
    bool done() const { return at_ >= text_.size(); }
    char here() const { return text_[at_]; }
    bool looks_at(std::string_view what) const { return text_.substr(at_, what.size()) == what; }

    void advance(std::size_t count = 1)
    {
        for (; count > 0 && !done(); --count, ++at_) {
            line_ += here() == '\n' ? 1U : 0U;
        }
    }

    void skip_past(std::string_view end, const char* what)
    {
        const auto found = text_.find(end, at_);
        if (found == std::string_view::npos) {
            fail(std::string(what) + " does not end");
        }
        advance(found + end.size() - at_);
    }

    void deeper(std::size_t depth) const
    {
        if (depth > kDeepestText) {
            fail("nested more than " + std::to_string(kDeepestText) + " levels deep");
        }
    }

    [[noreturn]] void fail(const std::string& reason) const { throw BadInput(source_, line_, "", reason); }

    std::string_view text_;
    const std::string& source_;
    std::size_t at_ = 0;
    std::size_t line_ = 1;
};

class XmlScanner : Scanner {
public:
    using Scanner::Scanner;

    std::vector<std::size_t> run()
    {
        while (!done()) {
            const auto next = text_.find('<', at_);
            if (next == std::string_view::npos) {
                break;
            }
            advance(next - at_);
            markup();
        }
        if (depth_ > 0) {
            at_ = 0, line_ = lines_[open_.back()];
            fail("the element that begins here does not end");
        }
        return std::move(lines_);
    }

private:
    void markup()
    {
        if (looks_at("<!--")) {
            skip_past("-->", "a comment");
        } else if (looks_at("<![CDATA[")) {
            skip_past("]]>", "a CDATA section");
        } else if (looks_at("<?")) {
            skip_past("?>", "a processing instruction");
        } else if (looks_at("<!")) {
            fail("document type declarations are not taken");
        } else if (looks_at("</")) {
            skip_past(">", "an end tag");
            if (depth_ == 0) {
                fail("an end tag without its start tag");
            }
            --depth_;
            open_.pop_back();
        } else {
            start_tag();
        }
    }

    void start_tag()
    {
        lines_.push_back(line_);
        for (advance(); !done() && here() != '>'; advance()) {
            if (here() == '"' || here() == '\'') {
                const char quote = here();
                advance();
                skip_past({&quote, 1}, "an attribute value");
                --at_; // stands on the quote again, for the loop to pass
            }
        }
        if (done()) {
            fail("a start tag does not end");
        }
        const bool empty = text_[at_ - 1] == '/';
        advance();
        if (!empty) {
            open_.push_back(lines_.size() - 1);
            deeper(++depth_);
        }
    }

    std::size_t depth_ = 0;
    std::vector<std::size_t> lines_;
    std::vector<std::size_t> open_; // indices in lines_ of the elements that are open
};

class JsonScanner : Scanner {
public:
    using Scanner::Scanner;

    std::vector<std::size_t> run()
    {
        skip_blanks();
        do {
            step();
        } while (!done() && !levels_.empty());
        skip_blanks();
        if (!done()) {
            fail("text after the end of the object");
        }
        if (!levels_.empty()) {
            fail("the text ends before its brackets are closed");
        }
        return std::move(lines_);
    }

private:
    struct Level {
        bool array;
        bool metadata; ///< value of an "@..." member, or inside of one
        bool name_next;
        bool name_is_metadata = false;
    };

    bool in_metadata() const
    {
        return !levels_.empty() &&
               (levels_.back().metadata || (!levels_.back().array && levels_.back().name_is_metadata));
    }

    void skip_blanks()
    {
        while (!done() && kBlanks.find(here()) != std::string_view::npos) {
            advance();
        }
    }

    /// A value begins; it is an element unless it is the document, metadata, or an array (whose items are).
    void begin_value(bool array)
    {
        if (!levels_.empty() && !array && !in_metadata()) {
            lines_.push_back(line_);
        }
    }

    void open(bool array)
    {
        begin_value(array);
        levels_.push_back({array, in_metadata(), !array});
        deeper(levels_.size());
        advance();
    }

    void text()
    {
        const bool is_name = !levels_.empty() && levels_.back().name_next;
        if (!is_name) {
            begin_value(false);
        }
        advance();
        const bool metadata = !done() && here() == '@';
        while (!done() && here() != '"') {
            advance(here() == '\\' ? 2 : 1);
        }
        if (done()) {
            fail("a string does not end");
        }
        advance();
        if (is_name) {
            levels_.back().name_next = false;
            levels_.back().name_is_metadata = metadata;
        }
    }

    void step()
    {
        switch (here()) {
        case '{':
            open(false);
            break;
        case '[':
            open(true);
            break;
        case '}':
        case ']':
            if (levels_.empty()) {
                fail("a closing bracket without its opening one");
            }
            levels_.pop_back();
            advance();
            break;
        case '"':
            text();
            break;
        case ',':
            if (!levels_.empty() && !levels_.back().array) {
                levels_.back().name_next = true;
            }
            advance();
            break;
        case ':':
        case ' ':
        case '\t':
        case '\r':
        case '\n':
            advance();
            break;
        default: // number, true, false or null
            begin_value(false);
            while (!done() && std::string_view{",]} \t\r\n"}.find(here()) == std::string_view::npos) {
                advance();
            }
        }
    }

    std::vector<Level> levels_;
    std::vector<std::size_t> lines_;
};

} // namespace

Outline look_over(std::string_view text, const std::string& source)
{
    if (text.size() > kMostBytes) {
        throw BadInput(source, 0, "", "larger than " + std::to_string(kMostBytes / 1024 / 1024) + " MiB");
    }
    if (const auto nul = text.find('\0'); nul != std::string_view::npos) {
        const auto before = text.substr(0, nul);
        throw BadInput(source, 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')), "",
                       "holds a NUL byte: not XML or JSON text");
    }
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        throw BadInput(source, 0, "", "empty");
    }
    switch (text[first]) {
    case '<':
        return {Syntax::xml, XmlScanner(text, source).run()};
    case '{':
        return {Syntax::json, JsonScanner(text, source).run()};
    default:
        throw BadInput(source, 1, "", "neither XML (\"<...\") nor JSON (\"{...\")");
    }
}

} // namespace zpf::bridge

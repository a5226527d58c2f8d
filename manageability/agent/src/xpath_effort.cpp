// SPDX-License-Identifier: Apache-2.0
//
// Effort of XPath expressions.
#include "xpath_effort.hpp"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "xpath_tokens.hpp"

namespace zpf::agent {

namespace {

/// Adds up an expression's effort token by token; brackets are kept on a stack of its own.
class EffortMeter {
public:
    explicit EffortMeter(double nodes) : nodes_(std::min(std::max(1.0, nodes), kMost)), scopes_{{.from = nodes_}} {}

    void take(std::string_view token)
    {
        while (!token.empty() && !is_blank(token.front()) && !too_deep_) {
            const std::string_view part = token.substr(0, length_of_part(token));
            spend(kEffortOfToken + static_cast<double>(part.size()) / kBytesPerNode);
            bytes_ += static_cast<double>(part.size());
            take_part(part);
            token.remove_prefix(part.size());
        }
    }

    double finish()
    {
        end_term();
        return too_deep_ ? kMost : effort_;
    }

private:
    /// What the last token was.
    enum class Last {
        nothing, ///< or an operator: an operand is to come
        root,    ///< the "/" that a path begins with
        slash,   ///< within a path, or "::": a step is to come
        colon,   ///< after a prefix, or the first one of "::"
        step,
        closed, ///< the end of a call or a group
        value
    };
    enum class Kind { whole, condition, call, group, node_test };

    /// What stands in one pair of brackets.
    struct Scope {
        Kind kind = Kind::whole;
        double times = 1;     ///< how often it is evaluated
        double from = 1;      ///< nodes that a relative path may come to
        double reach = 0;     ///< nodes that the path under way may hold; 0: not a path
        double operand = 0;   ///< the same of all paths since the last comparison
        double left = 0;      ///< the same of what stands before that comparison
        double widest = 0;    ///< the same of all paths
        bool climbed = false; ///< the path under way has gone up from many nodes
        Last last = Last::nothing;
        bool translates = false; ///< the arguments of translate()
        double bytes_before = 0;
        double effort_before = 0;
    };

    Scope& here() { return scopes_.back(); }
    bool operand_done() const
    {
        const Last last = scopes_.back().last;
        return last == Last::step || last == Last::closed || last == Last::value;
    }

    void spend(double looks) { effort_ = std::min(kMost, effort_ + here().times * looks); }
    /// A look at the whole tree, after which the path may hold any part of it.
    void roam(double looks)
    {
        spend(looks);
        here().reach = nodes_;
    }

    /// A step up. Nodes and their ancestors may both be in the set from then on.
    void climb()
    {
        here().climbed = here().climbed || here().reach > 1;
        roam(nodes_);
    }
    /// All children of such a set come in disorder, and libyang sorts them by exchanging neighbours.
    void sort_if_climbed()
    {
        if (here().climbed) {
            spend(nodes_ * nodes_ / kExchangesPerNode);
        }
    }

    /// Words that libyang reads as several tokens: "1and", "..or", and "and.." after an operand.
    std::size_t length_of_part(std::string_view token) const
    {
        if (!continues_name(token.front())) {
            return token.size();
        }
        if (operand_done()) {
            for (const std::string_view name : {"and", "or", "div", "mod"}) {
                if (token.starts_with(name)) {
                    return name.size();
                }
            }
        }
        if (token.starts_with("..")) {
            return 2;
        }
        if (begins_name(token.front())) {
            return token.size();
        }
        return token.front() == '-' ? 1 : std::min(token.size(), token.find_first_not_of("0123456789."));
    }

    void take_part(std::string_view part)
    {
        switch (part.front()) {
        case '\'':
        case '"':
            return take_value();
        case '(':
            return open_parenthesis();
        case '[':
            return open_condition();
        case ')':
        case ']':
            return close();
        case '/':
            return take_slash();
        case ':':
            return take_colon();
        case ',':
            return end_term();
        case '=':
        case '!':
        case '<':
        case '>':
            return compare();
        case '|':
        case '+':
        case '-':
            return end_path();
        default:
            return take_word(part);
        }
    }

    void take_word(std::string_view word)
    {
        const char c = word.front();
        if (operand_done() && (word == "*" || word == "div" || word == "mod")) {
            end_path();
        } else if (operand_done() && (word == "and" || word == "or")) {
            end_term();
        } else if (c == '*' || begins_name(c) || word == "." || word == "..") {
            take_step(word);
        } else if (continues_name(c)) {
            take_value();
        }
    }

    void take_value()
    {
        end_path();
        here().last = Last::value;
    }

    void take_step(std::string_view step)
    {
        const Last before = here().last;
        if (before != Last::root && before != Last::slash && before != Last::colon) {
            end_path();
            here().reach = here().from;
            spend(here().from);
        } else if (step == ".") {
            spend(here().reach); // unlike children, the same nodes can be looked at in any number of such steps
        }
        if (step == "..") {
            climb();
        } else if (step == "*") {
            sort_if_climbed();
        }
        word_ = step;
        here().last = Last::step;
    }

    void take_slash()
    {
        Scope& scope = here();
        const bool goes_on = scope.last == Last::step || scope.last == Last::closed;
        if (scope.last == Last::root) {
            scope.last = Last::slash; // "//" costs no more than "/": both are a look at everything, at most
        } else if (goes_on && scope.reach > 0) {
            scope.last = Last::slash;
        } else {
            roam(nodes_);
            scope.last = goes_on || scope.last == Last::slash ? Last::slash : Last::root;
        }
    }

    void take_colon()
    {
        if (here().last != Last::colon) {
            here().last = Last::colon;
            return;
        }
        here().last = Last::slash;
        go_along(word_);
    }

    void go_along(std::string_view axis)
    {
        if (axis == "self") {
            spend(here().reach);
        } else if (axis == "parent" || axis.starts_with("ancestor")) {
            climb();
        } else if (axis.starts_with("descendant")) {
            roam(nodes_);
        } else if (axis.starts_with("following")) {
            roam(std::max(1.0, here().reach) * nodes_); // of each node the same ones again
        } else if (axis != "child" && axis != "attribute") {
            roam(nodes_ * nodes_); // backwards even of one node: what is found is sorted by exchanging neighbours
        }
    }

    void open_parenthesis()
    {
        const bool named = here().last == Last::step && !word_.empty();
        const bool node_test = named && std::ranges::find(kNodeTests, word_) != kNodeTests.end();
        if (named && word_ == "deref") {
            spend(nodes_); // searches for what a leafref points at
        }
        if (node_test) {
            sort_if_climbed();
        }
        open({.kind = node_test ? Kind::node_test
                      : named   ? Kind::call
                                : Kind::group,
              .times = here().times,
              .from = here().from,
              .translates = named && word_ == "translate",
              .bytes_before = bytes_,
              .effort_before = effort_});
    }

    void open_condition()
    {
        if (here().reach <= 0) {
            roam(nodes_); // of what a function found
        }
        open({.kind = Kind::condition, .times = std::min(kMost, here().times * here().reach)});
    }

    void open(const Scope& scope)
    {
        too_deep_ = scopes_.size() > kDeepest;
        scopes_.push_back(scope);
    }

    void close()
    {
        end_term();
        if (scopes_.size() == 1) {
            return;
        }
        const Scope inner = here();
        if (inner.translates) {
            spend(effort_of_translation(inner));
        }
        scopes_.pop_back();
        if (inner.kind == Kind::call || inner.kind == Kind::group) {
            here().reach = inner.kind == Kind::group ? inner.widest : 0; // functions find single nodes, if any
            here().last = Last::closed;
        } else {
            here().last = Last::step;
        }
        word_ = {};
    }

    /// Each character of one string is searched for in another; both are literals or values of what is looked at.
    double effort_of_translation(const Scope& arguments) const
    {
        const double bytes = bytes_ - arguments.bytes_before;
        const double looks = (effort_ - arguments.effort_before) / arguments.times;
        return bytes * (bytes + looks * kBytesOfValue) / kComparisonsPerNode;
    }

    /// At an operator: numbers count as the sets they are made of, which is too much rather than too little.
    void end_path()
    {
        Scope& scope = here();
        scope.operand = std::max(scope.operand, scope.reach);
        scope.widest = std::max(scope.widest, scope.reach);
        scope.reach = 0;
        scope.climbed = false;
        scope.last = Last::nothing;
    }

    void compare()
    {
        if (here().last != Last::nothing) { // else the second character of "<="
            end_comparison();
            here().left = std::exchange(here().operand, 0);
        }
    }

    void end_comparison()
    {
        end_path();
        if (here().left > 1 && here().operand > 1) {
            spend(here().left * here().operand);
        }
    }

    /// At the end of an argument or a condition's part.
    void end_term()
    {
        end_comparison();
        here().left = 0;
        here().operand = 0;
    }

    static constexpr double kMost = 1e300;
    static constexpr double kEffortOfToken = 0.125;     // long conditions take their time even if they look at nothing
    static constexpr double kBytesPerNode = 256;        // as quickly copied and searched as a node is looked at
    static constexpr double kBytesOfValue = 16;         // of a leaf, about
    static constexpr double kComparisonsPerNode = 2048; // of characters
    static constexpr double kExchangesPerNode = 32;     // they are that much quicker than a look at a node
    static constexpr std::size_t kDeepest = 1000;       // libyang gives up earlier; bounds the memory for "[[[[..."
    static constexpr std::array<std::string_view, 4> kNodeTests{"node", "text", "comment", "processing-instruction"};

    double nodes_;
    std::vector<Scope> scopes_;
    std::string_view word_; ///< the last step, if it may still turn out to be a function, a prefix or an axis
    double effort_ = 0;
    double bytes_ = 0; ///< of the expression so far
    bool too_deep_ = false;
};

} // namespace

double effort_of(std::string_view xpath, double nodes)
{
    EffortMeter meter{nodes};
    for_each_token(xpath, [&](std::string_view token) { meter.take(token); });
    return meter.finish();
}

} // namespace zpf::agent

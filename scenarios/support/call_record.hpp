// SPDX-License-Identifier: Apache-2.0
//
// Writes down what a plug-in does with a request, one short line a call: framework operations as the framework reports
// them, node callbacks as recording_callbacks.cpp meets them.
//
// Notation: H+(node,level) and H-(node) hierarchy; U(list) current list; ADD path value source list-flag,leaf-flag;
// OUT+ and OUT- output list bracket; cb a node callback. IC, OP and AT stand for the paths of the three mapped lists,
// a source "name(op3*)" for a node with this edit operation that a walker has rewritten, "-" and "null" for none.
#pragma once

#include <string>
#include <vector>

#include "zpf_map/context.hpp"

namespace zpf::scenarios {

class CallRecord : public Observer {
public:
    CallRecord();
    ~CallRecord() override;
    CallRecord(const CallRecord&) = delete;
    CallRecord& operator=(const CallRecord&) = delete;

    /// The record that is being written at present, or null. One at a time.
    static CallRecord* active();

    void line(std::string_view text) override;
    void operation(const Operation& op) override;
    void phase(Phase phase, std::string_view detail, const Node* node, qerrno result) override;

    /// A callback of the plug-in is called, or has returned.
    void callback(const std::string& text) { add(text); }
    /// The plug-in has asked whether a node is a removal.
    void removal_question(const Node* node, int answer);
    /// A leaf callback has refused its node, having made the calls since `first`.
    void refusal(const Node& leaf, bool in_expansion, std::size_t first);

    /// True while the client's request or native data are walked, false while the host makes sure of something.
    bool is_open() const { return open_; }
    std::size_t size() const { return entries_.size(); }
    std::vector<std::string> lines() const;

private:
    struct Entry {
        std::string text;
        std::size_t refusals = 0; ///< leaves of an expansion that were refused one after the other
    };

    void add(const std::string& text);

    std::vector<Entry> entries_;
    bool open_ = true;
    bool to_high_ = false;
    std::string found_key_; ///< key that the state translation has found, until it says the path
};

} // namespace zpf::scenarios

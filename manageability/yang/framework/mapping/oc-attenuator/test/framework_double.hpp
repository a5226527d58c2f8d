// SPDX-License-Identifier: Apache-2.0
//
// A recording stand-in for the framework: it answers as little as a walk needs, and writes down every call in order.
//
// The test program exports these functions, so that a plug-in loaded into it calls them and the real framework plays no
// part. Calls are recorded as short lines; IC, OP and AT stand for the three list paths.
#ifndef OC_ATTENUATOR_FRAMEWORK_DOUBLE_HPP
#define OC_ATTENUATOR_FRAMEWORK_DOUBLE_HPP

#include "test_tree.hpp"

#include "zpf/zpf.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace test {

/** One call of the path operation, as it was given. */
struct Add {
    const qidl_zpf_datatree* tree;
    std::string path;
    std::string ns;
    std::optional<std::string> value;
    const qidl_zpf_datatree* source;
    bool wants_node;
    uint32_t list_flag;
    uint32_t leaf_flag;
};

/** One line of the debug log. */
struct LogLine {
    void* log;
    uint32_t* slot;
    uint32_t slot_value;
    bool words_are_zero;
    std::string text;
};

/** One line of the trace ring. */
struct RingLine {
    void* ring;
    uint64_t flags;
    std::string text;
};

/** A host's context with a request and an output tree, and the record of what was called with it. */
class FrameworkDouble {
public:
    FrameworkDouble();
    ~FrameworkDouble();
    FrameworkDouble(const FrameworkDouble&) = delete;
    FrameworkDouble& operator=(const FrameworkDouble&) = delete;

    /** The one that records now; there is at most one. */
    static FrameworkDouble& current();

    /** Releases the error texts that the plug-in left in the request. */
    void clear_error();

    zpf_map_context context{};
    zpf_map_request request{};
    zpf_request_header header{};
    qidl_zpf_datatree out{};

    // ---- what was called
    std::vector<std::string> calls;
    std::vector<Add> adds;
    std::vector<LogLine> log;
    std::vector<RingLine> ring;
    std::vector<const qidl_zpf_datatree*> printed;
    uint32_t filter_questions = 0;
    uint32_t deepest_hierarchy = 0;
    uint32_t hierarchy_mismatches = 0;
    int strings_alive = 0;

    // ---- what is answered
    bool logs_trace = false;
    bool logs_error = false;
    std::function<qerrno(const Add&)> on_add;
    std::map<std::string, qerrno> update_results; /**< By list path. */
    qerrno leafref_result = ZPF_RC_OK;
    std::optional<qerrno> search_result;
    std::function<void(const std::string& line)> on_log;
    /** Asked by the recording callbacks; an answer takes the place of the plug-in's own callback. */
    std::function<std::optional<qerrno>(const std::string& callback)> on_callback;
    bool folds_refusals = false; /**< Record the refusal of a leaf as one line. */
    std::vector<zpf_itree_record> itree;
    std::vector<zpf_node_record> hierarchy; /**< Behind `request.node_data`; tests may put records there, too. */

    zpf_map_ctx ctx() { return &context; }
    void record(std::string line) { calls.push_back(std::move(line)); }
    /** Records that begin with one of the words. */
    std::vector<std::string> calls_of(std::initializer_list<const char*> words) const;
    /** Messages of the debug log without their prefix, of one level ("TRC" or "ERR"). */
    std::vector<std::string> messages(const char* level) const;
    /** Puts the node on the hierarchy without recording it. */
    void stand_in(qidl_zpf_datatree& node, uint32_t level);
    void publish_hierarchy();
    /** A child of `parent`, which grows; for operations that create nodes. */
    qidl_zpf_datatree* grow(qidl_zpf_datatree& parent, const char* tag, const char* value);

private:
    std::deque<std::vector<qidl_zpf_datatree>> arrays_;
    std::deque<std::string> texts_;
};

/** "/interface-configurations/interface-configuration/ots/..." -> "IC/ots/...". */
std::string short_path(const std::string& path);

/** "null", or the text in quotes. */
std::string quoted(const char* text);

} // namespace test

#endif

// SPDX-License-Identifier: Apache-2.0
//
// get, get-config and get-data: what a request asks for, settled once, and the answer, as often as it is asked.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "element.hpp"
#include "kelda/store.hpp"
#include "mapper.hpp"
#include "reply_printer.hpp"
#include "with_defaults.hpp"
#include "zpf_nacm/nacm.hpp"

namespace zpf::agent {

enum class Datastore { running, candidate, operational };

/**
 * The last answer of a plan, for as long as nothing has changed since: a poller that asks again gets it again. Only
 * answers that are the same for everybody who sees everything are kept.
 */
class KeptAnswer {
public:
    /// Appends the answer if it is of these generations of the store's branches.
    bool append(uint64_t config, uint64_t operational, std::string& out) const
    {
        const std::lock_guard lock(mutex_);
        if (body_.empty() || config_ != config || operational_ != operational) {
            return false;
        }
        out.append(body_);
        return true;
    }
    void keep(uint64_t config, uint64_t operational, std::string_view body)
    {
        const std::lock_guard lock(mutex_);
        config_ = config;
        operational_ = operational;
        body_ = body;
    }

private:
    mutable std::mutex mutex_;
    uint64_t config_ = 0;
    uint64_t operational_ = 0;
    std::string body_;
};

/// The expression of a `filter` element of the type "xpath"; nothing for a subtree filter. Throws Refused for what is
/// neither (RFC 6241, 6.1 and 8.9.5.1).
std::optional<std::string_view> select_of(Element filter);

/// The expression with module names in place of the prefixes that are declared where its element stands. Throws Refused
/// for one that cannot be evaluated to nodes, whatever data there are.
std::string checked_xpath(const Yang& yang, Element holder, std::string_view expression);

/**
 * A read request, checked and compiled: which trees it reaches and which records of the store they need. Immutable;
 * pollers send the same request again and again, and it is compiled once.
 */
class ReadPlan {
public:
    /// Compiles a `get`, `get-config` or `get-data` element. Keeps the message. Throws Refused.
    ReadPlan(const Yang& yang, std::shared_ptr<const Message> message, Element operation);

    struct Part {
        const lysc_node* top;
        std::vector<std::string> names; ///< records of the store that matter, see add_record_names()
    };

    Element element() const { return element_; }
    std::string_view operation() const { return element_.name(); }
    Datastore datastore() const { return datastore_; }
    bool with_state() const { return state_; }
    bool with_config() const { return config_; }
    const std::vector<Part>& parts() const { return parts_; }
    /// The client model's request; a root without children asks for everything.
    const Tree& client_request() const { return client_request_; }
    /// True when the answer can be printed as the mapping gives it: the filter is the mapping's own, nothing else is
    /// asked for.
    bool is_mapped_only() const { return mapped_only_; }
    /// True when the answer costs so little that the loop may work it out itself.
    bool is_light() const { return mapped_only_; }
    KeptAnswer& kept() const { return kept_; }
    /// Namespace of the reply's data element.
    const std::string& data_namespace() const { return data_namespace_; }
    Element filter() const { return filter_; }
    const std::string& xpath() const { return xpath_; }
    WithDefaults with_defaults() const { return with_defaults_; }
    /// True for the operational datastore itself, which tells defaults as far as they are in use (RFC 8342, 5.3).
    bool shows_values_in_use() const { return values_in_use_; }
    unsigned levels() const { return levels_; } ///< 0: all

private:
    void read_datastore(const Yang& yang, Element operation);
    void read_filter(const Yang& yang, Element operation);
    void read_subtree(const Yang& yang, Element filter);
    void read_xpath(const Yang& yang, Element holder, std::string_view expression);
    void add_everything(const Yang& yang);
    void add_part(const Yang& yang, const lysc_node& top, std::vector<std::string> names);
    bool reaches(const Yang& yang, const lysc_node& top) const;

    std::shared_ptr<const Message> message_;
    Element element_;
    std::string data_namespace_;
    Datastore datastore_ = Datastore::running;
    bool state_ = false;
    bool config_ = true;
    Element filter_;
    std::string xpath_;
    bool filtered_ = false;
    bool values_in_use_ = false;
    WithDefaults with_defaults_ = WithDefaults::explicit_only;
    unsigned levels_ = 0;
    std::vector<Part> parts_;
    Tree client_request_;
    bool client_everything_ = false;
    bool mapped_only_ = false;
    mutable KeptAnswer kept_;
};

/// State that the agent makes up when it is asked for: sessions, schemas, counters.
using StateSource = std::function<bridge::DataPtr(const lysc_node& top)>;

/// What an answer is made of. All is borrowed for the time of the call.
struct ReadSources {
    const kelda::Reader& config;
    const kelda::Reader& operational;
    const StateSource& state;
    const Nacm& nacm;
    const Who& who;
    const std::function<void(const std::string&)>& left_out; ///< told of each reading that the model does not take
};

/// True when the user sees all that the plan can show, so that everybody like that gets the same answer.
bool sees_all(const ReadPlan& plan, const Nacm& nacm, const Who& who);

/// Appends the reply's data element. Throws Refused.
void answer(const ReadPlan& plan, Mapper& mapper, ReplyPrinter& printer, const ReadSources& sources, std::string& out);

} // namespace zpf::agent

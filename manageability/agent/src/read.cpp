// SPDX-License-Identifier: Apache-2.0
//
// Answers to reads. A request for the client model alone goes from the mapping straight into the message; everything
// else becomes libyang data, is cut to what the user may see, then to what was asked for.
#include "read.hpp"

#include <algorithm>

#include "readings.hpp"
#include "records.hpp"
#include "rpc_error.hpp"
#include "subtree_filter.hpp"
#include "zpf_bridge/build.hpp"

namespace zpf::agent {

namespace {

class Answer {
public:
    Answer(const ReadPlan& plan, Mapper& mapper, ReplyPrinter& printer, const ReadSources& sources)
        : plan_(plan), mapper_(mapper), printer_(printer), sources_(sources), yang_(mapper.yang())
    {}

    void print(std::string& out)
    {
        out.append("<data xmlns=\"").append(plan_.data_namespace()).append("\">");
        if (plan_.is_mapped_only() && sees_all(plan_, sources_.nacm, sources_.who)) {
            const ReadResult result = map();
            printer_.print(result.reply.root(), out, sources_.left_out);
        } else {
            gather();
            prune();
            cut();
            print_data(out);
        }
        out.append("</data>");
    }

private:
    /// The user sees less before the filter does: a condition must not tell of what is hidden.
    void prune()
    {
        lyd_node* first = data_.release();
        sources_.nacm.prune_unreadable(sources_.who, &first);
        data_.reset(first);
    }

    ReadResult map()
    {
        const uint32_t kind = plan_.with_state() ? ZPF_REQUEST_GET : ZPF_REQUEST_GET_CONFIG;
        const StoreSource source(yang_, sources_.config, plan_.with_state() ? &sources_.operational : nullptr);
        ReadResult result = mapper_.driver().read(mapper_.context(), kind, &plan_.client_request().root(), source);
        if (result.refusal) {
            throw refused(*result.refusal);
        }
        return result;
    }

    void add(bridge::DataPtr part)
    {
        if (!part) {
            return;
        }
        lyd_node* first = data_.release();
        lyd_insert_sibling(first, part.release(), &first);
        data_.reset(first);
    }

    void gather()
    {
        for (const ReadPlan::Part& part : plan_.parts()) {
            switch (yang_.home(*part.top)) {
            case Home::mapped:
                add(bridge::build_data(yang_.models(), map().reply.root(), [this](const bridge::Unfit& unfit) {
                    sources_.left_out(unfit.path() + ": " + unfit.what());
                }));
                break;
            case Home::native:
            case Home::agent_config:
                add(load(part));
                break;
            case Home::operational:
                add(yang_.schema().find_top(part.top->name) != nullptr ? load_readings(yang_, sources_.operational)
                                                                       : sources_.state(*part.top));
                break;
            case Home::unmapped:
                break;
            }
        }
        if (plan_.with_defaults() != WithDefaults::explicit_only) {
            for (lyd_node* top = data_.get(); top != nullptr; top = top->next) {
                lyd_new_implicit_tree(top, LYD_IMPLICIT_NO_STATE, nullptr);
            }
        }
        if (shows_defaults()) {
            add_own_defaults();
        }
    }

    bool shows_defaults() const
    {
        return plan_.with_defaults() != WithDefaults::explicit_only || plan_.shows_values_in_use();
    }

    /// The agent's own configuration has defaults that are in use also where nothing is configured. What the device
    /// does with a setting that nobody made is for the device to say.
    void add_own_defaults()
    {
        for (const ReadPlan::Part& part : plan_.parts()) {
            if (yang_.home(*part.top) == Home::agent_config) {
                lyd_node* first = data_.release();
                lyd_new_implicit_module(&first, part.top->module, LYD_IMPLICIT_NO_STATE, nullptr);
                data_.reset(first);
            }
        }
    }

    bridge::DataPtr load(const ReadPlan::Part& part)
    {
        TreeBuilder builder(yang_);
        for (const std::string& name : part.names) {
            if (name.back() == '=') {
                sources_.config.scan(name, [&](std::string_view key, std::string_view value) {
                    builder.add(key, value);
                    return true;
                });
            } else {
                builder.load(sources_.config, name);
            }
        }
        bridge::DataPtr data = builder.take();
        if (plan_.with_state() && yang_.home(*part.top) == Home::agent_config) {
            bridge::DataPtr state = sources_.state(*part.top);
            if (!data) {
                return state;
            }
            lyd_node* first = data.release();
            lyd_merge_siblings(&first, state.get(), 0);
            data.reset(first);
        }
        return data;
    }

    void cut()
    {
        Selection selection;
        if (!plan_.xpath().empty()) {
            selection = keep_selected(yang_, plan_.xpath(), data_);
        } else if (plan_.filter()) {
            selection = keep_subtrees(yang_, plan_.filter(), data_);
        }
        if (plan_.with_config() != plan_.with_state() && data_) {
            keep_config(plan_.with_config(), data_);
        }
        if (plan_.levels() > 0) {
            keep_levels(plan_.levels(), selection, data_);
        }
    }

    void print_data(std::string& out)
    {
        if (!data_) {
            return;
        }
        char* text = nullptr;
        const uint32_t defaults = plan_.shows_values_in_use() ? LYD_PRINT_WD_ALL : print_option(plan_.with_defaults());
        const uint32_t options = LYD_PRINT_WITHSIBLINGS | LYD_PRINT_SHRINK | defaults;
        if (lyd_print_mem(&text, data_.get(), LYD_XML, options) != LY_SUCCESS) {
            throw std::bad_alloc();
        }
        const bridge::TextPtr owned{text};
        append_printed(text != nullptr ? text : "", out);
    }

    /// libyang gives the attribute that tags defaults its module's namespace; clients look for that of RFC 6243, 6.
    void append_printed(std::string_view text, std::string& out) const
    {
        constexpr std::string_view kModules = R"(xmlns:ncwd="urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults")";
        constexpr std::string_view kOwn = R"(xmlns:ncwd="urn:ietf:params:xml:ns:netconf:default:1.0")";
        if (plan_.with_defaults() == WithDefaults::report_all_tagged) {
            for (std::size_t at = text.find(kModules); at != std::string_view::npos; at = text.find(kModules)) {
                out.append(text.substr(0, at)).append(kOwn);
                text.remove_prefix(at + kModules.size());
            }
        }
        out.append(text);
    }

    const ReadPlan& plan_;
    Mapper& mapper_;
    ReplyPrinter& printer_;
    const ReadSources& sources_;
    const Yang& yang_;
    bridge::DataPtr data_;
};

} // namespace

bool sees_all(const ReadPlan& plan, const Nacm& nacm, const Who& who)
{
    return who.recovery || (nacm.reads_everything(who) &&
                            std::none_of(plan.parts().begin(), plan.parts().end(),
                                         [&](const ReadPlan::Part& part) { return nacm.marked(*part.top->module); }));
}

void answer(const ReadPlan& plan, Mapper& mapper, ReplyPrinter& printer, const ReadSources& sources, std::string& out)
{
    const std::size_t length = out.size();
    try {
        Answer(plan, mapper, printer, sources).print(out);
    } catch (...) {
        out.resize(length);
        throw;
    }
}

} // namespace zpf::agent

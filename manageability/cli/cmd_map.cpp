// SPDX-License-Identifier: Apache-2.0
//
// From files to printed results; the work in between is the driver's.
#include "cmd_map.hpp"

#include <fmt/format.h>

#include <array>
#include <memory>
#include <nlohmann/json.hpp>

#include "explain.hpp"
#include "read_file.hpp"
#include "zpf_base/log.h"
#include "zpf_base/trace.h"
#include "zpf_bridge/data.hpp"
#include "zpf_map/driver.hpp"

namespace zpf::cli {

namespace {

/// A result to print: what it is, and its text in the format asked for.
struct Section {
    const char* heading; ///< for people
    const char* name;    ///< in XML and JSON
    std::string text;
};

class Mapping {
public:
    explicit Mapping(const MapOptions& options)
        : options_(options),
          models_(options.yang_dirs),
          plugin_(options.plugin),
          driver_(models_.schema(), plugin_),
          context_(&models_.schema()),
          explainer_(options.format == Format::tree ? stdout : stderr, options.colour)
    {}

    int run()
    {
        open_diagnostics();
        bridge::Request request =
            bridge::parse_request(models_, read_file(options_.request), shown(options_.request), options_.kind);
        if (options_.native) {
            native_ = bridge::parse_native(models_, read_file(*options_.native), shown(*options_.native));
        }
        if (options_.explain) {
            context_.observe(&explainer_);
        }
        const uint32_t kind = request.kind.value_or(ZPF_REQUEST_EDIT_CONFIG);
        return kind == ZPF_REQUEST_EDIT_CONFIG ? edit(request) : read(kind, request);
    }

private:
    static std::string shown(const std::string& file) { return file == "-" ? "(standard input)" : file; }

    void open_diagnostics()
    {
        std::array<char, 512> why{};
        uint32_t levels = 0;
        zpf_log_filter_set(&levels, options_.log_level.c_str());
        if (levels != 0) {
            log_.reset(
                zpf_log_open(options_.log_file.empty() ? nullptr : options_.log_file.c_str(), why.data(), why.size()));
            if (!log_) {
                throw Failure(why.data());
            }
            context_.set_log(levels, log_.get());
        }
        if (!options_.trace_file.empty()) {
            ring_.reset(
                zpf_trace_ring_open(options_.trace_file.c_str(), ZPF_TRACE_DEFAULT_SLOTS, why.data(), why.size()));
            if (!ring_) {
                throw Failure(why.data());
            }
            context_.set_trace(ring_.get());
        }
    }

    int edit(const bridge::Request& request)
    {
        EditOptions edit_options;
        edit_options.default_operation =
            options_.default_operation.value_or(request.default_operation.value_or(ZPF_OP_MERGE));
        edit_options.validate = [this](const Node& after) { return bridge::validate_native(models_, after); };
        const TreeSource source(models_.schema(), native_.root(), TreeSource::Answer::everything);
        // Without native data there is nothing to apply to; only the mapping is asked for.
        const EditResult result = options_.native ? driver_.edit(context_, &request.tree.root(), source, edit_options)
                                                  : driver_.map_edit(context_, &request.tree.root(), edit_options);
        context_.observe(nullptr);
        if (result.refusal) {
            print_refusal(*result.refusal, options_.colour);
            return kRefused;
        }
        std::vector<Section> sections{{"native edit", "native-edit", edit_text(result.edit.root())}};
        if (options_.native) {
            sections.push_back({"native data after the edit", "native-data", data_text(result.after.root())});
        }
        print(sections);
        return kDone;
    }

    int read(uint32_t kind, const bridge::Request& request)
    {
        const TreeSource source(models_.schema(), native_.root());
        const ReadResult result = driver_.read(context_, kind, &request.tree.root(), source);
        context_.observe(nullptr);
        if (result.refusal) {
            print_refusal(*result.refusal, options_.colour);
            return kRefused;
        }
        std::vector<Section> sections;
        for (const Tree& selection : result.selections) {
            sections.push_back({"native selection", "native-selection", edit_text(selection.root())});
        }
        if (options_.native) {
            sections.push_back({"reply", "reply", data_text(result.reply.root())});
        }
        print(sections);
        return kDone;
    }

    bridge::Syntax syntax() const
    {
        return options_.format == Format::xml ? bridge::Syntax::xml : bridge::Syntax::json;
    }

    std::string edit_text(const Node& root) const
    {
        return options_.format == Format::tree ? to_text(root, 2, true) : bridge::print_edit(models_, root, syntax());
    }

    /// Values are validated in every format; a tree shows them as the plug-in wrote them.
    std::string data_text(const Node& root) const
    {
        std::string text = bridge::print_data(models_, root, syntax());
        return options_.format == Format::tree ? to_text(root, 2) : text;
    }

    void print(const std::vector<Section>& sections) const
    {
        switch (options_.format) {
        case Format::tree:
            print_tree(sections);
            break;
        case Format::xml:
            print_xml(sections);
            break;
        case Format::json:
            print_json(sections);
            break;
        }
    }

    void print_tree(const std::vector<Section>& sections) const
    {
        const Style style = Style::of(stdout, options_.colour);
        for (const Section& section : sections) {
            fmt::print("{}{}{}\n{}", style.heading, section.heading, style.off,
                       section.text.empty() ? "  (nothing)\n" : section.text);
        }
    }

    static void print_xml(const std::vector<Section>& sections)
    {
        if (sections.size() == 1) {
            fmt::print("{}", sections.front().text);
            return;
        }
        fmt::print("<zpf-map>\n");
        for (const Section& section : sections) {
            fmt::print("<{0}>\n{1}</{0}>\n", section.name, section.text);
        }
        fmt::print("</zpf-map>\n");
    }

    static void print_json(const std::vector<Section>& sections)
    {
        nlohmann::ordered_json out;
        for (const Section& section : sections) {
            const auto value = nlohmann::ordered_json::parse(section.text.empty() ? "{}" : section.text);
            if (!out.contains(section.name)) {
                out[section.name] = value;
            } else { // several selections, one for each entry that was asked for
                if (!out[section.name].is_array()) {
                    out[section.name] = nlohmann::ordered_json::array({out[section.name]});
                }
                out[section.name].push_back(value);
            }
        }
        fmt::print("{}\n", (sections.size() == 1 ? out.front() : out).dump(2));
    }

    struct CloseLog {
        void operator()(zpf_log* log) const { zpf_log_close(log); }
    };
    struct CloseRing {
        void operator()(zpf_trace_ring* ring) const { zpf_trace_ring_close(ring); }
    };

    const MapOptions& options_;
    bridge::Models models_;
    Plugin plugin_;
    Driver driver_;
    std::unique_ptr<zpf_log, CloseLog> log_; // before context_, so that it outlives it
    std::unique_ptr<zpf_trace_ring, CloseRing> ring_;
    Context context_;
    Explainer explainer_;
    Tree native_;
};

} // namespace

int run_map(const MapOptions& options)
{
    return Mapping(options).run();
}

} // namespace zpf::cli

// SPDX-License-Identifier: Apache-2.0
//
// Runs of scenarios. Each request runs twice, on a store that hands out what was selected and on one that hands out
// all it has: clients must not see a difference.
#include "scenario.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>

#include "call_record.hpp"
#include "leaves.hpp"
#include "system.hpp"

namespace zpf::scenarios {

namespace {

std::optional<std::filesystem::path> find_file(const std::filesystem::path& folder, const std::string& stem)
{
    for (const char* const ending : {".xml", ".json"}) {
        if (const auto file = folder / (stem + ending); std::filesystem::exists(file)) {
            return file;
        }
    }
    return std::nullopt;
}

std::string section(const std::string& heading, const std::string& text)
{
    return heading + ":\n" + (text.empty() ? "  (nothing)\n" : text);
}

std::string indented(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines) {
        text += "  " + line + "\n";
    }
    return text;
}

std::string told(const Refusal& refusal)
{
    const auto field = [](const std::string& name, const std::string& value) {
        return value.empty() ? "  " + name + "\n" : "  " + name + std::string(15 - name.size(), ' ') + value + "\n";
    };
    return "refused:\n" + field("error-type", refusal.type) + field("error-tag", refusal.tag) +
           field("error-app-tag", refusal.app_tag) + field("error-path", refusal.path) +
           field("error-message", refusal.message) + field("bad-element", refusal.bad_element);
}

class Run {
public:
    Run(const System& system, const Tree& native, TreeSource::Answer answer)
        : system_(system), native_(native), source_(system.schema(), native.root(), answer), context_(&system.schema())
    {}

    std::string read(uint32_t kind, const Node& request)
    {
        ReadResult result;
        const std::string calls = recorded([&] { result = system_.driver().read(context_, kind, &request, source_); });
        std::string text = kind == ZPF_REQUEST_GET ? "get\n" : "get-config\n";
        text += calls;
        for (const Tree& selection : result.selections) {
            text += section("native selection", to_text(selection.root(), 2));
        }
        outcome_ = result.refusal ? told(*result.refusal) : section("reply", to_text(result.reply.root(), 2));
        try {
            bridge::print_data(system_.models(), result.reply.root(), bridge::Syntax::xml);
        } catch (const Failure& failure) {
            outcome_ +=
                section("not sent, since the model takes no such value", "  " + std::string(failure.what()) + "\n");
        }
        return text + outcome_;
    }

    std::string edit(int32_t default_operation, const Node& request)
    {
        EditResult result;
        const std::string calls = recorded([&] {
            result = system_.driver().edit(context_, &request, source_, system_.judged_edit(default_operation));
        });
        const Changes changes = changes_between(system_.schema(), result.before.root(), result.after.root());
        outcome_ = result.refusal ? told(*result.refusal) : "done\n";
        outcome_ += section("native changes", changes.lines.empty() ? "  none\n" : indented(changes.lines));
        const std::size_t all = leaves_of(system_.schema(), native_.root()).size();
        const std::size_t gone = static_cast<std::size_t>(std::count_if(
            changes.lines.begin(), changes.lines.end(), [](const std::string& line) { return line[0] == '-'; }));
        outcome_ += "  " + std::to_string(all - gone) + " leaves as they were\n";
        return "edit-config\n" + calls + section("native edit", to_text(result.edit.root(), 2, true)) + outcome_;
    }

    /// What the client and the device see of the last run.
    const std::string& outcome() const { return outcome_; }

private:
    template <typename Work>
    std::string recorded(const Work& work)
    {
        CallRecord record;
        context_.observe(&record);
        work();
        context_.observe(nullptr);
        return section("calls", indented(record.lines()));
    }

    const System& system_;
    const Tree& native_;
    TreeSource source_;
    Context context_;
    std::string outcome_;
};

std::string run_request(const System& system, const bridge::Request& request, const Tree& native,
                        TreeSource::Answer shown)
{
    const uint32_t kind = request.kind.value_or(ZPF_REQUEST_EDIT_CONFIG);
    const auto run = [&](Run& one) {
        return kind == ZPF_REQUEST_EDIT_CONFIG
                   ? one.edit(request.default_operation.value_or(ZPF_OP_MERGE), request.tree.root())
                   : one.read(kind, request.tree.root());
    };
    const auto other =
        shown == TreeSource::Answer::selected ? TreeSource::Answer::everything : TreeSource::Answer::selected;
    Run one(system, native, shown);
    Run unlike(system, native, other);
    const std::string report = run(one);
    run(unlike);
    return one.outcome() == unlike.outcome()
               ? report
               : report + "UNLIKE what comes of it when the store pre-selects otherwise:\n" + unlike.outcome();
}

} // namespace

std::string text_of_file(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        throw std::runtime_error(file.string() + ": cannot be read");
    }
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<Scenario> find_scenarios(const std::filesystem::path& root)
{
    std::vector<Scenario> scenarios;
    for (const auto& entry : std::filesystem::directory_iterator(root)) {
        if (entry.is_directory() && find_file(entry.path(), "request")) {
            scenarios.push_back({entry.path()});
        }
    }
    std::sort(scenarios.begin(), scenarios.end(),
              [](const Scenario& a, const Scenario& b) { return a.folder < b.folder; });
    return scenarios;
}

std::string run_scenario(const Scenario& scenario)
{
    const System& system = System::shared();
    const auto request_file = find_file(scenario.folder, "request").value();
    const auto own_native = find_file(scenario.folder, "native");
    const auto native_file = own_native ? own_native : find_file(scenario.folder.parent_path(), "native");
    const Tree native = bridge::parse_native(system.models(), text_of_file(native_file.value()), "native");
    try {
        const bridge::Request request =
            bridge::parse_request(system.models(), text_of_file(request_file), request_file.filename(), std::nullopt);
        const auto shown = std::filesystem::exists(scenario.folder / "store_hands_out_all")
                               ? TreeSource::Answer::everything
                               : TreeSource::Answer::selected;
        return run_request(system, request, native, shown);
    } catch (const bridge::BadInput& bad) {
        return section("bad input", "  " + std::string(bad.what()) + "\n");
    }
}

} // namespace zpf::scenarios

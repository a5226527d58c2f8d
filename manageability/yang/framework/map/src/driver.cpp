// SPDX-License-Identifier: Apache-2.0
//
// Reads and edits from the client's request to its answer, step by step.
#include "zpf_map/driver.hpp"

#include <algorithm>
#include <utility>

#include "apply.hpp"
#include "edit_request.hpp"
#include "guard.hpp"
#include "mapper.hpp"
#include "marks.hpp"
#include "refusal.hpp"
#include "reply.hpp"
#include "tree_query.hpp"

namespace zpf {

namespace {

/// Copies a request without the outermost list entries other than `kept`; with null, whole.
void copy_part(Tree& out, Node& into, const Node& parent, const std::vector<const Node*>& entries, const Node* kept)
{
    for (const Node& node : children(parent)) {
        const bool is_entry = std::find(entries.begin(), entries.end(), &node) != entries.end();
        if (is_entry && kept != nullptr && &node != kept) {
            continue;
        }
        if (is_entry || children(node).empty()) {
            out.share(into, node);
            continue;
        }
        copy_part(out, out.share_alone(into, node), node, entries, kept);
    }
}

Tree copy_of(const Node& root, const std::shared_ptr<Arena>& arena)
{
    Tree result(arena);
    for (const Node& top : children(root)) {
        result.share(result.root(), top);
    }
    return result;
}

/// Callbacks look for the key that was asked for and find the first one, so a read is mapped once for each entry named.
std::vector<Tree> split(const Schema& schema, const Node& request, const std::shared_ptr<Arena>& arena)
{
    const auto entries = outermost_entries(schema, request);
    std::vector<Tree> parts;
    if (entries.size() < 2) {
        parts.push_back(copy_of(request, arena));
        return parts;
    }
    for (const Node* entry : entries) {
        Tree& part = parts.emplace_back(arena);
        copy_part(part, part.root(), request, entries, entry);
    }
    return parts;
}

} // namespace

Driver::Driver(const Schema& schema, const Plugin& plugin)
    : schema_(schema), walkers_(EntryWalkers::find(plugin, schema))
{}

ReadResult Driver::read(Context& context, uint32_t kind, const Node* request, const NativeSource& source) const
{
    const auto arena = std::make_shared<Arena>();
    ReadResult result{find_damage(request), Tree(arena), {}};
    if (result.refusal) {
        return result;
    }
    Tree everything(arena);
    if (children(*request).empty()) {
        for (const EntryWalker& walker : walkers_.to_low) {
            everything.add(everything.root(), *walker.top);
        }
        request = &everything.root();
    }
    Mapper mapper(schema_, walkers_, context);
    Tree reply(arena);
    for (Tree& part : split(schema_, *request, arena)) {
        Tree untouched = copy_of(part.root(), arena);
        Tree& selection = result.selections.emplace_back(arena);
        result.refusal = mapper.to_low(kind, part.root(), untouched.root(), selection);
        if (!result.refusal) {
            drop_unkeyed(schema_, selection.root());
            Tree native(arena);
            source.select(selection.root(), native);
            result.refusal = mapper.to_high(native.root(), reply);
        }
        if (result.refusal) {
            return result;
        }
    }
    sweep(reply.root(), schema_);
    if (cut_to_filter(reply.root(), *request, schema_)) {
        sweep(reply.root(), schema_);
    }
    result.reply = std::move(reply);
    return result;
}

namespace {

/// What an edit needs of the native data: the entries it names; for an expansion, which names none, the whole list.
void selection_of(const Node& edit, Tree& out, Node& into)
{
    const auto nodes = children(edit);
    if (std::any_of(nodes.begin(), nodes.end(),
                    [](const Node& node) { return removal_mark(node) == RemovalMark::all; })) {
        return; // a container without children is named whole
    }
    for (const Node& node : nodes) {
        Node& named = out.share_alone(into, node);
        named.edit_op = ZPF_OP_MERGE; // a selection says what, not what for
        selection_of(node, out, named);
    }
}

/// One edit on its way through its steps. Each may refuse; all work is on copies, so nothing has to be undone.
class Edit {
public:
    Edit(const Driver& driver, Context& context, const NativeSource& source, const EditOptions& options,
         EditResult& result)
        : driver_(driver),
          mapper_(driver.schema(), driver.walkers(), context),
          context_(context),
          source_(source),
          options_(options),
          result_(result)
    {}

    /// From the request to a native edit that leads nowhere but where the client said.
    std::optional<Refusal> map(const Node& request, bool with_demands)
    {
        const auto& arena = result_.edit.arena();
        const Schema& schema = driver_.schema();
        const Tree asked = normalise(schema, request, options_.default_operation, arena);
        walked_ = walkable(asked.root(), arena);
        Tree untouched = walkable(asked.root(), arena);
        if (auto refusal = mapper_.to_low(ZPF_REQUEST_EDIT_CONFIG, walked_.root(), untouched.root(), result_.edit)) {
            return refusal;
        }
        if (with_demands) {
            // After the walk, so that deleting what the device does not have is "not supported" and not "missing".
            if (auto refusal = check_demands(asked.root())) {
                return refusal;
            }
        }
        drop_unkeyed(schema, result_.edit.root());
        return guard_edit(mapper_, walked_.root(), result_.edit);
    }

    std::optional<Refusal> apply()
    {
        const auto& arena = result_.edit.arena();
        Tree selection(arena);
        selection_of(result_.edit.root(), selection, selection.root());
        source_.select(selection.root(), result_.before);
        mapper_.tell(Phase::apply, {}, &result_.edit.root());
        Tree after = copy_of(result_.before.root(), arena);
        if (auto refusal = Apply(mapper_, after).run(result_.edit.root())) {
            return in_client_terms(*std::move(refusal));
        }
        if (options_.validate) {
            if (auto refusal = options_.validate(after.root())) {
                return in_client_terms(*std::move(refusal));
            }
        }
        result_.after = std::move(after);
        return std::nullopt;
    }

private:
    std::optional<Refusal> check_demands(const Node& asked)
    {
        if (!has_demands(asked, options_.default_operation)) {
            return std::nullopt;
        }
        mapper_.tell(Phase::probe, "the client's view of the configuration");
        const Tree everything(result_.edit.arena());
        const ReadResult view = driver_.read(context_, ZPF_REQUEST_GET_CONFIG, &everything.root(), source_);
        if (view.refusal) {
            return view.refusal;
        }
        return find_unmet_demand(driver_.schema(), asked, view.reply.root(), options_.default_operation);
    }

    /// A refusal of a native leaf speaks of the request's own element, if there is one behind the leaf.
    Refusal in_client_terms(Refusal refusal) const
    {
        const Schema& schema = driver_.schema();
        const Node* asked = nullptr;
        std::vector<const Node*> above;
        visit_nodes(result_.edit.root(), above, [&](const Node& node, const std::vector<const Node*>& path) {
            if (children(node).empty() && data_path(schema, path, node) == refusal.path) {
                asked = mapper_.origin(node);
            }
            return true;
        });
        visit_nodes(walked_.root(), above, [&](const Node& node, const std::vector<const Node*>& path) {
            if (&node == asked) {
                refusal.message += " (native " + std::exchange(refusal.path, data_path(schema, path, node)) + ")";
                refusal.bad_element = refusal.bad_element.empty() ? "" : tag_of(node);
            }
            return true;
        });
        return refusal;
    }

    const Driver& driver_;
    Mapper mapper_;
    Context& context_;
    const NativeSource& source_;
    const EditOptions& options_;
    EditResult& result_;
    Tree walked_{result_.edit.arena()}; // the request as it was walked; origins of native nodes point into it
};

} // namespace

EditResult Driver::edit(Context& context, const Node* request, const NativeSource& source,
                        const EditOptions& options) const
{
    const auto arena = std::make_shared<Arena>();
    EditResult result{find_damage(request), Tree(arena), Tree(arena), Tree(arena)};
    if (!result.refusal) {
        Edit edit(*this, context, source, options, result);
        result.refusal = edit.map(*request, true);
        if (!result.refusal) {
            result.refusal = edit.apply();
        }
    }
    if (result.refusal) {
        result.after = copy_of(result.before.root(), arena);
    }
    return result;
}

EditResult Driver::map_edit(Context& context, const Node* request, const EditOptions& options) const
{
    const auto arena = std::make_shared<Arena>();
    EditResult result{find_damage(request), Tree(arena), Tree(arena), Tree(arena)};
    if (!result.refusal) {
        const Tree nothing(arena);
        const TreeSource source(schema_, nothing.root());
        result.refusal = Edit(*this, context, source, options, result).map(*request, false);
    }
    return result;
}

} // namespace zpf

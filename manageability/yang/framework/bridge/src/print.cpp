// SPDX-License-Identifier: Apache-2.0
//
// Trees to text by way of libyang, and the judgement of native data after an edit.
#include "zpf_bridge/build.hpp"
#include "zpf_bridge/data.hpp"
#include "zpf_map/plugin.hpp"

namespace zpf::bridge {

namespace {

std::string print(const DataPtr& data, LYD_FORMAT format)
{
    char* raw = nullptr;
    if (lyd_print_mem(&raw, data.get(), format, LYD_PRINT_WITHSIBLINGS | LYD_PRINT_KEEPEMPTYCONT) != LY_SUCCESS) {
        throw Failure("libyang does not print the data: out of memory?");
    }
    const TextPtr text{raw};
    return text ? text.get() : "";
}

LYD_FORMAT format_of(Syntax syntax)
{
    return syntax == Syntax::xml ? LYD_XML : LYD_JSON;
}

Refusal invalid(const std::string& path, const std::string& reason)
{
    Refusal refusal;
    refusal.tag = "invalid-value";
    refusal.path = path;
    refusal.message = reason;
    const auto last = path.rfind('/');
    refusal.bad_element = path.substr(last == std::string::npos ? 0 : last + 1, path.find('[', last) - last - 1);
    return refusal;
}

} // namespace

std::string print_data(const Models& models, const Node& root, Syntax syntax)
{
    try {
        return print(build_data(models, root), format_of(syntax));
    } catch (const Unfit& unfit) {
        throw Failure(unfit.path() + ": " + unfit.what());
    }
}

std::string print_edit(const Models& models, const Node& root, Syntax syntax)
{
    return print(build_opaque(models, root, format_of(syntax)), format_of(syntax));
}

std::optional<Refusal> validate_native(const Models& models, const Node& root)
{
    const ly_ctx& ctx = *models.libyang().models;
    ly_err_clean(models.libyang().models.get(), nullptr);
    try {
        DataPtr data = build_data(models, root);
        lyd_node* tree = data.release();
        const LY_ERR rc = lyd_validate_all(&tree, &ctx, LYD_VALIDATE_PRESENT, nullptr);
        data.reset(tree);
        if (rc != LY_SUCCESS) {
            const Complaint complaint = last_complaint(ctx);
            return invalid(complaint.path, complaint.reason);
        }
    } catch (const Unfit& unfit) {
        return invalid(unfit.path(), unfit.what());
    }
    return std::nullopt;
}

std::optional<Refusal> check_values(const Models& models, const Node& root)
{
    ly_err_clean(models.libyang().models.get(), nullptr);
    try {
        static_cast<void>(build_data(models, root));
    } catch (const Unfit& unfit) {
        return invalid(unfit.path(), unfit.what());
    }
    return std::nullopt;
}

} // namespace zpf::bridge

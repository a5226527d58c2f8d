// SPDX-License-Identifier: Apache-2.0
//
// Loading of models, and what the framework is told of them.
#include "zpf_bridge/models.hpp"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "zpf_bridge/libyang.hpp"
#include "zpf_map/plugin.hpp"

namespace zpf::bridge {

namespace {

ContextPtr new_context(bool yang_library)
{
    ly_log_options(LY_LOSTORE); // errors are collected and reported by us, never printed
    const auto options =
        static_cast<uint16_t>((yang_library ? 0 : LY_CTX_NO_YANGLIBRARY) | LY_CTX_DISABLE_SEARCHDIR_CWD);
    ly_ctx* raw = nullptr;
    if (ly_ctx_new(nullptr, options, &raw) != LY_SUCCESS) {
        throw Failure("libyang gives no context: out of memory?");
    }
    return ContextPtr{raw};
}

/// True for a file of a submodule: those come with the module they belong to.
bool is_submodule(const std::filesystem::path& file)
{
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        std::string word;
        std::istringstream(line) >> word;
        if (word == "module" || word == "submodule") {
            return word == "submodule";
        }
    }
    return false;
}

/// Names of the modules in the folders, sorted, so that the order of loading does not depend on the file system.
std::set<std::string> modules_in(const std::vector<std::string>& directories)
{
    std::set<std::string> names;
    for (const std::string& directory : directories) {
        std::error_code error;
        std::filesystem::directory_iterator files(directory, error);
        if (error) {
            throw Failure(directory + ": cannot be read as a folder of YANG modules: " + error.message());
        }
        for (const auto& file : files) {
            if (file.path().extension() == ".yang" && !is_submodule(file.path())) {
                const std::string stem = file.path().stem();
                names.insert(stem.substr(0, stem.find('@')));
            }
        }
    }
    if (names.empty()) {
        throw Failure((directories.empty() ? std::string{"(no folder)"} : directories.front()) +
                      ": holds no YANG module (*.yang)");
    }
    return names;
}

/// Loading fails in layers, each with its own line; the first one is the cause.
std::string all_complaints(const ly_ctx& ctx)
{
    std::string reasons;
    for (const ly_err_item* item = ly_err_first(&ctx); item != nullptr; item = item->next) {
        reasons += (reasons.empty() ? "" : "; ") + std::string(item->msg ? item->msg : "") +
                   (item->path ? " (" + std::string(item->path) + ")" : "");
    }
    return reasons;
}

bool is_numeric(const lysc_type& type)
{
    return type.basetype == LY_TYPE_DEC64 ||
           (type.basetype == LY_TYPE_LEAFREF &&
            reinterpret_cast<const lysc_type_leafref&>(type).realtype->basetype == LY_TYPE_DEC64);
}

SchemaNode describe(const lysc_node& node)
{
    SchemaNode described;
    described.tag = node.name;
    described.ns = node.module->ns;
    described.module = node.module->name;
    described.config = (node.flags & LYS_CONFIG_R) == 0;
    switch (node.nodetype) {
    case LYS_LIST:
        described.kind = NodeKind::list;
        for (const lysc_node* child = lysc_node_child(&node); child != nullptr; child = child->next) {
            if ((child->flags & LYS_KEY) != 0) {
                described.keys.emplace_back(child->name);
            }
        }
        break;
    case LYS_LEAF:
        described.kind = NodeKind::leaf;
        described.numeric = is_numeric(*reinterpret_cast<const lysc_node_leaf&>(node).type);
        break;
    case LYS_LEAFLIST:
        described.kind = NodeKind::leaf_list;
        break;
    default:
        break;
    }
    return described;
}

void describe_below(Schema& schema, SchemaNode* parent, const lysc_node* first)
{
    for (const lysc_node* node = first; node != nullptr; node = node->next) {
        if ((node->nodetype & (LYS_CHOICE | LYS_CASE)) != 0) {
            describe_below(schema, parent, lysc_node_child(node)); // choices are not in data
        } else if ((node->nodetype & (LYS_CONTAINER | LYS_LIST | LYS_LEAF | LYS_LEAFLIST)) != 0) {
            describe_below(schema, &schema.add(parent, describe(*node)), lysc_node_child(node));
        }
    }
}

Schema describe_models(const ly_ctx& ctx)
{
    Schema schema;
    uint32_t index = 0;
    while (const lys_module* module = ly_ctx_get_module_iter(&ctx, &index)) {
        if (module->implemented && module->compiled && std::string_view{module->name}.substr(0, 5) != "ietf-") {
            describe_below(schema, nullptr, module->compiled->data);
        }
    }
    return schema;
}

void load(ly_ctx& ctx, const HostModule& module)
{
    std::vector<const char*> features;
    for (const std::string& feature : module.features) {
        features.push_back(feature.c_str());
    }
    features.push_back(nullptr);
    const char* const revision = module.revision.empty() ? nullptr : module.revision.c_str();
    if (ly_ctx_load_module(&ctx, module.name.c_str(), revision, features.data()) == nullptr) {
        throw Failure("YANG module " + module.name + " cannot be loaded: " + all_complaints(ctx));
    }
}

} // namespace

Complaint last_complaint(const ly_ctx& ctx)
{
    const ly_err_item* const item = ly_err_last(&ctx);
    if (item == nullptr) {
        return {"libyang gives no reason", "", 0};
    }
    Complaint complaint{item->msg ? item->msg : "", "", 0};
    const std::string place = item->path ? item->path : "";
    static constexpr std::string_view kLine = "ine number "; // begins a sentence, or not
    if (const auto line = place.find(kLine); line != std::string::npos) {
        complaint.line = std::strtoul(place.c_str() + line + kLine.size(), nullptr, 10);
    }
    static constexpr std::string_view kPath = "ata location \"";
    if (const auto path = place.find(kPath); path != std::string::npos) {
        const auto begin = path + kPath.size();
        const auto end = std::min(place.find("\",", begin), place.find("\".", begin)); // paths may have quotes inside
        complaint.path = place.substr(begin, end == std::string::npos ? end : end - begin);
    } else if (place.rfind('/', 0) == 0) {
        complaint.path = place;
    }
    return complaint;
}

Models::Models(const ModelSet& set) : libyang_(std::make_unique<LibyangModels>())
{
    libyang_->blank = new_context(false);
    libyang_->models = new_context(set.yang_library);
    ly_ctx* const ctx = libyang_->models.get();
    const auto names = modules_in(set.directories);
    for (const auto* directories : {&set.directories, &set.search}) {
        for (const std::string& directory : *directories) {
            ly_ctx_set_searchdir(ctx, directory.c_str());
        }
    }
    for (const std::string& name : names) {
        load(*ctx, HostModule{name, "", {}});
    }
    schema_ = describe_models(*ctx); // before the host's own: these are no business of mappings
    for (const HostModule& module : set.host_modules) {
        load(*ctx, module);
    }
}

Models::~Models() = default;
Models::Models(Models&&) noexcept = default;
Models& Models::operator=(Models&&) noexcept = default;

} // namespace zpf::bridge

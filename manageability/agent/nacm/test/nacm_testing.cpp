// SPDX-License-Identifier: Apache-2.0
//
// Two small models, data for them and access rules as texts.
#include "nacm_testing.hpp"

#include <cstdlib>
#include <stdexcept>

namespace zpf::agent::testing {

namespace {

constexpr const char* kHouse = R"(
module house {
  yang-version 1.1; namespace "urn:house"; prefix h;
  import ietf-netconf-acm { prefix nacm; }
  container house {
    leaf name { type string; }
    leaf colour { type string; default "white"; }
    leaf door { nacm:default-deny-write; type string; }
    anydata papers;
    container climate { leaf target { type int16; } leaf mode { type string; } }
    container alarm { presence "armed"; leaf code { type string; } }
    container safe { nacm:default-deny-all; leaf code { type string; } container inner { leaf depth { type int8; } } }
    list room {
      key name;
      leaf name { type string; }
      leaf size { type uint16; }
      leaf secret { type string; }
      container light { leaf level { type uint8; } }
      list lamp {
        key "row column";
        leaf row { type uint8; } leaf column { type uint8; } leaf level { type uint8; }
      }
      action dim { input { leaf by { type uint8; } } }
      notification smoke { leaf level { type uint8; } }
    }
    list queue { key id; ordered-by user; leaf id { type string; } leaf text { type string; } }
    leaf-list tag { type string; ordered-by user; }
    leaf-list word { type string; }
  }
  container cellar { leaf note { type string; } }
  rpc open { input { leaf wide { type boolean; } } }
  rpc shut;
  rpc blast { nacm:default-deny-all; }
  notification bell { leaf tone { type string; } }
  notification thief { nacm:default-deny-all; leaf who { type string; } }
})";

constexpr const char* kAnnex = R"(
module annex {
  yang-version 1.1; namespace "urn:annex"; prefix a;
  import house { prefix h; }
  import ietf-netconf-acm { prefix nacm; }
  augment "/h:house/h:safe" { leaf tip { nacm:default-deny-write; type string; } }
  augment "/h:house" { leaf shed { type string; } }
  augment "/h:house/h:room" { container desk { leaf items { type uint8; } } }
  container yard { leaf fence { type string; } }
  rpc open;
  rpc burn { nacm:default-deny-all; }
  notification bell { leaf tone { type string; } }
})";

constexpr const char* kReplay = R"(
module nc-notifications {
  namespace "urn:ietf:params:xml:ns:netmod:notification"; prefix manageEvent;
  notification replayComplete;
  notification notificationComplete;
  notification somethingElse;
})";

struct FreeContext {
    void operator()(ly_ctx* ctx) const noexcept { ly_ctx_destroy(ctx); }
};
using Context = std::unique_ptr<ly_ctx, FreeContext>;

struct FreeText {
    void operator()(char* text) const noexcept { std::free(text); }
};

void require(bool good, const std::string& what, const ly_ctx* ctx)
{
    if (!good) {
        const char* message = ctx != nullptr ? ly_errmsg(ctx) : nullptr;
        throw std::runtime_error(what + ": " + (message != nullptr ? message : "no message"));
    }
}

Context make_context()
{
    ly_ctx* raw = nullptr;
    ly_log_options(LY_LOSTORE);
    ly_ctx_new(ZPF_IETF_YANG_DIR, LY_CTX_NO_YANGLIBRARY | LY_CTX_DISABLE_SEARCHDIR_CWD, &raw);
    Context ctx{raw};
    require(ctx != nullptr, "context", nullptr);
    for (const char* name : {"ietf-netconf-acm", "ietf-netconf"}) {
        require(ly_ctx_load_module(raw, name, nullptr, nullptr) != nullptr, name, raw);
    }
    for (const char* text : {kHouse, kAnnex, kReplay}) {
        require(lys_parse_mem(raw, text, LYS_IN_YANG, nullptr) == LY_SUCCESS, text, raw);
    }
    require(accept_rule_paths(*raw), "type of paths", raw);
    return ctx;
}

const lyd_node* find_event(const lyd_node* tree, int nodetypes)
{
    const lyd_node* node = nullptr;
    LYD_TREE_DFS_BEGIN(tree, node)
    {
        if (node->schema != nullptr && (node->schema->nodetype & nodetypes) != 0) {
            return node;
        }
        LYD_TREE_DFS_END(tree, node);
    }
    return nullptr;
}

Event parse_event(const std::string& xml, lyd_type type, int nodetypes)
{
    ly_in* in = nullptr;
    lyd_node* raw = nullptr;
    lyd_node* operation = nullptr;
    ly_in_new_memory(xml.c_str(), &in);
    const LY_ERR rc = lyd_parse_op(&context(), nullptr, in, LYD_XML, type, &raw, &operation);
    ly_in_free(in, 0);
    Tree tree{raw};
    require(rc == LY_SUCCESS, xml, &context());
    const lyd_node* event = find_event(raw, nodetypes);
    return {std::move(tree), event};
}

void add_lines(const lyd_node* first, std::vector<std::string>& lines)
{
    for (const lyd_node* node = first; node != nullptr; node = node->next) {
        const std::unique_ptr<char, FreeText> path{lyd_path(node, LYD_PATH_STD, nullptr, 0)};
        if ((node->schema->nodetype & LYS_LEAF) != 0) {
            lines.push_back(std::string(path.get()) + " = " + lyd_get_value(node));
        } else if (lyd_child(node) == nullptr) {
            lines.emplace_back(path.get());
        }
        add_lines(lyd_child(node), lines);
    }
}

} // namespace

const ly_ctx& context()
{
    static const Context ctx = make_context();
    return *ctx;
}

const lys_module& module_named(const std::string& name)
{
    const lys_module* module = ly_ctx_get_module_implemented(&context(), name.c_str());
    require(module != nullptr, name, nullptr);
    return *module;
}

const lysc_node& schema_of(const std::string& module, const std::string& name)
{
    const lysc_node* found = lys_find_child(nullptr, &module_named(module), name.c_str(), name.size(), 0, 0);
    require(found != nullptr, name, nullptr);
    return *found;
}

Tree parse_data(const std::string& xml)
{
    lyd_node* raw = nullptr;
    const LY_ERR rc = lyd_parse_data_mem(&context(), xml.c_str(), LYD_XML, LYD_PARSE_STRICT | LYD_PARSE_ONLY, 0, &raw);
    Tree tree{raw};
    require(rc == LY_SUCCESS, xml, &context());
    return tree;
}

Tree house(const std::string& children)
{
    return parse_data("<house xmlns='urn:house' xmlns:h='urn:house' xmlns:a='urn:annex'>" + children + "</house>");
}

Event parse_notification(const std::string& xml)
{
    return parse_event(xml, LYD_TYPE_NOTIF_YANG, LYS_NOTIF);
}

Event parse_action(const std::string& xml)
{
    return parse_event(xml, LYD_TYPE_RPC_YANG, LYS_ACTION | LYS_RPC);
}

std::shared_ptr<const Nacm> compile(const std::string& children)
{
    const Tree config = parse_data("<nacm xmlns='urn:ietf:params:xml:ns:yang:ietf-netconf-acm' xmlns:h='urn:house' "
                                   "xmlns:a='urn:annex'>" +
                                   children + "</nacm>");
    return Nacm::compile(context(), config.get());
}

std::string rule(const std::string& action, const std::string& accesses, const std::string& rest)
{
    static int number = 0;
    return "<rule><name>r" + std::to_string(++number) + "</name>" + rest + "<access-operations>" + accesses +
           "</access-operations><action>" + action + "</action></rule>";
}

std::string on_path(const std::string& action, const std::string& accesses, const std::string& path)
{
    return rule(action, accesses, "<path>" + path + "</path>");
}

std::string rules_for(const std::string& group, const std::vector<std::string>& rules)
{
    static int number = 0;
    std::string text = "<rule-list><name>l" + std::to_string(++number) + "</name><group>" + group + "</group>";
    for (const std::string& rule : rules) {
        text += rule;
    }
    return text + "</rule-list>";
}

std::string group(const std::string& name, const std::string& user)
{
    return "<groups><group><name>" + name + "</name><user-name>" + user + "</user-name></group></groups>";
}

std::shared_ptr<const Nacm> for_ann(const std::vector<std::string>& rules, const std::string& settings)
{
    return compile(settings + group("staff", "ann") + rules_for("staff", rules));
}

std::vector<std::string> lines_of(const lyd_node* tree)
{
    std::vector<std::string> lines;
    add_lines(tree, lines);
    return lines;
}

std::vector<std::string> visible(const Nacm& nacm, const Who& who, const std::string& children_of_house)
{
    Tree tree = house(children_of_house);
    lyd_node* raw = tree.release();
    nacm.prune_unreadable(who, &raw);
    tree.reset(raw);
    return lines_of(raw);
}

std::string refused(const Nacm& nacm, const Who& who, const std::string& before, const std::string& after)
{
    const std::optional<Denied> denied = nacm.check_write(who, house(before).get(), house(after).get());
    return denied ? denied->path : "permitted";
}

} // namespace zpf::agent::testing

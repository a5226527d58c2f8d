// SPDX-License-Identifier: Apache-2.0
//
// What holds after any walk, over random requests and native data: the request is as it was, calls are nested, strings
// are not lost, and nothing unexpected is added. A failing case prints its seed and tree.
#include "plugin_fixture.hpp"

#include <random>
#include <set>

namespace {

using test::FrameworkDouble;
using test::ifmgr;
using test::oc;
using test::oper;
using test::ots;
using test::Plugin;
using test::Spec;
using test::Tree;

class Generator {
public:
    explicit Generator(uint32_t seed) : random_{seed} {}

    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(random_() % limit); }
    bool one_in(uint32_t n) { return below(n) == 0; }
    template <typename T>
    T any(std::initializer_list<T> values)
    {
        return values.begin()[below(static_cast<uint32_t>(values.size()))];
    }

    uint32_t operation() { return any({0u, 1u, 1u, 10u, 8u, 15u, 2u}); }

    Spec request()
    {
        return damaged(oc("optical-attenuator", children(2, [this] { return attenuators(); })));
    }

    Spec native_configuration()
    {
        return oddly_placed(ifmgr("interface-configurations", children(4, [this] { return interface(); })));
    }

    Spec native_state()
    {
        return oddly_placed(oper("ots-oper", {oper("ots-ports", children(4, [this] { return port(); }))}));
    }

private:
    template <typename Make>
    std::vector<Spec> children(uint32_t limit, Make make)
    {
        std::vector<Spec> made;
        for (uint32_t i = 0, count = below(limit + 1); i < count; ++i) {
            made.push_back(one_in(12) ? odd_node() : make());
        }
        return made;
    }
    Spec odd_node()
    {
        return any({test::foreign("x"), oc("unknown", "1"), Spec{}, test::foreign("y").op(ZPF_OP_DELETE)});
    }
    Spec damaged(Spec node)
    {
        node.edit_op = one_in(3) ? any({0, 1, 2, 3, 4}) : 0;
        return node;
    }
    Spec oddly_placed(const Spec& node) { return one_in(10) ? node.op(ZPF_OP_DELETE) : node; }
    Spec leaf(const char* tag, std::initializer_list<const char*> values)
    {
        return damaged(one_in(4) ? oc(tag) : oc(tag, any(values)));
    }
    const char* attenuator_name() { return any({"0/0-VOA-BST0", "0/0-VOA-BST2", "0/0-VOA-BST7", "ABC", ""}); }
    const char* controller_name()
    {
        return any({"Ots0/0/0/0", "Ots0/0/0/2", "Ots0/0/0/1", "Ots0/0/0/", "GigabitEthernet0/0/0/0", "XOts0/0/0/2",
                    "anInterfaceOfMoreThanTwentyCharacters"});
    }
    Spec key()
    {
        Spec name = one_in(6) ? oc("name") : oc("name", attenuator_name());
        return one_in(10) ? damaged(name) : name;
    }
    Spec attenuators()
    {
        return damaged(oc("attenuators", children(3, [this] { return attenuator(); })));
    }
    Spec attenuator()
    {
        std::vector<Spec> nodes = children(2, [this] { return one_in(2) ? config() : state(); });
        if (!one_in(5)) {
            nodes.insert(nodes.begin(), key());
        }
        return damaged(oc("attenuator", nodes));
    }
    Spec config()
    {
        return damaged(oc("config", children(3, [this] {
                              return any({key(), leaf("attenuation", {"12.5", "21", "abc"}), leaf("enabled", {"true"}),
                                          leaf("attenuation-mode", {"x"})});
                          })));
    }
    Spec state()
    {
        return damaged(oc("state", children(3, [this] {
                              return any({key(), leaf("attenuation", {"1"}), leaf("egress-port", {"x"}),
                                          leaf("component", {"x"}), oc("actual-attenuation", {leaf("instant", {"1"})}),
                                          oc("optical-return-loss")});
                          })));
    }
    Spec interface()
    {
        std::vector<Spec> nodes = children(3, [this] {
            return any({ots("ots", {ots("ots-tx-voa-attenuation", "30")}), ifmgr("description", "x"),
                        ifmgr("mtus", {ifmgr("mtu", {ifmgr("owner", "o")})}),
                        ots("ots", {ots("raman-tx-powers", {ots("raman-tx-power")})})});
        });
        nodes.push_back(ifmgr("interface-name", controller_name()));
        return oddly_placed(ifmgr("interface-configuration", nodes));
    }
    Spec port()
    {
        std::vector<Spec> nodes{oper("ots-info", {oper("tx-voa-attenuation", any({"0", "95", "-1", "x"}))})};
        if (!one_in(5)) {
            nodes.insert(nodes.begin(), oper("name", controller_name()));
        }
        return oper("ots-port", nodes);
    }

    std::mt19937 random_;
};

const std::set<std::pair<std::string, std::string>>& known_paths()
{
    static const std::string ic = "/interface-configurations/interface-configuration";
    static const std::string op = "/ots-oper/ots-ports/ots-port";
    static const std::string at = "/optical-attenuator/attenuators/attenuator";
    static const std::set<std::pair<std::string, std::string>> paths{
        {ic, ZPF_NS_IFMGR_CFG},
        {ic + "/interface-name", ZPF_NS_IFMGR_CFG},
        {ic + "/active", ZPF_NS_IFMGR_CFG},
        {ic + "/ots/ots-tx-voa-attenuation", ZPF_NS_CONTROLLER_OTS_CFG},
        {op, ZPF_NS_CONTROLLER_OTS_OPER},
        {op + "/name", ZPF_NS_CONTROLLER_OTS_OPER},
        {op + "/ots-info/tx-voa-attenuation", ZPF_NS_CONTROLLER_OTS_OPER},
        {at, ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR},
        {at + "/name", ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR},
        {at + "/config/name", ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR},
        {at + "/config/attenuation", ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR},
        {at + "/state/name", ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR},
        {at + "/state/attenuation", ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR},
        {at + "/state/actual-attenuation/instant", ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR},
        {at + "/state/enabled", ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR}};
    return paths;
}

/** Whether a replace stands inside a replace: the one case in which an outer operation is not put back. */
bool has_nested_replace(const Spec& node, bool inside = false)
{
    const bool replaces = node.edit_op == ZPF_OP_REPLACE && !node.children.empty();
    return (inside && node.edit_op == ZPF_OP_REPLACE) ||
           std::any_of(node.children.begin(), node.children.end(),
                       [&](const Spec& child) { return has_nested_replace(child, inside || replaces); });
}

/** A read adds the key to entries that name others only; take it away before comparing. */
void take_added_keys_away(qidl_zpf_datatree& node, const std::vector<test::Add>& adds)
{
    for (const test::Add& add : adds) {
        if (add.wants_node && add.tree == &node) {
            --node.subtree_count;
        }
    }
    for (uint32_t i = 0; node.subtrees != nullptr && i < node.subtree_count; ++i) {
        take_added_keys_away(node.subtrees[i], adds);
    }
}

void expect_undisturbed(const FrameworkDouble& framework)
{
    EXPECT_EQ(framework.request.walk_mode, 0u);
    EXPECT_EQ(framework.request.subtree_delete_allowed, 0u);
    EXPECT_EQ(framework.request.walk_flags, 0u);
    EXPECT_EQ(framework.request.list_entry_mapped, 0u);
    EXPECT_TRUE(framework.itree.empty());
    EXPECT_TRUE(framework.hierarchy.empty());
    EXPECT_EQ(framework.hierarchy_mismatches, 0u);
    EXPECT_LE(framework.deepest_hierarchy, 5u);
    EXPECT_EQ(framework.calls_of({"OUT+"}).size(), framework.calls_of({"OUT-"}).size());
    EXPECT_EQ(framework.calls_of({"trace_index", "ring_write"}).size() + framework.log.size(), 0u);
    for (const test::Add& add : framework.adds) {
        EXPECT_TRUE(known_paths().contains({add.path, add.ns})) << add.path << " in " << add.ns;
    }
    EXPECT_EQ(framework.strings_alive,
              (framework.request.error_tag != nullptr ? 1 : 0) + (framework.request.error_message != nullptr ? 1 : 0));
}

/** Runs `walk_one` over many seeds. @return how often it said that the case was of interest */
template <typename WalkOne>
uint32_t over_seeds(uint32_t count, WalkOne walk_one)
{
    uint32_t interesting = 0;
    for (uint32_t seed = 1; seed <= count && !::testing::Test::HasFailure(); ++seed) {
        interesting += walk_one(seed) ? 1u : 0u;
    }
    return interesting;
}

TEST(WalkState, IsPutBackAfterAnyRequest)
{
    const uint32_t succeeded = over_seeds(6000, [](uint32_t seed) {
        Generator generator{seed};
        const Spec spec = generator.request();
        Tree tree{spec};
        const std::string before = test::describe(*tree.root());
        SCOPED_TRACE("seed " + std::to_string(seed) + "\n" + before);
        FrameworkDouble framework;
        framework.header.operation = generator.operation();
        const uint32_t list_state = generator.any({0u, 0xFFFFFFF8u, 0x10u});
        framework.request.list_state = list_state;
        const qerrno result =
            Plugin::shared().node(test::kOx + "lvla_opticalattenuator")(framework.ctx(), tree.root(), &framework.out);
        expect_undisturbed(framework);
        EXPECT_NE(result, ZPF_RC_SKIP_INSTANCE);
        if (framework.header.operation == 0 || framework.header.operation == 10) {
            // A delete that is refused is refused before the read's mask is applied.
            EXPECT_TRUE(framework.request.list_state == (list_state & 0x11111110u) || framework.calls.size() <= 1);
        }
        if (!has_nested_replace(spec)) {
            take_added_keys_away(*tree.root(), framework.adds);
            EXPECT_EQ(test::describe(*tree.root()), before);
        }
        return result == ZPF_RC_OK && !framework.adds.empty();
    });
    EXPECT_GT(succeeded, 1000u);
}

TEST(WalkState, IsUndisturbedByAnyNativeData)
{
    const uint32_t succeeded = over_seeds(4000, [](uint32_t seed) {
        Generator generator{seed};
        const bool walks_state = generator.one_in(2);
        const Spec spec = walks_state ? generator.native_state() : generator.native_configuration();
        Tree tree{spec};
        const std::string before = test::describe(*tree.root());
        SCOPED_TRACE("seed " + std::to_string(seed) + "\n" + before);
        Tree requested{
            Spec{std::nullopt,
                 std::nullopt,
                 {oc("optical-attenuator",
                     {oc("attenuators",
                         {oc("attenuator", {oc("name", generator.any({"0/0-VOA-BST0", "", "0/0-VOA-BST2"}))})})})},
                 std::nullopt}};
        FrameworkDouble framework;
        framework.request.reg_dup_datatree = requested.root();
        framework.header.operation = generator.operation();
        const std::string walker =
            walks_state ? test::kOtsOper + "lvla_otsoper" : test::kIfmgr + "lvla_interfaceconfigurations";
        const qerrno result = Plugin::shared().node(walker)(framework.ctx(), tree.root(), &framework.out);
        expect_undisturbed(framework);
        EXPECT_NE(result, ZPF_RC_SKIP_INSTANCE);
        EXPECT_EQ(test::describe(*tree.root()), before);
        for (const test::Add& add : framework.adds) {
            if (add.path.ends_with("/name")) {
                EXPECT_TRUE(add.value == "0/0-VOA-BST0" || add.value == "0/0-VOA-BST2");
            }
        }
        return result == ZPF_RC_OK && !framework.adds.empty();
    });
    EXPECT_GT(succeeded, 1000u);
}

} // namespace

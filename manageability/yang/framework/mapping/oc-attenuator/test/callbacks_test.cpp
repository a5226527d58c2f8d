// SPDX-License-Identifier: Apache-2.0
//
// Node callbacks by their exported names: who accepts, who refuses, who hands on.
#include "plugin_fixture.hpp"

#include "exported_symbols.hpp"

namespace {

using test::oc;
using test::Plugin;
using test::Tree;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kDuckLeaf = test::kOx + "duck_map_leaf";
const std::string kConfigEnabled = test::kOx + "leaf_lvla_opticalattenuator_config_enabled";

bool has(const std::string& name, const char* part)
{
    return name.find(part) != std::string::npos;
}

bool is_container(const std::string& name)
{
    return has(name, "_cont_lvla_") || has(name, "duck_map_container");
}

/** Functions that look at none of their nodes. */
bool tests_nothing(const std::string& name)
{
    const bool is_native = name.rfind("ymap_xo_", 0) == 0;
    return name.ends_with("duck_map_list") || (is_native && name.ends_with("duck_map_leaf"));
}

class NodeCallback : public test::PluginTest {};

TEST_F(NodeCallback, RefusesMissingNodesUnderEveryNameButTheSilentDefaults)
{
    std::map<void*, bool> silent; // by body: second names behave as the first
    const auto names = test::exported_names({"ymap_", "oc_opt_att_"});
    for (const std::string& name : names) {
        if (tests_nothing(name)) {
            silent[Plugin::shared().symbol(name)] = true;
        }
    }
    int refusing = 0;
    for (const std::string& name : names) {
        if (!silent.contains(Plugin::shared().symbol(name))) {
            expect_refuses_missing_nodes(name);
            ++refusing;
        }
    }
    EXPECT_EQ(refusing, 171 - 1 - 2 - 20 - 4 - 30 - 2); // per module: the defaults and their second names
}

TEST_F(NodeCallback, AcceptsMissingNodesUnderTheSilentDefaults)
{
    for (const std::string& name : test::exported_names({"ymap_"})) {
        if (tests_nothing(name)) {
            EXPECT_EQ(Plugin::shared().node(name)(framework.ctx(), nullptr, nullptr), ZPF_RC_OK) << name;
        }
    }
    EXPECT_THAT(framework.calls, IsEmpty());
}

TEST_F(NodeCallback, AcceptsEveryContainerAndAddsNothing)
{
    Tree tree{oc("anything")};
    int containers = 0;
    for (const std::string& name : test::exported_names({"ymap_"})) {
        if (is_container(name)) {
            EXPECT_EQ(Plugin::shared().container(name)(framework.ctx(), tree.root(), 3, &framework.out), ZPF_RC_OK);
            ++containers;
        }
    }
    EXPECT_EQ(containers, 8 + 6 + 5 + 4);
    EXPECT_THAT(framework.calls, IsEmpty());
}

TEST_F(NodeCallback, RefusesAnUnsupportedLeafPathFirst)
{
    Tree tree{oc("target-output-power", "1")};
    for (const std::string& name :
         {kDuckLeaf, kConfigEnabled, test::kOx + "leaf_lvla_opticalattenuator_config_targetoutputpower",
          test::kOx + "leaf_lvla_opticalattenuator_opticalreturnloss_mintime"}) {
        framework.calls.clear();
        named_free(framework.request.error_tag);
        framework.request.error_tag = nullptr;
        framework.calls.clear();
        EXPECT_EQ(call(name, tree.root()), ZPF_RC_UNSUPPORTED_NODE);
        EXPECT_THAT(framework.calls,
                    ElementsAre("oc_error_path", R"(strdup("target-output-power","target-output-power"))"));
        EXPECT_EQ(error_tag(), "target-output-power");
        EXPECT_EQ(framework.request.error_message, nullptr);
    }
}

TEST_F(NodeCallback, ReplacesTheTagOfAnEarlierRefusal)
{
    Tree first{oc("attenuation-mode")};
    Tree second{oc("component")};
    for (const std::string& name : {kDuckLeaf, kConfigEnabled}) {
        call(name, first.root());
        framework.calls.clear();
        call(name, second.root());
        EXPECT_THAT(framework.calls,
                    ElementsAre("oc_error_path", R"(free("attenuation-mode"))", R"(strdup("component","component"))"));
        EXPECT_EQ(error_tag(), "component");
        EXPECT_EQ(framework.strings_alive, 1);
    }
}

TEST_F(NodeCallback, RefusesWithoutARequestToWriteTo)
{
    framework.context.request = nullptr;
    Tree tree{oc("component")};
    EXPECT_EQ(call(kDuckLeaf, tree.root()), ZPF_RC_UNSUPPORTED_NODE);
    EXPECT_THAT(framework.calls, ElementsAre("oc_error_path"));
    framework.context.request = &framework.request;
}

TEST_F(NodeCallback, ReportsStartAndEnd)
{
    framework.logs_trace = true;
    Tree tree{oc("component")};
    for (const std::string& name : test::exported_names({"ymap_ox_", "ymap_xo_"})) {
        if (has(name, "_cont_lvla_") || has(name, "duck_map_") || has(name, "_parse_augments")) {
            framework.log.clear();
            if (is_container(name)) {
                Plugin::shared().container(name)(framework.ctx(), tree.root(), 0, &framework.out);
            } else {
                call(name, tree.root());
            }
            EXPECT_THAT(framework.messages("TRC"), ElementsAre("Start", "End")) << name;
        }
    }
}

struct MappedCase {
    std::string callback;
    const char* first_call;
};

class MappedCallback : public test::PluginTest {};

TEST_F(MappedCallback, ReturnsTheResultOfItsTranslation)
{
    // Each translation ends with an add here, so its result shows that the callback has called it.
    const std::vector<MappedCase> cases{
        {test::kOx + "list_lvla_opticalattenuator_attenuators_attenuator", "is_request_delete"},
        {test::kOx + "leaf_lvla_opticalattenuator_attenuator_name", "ADD IC/interface-name"},
        {test::kOx + "leaf_lvla_opticalattenuator_config_name", "ADD IC/interface-name"},
        {test::kOx + "leaf_lvla_opticalattenuator_config_attenuation", "ADD IC/ots/voa"},
        {test::kOx + "leaf_lvla_opticalattenuator_state_name", "ADD OP/name"},
        {test::kOx + "leaf_lvla_opticalattenuator_state_attenuation", "ADD OP/info/voa"},
        {test::kOx + "leaf_lvla_opticalattenuator_state_enabled", "ADD OP/info/voa"},
        {test::kOx + "leaf_lvla_opticalattenuator_state_egressport", "ADD OP/name"},
        {test::kOx + "leaf_lvla_opticalattenuator_actualattenuation_instant", "ADD OP/info/voa"},
        {test::kIfmgr + "list_lvla_interfaceconfigurations_interfaceconfiguration", "is_request_delete"},
        {test::kOtsCfg + "leaf_lvla_ots_otstxvoaattenuation", "ADD AT/config/attenuation"},
        {test::kOtsOper + "leaf_lvla_otsoper_otsinfo_txvoaattenuation", "print(plist)"},
    };
    framework.header.operation = ZPF_REQUEST_GET;
    framework.on_add = [](const test::Add&) { return ZPF_RC_INVALID_VALUE; };
    for (const MappedCase& each : cases) {
        Tree tree{oc("name", has(each.callback, "attenuation") ? "7" : "0/0-VOA-BST2")};
        framework.calls.clear();
        EXPECT_EQ(call(each.callback, tree.root()), ZPF_RC_INVALID_VALUE) << each.callback;
        ASSERT_FALSE(framework.calls.empty()) << each.callback;
        EXPECT_EQ(framework.calls.front().rfind(each.first_call, 0), 0u) << framework.calls.front();
    }
    Tree controller{oc("interface-name", "Ots0/0/0/2")};
    EXPECT_EQ(call(test::kIfmgr + "leaf_lvla_interfaceconfigurations_interfaceconfiguration_interfacename",
                   controller.root()),
              ZPF_RC_INVALID_VALUE);
    EXPECT_EQ(call(test::kOtsOper + "leaf_lvla_otsoper_otsport_name", controller.root()), ZPF_RC_INVALID_VALUE);
}

} // namespace

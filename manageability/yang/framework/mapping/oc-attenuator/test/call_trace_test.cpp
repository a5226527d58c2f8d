// SPDX-License-Identifier: Apache-2.0
//
// Whole walks, call by call: what the plug-in asks of the framework and of its own callbacks, compared with traces in
// golden/.
//
// Notation: H+(n,l) and H-(n) hierarchy, U(L) current list, cb node callback, ADD path value source list,leaf flag with
// src:name(opN) and * for a consumed source, OUT+ and OUT- output list bracket; IC, OP and AT are the three list paths.
// Runs of refused leaves are one line. Comparisons of names, diagnostics and native container callbacks are left out.
#include "framework_double.hpp"
#include "plugin_under_test.hpp"

#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using test::FrameworkDouble;
using test::ifmgr;
using test::oc;
using test::oper;
using test::ots;
using test::Plugin;
using test::Spec;
using test::Tree;

/** The record as a trace: refusals counted, prints of the plug-in's own and string handling left out. */
std::vector<std::string> rendered(const std::vector<std::string>& calls)
{
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const std::string& call = calls[i];
        if (call.rfind("refused ", 0) == 0) {
            std::size_t count = 1;
            while (i + 1 < calls.size() && calls[i + 1] == call) {
                ++count;
                ++i;
            }
            const std::string tag = call.substr(8, call.find(' ', 8) - 8);
            lines.push_back("(unsupported leaf x" + std::to_string(count) + ": oc_error_path, error_tag := " + tag +
                            (call.find(" in expansion") != std::string::npos ? ", result discarded)" : ")"));
        } else if (call == "print(root_node) enabled") {
            lines.emplace_back("print(print_data)");
        } else if (call.rfind("print(", 0) != 0 && call.rfind("strdup(", 0) != 0 && call.rfind("free(", 0) != 0) {
            lines.push_back(call);
        }
    }
    return lines;
}

/** Adds what the state translation reports about the current attenuator, the only trace of its search. */
void record_current_attenuator(FrameworkDouble& framework)
{
    framework.logs_trace = true;
    framework.on_log = [&framework, key = std::string{}](const std::string& line) mutable {
        const std::string message = line.substr(line.find(',') + 1);
        if (message.rfind("key:  ", 0) == 0) {
            key = message.substr(6, message.size() - 7);
        } else if (message.rfind("controller_name:  ", 0) == 0) {
            framework.record("plist key=" + key + " path=" + message.substr(18, message.size() - 19));
        }
    };
}

/** One request: its kind, its tree, and the native data that is walked after it, if any. */
struct Scenario {
    const char* name;
    uint32_t operation;
    std::vector<Spec> openconfig; /**< Walked, none or one. */
    std::vector<Spec> requested;  /**< What the native walk finds as the client's request, none or one. */
    std::vector<Spec> native;
};

void PrintTo(const Scenario& scenario, std::ostream* os)
{
    *os << scenario.name;
}

void walk(FrameworkDouble& framework, const std::string& walker, qidl_zpf_datatree* node)
{
    const qerrno result = Plugin::shared().node(walker)(framework.ctx(), node, &framework.out);
    if (result != ZPF_RC_OK) {
        char code[16];
        std::snprintf(code, sizeof code, "RC 0x%x", result);
        const auto text = [](const char* part) { return part != nullptr ? std::string{part} : std::string{"None"}; };
        framework.record(code + (" " + text(framework.request.error_tag)) + " " +
                         text(framework.request.error_message));
    }
}

std::vector<std::string> trace_of(const Scenario& scenario)
{
    FrameworkDouble framework;
    framework.header.operation = scenario.operation;
    framework.folds_refusals = true;
    record_current_attenuator(framework);
    for (const Spec& spec : scenario.openconfig) {
        Tree copy{Spec{std::nullopt, std::nullopt, {spec}, std::nullopt}};
        Tree walked{spec};
        framework.request.reg_dup_datatree = copy.root();
        walk(framework, test::kOx + "lvla_opticalattenuator", walked.root());
        EXPECT_EQ(test::describe(*walked.root()), test::describe(copy.root()->subtrees[0]));
        framework.request.reg_dup_datatree = nullptr;
    }
    Tree requested{Spec{std::nullopt, std::nullopt, scenario.requested, std::nullopt}};
    framework.request.reg_dup_datatree = requested.root();
    for (const Spec& spec : scenario.native) {
        Tree native{spec};
        walk(framework,
             spec.tag == "ots-oper" ? test::kOtsOper + "lvla_otsoper" : test::kIfmgr + "lvla_interfaceconfigurations",
             native.root());
    }
    EXPECT_EQ(framework.hierarchy_mismatches, 0u);
    EXPECT_TRUE(framework.hierarchy.empty());
    return rendered(framework.calls);
}

std::vector<std::string> golden_of(const std::string& name)
{
    std::ifstream file{OC_ATTENUATOR_GOLDEN "/" + name + ".trace"};
    EXPECT_TRUE(file) << name;
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind('#', 0) != 0) {
            lines.push_back(line);
        }
    }
    return lines;
}

// ---- requests

Spec root(std::vector<Spec> entries)
{
    return oc("optical-attenuator", {oc("attenuators", std::move(entries))});
}

Spec entry(const char* name, std::vector<Spec> others = {})
{
    others.insert(others.begin(), oc("name", name));
    return oc("attenuator", std::move(others));
}

Spec config_of(const char* name, const char* attenuation_db)
{
    return oc("config", {oc("name", name), oc("attenuation", attenuation_db)});
}

// ---- native data

Spec interface_of(const char* name)
{
    return ifmgr("interface-configuration", {ifmgr("active", "act"), ifmgr("interface-name", name)});
}

Spec controller_of(const char* name, const char* attenuation_tenths)
{
    Spec controller = interface_of(name);
    controller.children.push_back(ots("ots", {ots("ots-tx-voa-attenuation", attenuation_tenths)}));
    return controller;
}

Spec interfaces(std::vector<Spec> entries)
{
    return ifmgr("interface-configurations", std::move(entries));
}

Spec port_of(const char* name, const char* attenuation_tenths)
{
    return oper("ots-port", {oper("name", name), oper("ots-info", {oper("tx-voa-attenuation", attenuation_tenths)})});
}

Spec ports(std::vector<Spec> entries)
{
    return oper("ots-oper", {oper("ots-ports", std::move(entries))});
}

Spec device_interfaces()
{
    return interfaces({interface_of("GigabitEthernet0/0/0/0"), controller_of("Ots0/0/0/1", "77"),
                       controller_of("Ots0/0/0/0", "30"), controller_of("Ots0/0/0/2", "95")});
}

Spec device_ports()
{
    return ports({port_of("Ots0/0/0/1", "77"), port_of("Ots0/0/0/0", "31"), port_of("Ots0/0/0/2", "0")});
}

const std::vector<Spec> kOneEntry{root({entry("0/0-VOA-BST2")})};

std::vector<Spec> one(Spec spec)
{
    return {std::move(spec)};
}

std::vector<Scenario> scenarios()
{
    const uint32_t get = ZPF_REQUEST_GET;
    const uint32_t get_config = ZPF_REQUEST_GET_CONFIG;
    const uint32_t edit = ZPF_REQUEST_EDIT_CONFIG;
    const char* bst2 = "0/0-VOA-BST2";
    return {
        {"get_everything", get, one(oc("optical-attenuator")), {}, {}},
        {"get_everything_native",
         get,
         {},
         one(oc("optical-attenuator")),
         {interfaces({controller_of("Ots0/0/0/0", "30"), controller_of("Ots0/0/0/2", "95")}),
          ports({port_of("Ots0/0/0/0", "31"), port_of("Ots0/0/0/2", "0")})}},
        {"get_config_everything", get_config, one(oc("optical-attenuator")), {}, {}},
        {"get_entry", get, kOneEntry, {}, {}},
        {"get_state_attenuation", get, one(root({entry(bst2, {oc("state", {oc("attenuation")})})})), {}, {}},
        {"get_config_unknown_key", get_config, one(root({entry("0/0-VOA-BST7")})), {}, {}},
        {"get_unknown_key", get, one(root({entry("0/0-VOA-BST7")})), {}, {}},
        {"merge_attenuation", edit, one(root({entry(bst2, {config_of(bst2, "12.5")})})), {}, {}},
        {"replace_root", edit, one(root({entry(bst2, {config_of(bst2, "12.5")})}).op(ZPF_OP_REPLACE)), {}, {}},
        {"delete_entry", edit, one(root({entry(bst2).op(ZPF_OP_DELETE)})), {}, {}},
        {"delete_root", edit, one(oc("optical-attenuator").op(ZPF_OP_DELETE)), {}, {}},
        {"delete_attenuation",
         edit,
         one(root({entry(bst2, {oc("config", {oc("attenuation").op(ZPF_OP_DELETE)})})})),
         {},
         {}},
        {"replace_entry", edit, one(root({entry(bst2, {config_of(bst2, "12.5")}).op(ZPF_OP_REPLACE)})), {}, {}},
        {"merge_loose_key",
         edit,
         one(root({entry("0/0-VOA-BST01", {oc("config", {oc("attenuation", "5")})})})),
         {},
         {}},
        {"native_get_config", get_config, {}, {}, {device_interfaces(), device_ports()}},
        {"native_get_one_key", get, {}, kOneEntry, {device_interfaces(), device_ports()}},
    };
}

class CallTrace : public ::testing::TestWithParam<Scenario> {};

TEST_P(CallTrace, IsTheGoldenOne)
{
    EXPECT_THAT(trace_of(GetParam()), ::testing::ElementsAreArray(golden_of(GetParam().name)));
}

INSTANTIATE_TEST_SUITE_P(Walks, CallTrace, ::testing::ValuesIn(scenarios()),
                         [](const auto& test_case) { return std::string{test_case.param.name}; });

} // namespace

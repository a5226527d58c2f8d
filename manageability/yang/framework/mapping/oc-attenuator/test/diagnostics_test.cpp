// SPDX-License-Identifier: Apache-2.0
//
// Diagnostics as they leave the plug-in: the lines of both sinks, the switches, and the stop at a missing context.
#include "plugin_fixture.hpp"

#include "assertion_probe.hpp"
#include "exported_symbols.hpp"

#include <set>

namespace {

using test::FrameworkDouble;
using test::oc;
using test::Plugin;
using test::RingLine;
using test::Tree;

const std::string kListOx = test::kOx + "list_lvla_opticalattenuator_attenuators_attenuator";
const std::string kDuckLeaf = test::kOtsOper + "duck_map_leaf";

class Diagnostics : public test::PluginTest {
protected:
    std::string context_text() const
    {
        char text[40];
        std::snprintf(text, sizeof text, "%p", static_cast<const void*>(&framework.context));
        return text;
    }
};

TEST_F(Diagnostics, WriteNothingWhileBothSinksAreOff)
{
    Tree tree{oc("name", "Ots0/0/0/1")};
    call("oc_opt_att_attenuator_key_to_high", tree.root());
    EXPECT_GT(framework.filter_questions, 0u);
    EXPECT_THAT(framework.log, ::testing::IsEmpty());
    EXPECT_THAT(framework.calls_of({"trace_index", "ring_write"}), ::testing::IsEmpty());
}

TEST_F(Diagnostics, WriteTraceLinesToTheTraceLogInTheirExactForm)
{
    framework.logs_trace = true;
    framework.context.trc_log = &framework.context.trc_log;
    framework.context.err_log = &framework.context.err_log;
    call(kDuckLeaf, nullptr);
    ASSERT_EQ(framework.log.size(), 2u);
    EXPECT_EQ(framework.log[0].text, "TRC: ZPF: ctx=" + context_text() + ",Start");
    EXPECT_EQ(framework.log[1].text, "TRC: ZPF: ctx=" + context_text() + ",End");
    EXPECT_EQ(framework.log[0].log, framework.context.trc_log);
    EXPECT_TRUE(framework.log[0].words_are_zero);
    EXPECT_THAT(framework.calls, ::testing::IsEmpty());
}

TEST_F(Diagnostics, WriteErrorLinesToTheErrorLogInTheirExactForm)
{
    framework.logs_error = true;
    framework.context.trc_log = &framework.context.trc_log;
    framework.context.err_log = &framework.context.err_log;
    call("oc_opt_att_cfg_attenuation_to_low", nullptr);
    ASSERT_EQ(framework.log.size(), 1u);
    EXPECT_EQ(framework.log[0].text, "ERR: ZPF: ctx=" + context_text() + ",Invalid arguments passed!");
    EXPECT_EQ(framework.log[0].log, framework.context.err_log);
    EXPECT_TRUE(framework.log[0].words_are_zero);
}

/** The parts of a line of the ring. */
struct NumberedLine {
    unsigned number = 0;
    char level[4] = "";
    char reporter[80] = "";
    unsigned line = 0;
    void* context = nullptr;
    std::string message;

    explicit NumberedLine(const std::string& text)
    {
        int message_at = 0;
        const int parts = std::sscanf(text.c_str(), "#%u: %3[A-Z]: %79[a-z_]:%u ctx=%p,%n", &number, level, reporter,
                                      &line, &context, &message_at);
        EXPECT_EQ(parts, 5) << text;
        message = text.substr(static_cast<std::size_t>(message_at));
    }
};

TEST_F(Diagnostics, WriteNumberedLinesToTheRingInTheirExactForm)
{
    framework.context.trace_enabled = 1;
    framework.context.trace_buf = &framework.context.trace_buf;
    call("oc_opt_att_cfg_attenuation_to_low", nullptr);
    ASSERT_EQ(framework.ring.size(), 2u);
    const NumberedLine start{framework.ring[0].text};
    const NumberedLine error{framework.ring[1].text};
    EXPECT_EQ(error.number, start.number + 1);
    EXPECT_STREQ(start.level, "TRC");
    EXPECT_STREQ(error.level, "ERR");
    EXPECT_STREQ(start.reporter, "oc_opt_att_cfg_attenuation_to_low");
    EXPECT_LT(start.line, error.line);
    EXPECT_EQ(start.context, framework.ctx());
    EXPECT_EQ(start.message, "Start");
    EXPECT_EQ(error.message, test::kInvalidArguments);
    EXPECT_EQ(framework.ring[0].text, "#" + std::to_string(start.number) + ": TRC: oc_opt_att_cfg_attenuation_to_low:" +
                                          std::to_string(start.line) + " ctx=" + context_text() + ",Start");
    for (const RingLine& line : framework.ring) {
        EXPECT_EQ(line.ring, framework.context.trace_buf);
        EXPECT_EQ(line.flags, 0x10101000000u);
    }
    EXPECT_THAT(framework.calls,
                ::testing::ElementsAre("trace_index", "ring_write", "trace_index", "ring_write", "oc_error_path"));
}

TEST_F(Diagnostics, CutLinesOfTheRingTo249CharactersAndNotThoseOfTheLog)
{
    framework.logs_trace = true;
    framework.context.trace_enabled = 1;
    const std::string value(180, '7');
    const std::string path(190, 'p');
    Tree tree{oc(path.c_str(), value.c_str())};
    char path_buffer[200] = "";
    char key[20] = "";
    Plugin::shared().get<int32_t(zpf_map_ctx, const qidl_zpf_datatree*, const char*, char*, char*)>("compare_path")(
        framework.ctx(), tree.root(), "x", path_buffer, key);
    EXPECT_EQ(framework.log[2].text, "TRC: ZPF: ctx=" + context_text() + ",path        : <" + path + ">");
    EXPECT_EQ(framework.ring[2].text.size(), 249u);
    EXPECT_THAT(framework.ring[2].text, ::testing::HasSubstr("path        : <ppp"));
    for (const RingLine& line : framework.ring) {
        EXPECT_LE(line.text.size(), 249u);
    }
}

TEST_F(Diagnostics, HaveAFreshSlotOfTheirOwnPerPlaceInEachWalker)
{
    framework.logs_trace = true;
    framework.logs_error = true;
    framework.header.operation = ZPF_REQUEST_GET;
    Tree tree{oc("optical-attenuator")};
    call(test::kOx + "lvla_opticalattenuator", tree.root());
    std::set<uint32_t*> slots;
    std::size_t starts = 0;
    std::set<uint32_t*> slots_of_starts;
    for (const auto& line : framework.log) {
        EXPECT_EQ(line.slot_value, 0xFFFFFFFFu);
        slots.insert(line.slot);
        if (line.text.ends_with(",Start")) {
            ++starts;
            slots_of_starts.insert(line.slot);
        }
    }
    // 43 walkers (7 containers, the list and 35 leaves) each have their own place; callbacks that are called for
    // several nodes share theirs.
    EXPECT_GT(slots_of_starts.size(), 43u);
    EXPECT_GT(starts, slots_of_starts.size());
    EXPECT_GT(slots.size(), 100u);
}

TEST_F(Diagnostics, NameTheWalkerThatReports)
{
    framework.context.trace_enabled = 1;
    framework.header.operation = ZPF_REQUEST_GET;
    Tree tree{oc("optical-attenuator")};
    call(test::kOx + "lvla_opticalattenuator", tree.root());
    std::set<std::string> names;
    for (const RingLine& line : framework.ring) {
        const std::string rest = line.text.substr(line.text.find("TRC: ") + 5);
        names.insert(rest.substr(0, rest.find(':')));
    }
    for (const char* walker :
         {"opticalattenuator", "opticalattenuator_attenuators", "opticalattenuator_attenuators_attenuator",
          "opticalattenuator_attenuator_name", "opticalattenuator_attenuator_config",
          "opticalattenuator_attenuator_state", "opticalattenuator_config_targetoutputpower",
          "opticalattenuator_state_egressport", "opticalattenuator_state_actualattenuation",
          "opticalattenuator_actualattenuation_mintime", "opticalattenuator_outputpowertotal_instant",
          "opticalattenuator_opticalreturnloss_avg"}) {
        EXPECT_TRUE(names.contains(test::kOx + "lvla_" + walker)) << walker;
    }
}

// ---- a missing context

void call_without_context(const std::string& name)
{
    if (name.find("_cont_lvla_") != std::string::npos || name.ends_with("duck_map_container")) {
        Plugin::shared().container(name)(nullptr, nullptr, 0, nullptr);
    } else {
        Plugin::shared().node(name)(nullptr, nullptr, nullptr);
    }
}

/** The source file that a node function is written in. */
std::string file_of(const std::string& name)
{
    std::string file = "ymap_ocopticalattenuator_";
    const bool is_to_low = name.ends_with("_to_low");
    const bool is_hand_written = name.rfind("oc_opt_att_", 0) == 0 ||
                                 name.ends_with("interfaceconfigurations_interfaceconfiguration_parse_augments") ||
                                 name.ends_with("_list_lvla_otsoper_otsports_otsport");
    if (name.rfind("ymap_ox_", 0) == 0 || is_to_low) {
        file += "openconfig_optical_attenuator";
    } else if (name.rfind(test::kIfmgr, 0) == 0 || name.rfind("oc_opt_att_attenuator_", 0) == 0) {
        file += "quarn_kmt_vn_ifmgr_cfg";
    } else if (name.rfind(test::kOtsCfg, 0) == 0 || name == "oc_opt_att_cfg_attenuation_to_high") {
        file += "quarn_kmt_vn_controller_ots_cfg";
    } else {
        file += "quarn_kmt_vn_controller_ots_oper";
    }
    const bool is_walker = name.find("quarn") == std::string::npos
                               ? name.find("attenuator_lvla_") != std::string::npos
                               : name.find("_lvla_", name.find("quarn")) == name.find('_', name.find("quarn"));
    const bool is_entry = name.ends_with("_augment_lvla_interface_configuration");
    return file + (is_hand_written ? "_man.cpp" : is_walker || is_entry ? "_parser.cpp" : "_auto.cpp");
}

using MissingContext = Diagnostics;

TEST_F(MissingContext, FailsTheAssertionOfEveryNodeFunctionBeforeAnyReport)
{
    framework.context.trace_enabled = 1;
    const std::vector<std::string> names = test::exported_names({"ymap_", "oc_opt_att_"});
    ASSERT_EQ(names.size(), 171u);
    for (const std::string& name : names) {
        const auto assertion = test::failed_assertion([&] { call_without_context(name); });
        ASSERT_TRUE(assertion) << name;
        EXPECT_EQ(assertion->text, "NULL != ctx");
        EXPECT_TRUE(assertion->file.ends_with("/src/" + file_of(name))) << name << " in " << assertion->file;
        EXPECT_GT(assertion->line, 1u);
        EXPECT_EQ(assertion->function.rfind("qerrno ", 0), 0u) << assertion->function;
    }
    EXPECT_EQ(framework.filter_questions, 0u);
    EXPECT_THAT(framework.calls, ::testing::IsEmpty());
}

TEST_F(MissingContext, IsReportedWithTheFullPrototype)
{
    for (const std::string& name :
         {std::string{"oc_opt_att_cfg_attenuation_to_high"}, test::kOx + "lvla_opticalattenuator", kListOx,
          test::kOtsOper + "lvla_otsoper_parse_augments"}) {
        const auto assertion = test::failed_assertion([&] { call_without_context(name); });
        ASSERT_TRUE(assertion);
        EXPECT_EQ(assertion->function.rfind("qerrno " + name + "(zpf_map_ctx, const qidl_zpf_datatree", 0), 0u)
            << assertion->function;
    }
}

TEST_F(MissingContext, StopsTheKeySearchOnlyAfterItsLookAtTheNode)
{
    using Search = int32_t(zpf_map_ctx, const qidl_zpf_datatree*, const char*, char*, char*);
    auto* compare = Plugin::shared().get<Search>("compare_path");
    Tree absent{oc("name", "x").absent()};
    EXPECT_FALSE(test::failed_assertion([&] { compare(nullptr, absent.root(), "name", nullptr, nullptr); }));
    Tree present{oc("name", "x")};
    for (const qidl_zpf_datatree* node :
         {static_cast<const qidl_zpf_datatree*>(nullptr), static_cast<const qidl_zpf_datatree*>(present.root())}) {
        const auto assertion = test::failed_assertion([&] { compare(nullptr, node, "name", nullptr, nullptr); });
        ASSERT_TRUE(assertion);
        EXPECT_TRUE(assertion->file.ends_with("/src/utility.cpp"));
    }
}

TEST_F(MissingContext, StopsUtilitiesBeforeAnyReport)
{
    using NameTest = int32_t(zpf_map_ctx, const char*, char*);
    auto* is_valid = Plugin::shared().get<NameTest>("is_controller_name_valid");
    auto* print_data = Plugin::shared().get<void(zpf_map_ctx)>("print_data");
    const auto name_test = test::failed_assertion([&] { is_valid(nullptr, "Ots0/0/0/0", nullptr); });
    const auto print = test::failed_assertion([&] { print_data(nullptr); });
    ASSERT_TRUE(name_test && print);
    EXPECT_EQ(name_test->function.rfind("int32_t is_controller_name_valid(", 0), 0u) << name_test->function;
    EXPECT_TRUE(print->file.ends_with("/src/utility.cpp"));
}

using MissingContextDeath = Diagnostics;

TEST_F(MissingContextDeath, EndsTheProgramInAnyBuild)
{
    EXPECT_DEATH(call_without_context("oc_opt_att_cfg_attenuation_to_high"),
                 "_controller_ots_cfg_man.cpp:[0-9]+: qerrno oc_opt_att_cfg_attenuation_to_high.*"
                 "Assertion `NULL != ctx' failed");
    EXPECT_DEATH(call_without_context(test::kOx + "lvla_opticalattenuator"),
                 "_optical_attenuator_parser.cpp:[0-9]+: qerrno ymap_ox_.*Assertion `NULL != ctx' failed");
}

} // namespace

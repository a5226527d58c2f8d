// SPDX-License-Identifier: Apache-2.0
//
// Result codes as a client sees them, and what is not to be believed: tags and paths that an earlier step left behind.
#include "driver_fixture.hpp"

namespace zpf::test {

struct Code {
    const char* name;
    const char* value; ///< what the plug-in is told to return
    const char* tag;
    const char* app_tag;
    const char* bad_element;
    const char* path;
    const char* message; ///< how it begins
};

class ResultCode : public DriverTest, public ::testing::WithParamInterface<Code> {};

constexpr const char* kFaultPath = "/lamps/lamp[name='L1']/config/fault";

TEST_P(ResultCode, BecomesARefusal)
{
    const Code& code = GetParam();
    const EditResult result = edit(std::string("lamps\n  lamp\n    name = \"L1\"\n    config\n      level = \"1\"\n"
                                               "      fault = \"") +
                                   code.value + "\"\n");
    ASSERT_TRUE(result.refusal);
    EXPECT_EQ(result.refusal->type, "application");
    EXPECT_EQ(result.refusal->tag, code.tag);
    EXPECT_EQ(result.refusal->app_tag, code.app_tag);
    EXPECT_EQ(result.refusal->bad_element, code.bad_element);
    EXPECT_EQ(result.refusal->path, code.path);
    EXPECT_THAT(result.refusal->message, ::testing::StartsWith(code.message));
    EXPECT_EQ(result.refusal->code, std::stoul(code.value, nullptr, 16));
    EXPECT_EQ(to_text(result.after.root()), to_text(result.before.root()));
    EXPECT_EQ(code_name(result.refusal->code), code.app_tag);
}

INSTANTIATE_TEST_SUITE_P(
    All, ResultCode,
    ::testing::Values(
        Code{"BadTree", "AAF29E00", "operation-failed", "ZPF_RC_BAD_TREE", "", "", "The request could not be walked"},
        Code{"InvalidArgs", "AAF2A000", "operation-failed", "ZPF_RC_INVALID_ARGS", "", "", "A delete names"},
        Code{"UnsupportedNode", "AAF2EE00", "operation-not-supported", "ZPF_RC_UNSUPPORTED_NODE", "fault", kFaultPath,
             "The device has nothing"},
        Code{"KeyMissing", "AAF2F000", "missing-element", "ZPF_RC_KEY_MISSING", "fault", kFaultPath, "A list entry"},
        Code{"KeyDelete", "AAF2F200", "bad-element", "ZPF_RC_KEY_DELETE", "fault", kFaultPath, "A key cannot"},
        Code{"InvalidValue", "AAF2F400", "invalid-value", "ZPF_RC_INVALID_VALUE", "fault", kFaultPath, "Told to fail"},
        Code{"SkipInstance", "AAF2F600", "operation-failed", "ZPF_RC_SKIP_INSTANCE", "", "", "The mapping dropped"},
        Code{"AugmentCreate", "AAF2F800", "unknown-namespace", "ZPF_RC_AUGMENT_CREATE", "fault", kFaultPath,
             "The element's namespace"},
        Code{"NoneOfTheFrameworks", "12345678", "operation-failed", "", "", "", "The mapping failed"}),
    CaseName{});

class Refusals : public DriverTest {
protected:
    Refusal refusal(std::string_view request)
    {
        const EditResult result = edit(request);
        EXPECT_TRUE(result.refusal) << request;
        return result.refusal.value_or(Refusal{});
    }
};

TEST_F(Refusals, OfAKeyDeleteNameTheKey)
{
    const Refusal refused = refusal("lamps\n  lamp\n    name = \"L1\" op=delete\n");
    EXPECT_EQ(refused.code, ZPF_RC_KEY_DELETE);
    EXPECT_EQ(refused.bad_element, "name");
    EXPECT_EQ(refused.path, "/lamps/lamp[name='L1']/name");
}

TEST_F(Refusals, OfAnEntryWithoutContentNameTheMissingKey)
{
    const Refusal refused = refusal("lamps\n  lamp\n    name = \"L1\"\n  lamp\n");
    EXPECT_EQ(refused.code, ZPF_RC_BAD_TREE);
    EXPECT_EQ(refused.app_tag, "ZPF_RC_BAD_TREE");
    EXPECT_EQ(refused.tag, "missing-element");
    EXPECT_EQ(refused.bad_element, "name");
    EXPECT_EQ(refused.path, "/lamps/lamp");
}

TEST_F(Refusals, OfALeafrefNameTheKey)
{
    const Refusal refused = refusal("lamps\n  lamp\n    name = \"L1\"\n    config\n      name = \"L3\"\n");
    EXPECT_EQ(refused.tag, "invalid-value");
    EXPECT_EQ(refused.bad_element, "name");
    EXPECT_EQ(refused.path, "/lamps/lamp[name='L1']/name");
}

TEST_F(Refusals, OfAForeignElementNameIt)
{
    const Refusal refused = refusal("lamps\n  lamp\n    name = \"L1\"\n    config\n      {urn:other}shade = \"red\"\n");
    EXPECT_EQ(refused.tag, "unknown-namespace");
    EXPECT_EQ(refused.bad_element, "shade");
    EXPECT_EQ(refused.path, "/lamps/lamp[name='L1']/config/shade");
}

TEST_F(Refusals, ATagThatIsTheLastStepIsNotAppendedAgain)
{
    for (const char* name : {"L1", "L/1", "L[1]", "L1/lamp"}) {
        const Refusal refused = refusal(std::string("lamps\n  lamp\n    name = \"") + name + "\"\n    fault = \"1\"\n");
        EXPECT_EQ(refused.bad_element, "lamp");
        EXPECT_EQ(refused.path, std::string("/lamps/lamp[name='") + name + "']");
    }
}

TEST_F(Refusals, OfADeleteWithContentNameThePlaceAndNotWhereAnEarlierStepWas)
{
    const Refusal refused = refusal("lamps\n"
                                    "  lamp\n"
                                    "    name = \"L1\"\n"
                                    "    config op=remove\n"
                                    "  lamp\n"
                                    "    name = \"L3\"\n"
                                    "    config op=delete\n"
                                    "      note = \"x\"\n");
    EXPECT_EQ(refused.code, ZPF_RC_INVALID_ARGS);
    EXPECT_EQ(refused.path, "/lamps/lamp[name='L3']/config");
    EXPECT_EQ(refused.bad_element, "");
}

TEST_F(Refusals, OfABadTreeDoNotRepeatWhatAnEarlierStepSaid)
{
    const Refusal refused = refusal("lamps\n"
                                    "  lamp\n"
                                    "    name = \"L1\"\n"
                                    "    config op=remove\n"
                                    "  lamp\n"
                                    "    name = \"L3\"\n"
                                    "    config\n"
                                    "      fault = \"AAF29E00\"\n");
    EXPECT_EQ(refused.bad_element, "");
    EXPECT_EQ(refused.path, "");
    EXPECT_EQ(refused.tag, "operation-failed");
}

TEST_F(Refusals, OfABadTreeInAReadAreNotAboutEntriesWithoutKeys)
{
    const Tree asked = tree_of(schema(), "lamps\n  lamp\n  lamp\n    name = \"L1\"\n    config\n"
                                         "      fault = \"AAF29E00\"\n");
    const TreeSource source(schema(), store.root());
    const ReadResult result = lamp_driver().read(context, ZPF_REQUEST_GET, &asked.root(), source);
    ASSERT_TRUE(result.refusal);
    EXPECT_EQ(result.refusal->tag, "operation-failed");
    EXPECT_EQ(result.refusal->path, "");
}

TEST_F(Refusals, AFailureOfTheFrameworkItselfCannotBeDiscarded)
{
    const Refusal refused = refusal("lamps\n  lamp\n    name = \"L1\"\n    config\n      stray = \"1\"\n");
    EXPECT_EQ(refused.tag, "operation-failed");
    EXPECT_EQ(refused.code, ZPF_RC_BAD_TREE);
    EXPECT_THAT(refused.message, ::testing::HasSubstr("models do not have"));
    EXPECT_EQ(refused.bad_element, "");
}

TEST_F(Refusals, ARefusedRequestLeavesNothingToTheNext)
{
    refusal("lamps\n  lamp\n    name = \"L1\"\n    config\n      stray = \"1\"\n");
    refusal("lamps\n  lamp\n    name = \"L1\"\n    config\n      level = \"101\"\n");
    EXPECT_EQ(after("lamps\n  config\n    limit = \"1\"\n"), rack_with({{"limit = \"800\"", "limit = \"10\""}}));
    EXPECT_EQ(context.error_path(), "");
}

TEST_F(Refusals, OfAModelThatNobodyMapsNameIt)
{
    const Refusal refused = refusal("torches\n  torch\n");
    EXPECT_EQ(refused.tag, "unknown-element");
    EXPECT_EQ(refused.path, "/torches");
    EXPECT_EQ(refused.bad_element, "torches");
    const Tree asked = tree_of(schema(), "torches\n");
    const TreeSource source(schema(), store.root());
    EXPECT_TRUE(lamp_driver().read(context, ZPF_REQUEST_GET, &asked.root(), source).refusal);
}

TEST_F(Refusals, CodesHaveNames)
{
    EXPECT_EQ(code_name(ZPF_RC_OK), "");
    EXPECT_EQ(code_name(1), "");
}

} // namespace zpf::test

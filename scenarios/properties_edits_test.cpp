// SPDX-License-Identifier: Apache-2.0
//
// Laws of edits, over random devices and random edits: what one does to the native data, and what it leaves alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "edit_plan.hpp"
#include "leaves.hpp"
#include "system.hpp"

namespace zpf::scenarios {

namespace {

using ::testing::IsEmpty;

struct Done {
    std::string refused; ///< error tag, or empty
    Device after;
    Tree native_edit;
};

class Edits : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (const std::string missing = missing_models(); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
    }

    const Schema& schema() const { return System::shared().schema(); }

    /// Runs a request on the whole of a device's native data.
    Done run(const Node& request, const Device& before, int32_t default_operation)
    {
        const Tree native = native_data(schema(), before);
        const TreeSource source(schema(), native.root(), TreeSource::Answer::everything);
        EditResult result =
            System::shared().driver().edit(context_, &request, source, System::shared().judged_edit(default_operation));
        if (result.refusal) {
            // What was refused early has read nothing; in any case nothing may differ from what was read.
            EXPECT_THAT(changes_between(schema(), result.before.root(), result.after.root()).lines, IsEmpty());
            EXPECT_THAT(result.refusal->tag, ::testing::Not(IsEmpty()));
            EXPECT_THAT(result.refusal->message, ::testing::Not(IsEmpty()));
            return {result.refusal->tag, before, std::move(result.edit)};
        }
        std::vector<std::string> surprises;
        Device after = device_of(schema(), result.after.root(), surprises);
        EXPECT_THAT(surprises, IsEmpty());
        return {"", std::move(after), std::move(result.edit)};
    }

    Done run(const EditPlan& plan, const Device& before)
    {
        return run(request_of(schema(), plan).root(), before, plan.default_operation);
    }

    /// The client's view of a device.
    std::vector<std::string> view(const Device& device)
    {
        const Tree native = native_data(schema(), device);
        const TreeSource source(schema(), native.root());
        const Tree everything;
        const ReadResult result =
            System::shared().driver().read(context_, ZPF_REQUEST_GET_CONFIG, &everything.root(), source);
        EXPECT_FALSE(result.refusal.has_value());
        return leaves_of(schema(), result.reply.root());
    }

    std::string told(std::uint32_t seed, const EditPlan& plan, const Device& before) const
    {
        return "seed " + std::to_string(seed) + ", default-operation " + std::to_string(plan.default_operation) +
               "\nrequest:\n" + zpf::to_text(request_of(schema(), plan).root(), 2) + "device:\n" + to_text(before);
    }

private:
    Context context_{&System::shared().schema()};
};

EditPlan one_entry(const std::string& name, int32_t op, int hundredths)
{
    EntryPlan entry;
    entry.name = name;
    entry.op = op;
    entry.config.emplace();
    entry.config->has_attenuation = true;
    entry.config->hundredths = hundredths;
    EditPlan plan;
    plan.entries.push_back(entry);
    return plan;
}

EditPlan bare_entry(const std::string& name, int32_t op)
{
    EditPlan plan = one_entry(name, op, 0);
    plan.entries.front().config.reset();
    return plan;
}

TEST_F(Edits, DoWhatTheReferenceDoesInLongSequences)
{
    std::size_t done = 0;
    std::size_t refused = 0;
    for (std::uint32_t seed = 1; seed <= 400; ++seed) {
        Dice dice(seed);
        Device device = random_device(dice);
        for (int step = 0; step < 20; ++step) {
            const EditPlan plan = random_edit(dice);
            const auto expected = expected_of(plan, device);
            const Done result = run(plan, device);
            const std::string story = told(seed, plan, device);
            ASSERT_EQ(result.refused.empty(), expected.has_value()) << "refused as \"" << result.refused << "\"\n"
                                                                    << story;
            ASSERT_TRUE(result.after == expected.value_or(device)) << story << "expected:\n"
                                                                   << to_text(expected.value_or(device)) << "got:\n"
                                                                   << to_text(result.after);
            (expected ? done : refused) += 1;
            device = result.after;
        }
    }
    // Both ways have to be walked often, or the comparison says little.
    EXPECT_GT(done, 2000u);
    EXPECT_GT(refused, 2000u);
}

TEST_F(Edits, MarkRemovalsOfAllOnlyWhenTheClientRemovesAboveTheList)
{
    for (std::uint32_t seed = 1; seed <= 600; ++seed) {
        Dice dice(seed);
        const Device device = random_device(dice);
        const EditPlan plan = random_edit(dice);
        const Done result = run(plan, device);
        if (!result.refused.empty()) {
            continue;
        }
        const std::string edit = zpf::to_text(result.native_edit.root(), 0, true);
        EXPECT_EQ(edit.find("[ALL]") != std::string::npos, removes_all(plan)) << edit << told(seed, plan, device);
        const Node* const list = find_child(result.native_edit.root(), "interface-configurations");
        for (const Node& entry : list ? children(*list) : std::span<const Node>{}) {
            const bool keyed = find_child(entry, "interface-name") != nullptr && find_child(entry, "active") != nullptr;
            const bool all = (entry.fw_mark & 0xFFu) == 1u;
            EXPECT_NE(keyed, all) << edit << told(seed, plan, device);
        }
    }
}

TEST_F(Edits, GoThereAndBackForEveryTenthAndEveryHundredth)
{
    for (int hundredths = 0; hundredths <= 2000; ++hundredths) {
        const Done result = run(one_entry("0/0-VOA-BST2", ZPF_OP_NONE, hundredths), Device{});
        ASSERT_EQ(result.refused, "") << hundredths;
        ASSERT_EQ(result.after.interfaces.at("Ots0/0/0/2").voa_tenths, hundredths / 10);
        if (hundredths % 10 == 0) {
            ASSERT_THAT(
                view(result.after),
                ::testing::Contains("/optical-attenuator/attenuators/attenuator[name='0/0-VOA-BST2']/config/attenuation"
                                    " = \"" +
                                    db_text(hundredths) + "\""));
        }
    }
    for (int hundredths = 2001; hundredths <= 2100; ++hundredths) {
        EXPECT_EQ(run(one_entry("0/0-VOA-BST2", ZPF_OP_NONE, hundredths), Device{}).refused, "invalid-value");
    }
}

TEST_F(Edits, DoTheSameWhenReplacedOrMergedTwice)
{
    for (std::uint32_t seed = 1; seed <= 300; ++seed) {
        Dice dice(seed);
        const Device before = random_device(dice);
        EditPlan plan = one_entry(dice.once_in(2) ? "0/0-VOA-BST0" : "0/0-VOA-BST2", ZPF_OP_NONE,
                                  static_cast<int>(dice.roll(2001)));
        static const std::vector<int32_t> kinds{ZPF_OP_NONE, ZPF_OP_REPLACE};
        plan.root_op = dice.one_of(kinds);
        plan.attenuators_op = dice.one_of(kinds);
        plan.entries.front().op = dice.one_of(kinds);
        plan.entries.front().config->op = dice.one_of(kinds);
        const Done once = run(plan, before);
        const Done twice = run(plan, once.after);
        EXPECT_EQ(once.refused + twice.refused, "") << told(seed, plan, before);
        EXPECT_EQ(twice.after, once.after) << told(seed, plan, before);
    }
}

TEST_F(Edits, ReplaceLikeARemovalAndAMerge)
{
    for (std::uint32_t seed = 1; seed <= 300; ++seed) {
        Dice dice(seed);
        const Device before = random_device(dice);
        const std::string name = dice.once_in(2) ? "0/0-VOA-BST0" : "0/0-VOA-BST2";
        const EditPlan merge = one_entry(name, ZPF_OP_NONE, static_cast<int>(dice.roll(2001)));
        EditPlan replace = merge;
        EditPlan remove = bare_entry(name, ZPF_OP_NONE);
        switch (dice.roll(4)) {
        case 0:
            replace.root_op = remove.root_op = ZPF_OP_REPLACE;
            remove.root_op = ZPF_OP_REMOVE;
            remove.has_attenuators = false;
            break;
        case 1:
            replace.attenuators_op = ZPF_OP_REPLACE;
            remove.attenuators_op = ZPF_OP_REMOVE;
            remove.entries.clear();
            break;
        case 2:
            replace.entries.front().op = ZPF_OP_REPLACE;
            remove.entries.front().op = ZPF_OP_REMOVE;
            break;
        default:
            replace.entries.front().config->op = ZPF_OP_REPLACE;
            remove.entries.front().config = ConfigPlan{};
            remove.entries.front().config->op = ZPF_OP_REMOVE;
        }
        const Device removed = run(remove, before).after;
        // An attenuator whose controller has other settings stays visible by name, whichever way it lost its own.
        EXPECT_EQ(view(run(replace, before).after), view(run(merge, removed).after)) << told(seed, replace, before);
    }
}

TEST_F(Edits, MindWhatIsThereOnlyWhenAsked)
{
    for (std::uint32_t seed = 1; seed <= 200; ++seed) {
        Dice dice(seed);
        const Device before = random_device(dice);
        const std::string name = dice.once_in(2) ? "0/0-VOA-BST0" : "0/0-VOA-BST2";
        const bool there = before.interfaces.contains(controller_of(name));
        const std::string story = to_text(before) + name;
        const Done removed = run(bare_entry(name, ZPF_OP_REMOVE), before);
        EXPECT_EQ(removed.refused, "") << story;
        EXPECT_EQ(run(bare_entry(name, ZPF_OP_REMOVE), removed.after).refused, "") << story;
        EXPECT_EQ(run(bare_entry(name, ZPF_OP_DELETE), before).refused, there ? "" : "data-missing") << story;
        EXPECT_EQ(run(bare_entry(name, ZPF_OP_DELETE), removed.after).refused, "data-missing") << story;
        EXPECT_EQ(run(one_entry(name, ZPF_OP_CREATE, 100), before).refused, there ? "data-exists" : "") << story;
        EXPECT_EQ(run(one_entry(name, ZPF_OP_CREATE, 100), removed.after).refused, "") << story;
    }
}

TEST_F(Edits, DoNotMindTheOrderOfEntriesOrOfTheirChildren)
{
    for (std::uint32_t seed = 1; seed <= 600; ++seed) {
        Dice dice(seed);
        const Device before = random_device(dice);
        EditPlan plan = random_edit(dice);
        const Done one = run(plan, before);
        std::reverse(plan.entries.begin(), plan.entries.end());
        for (EntryPlan& entry : plan.entries) {
            entry.config_first = !entry.config_first;
        }
        const Done other = run(plan, before);
        EXPECT_EQ(one.refused.empty(), other.refused.empty()) << told(seed, plan, before);
        EXPECT_EQ(one.after, other.after) << told(seed, plan, before);
    }
}

/// Attenuator names with some damage.
std::string damaged_name(Dice& dice)
{
    static const std::string letters = "0/-VOABST27 x";
    std::string name = dice.once_in(2) ? "0/0-VOA-BST0" : "0/0-VOA-BST2";
    for (std::uint32_t damage = 1 + dice.roll(3); damage > 0; --damage) {
        const auto at = dice.roll(static_cast<std::uint32_t>(name.size() + 1));
        const char letter = letters[dice.roll(static_cast<std::uint32_t>(letters.size()))];
        switch (dice.roll(3)) {
        case 0:
            name.insert(at, 1, letter);
            break;
        case 1:
            name = name.substr(0, at) + name.substr(std::min<std::size_t>(name.size(), at + 1));
            break;
        default:
            if (at < name.size()) {
                name[at] = letter;
            }
        }
    }
    return name;
}

TEST_F(Edits, ChangeNothingUnderANameThatIsNotExactlyAnAttenuators)
{
    static const std::vector<int32_t> operations{ZPF_OP_NONE,   ZPF_OP_MERGE,  ZPF_OP_REPLACE,
                                                 ZPF_OP_CREATE, ZPF_OP_DELETE, ZPF_OP_REMOVE};
    std::size_t tried = 0;
    for (std::uint32_t seed = 1; seed <= 1500; ++seed) {
        Dice dice(seed);
        const Device before = random_device(dice);
        const std::string name = damaged_name(dice);
        if (!controller_of(name).empty() || name.empty()) {
            continue;
        }
        ++tried;
        const int32_t op = dice.one_of(operations);
        const EditPlan plan =
            op == ZPF_OP_DELETE || op == ZPF_OP_REMOVE ? bare_entry(name, op) : one_entry(name, op, 100);
        const Done result = run(plan, before);
        EXPECT_EQ(result.after, before) << told(seed, plan, before);
        EXPECT_EQ(result.refused, op == ZPF_OP_REMOVE   ? ""
                                  : op == ZPF_OP_DELETE ? "data-missing"
                                                        : "invalid-value")
            << told(seed, plan, before);
    }
    EXPECT_GT(tried, 1000u);
}

} // namespace

} // namespace zpf::scenarios

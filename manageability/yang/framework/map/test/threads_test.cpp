// SPDX-License-Identifier: Apache-2.0
//
// One plug-in and one driver, many threads, each with a context of its own.
#include "driver_fixture.hpp"

#include <algorithm>
#include <latch>
#include <thread>
#include <vector>

#include "zpf/diagnostics.h"
#include "zpf/operations.h"
#include "zpf_base/log.h"
#include "zpf_base/trace.h"

namespace zpf::test {

namespace {

constexpr int kThreads = 6;
constexpr int kRounds = 30;

std::string edited(Context& context, const Tree& store, int level)
{
    const Tree asked = edit_of(lamp_schema(), "lamps\n  lamp\n    name = \"L1\"\n    config\n      level = \"" +
                                                  std::to_string(level) + "\"\n");
    const TreeSource source(lamp_schema(), store.root(), TreeSource::Answer::everything);
    const EditResult result = lamp_driver().edit(context, &asked.root(), source, {});
    return result.refusal ? result.refusal->message : to_text(result.after.root());
}

std::string answered(Context& context, const Tree& store)
{
    const Tree asked = tree_of(lamp_schema(), "lamps\n  lamp\n    name = \"L1\"\n  lamp\n    name = \"L3\"\n");
    const TreeSource source(lamp_schema(), store.root());
    return to_text(lamp_driver().read(context, ZPF_REQUEST_GET, &asked.root(), source).reply.root());
}

} // namespace

TEST(Threads, EachGetsItsOwnAnswer)
{
    const Tree store = tree_of(lamp_schema(), kRack);
    Context alone(&lamp_schema());
    const std::string expected_reply = answered(alone, store);
    ASSERT_THAT(expected_reply, ::testing::HasSubstr("L3"));
    std::vector<std::string> expected_edits;
    for (int t = 0; t < kThreads; ++t) {
        expected_edits.push_back(edited(alone, store, t));
    }

    std::latch start(kThreads);
    std::vector<int> wrong(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            const auto index = static_cast<std::size_t>(t);
            Context context(&lamp_schema());
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round) {
                wrong[index] += answered(context, store) != expected_reply;
                wrong[index] += edited(context, store, t) != expected_edits[index];
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(wrong, ::testing::Each(0));
}

TEST(Threads, MayShareALogAndATraceRing)
{
    const Tree store = tree_of(lamp_schema(), kRack);
    struct Lines {
        std::size_t count = 0; // written under the log's own lock
        static void add(void* self, const char*) { ++static_cast<Lines*>(self)->count; }
    } lines;
    zpf_log* const log = zpf_log_to_sink(&Lines::add, &lines);
    zpf_trace_ring* const ring = zpf_trace_ring_open(nullptr, 64, nullptr, 0);
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            Context context(&lamp_schema());
            context.set_log(1u << ZPF_LEVEL_TRACE, log);
            context.set_trace(ring);
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round) {
                context.raw()->print_enabled = 1;
                zpf_map_print_datatree_internal(context.raw(), &store.root(), "store");
                answered(context, store);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::string text = to_text(store.root());
    const auto lines_of_store = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    EXPECT_EQ(lines.count, lines_of_store * kThreads * kRounds);
    zpf_trace_ring_close(ring);
    zpf_log_close(log);
}

TEST(Threads, MayLoadThePluginAtTheSameTime)
{
    std::latch start(kThreads);
    std::vector<std::size_t> exports(kThreads);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            const Plugin plugin(ACME_PLUGIN);
            exports[t] = EntryWalkers::find(plugin, lamp_schema()).to_high.size();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(exports, ::testing::Each(3u));
}

} // namespace zpf::test

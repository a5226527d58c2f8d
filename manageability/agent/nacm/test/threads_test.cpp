// SPDX-License-Identifier: Apache-2.0
//
// One set of rules, many threads; each prunes its own reply, all compare the same two trees.
#include <thread>

#include "nacm_testing.hpp"

using namespace zpf::agent;
using namespace zpf::agent::testing;

TEST(NacmThreads, ShareOneSetOfRules)
{
    const auto nacm =
        for_ann({on_path("deny", "*", "/h:house/h:room[h:name='a']"), on_path("permit", "*", "/h:house")});
    const Tree before = house("<room><name>a</name></room><room><name>b</name></room>");
    const Tree after = house("<room><name>b</name><size>1</size></room><room><name>a</name></room>");
    const Tree forbidden = house("<room><name>b</name></room>");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                lyd_node* reply = nullptr;
                ASSERT_EQ(lyd_dup_single(before.get(), nullptr, LYD_DUP_RECURSIVE, &reply), LY_SUCCESS);
                nacm->prune_unreadable(kAnn, &reply);
                const Tree owner{reply};
                EXPECT_EQ(lines_of(reply), std::vector<std::string>{"/house:house/room[name='b']/name = b"});
                EXPECT_FALSE(nacm->check_write(kAnn, before.get(), after.get()).has_value());
                EXPECT_EQ(nacm->check_write(kAnn, before.get(), forbidden.get()).value().path, "/house:house");
                EXPECT_FALSE(nacm->reads_everything(kAnn));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

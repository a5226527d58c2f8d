// SPDX-License-Identifier: Apache-2.0
//
// Locks, the candidate, commits that wait to be confirmed.
#include "agent_testing.hpp"

namespace {

using namespace test;
using testing::HasSubstr;

constexpr const char* kConfirmed = "<commit><confirmed/></commit>";

class Candidate : public testing::Test {
protected:
    std::string edit_candidate(const std::string& db)
    {
        return agent.edit(attenuator("0/0-VOA-BST2", db), "", "candidate");
    }
    std::string running() { return agent.configured_db("0/0-VOA-BST2"); }

    AgentDouble agent;
    std::shared_ptr<zpf::agent::SessionInfo> other = session_of("other", true);
};

TEST_F(Candidate, BecomesRunningWhenItIsCommitted)
{
    ASSERT_EQ(edit_candidate("1.0"), kOk);
    EXPECT_EQ(running(), "9.5");
    EXPECT_THAT(agent.get_config(kOcFilter, "candidate"), HasSubstr("<attenuation>1.0</attenuation>"));
    ASSERT_EQ(agent.ask("<commit/>"), kOk);
    EXPECT_EQ(running(), "1.0");
}

TEST_F(Candidate, IsForgottenWhenItIsDiscarded)
{
    edit_candidate("1.0");
    ASSERT_EQ(agent.ask("<discard-changes/>"), kOk);
    ASSERT_EQ(agent.ask("<commit/>"), kOk);
    EXPECT_EQ(running(), "9.5");
}

TEST_F(Candidate, FollowsRunningInWhatItDoesNotChange)
{
    edit_candidate("1.0");
    agent.edit(attenuator("0/0-VOA-BST0", "8.0"));
    EXPECT_THAT(agent.get_config(kOcFilter, "candidate"), HasSubstr("<attenuation>8.0</attenuation>"));
    ASSERT_EQ(agent.ask("<commit/>"), kOk);
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST0"), "8.0"); // no update is lost
}

TEST_F(Candidate, IsRestoredFromRunningByACopy)
{
    edit_candidate("1.0");
    ASSERT_EQ(agent.ask("<copy-config><target><candidate/></target><source><running/></source></copy-config>"), kOk);
    EXPECT_EQ(agent.ask("<lock><target><candidate/></target></lock>"), kOk); // not modified any more
}

TEST_F(Candidate, ThatIsInvalidIsNotCommitted)
{
    const std::string first = R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"><rule-list><name>a</name>)"
                              "<rule><name>r</name>";
    ASSERT_EQ(agent.edit(first + "</rule></rule-list></nacm>", "", "candidate"), kOk); // lacks its mandatory action
    EXPECT_THAT(agent.ask("<validate><source><candidate/></source></validate>"), HasSubstr("<rpc-error"));
    EXPECT_THAT(agent.ask("<commit/>"), HasSubstr("action"));
    ASSERT_EQ(agent.edit(first + "<action>deny</action></rule></rule-list></nacm>", "", "candidate"), kOk);
    EXPECT_EQ(agent.ask("<commit/>"), kOk);
}

TEST_F(Candidate, CannotBeLockedWhileItIsModified)
{
    edit_candidate("1.0");
    EXPECT_THAT(agent.ask("<lock><target><candidate/></target></lock>"), HasSubstr("lock-denied"));
}

TEST_F(Candidate, IsDiscardedWhenTheLockGoes)
{
    ASSERT_EQ(agent.ask("<lock><target><candidate/></target></lock>"), kOk);
    edit_candidate("1.0");
    EXPECT_THAT(agent.ask(other, "<discard-changes/>"), HasSubstr("in-use"));
    ASSERT_EQ(agent.ask("<unlock><target><candidate/></target></unlock>"), kOk);
    ASSERT_EQ(agent.ask("<commit/>"), kOk);
    EXPECT_EQ(running(), "9.5");
}

TEST_F(Candidate, LocksKeepOthersOut)
{
    const std::string lock = "<lock><target><running/></target></lock>";
    ASSERT_EQ(agent.ask(lock), kOk);
    EXPECT_THAT(agent.ask(other, lock), HasSubstr("<session-id>" + std::to_string(agent.owner->id) + "</session-id>"));
    EXPECT_THAT(agent.ask(other, "<edit-config><target><running/></target><config>" +
                                     attenuator("0/0-VOA-BST2", "1.0") + "</config></edit-config>"),
                HasSubstr("in-use"));
    EXPECT_THAT(agent.ask(other, "<commit/>"), HasSubstr("in-use"));
    EXPECT_THAT(agent.ask(other, "<unlock><target><running/></target></unlock>"), HasSubstr("operation-failed"));
    EXPECT_EQ(agent.edit(attenuator("0/0-VOA-BST2", "1.0")), kOk);
    agent.end_session(agent.owner);
    EXPECT_EQ(agent.ask(other, lock), kOk);
}

class ConfirmedCommit : public Candidate {};

TEST_F(ConfirmedCommit, StaysWhenItIsConfirmed)
{
    edit_candidate("1.0");
    ASSERT_EQ(agent.ask(kConfirmed), kOk);
    EXPECT_EQ(running(), "1.0");
    ASSERT_EQ(agent.ask("<commit/>"), kOk);
    agent.end_session(agent.owner);
    agent.restart();
    EXPECT_EQ(running(), "1.0");
    EXPECT_THAT(agent.events,
                testing::ElementsAre("netconf-config-change", "netconf-confirmed-commit", "netconf-confirmed-commit"));
}

TEST_F(ConfirmedCommit, GoesWithItsSession)
{
    edit_candidate("1.0");
    ASSERT_EQ(agent.ask(kConfirmed), kOk);
    agent.end_session(agent.owner);
    EXPECT_EQ(running(), "9.5");
}

TEST_F(ConfirmedCommit, GoesWithTheAgent)
{
    edit_candidate("1.0");
    ASSERT_EQ(agent.ask("<commit><confirmed/><persist>x</persist></commit>"), kOk);
    agent.edit(attenuator("0/0-VOA-BST0", "8.0"));
    agent.restart();
    EXPECT_EQ(running(), "9.5");
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST0"), "3.0"); // the state before the commit, whole
    agent.restart();
    EXPECT_EQ(running(), "9.5");
}

TEST_F(ConfirmedCommit, GoesWhenItsTimeIsOver)
{
    edit_candidate("1.0");
    ASSERT_EQ(agent.ask("<commit><confirmed/><confirm-timeout>1</confirm-timeout></commit>"), kOk);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{20};
    while (running() != "9.5" && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
    }
    EXPECT_EQ(running(), "9.5");
}

TEST_F(ConfirmedCommit, GoesWhenItIsCancelled)
{
    edit_candidate("1.0");
    ASSERT_EQ(agent.ask(kConfirmed), kOk);
    EXPECT_THAT(agent.ask(session_of("ann"), "<cancel-commit/>"), HasSubstr("in-use"));
    ASSERT_EQ(agent.ask("<cancel-commit/>"), kOk);
    EXPECT_EQ(running(), "9.5");
    EXPECT_THAT(agent.ask("<cancel-commit/>"), HasSubstr("operation-failed"));
}

TEST_F(ConfirmedCommit, WithANameIsConfirmedByAnyoneWhoKnowsIt)
{
    edit_candidate("1.0");
    ASSERT_EQ(agent.ask("<commit><confirmed/><persist>x</persist></commit>"), kOk);
    agent.end_session(agent.owner);
    EXPECT_EQ(running(), "1.0");
    EXPECT_THAT(agent.ask(other, "<commit/>"), HasSubstr("in-use"));
    EXPECT_THAT(agent.ask(other, "<commit><persist-id>y</persist-id></commit>"), HasSubstr("invalid-value"));
    ASSERT_EQ(agent.ask(other, "<commit><persist-id>x</persist-id></commit>"), kOk);
    agent.restart();
    EXPECT_EQ(running(), "1.0");
}

TEST_F(ConfirmedCommit, ThatIsExtendedIsUndoneToTheFirstState)
{
    edit_candidate("1.0");
    ASSERT_EQ(agent.ask(kConfirmed), kOk);
    edit_candidate("2.0");
    ASSERT_EQ(agent.ask(kConfirmed), kOk);
    EXPECT_EQ(running(), "2.0");
    ASSERT_EQ(agent.ask("<cancel-commit/>"), kOk);
    EXPECT_EQ(running(), "9.5");
}

TEST_F(ConfirmedCommit, OfNothingIsDoneAtOnce)
{
    const auto ann = session_of("ann"); // may write nothing
    ASSERT_EQ(agent.ask(ann, kConfirmed), kOk);
    EXPECT_THAT(agent.ask(ann, "<cancel-commit/>"), HasSubstr("No commit is waiting"));
    ASSERT_EQ(agent.edit(attenuator("0/0-VOA-BST2", "1.0")), kOk);
    agent.end_session(ann);
    EXPECT_EQ(running(), "1.0");
    ASSERT_EQ(agent.ask(session_of("ann"), "<commit><confirmed/><confirm-timeout>4294967295</confirm-timeout>"
                                           "<persist>x</persist></commit>"),
              kOk);
    edit_candidate("2.0");
    ASSERT_EQ(agent.ask(other, "<commit/>"), kOk);
    EXPECT_EQ(running(), "2.0");
    EXPECT_THAT(agent.events, testing::Not(testing::Contains("netconf-confirmed-commit")));
}

TEST_F(ConfirmedCommit, OfNothingExtendsOneThatWaits)
{
    edit_candidate("1.0");
    ASSERT_EQ(agent.ask("<commit><confirmed/><confirm-timeout>1</confirm-timeout></commit>"), kOk);
    ASSERT_EQ(agent.ask(kConfirmed), kOk);
    std::this_thread::sleep_for(std::chrono::milliseconds{1500});
    EXPECT_EQ(running(), "1.0");
    ASSERT_EQ(agent.ask("<cancel-commit/>"), kOk);
    EXPECT_EQ(running(), "9.5");
}

TEST_F(ConfirmedCommit, OfWhateverNameIsCancelledByWhoeverRunsTheAgent)
{
    edit_candidate("1.0");
    ASSERT_EQ(agent.ask("<commit><confirmed/><persist>x</persist></commit>"), kOk);
    EXPECT_THAT(agent.ask(session_of("ann"), "<cancel-commit/>"), HasSubstr("in-use"));
    EXPECT_THAT(agent.ask(other, "<cancel-commit><persist-id>y</persist-id></cancel-commit>"),
                HasSubstr("invalid-value"));
    EXPECT_EQ(running(), "1.0");
    ASSERT_EQ(agent.ask(other, "<cancel-commit/>"), kOk);
    EXPECT_EQ(running(), "9.5");
}

TEST_F(ConfirmedCommit, KeepsOthersFromLocking)
{
    edit_candidate("1.0");
    ASSERT_EQ(agent.ask(kConfirmed), kOk);
    EXPECT_THAT(agent.ask(other, "<lock><target><running/></target></lock>"), HasSubstr("lock-denied"));
}

} // namespace

// The exit status of an update, from what the host saw of it.
#include "TandemService/RunOutcome.h"

#include <gtest/gtest.h>

namespace {

struct OutcomeCase {
    const char* name;
    void (*happens)(RunOutcome&);
    ExitStatus attended;
    ExitStatus unattended;
};

const OutcomeCase kCases[] = {
    {"Success",
        [](RunOutcome& run) {
            run.progressShown = run.confirmed = run.endTold = true;
            run.noteAlert(u"well done");
        },
        ExitStatus::done, ExitStatus::done},
    {"Failure",
        [](RunOutcome& run) {
            run.progressShown = run.confirmed = run.endTold = true;
            run.noteAlert(u"it went wrong");
        },
        ExitStatus::failed, ExitStatus::failed},
    {"Relaunch", [](RunOutcome& run) { run.relaunchAsked = true; }, ExitStatus::done, ExitStatus::done},
    {"CancelInProgress", [](RunOutcome& run) { run.progressShown = run.confirmed = run.endTold = true; },
        ExitStatus::declined, ExitStatus::failed},
    {"FirstFileCannotStart", [](RunOutcome& run) { run.confirmed = run.endTold = true; }, ExitStatus::failed,
        ExitStatus::failed},
    {"Declined", [](RunOutcome&) {}, ExitStatus::declined, ExitStatus::declined},
};

RunOutcome outcome(bool unattended)
{
    RunOutcome run;
    run.successText = u"well done";
    run.unattended = unattended;
    return run;
}

} // namespace

TEST(RunOutcomes, GiveTheExitStatus)
{
    for (const OutcomeCase& one : kCases) {
        RunOutcome attended = outcome(false);
        one.happens(attended);
        attended.confirmed = false; // nobody tells the host what a user pressed
        EXPECT_EQ(attended.status(), one.attended) << one.name;
        RunOutcome unattended = outcome(true);
        one.happens(unattended);
        EXPECT_EQ(unattended.status(), one.unattended) << one.name;
    }
}

TEST(RunOutcomes, RefusedAuthorisationFailsOnlyWhereNobodyDeclined)
{
    RunOutcome run = outcome(true);
    run.confirmed = true;
    EXPECT_EQ(run.status(), ExitStatus::failed);
    EXPECT_EQ(outcome(false).status(), ExitStatus::declined);
}

TEST(RunOutcomes, WithoutItsTextNothingCountsAsSuccess)
{
    RunOutcome run;
    run.noteAlert(u"");
    EXPECT_EQ(run.status(), ExitStatus::failed);
}

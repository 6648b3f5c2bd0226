// The calling process, and the bringing of its windows to the front.
#include "Platform/Carbon/EventLoop.h"
#include "Platform/Carbon/Processes.h"
#include "Platform/Support/ErrorNumbers.h"

#include <QApplication>
#include <QTest>
#include <QWidget>

#include <unistd.h>

#include <gtest/gtest.h>

TEST(GetCurrentProcess, GivesThisProcessInTheLowPart)
{
    ProcessSerialNumber process {7, 7};
    ASSERT_EQ(GetCurrentProcess(&process), noErr);
    EXPECT_EQ(process.highLongOfPSN, 0u);
    EXPECT_EQ(process.lowLongOfPSN, static_cast<UInt32>(getpid()));
    EXPECT_EQ(GetCurrentProcess(nullptr), paramErr);
}

TEST(SetFrontProcess, ActivatesTheCallersWindow)
{
    QWidget window;
    window.show();
    QWidget other;
    other.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    other.hide();
    ProcessSerialNumber self;
    ASSERT_EQ(GetCurrentProcess(&self), noErr);
    EXPECT_EQ(SetFrontProcess(&self), noErr);
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
}

TEST(SetFrontProcess, LeavesHiddenWindowsHidden)
{
    QWidget window;
    ProcessSerialNumber self;
    ASSERT_EQ(GetCurrentProcess(&self), noErr);
    EXPECT_EQ(SetFrontProcess(&self), noErr);
    EXPECT_FALSE(window.isVisible());
}

TEST(SetFrontProcess, RefusesAnotherProcess)
{
    const ProcessSerialNumber none {0, 0};
    EXPECT_EQ(SetFrontProcess(&none), procNotFound);
    const ProcessSerialNumber parent {0, static_cast<UInt32>(getppid())};
    EXPECT_EQ(SetFrontProcess(&parent), procNotFound);
    EXPECT_EQ(SetFrontProcess(nullptr), paramErr);
}

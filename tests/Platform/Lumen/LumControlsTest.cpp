#include "tests/Platform/Lumen/FormFixture.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

namespace {

using LumControlsTest = FormFixture;

TEST_F(LumControlsTest, AreFoundByNameAndKind)
{
    PubLumen::LumPanel* panel = show(widget("QPushButton", "b") + widget("QLabel", "s")
        + widget("QProgressBar", "p") + widget("QTreeWidget", "t"));
    EXPECT_TRUE(panel->FindButton(u"b"));
    EXPECT_TRUE(panel->FindStatic(u"s"));
    EXPECT_TRUE(panel->FindBar(u"p"));
    EXPECT_TRUE(panel->FindTree(u"t"));
    EXPECT_EQ(panel->FindButton(u"missing"), nullptr);
    EXPECT_EQ(panel->FindButton(u"s"), nullptr);
    EXPECT_EQ(panel->FindStatic(u"b"), nullptr);
    EXPECT_EQ(panel->FindBar(u"t"), nullptr);
    EXPECT_EQ(panel->FindTree(u"p"), nullptr);
    EXPECT_EQ(panel->FindButton(u""), nullptr);
}

TEST_F(LumControlsTest, AreTheSameAtEachLookUp)
{
    PubLumen::LumPanel* panel = show(widget("QPushButton", "b"));
    EXPECT_EQ(panel->FindButton(u"b"), panel->FindButton(u"b"));
}

TEST_F(LumControlsTest, ButtonReportsAPressWithItselfAndTheUserData)
{
    PubLumen::LumPanel* panel = show(widget("QPushButton", "b"));
    panel->FindButton(u"b")->SetProc(&ControlLog::proc, &log);
    QTest::mouseClick(window->findChild<QPushButton*>("b"), Qt::LeftButton);
    ASSERT_EQ(log.calls.size(), 1U);
    EXPECT_EQ(log.calls[0].control, panel->FindButton(u"b"));
    EXPECT_EQ(log.calls[0].message, 1000);
    EXPECT_EQ(log.calls[0].userData, &log);
    QTest::keyClick(window->findChild<QPushButton*>("b"), Qt::Key_Space);
    EXPECT_EQ(log.calls.size(), 2U);
}

TEST_F(LumControlsTest, DisabledButtonCannotBePressed)
{
    PubLumen::LumPanel* panel = show(widget("QPushButton", "b"));
    panel->FindButton(u"b")->SetProc(&ControlLog::proc, &log);
    panel->FindButton(u"b")->SetEnabled(false);
    QTest::mouseClick(window->findChild<QPushButton*>("b"), Qt::LeftButton);
    EXPECT_TRUE(log.calls.empty());
    panel->FindButton(u"b")->SetEnabled(true);
    QTest::mouseClick(window->findChild<QPushButton*>("b"), Qt::LeftButton);
    EXPECT_EQ(log.calls.size(), 1U);
}

TEST_F(LumControlsTest, ButtonWithoutAProcedureDoesNothing)
{
    PubLumen::LumPanel* panel = show(widget("QPushButton", "b"));
    panel->FindButton(u"b")->SetProc(&ControlLog::proc, &log);
    panel->FindButton(u"b")->SetProc(nullptr, nullptr);
    QTest::mouseClick(window->findChild<QPushButton*>("b"), Qt::LeftButton);
    EXPECT_TRUE(log.calls.empty());
}

TEST_F(LumControlsTest, StaticTextIsReadAndSet)
{
    PubLumen::LumPanel* panel
        = show(widget("QLabel", "s", "<property name=\"text\"><string>Fünf %d%%</string></property>"));
    PubLumen::LumStatic* text = panel->FindStatic(u"s");
    WideText read;
    text->CopyText(read);
    EXPECT_EQ(read.view(), u"Fünf %d%%");
    text->SetText(u"日本     3.00 M");
    EXPECT_EQ(window->findChild<QLabel*>("s")->text(), QString::fromUtf16(u"日本     3.00 M"));
}

TEST_F(LumControlsTest, StaticTextIsReadUpToItsBound)
{
    PubLumen::LumPanel* panel = show(widget("QLabel", "s"));
    panel->FindStatic(u"s")->SetText(std::u16string(3000, u'x'));
    WideText read;
    panel->FindStatic(u"s")->CopyText(read);
    EXPECT_EQ(read.size(), 1023U);
}

TEST_F(LumControlsTest, BarHasARangeAndHoldsItsValueInIt)
{
    PubLumen::LumPanel* panel = show(widget("QProgressBar", "p"));
    PubLumen::LumBar* bar = panel->FindBar(u"p");
    const auto* shown = window->findChild<QProgressBar*>("p");
    bar->Configure(0, 100, 0, 1);
    EXPECT_EQ(shown->minimum(), 0);
    EXPECT_EQ(shown->maximum(), 100);
    EXPECT_EQ(shown->value(), 0);
    bar->SetValue(42);
    EXPECT_EQ(shown->value(), 42);
    bar->SetValue(101);
    EXPECT_EQ(shown->value(), 100);
    bar->SetValue(-7);
    EXPECT_EQ(shown->value(), 0);
}

TEST_F(LumControlsTest, BarRefusesOtherStepsThanOne)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    PubLumen::LumPanel* panel = show(widget("QProgressBar", "p"));
    EXPECT_DEATH(panel->FindBar(u"p")->Configure(0, 100, 0, 5), "failed assertion");
}

} // namespace

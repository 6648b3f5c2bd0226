// Notifications, against a service of the test's own on a session bus of the test's own.
#include "TandemService/DesktopNotification.h"

#include "tests/TandemService/FakeDesktop.h"
#include "tests/support/FakeHome.h"

#include <string>
#include <vector>

#include <gio/gio.h>
#include <gtest/gtest.h>

TEST(DesktopNotifications, DegradeQuietlyWithoutABus)
{
    const FakeHome home;
    const ScopedEnvironment none("DBUS_SESSION_BUS_ADDRESS");
    DesktopNotification notification([] {}, [] {});
    EXPECT_FALSE(notification.available());
    notification.show("title", "text");
    notification.withdraw();
}

TEST(DesktopNotifications, ShowReplaceAndOpen)
{
    FakeDesktop desktop;
    int opened = 0;
    DesktopNotification notification([&] { ++opened; }, [] {});
    ASSERT_TRUE(notification.available());
    notification.show("Velmora Tandem", "one");
    ASSERT_TRUE(processUntil([&] { return desktop.calls.size() == 1; }));
    // The click is answered only once the number of the notification is known; so is the second text's place.
    ASSERT_TRUE(processUntil([&] {
        desktop.click(7);
        desktop.click(99);
        return opened > 0;
    }));
    notification.show("Velmora Tandem", "two");
    ASSERT_TRUE(processUntil([&] { return desktop.calls.size() == 2; }));
    EXPECT_EQ(desktop.calls,
        (std::vector<std::string> {"notify 0 Velmora Tandem: one", "notify 7 Velmora Tandem: two"}));
}

TEST(DesktopNotifications, WithdrawWhatIsShown)
{
    FakeDesktop desktop;
    bool opened = false;
    DesktopNotification notification([&] { opened = true; }, [] {});
    notification.show("title", "text");
    ASSERT_TRUE(processUntil([&] {
        desktop.click(7);
        return opened;
    }));
    notification.withdraw();
    EXPECT_TRUE(processUntil([&] { return desktop.calls.back() == "close 7"; }));
}

TEST(DesktopNotifications, WithdrawWhatWasHardlyAskedFor)
{
    FakeDesktop desktop;
    DesktopNotification notification([] {}, [] {});
    notification.show("title", "text");
    notification.withdraw();
    EXPECT_TRUE(processUntil([&] { return desktop.calls.size() == 2; }));
    EXPECT_EQ(desktop.calls.back(), "close 7");
}

TEST(DesktopNotifications, ShowNamesThatLookLikeMarkupAsTheyAre)
{
    FakeDesktop desktop;
    DesktopNotification notification([] {}, [] {});
    notification.show("A & B", "Tom & Jerry <b>2</b>");
    ASSERT_TRUE(processUntil([&] { return desktop.calls.size() == 1; }));
    EXPECT_EQ(desktop.calls[0], "notify 0 A & B: Tom &amp; Jerry &lt;b&gt;2&lt;/b&gt;");
}

TEST(DesktopNotifications, TellWhenNoServiceShowsThem)
{
    GTestDBus* const bus = g_test_dbus_new(G_TEST_DBUS_NONE);
    g_test_dbus_up(bus);
    {
        int failures = 0;
        DesktopNotification notification([] {}, [&] { ++failures; });
        ASSERT_TRUE(notification.available());
        notification.show("title", "text");
        EXPECT_TRUE(processUntil([&] { return failures == 1; }));
    }
    g_test_dbus_down(bus);
    g_object_unref(bus);
}

// The pool, the container and the desk that holds the provider's message.
#include "TandemService/MessageDesk.h"

#include "TandemService/Paths.h"
#include "tests/TandemService/HostBundle.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

namespace {

/// Calls a virtual operation by its slot, as a plug-in built apart does.
template <typename Result, typename... Arguments>
Result callSlot(void* object, int slot, Arguments... arguments)
{
    using Operation = Result (*)(void*, Arguments...);
    void** const table = *static_cast<void***>(object);
    return reinterpret_cast<Operation>(table[slot])(object, arguments...);
}

/// Notes which of its operations was called, and with what.
struct NotingProvider final : IMsgProviderPlugin {
    SInt32 GenerateMsg(IUserMsgPool* pool) override { return note("GenerateMsg", pool, 10); }
    SInt32 CanShowNow(IUserMsg* msg) override { return note("CanShowNow", msg, 11); }
    SInt32 ProcessMsg(IUserMsg* msg) override { return note("ProcessMsg", msg, 12); }
    SInt32 CancelProcessMsg(IUserMsg* msg) override { return note("CancelProcessMsg", msg, 13); }

    SInt32 note(const char* operation, const void* given, SInt32 result)
    {
        called = operation;
        argument = given;
        return result;
    }

    std::string called;
    const void* argument = nullptr;
};

/// The fake provider, loaded into this process.
struct LoadedDesk {
    LoadedDesk()
    {
        CFBundleSetMainBundle(urlFromPath(bundle.app().string(), true));
        std::string error;
        loaded = desk.load((bundle.app() / "Contents/PlugIns/Update.bundle").string(), error);
        EXPECT_TRUE(loaded) << error;
    }
    ~LoadedDesk() { CFBundleSetMainBundle(nullptr); }

    HostBundle bundle;
    ScopedEnvironment log {"FAKE_LOG", bundle.home().folder().at("log").string()};
    ScopedEnvironment text {"FAKE_MESSAGE", "There is something."};
    bool busy = false;
    int ended = 0;
    bool loaded = false;
    MessageDesk desk {[this] { return busy; }, [this] { ++ended; }};
};

} // namespace

TEST(MessagePools, KeepWhatWasPostedInOrder)
{
    MessagePool pool;
    EXPECT_TRUE(pool.empty());
    pool.AddMsg(u"Update.bundle", u"one", 0, 0, 1);
    pool.AddMsg(u"Other", u"two", 0, 0, 1);
    EXPECT_EQ(pool.size(), 2U);
    EXPECT_EQ(std::u16string(pool.first()->GetProviderName()), u"Update.bundle");
    EXPECT_EQ(pool.first()->text(), u"one");
    pool.clear();
    EXPECT_EQ(pool.first(), nullptr);
}

TEST(MessagePools, CopyTheirTexts)
{
    MessagePool pool;
    char16_t id[] = u"Update.bundle";
    char16_t text[] = u"text";
    pool.AddMsg(id, text, 0, 0, 1);
    id[0] = text[0] = u'x';
    EXPECT_EQ(std::u16string(pool.first()->GetProviderName()), u"Update.bundle");
    EXPECT_EQ(pool.first()->text(), u"text");
}

TEST(MessagePools, AreBounded)
{
    MessagePool pool;
    pool.AddMsg(nullptr, u"x", 0, 0, 1);
    pool.AddMsg(u"x", nullptr, 0, 0, 1);
    EXPECT_TRUE(pool.empty());
    pool.AddMsg(u"x", (std::u16string(1023, u'a') + u"\xD83D\xDE00").c_str(), 0, 0, 1);
    EXPECT_EQ(pool.first()->text(), std::u16string(1023, u'a')) << "a surrogate pair is not cut in two";
    for (int i = 0; i < 100; ++i)
        pool.AddMsg(u"x", u"y", 0, 0, 1);
    EXPECT_EQ(pool.size(), 16U);
}

TEST(MessageContainers, HaveTheirSlotsInTheDocumentedOrder)
{
    int ended = 0;
    MessageContainer container([] { return false; }, [&] { ++ended; });
    IMsgPluginContainer* const seen = &container;
    const UniChar* const id = u"Update.bundle";
    const UniChar* const none = nullptr;
    callSlot<void>(seen, 0, id, none, SInt32 {1}, SInt32 {0}, SInt32 {0});
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(callSlot<SInt32>(seen, 2), 1);
    const CFBundleRef bundle = nullptr;
    const CFStringRef text = nullptr;
    EXPECT_EQ(callSlot<CFURLRef>(seen, 3, bundle, text, text), nullptr);
}

TEST(MessageProviders, HaveTheirSlotsInTheDocumentedOrder)
{
    NotingProvider provider;
    IMsgProviderPlugin* const seen = &provider;
    MessagePool pool;
    UserMessage message(u"Update.bundle", u"text");
    IUserMsgPool* const givenPool = &pool;
    IUserMsg* const givenMessage = &message;
    EXPECT_EQ(callSlot<SInt32>(seen, 0, givenPool), 10);
    EXPECT_EQ(provider.called, "GenerateMsg");
    EXPECT_EQ(provider.argument, givenPool);
    const char* const operations[] = {"CanShowNow", "ProcessMsg", "CancelProcessMsg"};
    for (int slot = 1; slot <= 3; ++slot) {
        EXPECT_EQ(callSlot<SInt32>(seen, slot, givenMessage), 10 + slot);
        EXPECT_EQ(provider.called, operations[slot - 1]);
        EXPECT_EQ(provider.argument, givenMessage);
    }
}

TEST(MessageContainers, PoolAndMessageHaveTheirFirstSlots)
{
    MessagePool pool;
    IUserMsgPool* const seenPool = &pool;
    const UniChar* const id = u"Update.bundle";
    const UniChar* const text = u"text";
    callSlot<void>(seenPool, 0, id, text, SInt32 {0}, SInt32 {0}, SInt32 {1});
    ASSERT_EQ(pool.size(), 1U);
    IUserMsg* const message = pool.first();
    EXPECT_EQ(std::u16string(callSlot<const UniChar*>(message, 0)), u"Update.bundle");
}

TEST(MessageDesks, RegisterTheBundleBeforeItIsLoaded)
{
    const LoadedDesk host;
    EXPECT_EQ(host.bundle.log(), "get plugin-registered=1 host-registered=1\nresource=1 missing=0\n");
}

TEST(MessageDesks, RefuseChecksWhileSomethingIsInProgress)
{
    LoadedDesk host;
    EXPECT_TRUE(host.desk.check());
    EXPECT_TRUE(host.bundle.waitForLine("generate can=1"));
    host.busy = true;
    EXPECT_TRUE(host.desk.check()) << "the provider itself decides, and this one goes on";
    EXPECT_TRUE(host.bundle.waitForLine("generate can=0"));
    host.busy = false;
    const ScopedEnvironment blank("FAKE_RUN", "blank");
    ASSERT_TRUE(host.desk.open());
    EXPECT_FALSE(host.desk.check());
    EXPECT_FALSE(host.desk.open()) << "open already";
    host.desk.cancel();
    EXPECT_TRUE(host.bundle.waitForLine("cancel Update.bundle"));
    EXPECT_TRUE(host.desk.check());
}

TEST(MessageDesks, DropTheOlderMessageWithEachCheck)
{
    LoadedDesk host;
    EXPECT_TRUE(host.desk.check());
    ASSERT_NE(host.desk.message(), nullptr);
    EXPECT_EQ(host.desk.message()->text(), u"There is something.");
    const ScopedEnvironment nothing("FAKE_MESSAGE");
    EXPECT_TRUE(host.desk.check());
    EXPECT_EQ(host.desk.message(), nullptr);
    EXPECT_FALSE(host.desk.open());
}

TEST(MessageDesks, TakeTheEndOfAMessageTwice)
{
    LoadedDesk host;
    const ScopedEnvironment run("FAKE_RUN", "firstfile");
    const ScopedEnvironment user("FAKE_USER", "ok");
    ASSERT_TRUE(host.desk.check());
    ASSERT_TRUE(host.desk.open());
    while (host.ended == 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::processEvents();
    EXPECT_EQ(host.ended, 1);
    EXPECT_FALSE(host.desk.isOpen());
}

TEST(MessageDesks, UnloadTheBundleAfterReleasingTheProvider)
{
    std::string log;
    {
        HostBundle bundle;
        const ScopedEnvironment file("FAKE_LOG", bundle.home().folder().at("log").string());
        {
            MessageDesk desk([] { return false; }, [] {});
            std::string error;
            ASSERT_TRUE(desk.load((bundle.app() / "Contents/PlugIns/Update.bundle").string(), error))
                << error;
        }
        log = bundle.log();
    }
    EXPECT_TRUE(log.ends_with("release\nunloaded\n")) << log;
}

TEST(PluginLoaders, SayWhyABundleCannotBeUsed)
{
    HostBundle bundle;
    const ScopedTempDir& folder = bundle.home().folder();
    writeInfoPlist(folder, "Empty.bundle", "com.velmora.test.Empty", "Nothing");
    writeInfoPlist(folder, "Program.bundle", "com.velmora.test.Program", "Text");
    (void)folder.write("Program.bundle/Contents/Linux/Text", "no module");
    MessageContainer container([] { return false; }, [] {});
    const std::pair<const char*, const char*> cases[]
        = {{"Missing.bundle", "there is no plug-in bundle at"}, {"Empty.bundle", "cannot be loaded"},
            {"Program.bundle", "cannot be loaded"}, {"", "there is no plug-in"}};
    for (const auto& [name, reason] : cases) {
        PluginLoader loader;
        std::string error;
        EXPECT_FALSE(loader.load(*name ? folder.at(name).string() : std::string(), container, error)) << name;
        EXPECT_NE(error.find(reason), std::string::npos) << error;
        EXPECT_EQ(loader.provider(), nullptr);
    }
}

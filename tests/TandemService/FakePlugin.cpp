// A provider for tests: notes what the host does with it, and posts what $FAKE_MESSAGE says; $FAKE_CHECK
// "fails" fails the check and "stalls" holds it up, $FAKE_OPEN "fails" the opening, $FAKE_GET "null" gives no
// provider at all.
#include "tests/TandemService/FakePluginRun.h"

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/Unicode.h"

#include <chrono>
#include <thread>

namespace {

class FakeProvider final : public IMsgProviderPlugin {
public:
    SInt32 GenerateMsg(IUserMsgPool* pool) override
    {
        note("generate can=" + std::to_string(m_container->CanGenerateMsg()));
        if (setting("FAKE_CHECK") == "fails")
            return -1;
        if (setting("FAKE_CHECK") == "stalls")
            std::this_thread::sleep_for(std::chrono::minutes(5));
        const std::string text = setting("FAKE_MESSAGE");
        if (!text.empty())
            pool->AddMsg(u"Update.bundle", wideFromUtf8(text).c_str(), 0, 0, 1);
        return 0;
    }
    SInt32 CanShowNow(IUserMsg*) override { return 0; }
    SInt32 ProcessMsg(IUserMsg* msg) override
    {
        note("process " + utf8FromWide(msg->GetProviderName()));
        if (setting("FAKE_OPEN") == "fails")
            return -1;
        startRun(*m_container);
        return 0;
    }
    SInt32 CancelProcessMsg(IUserMsg* msg) override
    {
        note("cancel " + utf8FromWide(msg->GetProviderName()));
        endRun();
        return 0;
    }

    void setContainer(IMsgPluginContainer* container) { m_container = container; }

private:
    IMsgPluginContainer* m_container = nullptr;
};

FakeProvider g_provider;

/// Whether the bundle of that identifier is registered.
std::string registered(std::u16string_view identifier)
{
    const CFRef name = adoptCF(CFStringCreateWithView(identifier));
    return CFBundleGetBundleWithIdentifier(name) ? "1" : "0";
}

/// Seen when the module is loaded: a provider may look for its own resources that early.
const std::string g_registeredAtLoad = registered(u"com.velmora.test.FakePlugin");

struct Unloading {
    ~Unloading() { note("unloaded"); }
} g_unloading;

} // namespace

extern "C" __attribute__((visibility("default"))) IMsgProviderPlugin* GetMsgProviderPlugin(
    IMsgPluginContainer* container)
{
    note("get plugin-registered=" + g_registeredAtLoad
        + " host-registered=" + registered(u"com.velmora.Daemon"));
    const CFRef daemon = adoptCF(CFStringCreateWithView(u"com.velmora.Daemon"));
    const CFRef name = adoptCF(CFStringCreateWithView(u"VelTanRes"));
    const CFRef type = adoptCF(CFStringCreateWithView(u"UI"));
    const CFRef missing = adoptCF(CFStringCreateWithView(u"Missing"));
    const CFBundleRef host = CFBundleGetBundleWithIdentifier(daemon);
    const CFRef url = adoptCF(container->CopyResourceURL(host, name, type));
    const CFRef none = adoptCF(container->CopyResourceURL(host, missing, type));
    note(std::string("resource=") + (url ? "1" : "0") + " missing=" + (none ? "1" : "0"));
    g_provider.setContainer(container);
    return setting("FAKE_GET") == "null" ? nullptr : &g_provider;
}

extern "C" __attribute__((visibility("default"))) IMsgProviderPlugin* ReleaseMsgProviderPlugin(
    IMsgProviderPlugin* plugin)
{
    note("release");
    return plugin;
}

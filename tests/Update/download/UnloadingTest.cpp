// A module that downloads is unloaded, in the middle of a download as well; the platform goes on.
#include "Platform/CoreFoundation/CFRunLoop.h"
#include "tests/Update/download/DownloadLog.h"
#include "tests/support/ScopedServer.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

TEST(Unloading, ModuleWithADownloadUnderWayGoesInPeace)
{
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    server.on("/stall", ServerScript().send(answer::head(200, {"Content-Length: 9"}) + "first").stall());
    for (int i = 0; i < 2; ++i) {
        void* const module = ::dlopen(DOWNLOAD_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(module, nullptr) << ::dlerror();
        const auto now = reinterpret_cast<SInt32 (*)(const UniChar*)>(::dlsym(module, "downloadNow"));
        const auto later
            = reinterpret_cast<int (*)(const UniChar*)>(::dlsym(module, "downloadUntilUnloaded"));
        ASSERT_TRUE(now && later);
        EXPECT_EQ(now(server.wideUrl("/a").c_str()), 0);
        EXPECT_EQ(later(server.wideUrl("/stall").c_str()), 1);
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, false);
        ASSERT_EQ(::dlclose(module), 0);
        EXPECT_EQ(::dlopen(DOWNLOAD_MODULE, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is really unloaded";
        EXPECT_TRUE(server.waitForClientsGone(i + 1)) << "its stream went with it";
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, false);
    }
    CHttpDownload downloader(20000, 0);
    EXPECT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 1, nullptr), 1);
    EXPECT_EQ(receivedBytes(downloader), "hello");
}

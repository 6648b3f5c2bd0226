// The other process in the port tests: "send NAME ID TEXT SECONDS" sends one request and ends at once, with
// its status as exit status (negated); "serve NAME" prints a line when it listens and serves until it is
// killed.
#include "Platform/CoreFoundation/CFMessagePort.h"
#include "Platform/CoreFoundation/CFRef.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

CFRef<CFStringRef> textOf(const char* text)
{
    return adoptCF(CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8));
}

int send(const char* name, const char* id, const char* text, const char* seconds)
{
    const auto port = adoptCF(CFMessagePortCreateRemote(kCFAllocatorDefault, textOf(name)));
    if (!port)
        return 100;
    const auto data = adoptCF(CFDataCreate(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text), static_cast<CFIndex>(std::strlen(text))));
    CFDataRef reply = nullptr;
    const int status = CFMessagePortSendRequest(
        port, std::atoi(id), data, 10, std::atof(seconds), kCFRunLoopDefaultMode, &reply);
    // No clean-up at all: nothing but what the call itself did may get the request there.
    ::_exit(-status);
}

CFDataRef answer(CFMessagePortRef, SInt32, CFDataRef data, void*)
{
    CFRetain(data);
    return data;
}

int serve(const char* name)
{
    const auto port = adoptCF(CFMessagePortCreateLocal(kCFAllocatorDefault, textOf(name), answer, nullptr));
    std::puts(port ? "listening" : "refused");
    std::fflush(stdout);
    return port ? QCoreApplication::exec() : 1;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 6 && std::strcmp(argv[1], "send") == 0)
        return send(argv[2], argv[3], argv[4], argv[5]);
    if (argc == 3 && std::strcmp(argv[1], "serve") == 0)
        return serve(argv[2]);
    return 101;
}

#include "tests/support/FakeHost.h"

#include "Platform/CoreFoundation/CFURL.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>

namespace {

constexpr char kBundlePlace[] = "Library/Application Support/Velmora/Tandem Service/TandemService.app";

std::string escaped(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else
            out += c;
    }
    return out;
}

void writeFile(const std::filesystem::path& file, const std::string& bytes)
{
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
}

std::string infoPlist(const std::map<std::string, std::string>& info)
{
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>"
                      "<key>CFBundleIdentifier</key><string>com.velmora.Daemon</string>";
    for (const auto& [key, value] : info)
        out += "<key>" + escaped(key) + "</key>"
            + (key == "servertimeout" ? "<integer>" + value + "</integer>"
                                      : "<string>" + escaped(value) + "</string>");
    return out + "</dict></plist>";
}

std::string label(int id, const std::string& text)
{
    return "<widget class=\"QLabel\" name=\"text" + std::to_string(id) + "\"><property name=\"text\"><string>"
        + escaped(text) + "</string></property></widget>";
}

std::string textsForm(const HostTexts& texts)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><ui version=\"4.0\"><class>Texts</class>"
           "<widget class=\"QWidget\" name=\"Texts\">"
        + label(618, texts.one) + label(620, texts.several) + label(622, texts.success)
        + label(625, texts.failure) + "</widget></ui>";
}

CFRef<CFURLRef> folderURL(const std::filesystem::path& folder)
{
    const std::string path = folder.string();
    return adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), 1));
}

} // namespace

FakeHost::FakeHost(
    const FakeHome& home, const std::map<std::string, std::string>& info, const HostTexts& texts)
    : m_bundle(home.root() / kBundlePlace)
{
    writeFile(m_bundle / "Contents/Info.plist", infoPlist(info));
    setTexts(texts);
    CFBundleSetMainBundle(folderURL(m_bundle));
    m_registered = retainCF(CFBundleGetMainBundle());
}

FakeHost::~FakeHost()
{
    closePort();
    CFBundleSetMainBundle(nullptr);
}

void FakeHost::setTexts(const HostTexts& texts)
{
    writeFile(m_bundle / "Contents/Resources/VelTanRes.UI/VelTanRes.aui", textsForm(texts));
}

void FakeHost::forgetBundle()
{
    CFBundleSetMainBundle(nullptr);
    m_registered = nullptr;
}

void FakeHost::openPort()
{
    const CFRef name = adoptCF(CFStringCreateWithView(u"com.velmora.tandemservice.setup"));
    m_port = adoptCF(CFMessagePortCreateLocal(kCFAllocatorDefault, name, &FakeHost::serve, this));
    ASSERT_TRUE(m_port) << "the setup port could not be opened";
}

void FakeHost::closePort()
{
    if (m_port)
        CFMessagePortInvalidate(m_port);
    m_port = nullptr;
}

std::vector<PortRequest> FakeHost::requestsOf(SInt32 id) const
{
    std::vector<PortRequest> found;
    std::copy_if(requests.begin(), requests.end(), std::back_inserter(found),
        [id](const PortRequest& request) { return request.id == id; });
    return found;
}

CFDataRef FakeHost::serve(CFMessagePortRef, SInt32 messageId, CFDataRef data, void* info)
{
    auto* const self = static_cast<FakeHost*>(info);
    PortRequest request;
    request.id = messageId;
    if (data)
        request.payload.assign(reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
            static_cast<std::size_t>(CFDataGetLength(data)));
    self->requests.push_back(request);
    const SInt32 value = self->answer ? self->answer(request) : 0;
    UInt8 bytes[2 * sizeof value] = {};
    std::memcpy(bytes, &value, sizeof value);
    std::memset(bytes + sizeof value, 0xFF, sizeof value);
    return CFDataCreate(kCFAllocatorDefault, bytes, self->replyBytes);
}

void FakeHost::EndMsgProcess(
    const UniChar* providerId, const UniChar* text, SInt32 first, SInt32 second, SInt32 third)
{
    endings.push_back({providerId ? providerId : u"", text != nullptr, {first, second, third}});
    if (onEnd)
        onEnd();
}

void FakeHost::HostReserved()
{
    ADD_FAILURE() << "the second slot is the host's own";
}

CFURLRef FakeHost::CopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type)
{
    resourcesAskedFor.emplace_back(CFStringGetView(name));
    resourcesAskedFor.emplace_back(CFStringGetView(type));
    return hasResources ? CFBundleCopyResourceURL(bundle, name, type, nullptr) : nullptr;
}

void FakeHost::AddMsg(
    const UniChar* providerId, const UniChar* text, SInt32 first, SInt32 second, SInt32 third)
{
    messages.push_back({providerId, text, {first, second, third}});
}

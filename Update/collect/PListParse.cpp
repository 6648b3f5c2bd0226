// What every product's record does: its file name, its opaque block, and the keys that all readers share.
#include "Update/collect/PListParse.h"

#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/Support/Unicode.h"

#include <cstdlib>
#include <cstring>
#include <string>

CPListParse::CPListParse()
    : CPListParse(kBaseKind)
{
}

CPListParse::CPListParse(Kind kind)
    : m_kind(kind)
{
}

CPListParse::~CPListParse()
{
    std::free(m_userData);
}

int CPListParse::Parse(CFURLRef)
{
    return 0;
}

int CPListParse::Parse()
{
    return 0;
}

void CPListParse::Validate()
{
    // Put together whole and cut once: text after a cut would no longer stand where it belongs.
    std::u16string name = u"Update_";
    name.append(m_productName).append(u"_").append(m_version);
    if (!m_language.empty())
        name.append(u"_").append(m_language);
    m_xmlFileName.assign(name.append(u"_Mac.xml"));
}

int CPListParse::getSerTimeout()
{
    return m_serverTimeoutMs;
}

int CPListParse::SetUserData(const void* data, int size)
{
    std::free(m_userData);
    m_userData = size < 0 ? nullptr : std::malloc(static_cast<std::size_t>(size));
    if (!m_userData || !data)
        return 0;
    std::memcpy(m_userData, data, static_cast<std::size_t>(size));
    return 1;
}

std::string CPListParse::bundlePath() const
{
    std::string path(kMaxPathBytes + 1, '\0');
    if (!m_bundleURL
        || !CFURLGetFileSystemRepresentation(
            m_bundleURL, true, reinterpret_cast<UInt8*>(path.data()), static_cast<CFIndex>(path.size())))
        return {};
    path.resize(path.find('\0'));
    return path;
}

bool CPListParse::isHostProduct() const
{
    return equalIgnoringCase(m_productName, kHostProductName);
}

WideText CPListParse::downloadBase() const
{
    WideText base = m_site;
    base.append(m_url);
    return base;
}

void CPListParse::readSharedKeys(const InfoValues& valueFor)
{
    m_version.assign(textOr(valueFor(kCFBundleVersionKey), u""));
    m_language.assign(textOr(valueFor(u"language"), u""));
    m_site.assign(textOr(valueFor(u"site"), kDefaultSite));
    m_url.assign(textOr(valueFor(u"url"), kDefaultUrl));
    m_serverTimeoutMs = kDefaultServerTimeoutMs;
    const CFTypeRef timeout = valueFor(u"servertimeout");
    if (timeout && CFGetTypeID(timeout) == CFNumberGetTypeID())
        (void)CFNumberGetValue(static_cast<CFNumberRef>(timeout), kCFNumberSInt32Type, &m_serverTimeoutMs);
}

std::u16string_view CPListParse::textOr(CFTypeRef value, std::u16string_view fallback)
{
    const bool isText = value && CFGetTypeID(value) == CFStringGetTypeID();
    return isText ? CFStringGetView(static_cast<CFStringRef>(value)) : fallback;
}

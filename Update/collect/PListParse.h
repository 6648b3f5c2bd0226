// One installed product as its bundle's property list describes it: the base of the host's record and of any
// other bundle's record.
#pragma once

#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/UniText.h"

#include <functional>
#include <string>

/// The name of the host product, whatever its bundle is called.
inline constexpr std::u16string_view kHostProductName = u"Velmora Tandem";
/// Where descriptors are looked for when a property list has no "site" and no "url".
inline constexpr std::u16string_view kDefaultSite = u"http://update.velmora.example";
inline constexpr std::u16string_view kDefaultUrl = u"/downloads/newupdate/Velmora_Tandem/";
inline constexpr SInt32 kDefaultServerTimeoutMs = 5000;

class CPListParse {
public:
    enum Kind : SInt32 { kBaseKind = 0, kUpdateIniKind = 1, kAppIniKind = 3 };

    CPListParse();
    /// Reads the bundle at a folder, or the host's own: 1, or 0 when that failed. The base reads nothing and
    /// returns 0.
    virtual int Parse(CFURLRef bundle);
    virtual int Parse();
    /// Makes the descriptor's file name from name, version and language.
    virtual void Validate();
    /// The descriptor download's time-out, in milliseconds; 0 and negative values are given as the property
    /// list has them.
    virtual int getSerTimeout();
    virtual ~CPListParse();
    CPListParse(const CPListParse&) = delete;
    CPListParse& operator=(const CPListParse&) = delete;

    /// Replaces the block of opaque bytes that the owner attached by a copy of `size` bytes at `data`. 0 when
    /// `size` is negative, memory ran out or `data` is null (then a block of `size` undefined bytes is kept),
    /// otherwise 1.
    int SetUserData(const void* data, int size);
    /// The block, or null; owned by the record.
    void* userData() const { return m_userData; }

    /// Null before Parse; kept by the record.
    CFURLRef bundleURL() const { return m_bundleURL; }
    /// The path of that bundle's folder, in the file system's bytes; empty without a bundle, and for a path
    /// of more than 1023 bytes.
    std::string bundlePath() const;
    const WideText& site() const { return m_site; }
    const WideText& url() const { return m_url; }
    const VersionText& version() const { return m_version; }
    const LanguageText& language() const { return m_language; }
    const WideText& xmlFileName() const { return m_xmlFileName; }
    const WideText& runMode() const { return m_runMode; }
    const WideText& productName() const { return m_productName; }
    SInt32 kind() const { return m_kind; }
    /// The record's place in the order of collection, counted from 0; set by the collection that holds it.
    SInt32 collectionIndex() const { return m_collectionIndex; }
    void setCollectionIndex(SInt32 index) { m_collectionIndex = index; }
    /// True when the record's name is the host product's, ignoring case.
    bool isHostProduct() const;
    /// The base of every download of this product: site and url joined, cut at 1023 units.
    WideText downloadBase() const;

protected:
    /// Gives the value for a key of a property list, or null.
    using InfoValues = std::function<CFTypeRef(std::u16string_view key)>;

    explicit CPListParse(Kind kind);
    /// Reads the keys that every bundle's record has: version, language, site, url and time-out. A value of
    /// another kind than its key asks for counts as absent; a text that is too long is cut.
    void readSharedKeys(const InfoValues& valueFor);
    /// The text of `value`, or `fallback` when it is null or no text; valid as long as both.
    static std::u16string_view textOr(CFTypeRef value, std::u16string_view fallback);

    void* m_userData = nullptr; ///< from malloc
    CFRef<CFURLRef> m_bundleURL;
    WideText m_site;
    WideText m_url;
    VersionText m_version;
    LanguageText m_language;
    WideText m_xmlFileName;
    SInt32 m_kind = kBaseKind;
    WideText m_runMode;
    WideText m_productName;
    SInt32 m_collectionIndex = 0;
    SInt32 m_serverTimeoutMs = kDefaultServerTimeoutMs;
};

// The product registry: a folder of property lists, read in the order of their names.
#include "Platform/VelTan/ProductRegistry.h"

#include "Platform/Carbon/Folders.h"
#include "Platform/CoreFoundation/CFDictionary.h"
#include "Platform/CoreFoundation/CFPropertyList.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/Assertion.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <span>
#include <string>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

struct VELTAN_ProdEntry {
    std::string file;
};

struct VELTAN_ProdEnumState {
    std::vector<VELTAN_ProdEntry> entries;
    std::size_t next = 0;
};

namespace {

constexpr char kRegistryFolder[] = "/Library/Application Support/Velmora/Tandem Service/Products";

UInt32 bigEndian(const UInt8 (&bytes)[4])
{
    return UInt32(bytes[0]) << 24 | UInt32(bytes[1]) << 16 | UInt32(bytes[2]) << 8 | bytes[3];
}

/// The property lists of the folder, by name; false when it cannot be read or holds more than a suite ever
/// has.
bool listProducts(const std::string& folder, std::vector<VELTAN_ProdEntry>& entries)
{
    std::error_code error;
    fs::directory_iterator at(folder, error);
    for (; !error && at != fs::directory_iterator(); at.increment(error)) {
        if (at->path().extension() != ".plist")
            continue;
        if (entries.size() == kMaxRegisteredProducts)
            return false;
        entries.push_back({at->path().string()});
    }
    std::sort(entries.begin(), entries.end(),
        [](const VELTAN_ProdEntry& a, const VELTAN_ProdEntry& b) { return a.file < b.file; });
    return !error;
}

/// A key of a product's file and the text of the record that it sets.
struct Field {
    std::u16string_view key;
    std::span<UniChar> text;
};

/// The text for a key, which is null when the key is missing. False when it is no text or does not fit.
bool fittingText(CFDictionaryRef product, const Field& field, CFStringRef& text)
{
    const CFTypeRef value = CFDictionaryGetValue(product, field.key);
    text = nullptr;
    if (!value)
        return true;
    if (CFGetTypeID(value) != CFStringGetTypeID())
        return false;
    text = static_cast<CFStringRef>(value);
    const std::u16string_view view = CFStringGetView(text);
    return view.size() < field.text.size() && view.find(u'\0') == std::u16string_view::npos;
}

CFRef<CFTypeRef> readFile(const std::string& path)
{
    const CFRef url = adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), false));
    return url ? adoptCF(CFPropertyListCreateFromFile(url)) : nullptr;
}

} // namespace

SInt32 VELTAN_ProdEnumGUIDCreate(VELTAN_ProdEnumerator* enumerator)
{
    VELMORA_ASSERT(enumerator != nullptr);
    *enumerator = nullptr;
    std::vector<VELTAN_ProdEntry> entries;
    if (!listProducts(localDomainRoot() + kRegistryFolder, entries))
        return kNoRegistry;
    *enumerator = new VELTAN_ProdEnumState {std::move(entries)};
    return 0;
}

VELTAN_ProdGUID VELTAN_ProdEnumGUID(VELTAN_ProdEnumerator enumerator)
{
    VELMORA_ASSERT(enumerator != nullptr);
    if (enumerator->next == enumerator->entries.size())
        return nullptr;
    return &enumerator->entries[enumerator->next++];
}

SInt32 VELTAN_ProdQuery(VELTAN_ProdGUID product, VELTAN_ProdInfo* info)
{
    VELMORA_ASSERT(product != nullptr && info != nullptr);
    if (bigEndian(info->size) != sizeof *info)
        return kWrongRecordSize;
    const CFRef list = readFile(product->file);
    if (!list || CFGetTypeID(list) != CFDictionaryGetTypeID())
        return kUnreadableProduct;
    const auto keys = static_cast<CFDictionaryRef>(list.get());
    const std::array fields = {Field {u"FirstName", info->firstName}, Field {u"SecondName", info->secondName},
        Field {u"InstallPath", info->installPath}};
    // All are looked at before the first is written: a product that does not fit leaves the record as it was.
    std::array<CFStringRef, fields.size()> texts;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (!fittingText(keys, fields[i], texts[i]))
            return kUnreadableProduct;
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (!texts[i])
            continue;
        const std::u16string_view text = CFStringGetView(texts[i]);
        std::fill(std::copy(text.begin(), text.end(), fields[i].text.begin()), fields[i].text.end(), u'\0');
    }
    return 0;
}

void VELTAN_ProdEnumGUIDRelease(VELTAN_ProdEnumerator enumerator)
{
    delete enumerator;
}

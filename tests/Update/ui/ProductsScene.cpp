#include "tests/Update/ui/ProductsScene.h"

#include "Platform/CoreFoundation/CFXMLNode.h"
#include "Update/descriptor/Constants.h"
#include "Update/ui/PluginResources.h"

#include <cstdlib>

namespace {

[[noreturn]] void fail(const char* what)
{
    std::fprintf(stderr, "cannot set up the scene: %s\n", what);
    std::abort();
}

std::string escaped(std::string_view text)
{
    std::string out;
    for (const char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '"')
            out += "&quot;";
        else
            out += c;
    }
    return out;
}

} // namespace

CFRef<CFBundleRef> openStagedBundle()
{
    const std::string folder = TANDEM_STAGED_BUNDLE;
    const CFRef url = adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(folder.data()), static_cast<CFIndex>(folder.size()), 1));
    return url ? adoptCF(CFBundleCreate(kCFAllocatorDefault, url)) : nullptr;
}

ProductsScene::ProductsScene()
    : m_bundle(openStagedBundle())
{
    const CFRef resources = pluginResourcesFolder();
    FSSpec folder;
    if (!resources || !CFURLGetFSRef(resources, &folder) || !files.OpenFolder(folder))
        fail("no staged bundle");
}

ProductsScene::~ProductsScene() = default;

CFileSec* ProductsScene::entry(const Entry& entry)
{
    const std::string xml = "<FILE name=\"" + escaped(entry.name) + "\" title=\"" + escaped(entry.title)
        + "\" size=\"" + std::to_string(entry.sizeBytes) + "\"/>";
    const CFRef data = adoptCF(CFDataCreate(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(xml.data()), static_cast<CFIndex>(xml.size())));
    const CFRef document = adoptCF(CFXMLTreeCreateFromData(
        kCFAllocatorDefault, data, nullptr, kCFXMLParserSkipWhitespace, kCFXMLNodeCurrentVersion));
    const CConstants constants;
    auto made = std::make_unique<CFileSec>(entry.ownerCode);
    if (!document || !made->Parse(CFTreeGetChildAtIndex(document, 0), &constants))
        fail("an entry does not parse");
    m_entries.push_back(std::move(made));
    return m_entries.back().get();
}

CPListParse* ProductsScene::product(const std::vector<Entry>& entries)
{
    m_products.push_back(std::make_unique<CPListParse>());
    CPListParse* product = m_products.back().get();
    product->setCollectionIndex(static_cast<SInt32>(m_products.size() - 1));
    std::vector<CFileSec*>& list = products[product];
    for (const Entry& described : entries)
        list.push_back(entry(described));
    return product;
}

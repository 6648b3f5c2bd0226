#include "Update/descriptor/Files.h"

#include "Update/descriptor/ElementReader.h"

#include <utility>

int CFiles::ParseFiles(CFTreeRef tree, const CConstants* constants, SInt32 ownerCode, const UniChar* site)
{
    if (!isNamed(tree, u"FILES"))
        return 0;
    for (const CFTreeRef child : TreeChildren(tree)) {
        if (!isNamed(child, u"FILE"))
            continue;
        auto file = std::make_unique<CFileSec>(ownerCode);
        if (file->Parse(child, constants) == 0)
            continue;
        file->SetDownloadSiteUrl(site);
        AddItem(std::move(file));
    }
    return 1;
}

void CFiles::AddItem(std::unique_ptr<CFileSec> file)
{
    m_items.push_back(std::move(file));
}

void CFiles::ReleaseFileByName(const UniChar* name)
{
    if (name && *name != u'\0')
        releaseNamed(name);
    else
        m_items.clear();
}

void CFiles::releaseNamed(const UniChar* name)
{
    std::erase_if(m_items, [name](const std::unique_ptr<CFileSec>& file) {
        return !file || lum_wcscmpi(file->name().c_str(), name) == 0;
    });
}

std::vector<std::unique_ptr<CFileSec>> CFiles::takeAll()
{
    return std::exchange(m_items, {});
}

// Gathers the products and hands them out one by one.
#include "Update/collect/Collect.h"

#include "Platform/Carbon/FSRef.h"
#include "Platform/VelTan/ProductRegistry.h"
#include "Platform/Support/Unicode.h"
#include "Update/collect/AppIni.h"
#include "Update/collect/SearchApplication.h"
#include "Update/collect/UpdateIni.h"

#include <algorithm>
#include <string>
#include <utility>

namespace {

void setRecordSize(VELTAN_ProdInfo& info)
{
    constexpr UInt32 kSize = sizeof(VELTAN_ProdInfo);
    for (int i = 0; i < 4; ++i)
        info.size[i] = static_cast<UInt8>(kSize >> (24 - 8 * i));
}

/// Finds a product that is gone from its installation path by its saved information.
bool findMovedProduct(const VELTAN_ProdInfo& info, FSRef& ref)
{
    char path[kMaxPathBytes + 1] = {};
    std::u16string widePath;
    return SearchApplicationExistMacDatabase(info.firstName, info.secondName, path, sizeof path)
        && wideFromPath(path, widePath) && makeRefFromWidePath(widePath, ref);
}

/// The record of the product's bundle, from where it is found; null when it is not, or has no Info.plist.
std::unique_ptr<CPListParse> readProduct(const VELTAN_ProdInfo& info)
{
    FSRef ref;
    if (!makeRefFromWidePath(info.installPath, ref) && !findMovedProduct(info, ref))
        return nullptr;
    const CFRef url = adoptCF(CFURLCreateFromFSRef(kCFAllocatorDefault, &ref));
    auto record = std::make_unique<CAppIni>();
    if (!url || record->Parse(url) == 0)
        return nullptr;
    return record;
}

} // namespace

int CCollect::DoCollect(int)
{
    CollectCUSelf();
    CollectProds();
    CollectCommonDLL();
    return count();
}

void CCollect::CollectCUSelf()
{
    auto record = std::make_unique<CUpdateIni>();
    if (record->Parse() != 0)
        append(std::move(record));
}

void CCollect::CollectProds()
{
    // Zeroed once and not for each product: a text that a product does not set keeps the value of the one
    // before it.
    VELTAN_ProdInfo info = {};
    VELTAN_ProdEnumerator enumerator = nullptr;
    if (VELTAN_ProdEnumGUIDCreate(&enumerator) != 0 || !enumerator)
        return;
    while (const VELTAN_ProdGUID product = VELTAN_ProdEnumGUID(enumerator)) {
        setRecordSize(info);
        if (VELTAN_ProdQuery(product, &info) != 0)
            continue;
        if (std::unique_ptr<CPListParse> record = readProduct(info))
            append(std::move(record));
    }
    VELTAN_ProdEnumGUIDRelease(enumerator);
}

void CCollect::CollectCommonDLL() { }

void CCollect::append(std::unique_ptr<CPListParse> record)
{
    record->setCollectionIndex(m_records.empty() ? 0 : m_records.back()->collectionIndex() + 1);
    m_records.push_back(std::move(record));
}

CPListParse* CCollect::GetIni(int index)
{
    m_cursor = static_cast<UInt32>(index);
    return NextIni();
}

CPListParse* CCollect::NextIni()
{
    if (m_cursor >= m_records.size())
        return nullptr;
    return m_records[m_cursor++].get();
}

void CCollect::DeleteOtherPListParse(const std::vector<CPListParse*>& keep)
{
    std::erase_if(m_records, [&keep](const std::unique_ptr<CPListParse>& record) {
        return std::find(keep.begin(), keep.end(), record.get()) == keep.end();
    });
    m_cursor = 0;
}

// The update check: which products have something to update, and the one message that says so.
#include "Update/UpdateInter.h"

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Lumen/LumFile.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/UniFormat.h"
#include "Platform/Support/Unicode.h"
#include "Update/descriptor/XMLInterpret.h"
#include "Update/download/DescriptorFetch.h"

#include <cstring>
#include <string>
#include <utility>

CXMLInterpret* interpreterOf(const CPListParse* product)
{
    if (!product || !product->userData())
        return nullptr;
    ProductUserData block;
    std::memcpy(&block, product->userData(), sizeof block);
    return block.interpreter;
}

SInt32 CUpdateInter::GenerateMsg(IUserMsgPool* pool)
{
    if (m_container && m_container->CanGenerateMsg() == 0)
        return -1;
    PubLumen::LumDocument texts;
    if (!openTexts(texts))
        return -1;
    WideText oneProduct;
    WideText severalProducts;
    texts.CopyItemText(kOneProductText, oneProduct);
    texts.CopyItemText(kSeveralProductsText, severalProducts);
    texts.CopyItemText(kInstallFailureText, ErrorText);
    if (oneProduct.empty())
        return -1;

    Busy = 0;
    FreeCollectAndSelfData();
    m_collection = std::make_unique<CCollect>();
    (void)m_collection->DoCollect(0); // an empty collection is a check that found nothing
    noteProductBundles();
    std::vector<CPListParse*> keep;
    checkProducts(keep);
    m_collection->DeleteOtherPListParse(keep);
    if (pool && m_collection->count() > 0)
        postMessage(*pool, oneProduct, severalProducts);
    return 0;
}

/// Keeps the places of all products: those that turn out to have no update leave the collection.
void CUpdateInter::noteProductBundles()
{
    m_productBundles.clear();
    for (CPListParse* product = m_collection->GetIni(0); product; product = m_collection->NextIni()) {
        std::string path = product->bundlePath();
        if (!path.empty())
            m_productBundles.push_back(std::move(path));
    }
}

/// Checks the products in collection order and lists those that stay; the host product may end the walk.
void CUpdateInter::checkProducts(std::vector<CPListParse*>& keep)
{
    for (CPListParse* product = m_collection->GetIni(0); product; product = m_collection->NextIni()) {
        if (!checkProduct(*product, keep))
            return;
    }
}

/// Checks one product; false when no further product is to be checked.
bool CUpdateInter::checkProduct(CPListParse& product, std::vector<CPListParse*>& keep)
{
    const bool isHost = product.isHostProduct();
    const SInt32 fetched = DownloadXMLFile2Loacl(
        product.downloadBase().c_str(), product.xmlFileName().c_str(), product.getSerTimeout());
    if (fetched != noErr)
        return !isHost || fetched == fnfErr;

    SInt32 result = 0;
    std::unique_ptr<CXMLInterpret> interpreter = CreateNeedUpdateXMLParse(product, result);
    if (!interpreter)
        return !isHost || result != 0;

    ProductUserData block {};
    block.interpreter = interpreter.get();
    if (!product.SetUserData(&block, sizeof block))
        return !isHost;
    (void)interpreter.release(); // the block holds it from here on
    keep.push_back(&product);
    // When the host product itself needs updating, no other product is offered in the same check.
    return !isHost;
}

std::unique_ptr<CXMLInterpret> CUpdateInter::CreateNeedUpdateXMLParse(
    CPListParse& product, SInt32& result) const
{
    const LumFSRefOwner file(CreateXMLFileRef(product.xmlFileName().c_str()));
    if (!file)
        return nullptr;
    const WideText base = product.downloadBase();
    std::u16string bundle;
    (void)wideFromPath(product.bundlePath(), bundle); // leaves it empty on failure
    result = 0;
    auto interpreter = std::make_unique<CXMLInterpret>(file.get());
    const bool hasUpdates = interpreter->ParseFile(
        product.productName().c_str(), product.version().c_str(), bundle.c_str(), base.c_str());
    result = hasUpdates ? 1 : interpreter->status();
    return hasUpdates ? std::move(interpreter) : nullptr;
}

void CUpdateInter::FreeCollectAndSelfData()
{
    ++m_run;
    removeTimer();
    deleteDownloader();
    m_progressWindow.Dispose();
    m_productsWindow.Dispose();
    m_ownFiles.clear();
    m_commonFiles.clear();
    m_productFiles.clear();
    SelectedFiles.clear();
    if (!m_collection)
        return;
    for (CPListParse* product = m_collection->GetIni(0); product; product = m_collection->NextIni()) {
        delete interpreterOf(product);
        const ProductUserData empty {};
        if (product->userData())
            (void)product->SetUserData(&empty, sizeof empty); // the record goes in a moment in any case
    }
    m_collection.reset();
}

void CUpdateInter::postMessage(IUserMsgPool& pool, const WideText& one, const WideText& several)
{
    const int count = m_collection->count();
    const WideText text = count == 1
        ? WideText(formatText(one, {m_collection->GetIni(0)->productName().view()}))
        : WideText(formatText(several, {static_cast<SInt64>(count)}));
    pool.AddMsg(kProviderId, text.c_str(), 0, 0, 1);
}

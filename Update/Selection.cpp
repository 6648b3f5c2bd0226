// The opened message: which files are offered, and the start of the install sequence with those that were
// chosen.
#include "Update/UpdateInter.h"

#include "Platform/Carbon/Processes.h"
#include "Platform/Security/Authorization.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"
#include "Update/descriptor/XMLInterpret.h"
#include "Update/helper/AssistantTool.h"

#include <cstring>
#include <set>
#include <string>

namespace {

constexpr SInt32 kDownloadTimeoutMs = 20000;
constexpr SInt32 kNoInitialBuffer = -1;

char kSelfRepairOption[] = "--self-repair";
char* const kSelfRepairArguments[] = {kSelfRepairOption, nullptr};

struct IgnoringCase {
    bool operator()(std::u16string_view a, std::u16string_view b) const
    {
        return compareIgnoringCase(a, b) < 0;
    }
};

/// A list that takes one file for each URL, the first with it, and none without one. It keeps the URLs: a
/// descriptor may list some 500,000 files, which cannot be compared each with each.
class FilesByURL {
public:
    explicit FilesByURL(std::vector<CFileSec*>& files)
        : m_files(files)
    {
    }

    void append(CFileSec* file)
    {
        CLumStringW url;
        file->GatherDownloadFullURL(url);
        if (!url.empty() && m_urls.emplace(url).second)
            m_files.push_back(file);
    }

private:
    std::vector<CFileSec*>& m_files;
    std::set<std::u16string, IgnoringCase> m_urls;
};

/// The files of another product that the user may choose for it alone.
std::vector<CFileSec*> optionalFiles(const CXMLInterpret& interpreter)
{
    std::vector<CFileSec*> files;
    for (const auto& file : interpreter.filesToUpdate()) {
        CLumStringW url;
        file->GatherDownloadFullURL(url);
        const bool own = file->ownerCode() == kAppDescriptor || file->ownerCode() == kSectionDescriptor;
        if (!file->mark() && own && !url.empty())
            files.push_back(file.get());
    }
    return files;
}

} // namespace

SInt32 CUpdateInter::ProcessMsg(IUserMsg* msg)
{
    if (Busy || !msg)
        return 0;
    if (!m_collection)
        return -1;
    const UniChar* const provider = msg->GetProviderName();
    if (!provider || !equalIgnoringCase(provider, kProviderId))
        return -1;

    ++m_run;
    CurrentIndex = -1;
    SelectedFiles.clear();
    m_ownFiles.clear();
    m_commonFiles.clear();
    std::vector<CPListParse*> others;
    if (!gatherOwnFiles(others))
        return -1;
    m_productFiles.clear();
    gatherOtherFiles(others);
    Busy = m_productsWindow.ShowWnd(m_fileManager.get(), &m_ownFiles, &m_commonFiles, &m_productFiles);
    return Busy ? 0 : -1;
}

/// Gathers the host product's files and the files of "common" descriptors, and lists the other products.
/// False when a product has no interpreter or its work folder cannot be made.
bool CUpdateInter::gatherOwnFiles(std::vector<CPListParse*>& others)
{
    FilesByURL ownFiles(m_ownFiles);
    for (CPListParse* product = m_collection->GetIni(0); product; product = m_collection->NextIni()) {
        CXMLInterpret* const interpreter = interpreterOf(product);
        if (!interpreter || !interpreter->RealCreateDir())
            return false;
        const bool isHost = product->isHostProduct();
        if (!isHost)
            others.push_back(product);
        for (const auto& file : interpreter->filesToUpdate()) {
            if (isHost || file->ownerCode() == kCommonDescriptor)
                ownFiles.append(file.get());
        }
    }
    return true;
}

/// Sorts the other products' files into those marked for all and those of one product.
void CUpdateInter::gatherOtherFiles(const std::vector<CPListParse*>& others)
{
    FilesByURL commonFiles(m_commonFiles);
    for (CPListParse* product : others) {
        const CXMLInterpret* const interpreter = interpreterOf(product);
        for (const auto& file : interpreter->filesToUpdate()) {
            if (file->mark())
                commonFiles.append(file.get());
        }
        std::vector<CFileSec*> files = optionalFiles(*interpreter);
        if (!files.empty())
            m_productFiles.emplace(product, std::move(files));
    }
}

void CUpdateInter::SelectProductsResponse(const std::vector<CFileSec*>* files)
{
    const RunSerial run = m_run;
    if (files && !files->empty() && startInstall(*files, run))
        return;
    finishMessage(run);
    if (run == m_run)
        deleteDownloader();
}

/// Authorises the helper tool and starts the first download; false when the message is to be ended.
bool CUpdateInter::startInstall(const std::vector<CFileSec*>& files, RunSerial run)
{
    if (!authoriseHelperTool() || run != m_run)
        return false;
    SelectedFiles = files;
    StepDone = 0;
    StepTotal = 0;
    for (const CFileSec* file : SelectedFiles)
        StepTotal = addSizes(StepTotal, file->size());
    CurrentIndex = 0;
    deleteDownloader();
    m_downloader = std::make_unique<CHttpDownload>(kDownloadTimeoutMs, kNoInitialBuffer);
    m_downloader->SetDownloadCallBack(&CUpdateInter::MyDownloadCallBack, this);
    return startDownload(*SelectedFiles.front()) && run == m_run
        && m_progressWindow.ShowWnd(m_fileManager.get(), 1);
}

/// Places the helper tool and lets it repair itself with administrator rights.
bool CUpdateInter::authoriseHelperTool()
{
    unsigned char toolPath[1024] = {};
    if (!CopyAssistantTool2Folder(toolPath))
        return false;
    const char* const path = reinterpret_cast<const char*>(toolPath);
    const AuthorizationItem right
        = {kAuthorizationRightExecute, static_cast<UInt32>(std::strlen(path)), toolPath, 0};
    // The right stands in the environment, not among the rights: it is asked for when the tool is started.
    const AuthorizationItemSet environment = {1, &right};
    AuthorizationRef authorization = nullptr;
    if (AuthorizationCreate(nullptr, &environment, kAuthorizationFlagDefaults, &authorization) != noErr)
        return false;
    const OSStatus status
        = AuthorizationExecuteWithPrivileges(authorization, path, 0, kSelfRepairArguments, nullptr);
    (void)AuthorizationFree(authorization, kAuthorizationFlagDefaults); // nothing depends on it any more
    if (status != noErr)
        return false;
    ProcessSerialNumber process;
    if (GetCurrentProcess(&process) == noErr)
        (void)SetFrontProcess(
            &process); // where the desktop does not allow it, the windows stay where they are
    return true;
}

Boolean CUpdateInter::CopyAssistantTool2Folder(unsigned char* path)
{
    return ::CopyAssistantTool2Folder(path);
}

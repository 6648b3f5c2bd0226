// The plug-in object: the message interface to the host, the update check, and the install sequence.
#pragma once

#include "Platform/Carbon/EventLoop.h"
#include "Platform/Lumen/LumResource.h"
#include "Platform/Lumen/LumString.h"
#include "Platform/Support/UniText.h"
#include "Update/MsgProvider.h"
#include "Update/collect/Collect.h"
#include "Update/download/HttpDownload.h"
#include "Update/ui/AuProductsWind.h"
#include "Update/ui/ProgressWind.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CXMLInterpret;

/// The id under which the plug-in posts and ends its messages.
inline constexpr char16_t kProviderId[] = u"Update.bundle";

/// The host's resource texts.
enum ResourceText : SInt32 {
    kOneProductText = 618,      ///< takes the product's name
    kSeveralProductsText = 620, ///< takes the number of products
    kInstallSuccessText = 622,
    kInstallFailureText = 625,
};

/// From one install step to the next.
inline constexpr EventTimerInterval kInstallTickSeconds = 0.02;
/// How a run ends that the user cancelled; also the downloader's termination code for it.
inline constexpr SInt32 kUserCancelled = 3;

/// The block of opaque bytes that a check attaches to each product it keeps: 2048 zero bytes, then the
/// product's interpreter.
struct ProductUserData {
    UInt8 reserved[2048];
    CXMLInterpret* interpreter; ///< owned by the plug-in object
};

class CUpdateInter final : public IMsgProviderPlugin, private IProductsResponse {
public:
    CUpdateInter();
    ~CUpdateInter();

    // Entry
    /// Prepares the object for its host: clears old work folders the first time, opens the host's resources.
    /// False when the host's bundle or its resources cannot be found: then the container is not taken.
    bool attach(IMsgPluginContainer* container);
    /// Null is allowed.
    void SetContainer(IMsgPluginContainer* container);
    SInt32 CanShowNow(IUserMsg* msg) override;
    /// Every descriptor URL fetched since the bundle was loaded.
    std::vector<CLumStringW>& fetchedURLs() { return m_fetchedURLs; }
    /// The bundles' paths of all products that the last check collected, those without updates included.
    const std::vector<std::string>& productBundles() const { return m_productBundles; }

    // Check
    SInt32 GenerateMsg(IUserMsgPool* pool) override;

    // Install sequence
    SInt32 ProcessMsg(IUserMsg* msg) override;
    SInt32 CancelProcessMsg(IUserMsg* msg) override;
    /// Starts the downloads of the chosen files; null or none ends the message.
    void SelectProductsResponse(const std::vector<CFileSec*>* files) override;
    /// Serves the downloader's events; the contract is CHttpDownload's.
    static int MyDownloadCallBack(int event, int value, void* userData);
    /// Performs one install step and arms the timer for the next one.
    static void Install_TimeoutTimerProc(EventLoopTimerRef timer, void* userData);

    // Host channel
    /// Sends a request to the host and waits for the answer, processing events meanwhile. Both texts are
    /// UTF-8 and may be null. True only when the host answered with 0.
    bool CommunicationWithApp(SInt32 msgId, const char* first, const char* second = nullptr);

    /// Places the helper tool and writes its path to `path` (1024 bytes).
    Boolean CopyAssistantTool2Folder(unsigned char* path);

    /// Nonzero while the selection window, a download or an install is in progress.
    SInt32 busy() const { return Busy; }

private:
    /// Which run of the sequence a step belongs to: a wait that processes events compares it afterwards,
    /// because a check, a cancel or another message may have taken the object over meanwhile.
    using RunSerial = UInt32;

    // Entry.cpp
    void clearFixedFolder(SInt32 selector);
    /// Opens the host's texts; false when they cannot be opened.
    bool openTexts(PubLumen::LumDocument& texts) const;
    void endMsgProcess();

    // Check.cpp
    void noteProductBundles();
    void checkProducts(std::vector<CPListParse*>& keep);
    bool checkProduct(CPListParse& product, std::vector<CPListParse*>& keep);
    std::unique_ptr<CXMLInterpret> CreateNeedUpdateXMLParse(CPListParse& product, SInt32& result) const;
    void FreeCollectAndSelfData();
    void postMessage(IUserMsgPool& pool, const WideText& one, const WideText& several);

    // Selection.cpp
    bool gatherOwnFiles(std::vector<CPListParse*>& others);
    void gatherOtherFiles(const std::vector<CPListParse*>& others);
    bool startInstall(const std::vector<CFileSec*>& files, RunSerial run);
    bool authoriseHelperTool();

    // DownloadChain.cpp
    int startDownload(const CFileSec& file);
    int downloadEvent(int event, int value);
    int fileDownloaded();
    bool storeDownload(const CFileSec& file);
    void DownloadOK();

    // Install.cpp
    void installTick();
    bool unzipStep(const CFileSec& file) const;
    bool runStep();
    CFileSec* fileAtRunStep(SInt32 step) const;
    bool isSelected(const CFileSec& file) const;

    // Endings.cpp
    void InstallSuccess();
    void OperateHasError(SInt32 code);
    void leaveInstall();
    bool relaunchHost(CPListParse* first);
    void finishMessage(RunSerial run);
    void removeTimer();
    void deleteDownloader();

    std::unique_ptr<PubLumen::LumFileManager> m_fileManager;
    SInt32 m_cleanupDone = 0;
    std::vector<CLumStringW> m_fetchedURLs;
    std::vector<std::string> m_productBundles;
    IMsgPluginContainer* m_container = nullptr;
    EventLoopTimerUPP m_timerUPP = nullptr;
    EventLoopTimerRef m_timer = nullptr;
    PProgressWind m_progressWindow;
    PAuProductsWind m_productsWindow;
    std::unique_ptr<CCollect> m_collection;
    std::unique_ptr<CHttpDownload> m_downloader;
    std::vector<CFileSec*> m_ownFiles;    ///< of the host product, and shared files
    std::vector<CFileSec*> m_commonFiles; ///< of other products, marked as needed by all
    ProductFiles m_productFiles;          ///< optional files
    std::vector<CFileSec*> SelectedFiles;
    /// Position in SelectedFiles; -1 when a message was opened and nothing chosen yet.
    SInt32 CurrentIndex = 0;
    WideText ErrorText;
    SInt32 Busy = 0;
    SInt32 StepTotal = 0; ///< bytes while downloading, steps while installing
    SInt32 StepDone = 0;

    RunSerial m_run = 0;
    RunSerial m_cancelledRun = 0; ///< CancelProcessMsg ended this run and all before it; 0 none
    int m_callbackDepth = 0;      ///< how many of the downloader's callbacks are on the stack
    std::unique_ptr<CHttpDownload> m_retiredDownloader; ///< one that was deleted inside its own callback
};

/// The one plug-in object; it lives as long as the bundle is loaded.
extern CUpdateInter g_UpdatePlugin;

/// The interpreter that a check attached to `product`, or null.
CXMLInterpret* interpreterOf(const CPListParse* product);

/// `done` of `total` in percent, rounded half up, at most 100; a total that is not positive gives 100.
SInt32 percentOf(SInt32 done, SInt32 total);

/// The sum of two sizes in bytes or steps, held at the largest 32-bit value.
SInt32 addSizes(SInt32 a, SInt32 b);

/// The folder that the archive at `path` is unpacked into: the path up to its last "/"; empty when there is
/// none or when it is the first character.
std::u16string_view archiveFolderOf(std::u16string_view path);

/// The folder that a package is installed into for a product at `destination`: the path up to its last
/// "/", or "/" itself when that is the first character; empty when there is none.
std::u16string_view packageTargetOf(std::u16string_view destination);

/// Shows a modal stop alert with `text` and waits for its OK button, processing events.
void MyMessageBox(const UniChar* text);

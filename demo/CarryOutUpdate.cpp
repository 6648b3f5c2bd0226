// Plays Tandem Service at the moment that it carries out an update of its own updater: takes the descriptor
// that is published for the application in which this program lies, downloads the files, carries out their
// actions, and ends when those ask for it. From then on the helper tool has the work.
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Update/collect/UpdateIni.h"
#include "Update/descriptor/DownloadAction.h"
#include "Update/descriptor/XMLInterpret.h"
#include "Update/download/DescriptorFetch.h"
#include "Update/download/HttpDownload.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>
#include <memory>

namespace {

constexpr SInt32 kDownloadTimeoutMs = 20000;
constexpr SInt32 kNoInitialBuffer = -1;

/// The plug-in's bundle in the application: the helper tool is looked for there. Null when it is not there.
CFRef<CFBundleRef> openPlugin()
{
    const std::string folder
        = QCoreApplication::applicationDirPath().toStdString() + "/../PlugIns/Update.bundle";
    const CFRef url = adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(folder.data()), static_cast<CFIndex>(folder.size()), true));
    return adoptCF(CFBundleCreate(kCFAllocatorDefault, url));
}

/// The product's descriptor, interpreted; null when none is published or nothing in it is newer.
std::unique_ptr<CXMLInterpret> interpretDescriptor(CPListParse& product)
{
    const WideText base = product.downloadBase();
    if (DownloadXMLFile2Loacl(base.c_str(), product.xmlFileName().c_str(), product.getSerTimeout()) != 0)
        return nullptr;
    const LumFSRefOwner file(CreateXMLFileRef(product.xmlFileName().c_str()));
    auto interpreter = std::make_unique<CXMLInterpret>(file.get());
    const bool isNewer = interpreter->ParseFile(
        product.productName().c_str(), product.version().c_str(), nullptr, base.c_str());
    return isNewer && interpreter->RealCreateDir() ? std::move(interpreter) : nullptr;
}

bool download(const CFileSec& file)
{
    const auto* const action = static_cast<const CDownLoad*>(file.GetActionByType(kDownloadAction));
    CLumStringW url;
    file.GatherDownloadFullURL(url);
    CHttpDownload downloader(kDownloadTimeoutMs, kNoInitialBuffer);
    return action && downloader.Download(url.c_str(), 1, action->destination().c_str()) == 1;
}

bool downloadAll(const CXMLInterpret& interpreter)
{
    for (const std::unique_ptr<CFileSec>& file : interpreter.filesToUpdate())
        if (!download(*file))
            return false;
    return true;
}

/// Carries out the actions in an event loop, which the last of them ends; false when one fails.
bool carryOut(CXMLInterpret& interpreter, CPListParse& product)
{
    bool isDone = false;
    QTimer::singleShot(0, qApp, [&] {
        isDone = interpreter.DoActionExceptDownload(&product);
        if (!isDone)
            QCoreApplication::exit(1);
    });
    return QCoreApplication::exec() == 0 && isDone;
}

int complain(const char* what)
{
    std::fprintf(stderr, "CarryOutUpdate: %s\n", what);
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const CFRef plugin = openPlugin();
    CUpdateIni product;
    if (!plugin || product.Parse() == 0)
        return complain("this program does not lie in the service's application");
    const std::unique_ptr<CXMLInterpret> interpreter = interpretDescriptor(product);
    if (!interpreter)
        return complain("no update is published");
    if (!downloadAll(*interpreter))
        return complain("a file could not be downloaded");
    return carryOut(*interpreter, product) ? 0 : complain("an action failed");
}

// Brings a product's update descriptor to the local descriptor folder, once for each URL.
#include "Update/download/DescriptorFetch.h"

#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/UniText.h"
#include "Update/download/HttpDownload.h"
#include "Update/helper/FixedFolders.h"

#include <algorithm>
#include <string_view>

namespace {

bool wasFetched(const CLumStringW& url)
{
    const std::vector<CLumStringW>& urls = fetchedDescriptorURLs();
    return std::find(urls.begin(), urls.end(), url) != urls.end();
}

/// Ends a download that has brought more than a reader takes; `userData` is the bytes that it may still
/// bring.
int goOnWithinLimit(int event, int bytes, void* userData)
{
    if (event != kDownloadChunkEvent)
        return 1;
    SInt64& left = *static_cast<SInt64*>(userData);
    left -= bytes;
    return left >= 0 ? 1 : 0;
}

/// Writes the body to `file` and closes it. False when not all of it could be stored.
bool storeBody(SInt16 file, const CHttpDownload& downloader)
{
    SInt32 size = 0;
    const UInt8* const bytes = downloader.GetData(size);
    const bool written = size <= 0 || LumFileWriteExt(file, bytes, size, 0) == size;
    const bool closed = LumFileCloseExt(file) == 0;
    return written && closed;
}

} // namespace

OpacLumFSRef* CreateXMLFileRef(const UniChar* fileName)
{
    if (!fileName || std::u16string_view(fileName).find(u'/') != std::u16string_view::npos)
        return nullptr;
    const CLumStringW folder = createFixedFolder(nullptr, kDescriptorFolder);
    WideText path;
    if (folder.empty() || !path.assign(folder) || !path.append(u"/") || !path.append(fileName))
        return nullptr;
    return Lum0FSRCreateWithPath(path.c_str());
}

SInt32 DownloadXMLFile2Loacl(
    const UniChar* baseUrl, const UniChar* fileName, SInt32 timeoutMs, SInt64 maxBytes)
{
    if (!baseUrl || !fileName)
        return paramErr;
    CLumStringW url(baseUrl);
    url += fileName;
    if (wasFetched(url))
        return noErr;

    const LumFSRefOwner ref(CreateXMLFileRef(fileName));
    const SInt16 file = LumFileCreateExt(ref.get(), kLumFileCreateWrite);
    if (file == -1)
        return dirNFErr;
    SInt64 bytesLeft = maxBytes;
    CHttpDownload downloader(timeoutMs, 0);
    downloader.SetDownloadCallBack(goOnWithinLimit, &bytesLeft);
    if (!downloader.Download(url.c_str(), 1, nullptr)) {
        (void)LumFileCloseExt(file);       // nothing was written
        (void)LumFileDeleteExt(ref.get()); // an empty file left behind is no descriptor: it does not parse
        return downloader.status() == kDownloadNotFound ? fnfErr : dirNFErr;
    }
    if (!storeBody(file, downloader)) {
        (void)LumFileDeleteExt(ref.get()); // what is cut does not parse either
        return dirNFErr;
    }
    fetchedDescriptorURLs().push_back(url);
    return noErr;
}

#include "Platform/Carbon/IconsInternal.h"

#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"

#include <QBuffer>
#include <QFile>
#include <QImageReader>

#include <memory>

namespace {

constexpr qint64 kMaxIconFileBytes = 4 * 1024 * 1024;
constexpr int kMaxPictures = 32;
constexpr int kMaxSidePixels = 1024;

std::vector<QImage> readPictures(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    std::vector<QImage> pictures;
    if (!buffer.open(QIODevice::ReadOnly))
        return pictures;
    QImageReader reader(&buffer, "icns");
    // The reader's own count is data from the file: bound it.
    const int count = std::min(reader.imageCount(), kMaxPictures);
    for (int i = 0; i < count; ++i) {
        if (!reader.jumpToImage(i))
            break;
        QImage picture = reader.read();
        const bool usable
            = !picture.isNull() && picture.width() <= kMaxSidePixels && picture.height() <= kMaxSidePixels;
        if (usable)
            pictures.push_back(std::move(picture));
    }
    return pictures;
}

} // namespace

OSStatus RegisterIconRefFromFSRef(OSType creator, OSType iconType, const FSRef* iconFile, IconRef* icon)
{
    VELMORA_ASSERT(iconFile && icon);
    *icon = nullptr;
    QFile file(QString::fromStdString(iconFile->path));
    if (!file.open(QIODevice::ReadOnly) || file.size() > kMaxIconFileBytes)
        return fnfErr;
    auto made = std::make_unique<OpaqueIconRef>();
    made->creator = creator;
    made->iconType = iconType;
    made->pictures = readPictures(file.read(kMaxIconFileBytes));
    if (made->pictures.empty())
        return noSuchIconErr;
    *icon = made.release();
    return noErr;
}

OSStatus ReleaseIconRef(IconRef icon)
{
    VELMORA_ASSERT(icon);
    delete icon;
    return noErr;
}

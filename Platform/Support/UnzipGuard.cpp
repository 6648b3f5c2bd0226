#include "Platform/Support/UnzipGuard.h"

#include "Platform/Support/RegularFile.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Where unzip looks for an archive's end: this far from the file's.
constexpr off_t kSearchedBytes = 66'000;
constexpr std::string_view kEndSignature = "PK\x05\x06";
constexpr std::size_t kEndBytes = 22; ///< without the comment that may follow

bool exists(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0;
}

/// The last bytes of a file; empty when they cannot be read.
std::string lastBytes(const char* path)
{
    struct stat status;
    const Descriptor file = openRegularFile(path, status);
    if (!file)
        return "";
    std::string bytes(static_cast<std::size_t>(std::min<off_t>(status.st_size, kSearchedBytes)), '\0');
    off_t at = status.st_size - static_cast<off_t>(bytes.size());
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t count = ::pread(file.get(), bytes.data() + filled, bytes.size() - filled, at);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return "";
        filled += static_cast<std::size_t>(count);
        at += count;
    }
    return bytes;
}

bool hasArchiveEnd(const char* path)
{
    const std::string bytes = lastBytes(path);
    const std::size_t at = bytes.rfind(kEndSignature, bytes.size() - std::min(bytes.size(), kEndBytes));
    return at != std::string::npos && bytes.size() - at >= kEndBytes;
}

} // namespace

bool mayBeUnzipped(const char* zipPath)
{
    struct stat status;
    if (::stat(zipPath, &status) == 0 && !S_ISREG(status.st_mode))
        return false;
    const std::string path = zipPath;
    return (!exists(path + ".zip") && !exists(path + ".ZIP")) || hasArchiveEnd(zipPath);
}

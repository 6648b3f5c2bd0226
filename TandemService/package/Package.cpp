#include "TandemService/package/Package.h"

#include "TandemService/package/PayloadArchive.h"

#include <cerrno>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>

InstallResult readBundlePackage(
    Descriptor archiveFile, const InstallLimits& limits, const PayloadReader& readPayload)
{
    const auto file = std::make_shared<Descriptor>(std::move(archiveFile));
    const auto fill = [file](char* buffer, std::size_t size) { return ::read(file->get(), buffer, size); };
    return readPayloadArchive(fill, PayloadFormat::tarOrCpio, limits, readPayload);
}

InstallResult readPackage(
    const std::string& path, const InstallLimits& limits, const PayloadReader& readPayload)
{
    // Not blocking, so that a FIFO in the package's place cannot hold the install up.
    constexpr int kOpenFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
    Descriptor package(open(path.c_str(), kOpenFlags));
    struct stat status = {};
    if (!package || fstat(package.get(), &status) != 0)
        return systemFailure("the package " + path + " cannot be read", errno, InstallError::packageMissing);
    if (S_ISREG(status.st_mode))
        return readFlatPackage(std::move(package), limits, readPayload);
    if (!S_ISDIR(status.st_mode))
        return {InstallError::packageKind, "the package " + path + " is neither folder nor file"};
    Descriptor archiveFile(openat(package.get(), "Contents/Archive.pax.gz", kOpenFlags));
    if (!archiveFile || fstat(archiveFile.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return {InstallError::packageKind, "the package " + path + " holds no file Contents/Archive.pax.gz"};
    return readBundlePackage(std::move(archiveFile), limits, readPayload);
}

#include "tests/Cocoa2CarbonLib/CopyCall.h"

#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace fs = std::filesystem;

namespace {

std::string describeOne(const fs::path& path)
{
    const struct stat status = statusOf(path);
    std::ostringstream text;
    text << std::oct << status.st_mode << std::dec << ' ' << status.st_mtim.tv_sec << '.'
         << status.st_mtim.tv_nsec << ' ';
    if (S_ISREG(status.st_mode))
        text << readWholeFile(path);
    if (S_ISLNK(status.st_mode))
        text << fs::read_symlink(path).string();
    return text.str();
}

} // namespace

OSStatus CopyCall::run(std::string* printed) const
{
    const FSRef sourceRef = refTo(source);
    const FSRef destRef = refTo(destDir);
    testing::internal::CaptureStdout();
    const OSStatus error = FSCopyObject(&sourceRef, &destRef, maxLevels, whichInfo, dupeAction, newName,
        wantFSSpec, wantName, filterProc, yourData, newObjectRef, newObjectSpec);
    const std::string output = testing::internal::GetCapturedStdout();
    if (printed)
        *printed = output;
    return error;
}

FSRef refTo(const fs::path& path)
{
    FSRef ref;
    const auto* const bytes = reinterpret_cast<const UInt8*>(path.c_str());
    if (FSPathMakeRef(bytes, &ref, nullptr) == 0)
        return ref;
    // A link that leads nowhere, whose reference somebody got while it led somewhere.
    const struct stat status = statusOf(path);
    return {status.st_dev, status.st_ino, path.string()};
}

HFSUniStr255 unicodeName(std::u16string_view text)
{
    HFSUniStr255 name;
    name.length = static_cast<UInt16>(text.size());
    std::copy_n(text.begin(), std::min<std::size_t>(text.size(), 255), name.unicode);
    return name;
}

std::string withoutLineNumbers(const std::string& printed)
{
    return std::regex_replace(printed, std::regex("Line: [1-9][0-9]*,"), "Line: N,");
}

std::map<std::string, std::string> describeTree(const fs::path& top)
{
    std::map<std::string, std::string> found {{"", describeOne(top)}};
    if (fs::is_directory(fs::symlink_status(top)))
        for (const auto& entry : fs::recursive_directory_iterator(top))
            found[entry.path().string().substr(top.string().size())] = describeOne(entry.path());
    return found;
}

struct stat statusOf(const fs::path& path)
{
    struct stat status { };
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

bool setAttribute(const fs::path& path, const char* name, std::string_view value)
{
    return ::lsetxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}

std::string attribute(const fs::path& path, const char* name)
{
    std::string value(65536, '\0');
    const ssize_t size = ::lgetxattr(path.c_str(), name, value.data(), value.size());
    return size < 0 ? "(none)" : value.substr(0, static_cast<std::size_t>(size));
}

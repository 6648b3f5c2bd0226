#include "Platform/Carbon/LaunchServices.h"

#include "Platform/Carbon/LaunchServicesInternal.h"
#include "Platform/Carbon/LaunchedProcesses.h"
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/Descriptor.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/ToolRequests.h"
#include "Platform/Support/UnzipGuard.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr UInt32 kKnownFlags
    = kLSLaunchAndDisplayErrors | kLSLaunchDontAddToRecents | kLSLaunchNoParams | kLSLaunchNewInstance;
constexpr char kZipType[] = "application/zip";

bool endsIgnoringCase(const std::string& text, std::string_view ending)
{
    return text.size() >= ending.size()
        && strncasecmp(text.c_str() + text.size() - ending.size(), ending.data(), ending.size()) == 0;
}

/// True when a file begins as a ZIP archive does: with a member's header, or with the end of an empty one.
bool hasZipSignature(const std::string& path)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    std::array<char, 4> bytes {};
    return file && ::read(file.get(), bytes.data(), bytes.size()) == ssize_t {bytes.size()}
    && (std::memcmp(bytes.data(), "PK\3\4", bytes.size()) == 0
        || std::memcmp(bytes.data(), "PK\5\6", bytes.size()) == 0);
}

/// An archive by its name, or by its contents unless its name says that it is a document of a kind that is
/// packed as an archive.
bool isArchive(const FSRef& document, const std::string& type)
{
    return endsIgnoringCase(document.path, ".zip")
        || ((type == kZipType || isUnknownContentType(type)) && hasZipSignature(document.path));
}

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == 0 ? "/" : path.substr(0, slash);
}

OSStatus launchTool(ChildRequest request, FSRef& application)
{
    const OSStatus error
        = FSPathMakeRef(reinterpret_cast<const UInt8*>(request.program.c_str()), &application, nullptr);
    return error == noErr ? launchProcess(application, std::move(request), nullptr) : error;
}

/// The installer that the running program carries, or the empty text.
std::string carriedInstaller()
{
    const CFBundleRef bundle = CFBundleGetMainBundle();
    const CFRef name = adoptCF(CFStringCreateWithView(u"installer"));
    const CFRef url = bundle ? adoptCF(CFBundleCopyAuxiliaryExecutableURL(bundle, name)) : CFRef<CFURLRef>();
    FSRef file;
    return url && CFURLGetFSRef(url, &file) ? file.path : std::string();
}

/// With this user's rights the carried installer serves, and otherwise the one at the fixed place; a folder
/// that this user may not change needs an administrator, who is asked for by pkexec.
OSStatus openPackage(const FSRef& package, const FSRef* target, FSRef& application)
{
    if (!target)
        return paramErr;
    ChildRequest request = installerRequest(package.path.c_str(), target->path.c_str());
    if (::geteuid() != 0 && ::access(target->path.c_str(), W_OK) != 0 && errno == EACCES) {
        request = pkexecRequest(kPkexecTool, request.program, request.arguments);
    } else if (const std::string carried = carriedInstaller(); !carried.empty()) {
        request.program = carried;
    }
    return launchTool(std::move(request), application);
}

OSStatus openDocument(const FSRef& document, const FSRef* target, FSRef& application)
{
    mode_t mode = 0;
    const OSStatus error = checkStillThere(document, mode);
    if (error != noErr)
        return error;
    // A pipe, a socket or a device is no document, whatever its name: who opens one may wait for ever.
    if (!S_ISREG(mode) && !S_ISDIR(mode))
        return kLSApplicationNotFoundErr;
    if (isPackage(document))
        return openPackage(document, target, application);
    const std::string type = contentTypeOf(document);
    if (S_ISREG(mode) && isArchive(document, type)) {
        if (!mayBeUnzipped(document.path.c_str()))
            return kLSApplicationNotFoundErr;
        return launchTool(unzipRequest(document.path.c_str(), folderOf(document.path).c_str()), application);
    }
    return openWithDesktopHandler(document, type, application);
}

} // namespace

OSStatus checkStillThere(const FSRef& ref, mode_t& mode)
{
    struct stat status;
    if (::stat(ref.path.c_str(), &status) != 0)
        return errorFromErrno(errno);
    mode = status.st_mode;
    return status.st_dev == ref.device && status.st_ino == ref.inode ? noErr : errFSBadFSRef;
}

bool isPackage(const FSRef& ref)
{
    return endsIgnoringCase(ref.path, ".pkg");
}

OSStatus LSOpenFromRefSpec(const LSLaunchFSRefSpec* spec, FSRef* launched)
{
    VELMORA_ASSERT(spec && !spec->appRef && spec->numDocs == 1 && spec->itemRefs);
    VELMORA_ASSERT((spec->launchFlags & ~kKnownFlags) == 0);
    VELMORA_ASSERT(!spec->passThruParams || (spec->launchFlags & kLSLaunchNoParams) == 0);
    VELMORA_ASSERT(!spec->asyncRefCon);

    FSRef application;
    const OSStatus error = openDocument(*spec->itemRefs, spec->passThruParams, application);
    if (error != noErr && (spec->launchFlags & kLSLaunchAndDisplayErrors) != 0)
        std::fprintf(stderr, "%s cannot be opened (%d)\n", spec->itemRefs->path.c_str(), error);
    if (error == noErr && launched)
        *launched = application;
    return error;
}

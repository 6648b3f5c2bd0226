// What a process was started from: a bundle, or the file of its program.
#include "Platform/Carbon/Processes.h"

#include "Platform/Carbon/BundlePath.h"
#include "Platform/Carbon/ProcessScript.h"
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/ProcessFiles.h"

#include <cerrno>
#include <climits>
#include <unistd.h>

namespace {

OSStatus refOfPath(const std::string& path, FSRef& ref)
{
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr);
}

bool mainBundleLocation(FSRef& location)
{
    const CFBundleRef bundle = CFBundleGetMainBundle();
    const auto url = adoptCF(bundle ? CFBundleCopyBundleURL(bundle) : nullptr);
    return url && CFURLGetFSRef(url, &location);
}

/// A process that is gone has neither a folder nor an executable, and a kernel thread has no executable.
OSStatus processError(int posixError)
{
    return posixError == ENOENT || posixError == ESRCH ? OSStatus {procNotFound} : errorFromErrno(posixError);
}

} // namespace

OSStatus GetProcessBundleLocation(const ProcessSerialNumber* process, FSRef* location)
{
    if (!process || !location)
        return paramErr;
    if (process->highLongOfPSN != 0 || process->lowLongOfPSN > INT_MAX)
        return procNotFound;
    const int pid = static_cast<int>(process->lowLongOfPSN);
    // Found once and kept there: an update may have moved the calling program's own file away.
    if (pid == ::getpid() && mainBundleLocation(*location))
        return noErr;
    const ProcessFolder folder(pid);
    if (!folder)
        return procNotFound;
    ProcessExecutable executable;
    if (const int error = folder.executable(executable))
        return processError(error);
    if (executable.place == ProcessExecutable::kOutOfSight)
        return fnfErr;
    const std::string script = scriptOfProcess(folder, executable);
    const std::string& program = script.empty() ? executable.path : script;
    const std::string bundle = bundleFolderOfProgram(program);
    if (!bundle.empty())
        return refOfPath(bundle, *location);
    if (script.empty() && executable.place == ProcessExecutable::kRemoved)
        return fnfErr; // what stands at its path now, if anything, is another file
    return refOfPath(program, *location);
}

#include "TandemService/Relaunch.h"

#include "TandemService/Paths.h"
#include "Platform/Support/Unicode.h"

#include <QProcess>

#include <sys/stat.h>
#include <unistd.h>

std::string programOfBundle(const std::string& bundle)
{
    if (!bundle.starts_with('/'))
        return {};
    const CFRef url = urlFromPath(bundle, true);
    const CFRef info = url ? adoptCF(CFBundleCopyInfoDictionaryInDirectory(url)) : nullptr;
    const CFTypeRef value = info ? CFDictionaryGetValue(info, kCFBundleExecutableKey) : nullptr;
    std::string name;
    if (!value || CFGetTypeID(value) != CFStringGetTypeID()
        || !pathFromWide(CFStringGetView(static_cast<CFStringRef>(value)), name)
        || name.find('/') != std::string::npos || name == "." || name == "..")
        return {};
    const std::string program = bundle + "/Contents/Linux/" + name;
    struct stat status = {};
    const bool startable = stat(program.c_str(), &status) == 0 && S_ISREG(status.st_mode)
        && access(program.c_str(), X_OK) == 0;
    return startable ? program : std::string();
}

bool startDetached(const std::string& program)
{
    QProcess process;
    process.setProgram(QString::fromStdString(program));
    process.setWorkingDirectory(QStringLiteral("/"));
    process.setStandardInputFile(QProcess::nullDevice());
    return process.startDetached();
}

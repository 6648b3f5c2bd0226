// The program `installer`: installs one package, or deals with an interrupted install.
#include "TandemService/package/Installer.h"
#include "TandemService/package/StandardDescriptors.h"

#include <cstdio>
#include <cstring>
#include <string>

#include <signal.h>

namespace {

struct Arguments {
    std::string package;
    std::string target;
    std::string recover;
};

bool parseArguments(int count, char** values, Arguments& arguments)
{
    for (int i = 1; i + 1 < count; i += 2) {
        std::string* const place = std::strcmp(values[i], "-pkg") == 0 ? &arguments.package
            : std::strcmp(values[i], "-target") == 0                   ? &arguments.target
            : std::strcmp(values[i], "-recover") == 0                  ? &arguments.recover
                                                                       : nullptr;
        if (!place || !place->empty() || values[i + 1][0] == '\0')
            return false;
        *place = values[i + 1];
    }
    const bool installs
        = !arguments.package.empty() && !arguments.target.empty() && arguments.recover.empty();
    const bool recovers = arguments.package.empty() && arguments.target.empty() && !arguments.recover.empty();
    return count % 2 == 1 && (installs || recovers);
}

} // namespace

int main(int count, char** values)
{
    openMissingStandardDescriptors();
    Arguments arguments;
    if (!parseArguments(count, values, arguments)) {
        std::fputs("usage: installer -pkg PATH -target FOLDER\n"
                   "       installer -recover FOLDER    finishes or undoes an install that was interrupted\n",
            stderr);
        return static_cast<int>(InstallError::usage);
    }
    // A file-size limit shows as a failed write, not as a sudden end.
    (void)signal(SIGXFSZ, SIG_IGN); // cannot fail for this signal
    const InstallResult result = arguments.recover.empty()
        ? installPackage(arguments.package, arguments.target)
        : recoverInstall(arguments.recover);
    if (!result.ok())
        std::fprintf(stderr, "installer: %s\n", result.text.c_str());
    return static_cast<int>(result.error);
}

#include "Platform/Carbon/BundlePath.h"

#include <sys/stat.h>

std::string bundleFolderOfProgram(std::string_view program)
{
    constexpr std::string_view kProgramsFolder = "/Contents/Linux/";
    for (std::size_t at = program.rfind(kProgramsFolder); at != std::string_view::npos && at > 0;
         at = program.rfind(kProgramsFolder, at - 1)) {
        std::string folder(program.substr(0, at));
        struct stat status;
        if (::stat((folder + "/Contents/Info.plist").c_str(), &status) == 0 && S_ISREG(status.st_mode))
            return folder;
    }
    return "";
}

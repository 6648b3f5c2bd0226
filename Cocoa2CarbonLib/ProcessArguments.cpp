#include "Cocoa2CarbonLib/ProcessArguments.h"

#include "Platform/Support/ProcessFiles.h"

namespace {

/// Adds a file of texts, the last of which may lack its zero byte, to the area.
bool addTexts(const ProcessFolder& folder, const char* file, std::string& area)
{
    std::string texts;
    if (folder.read(file, kMaxProcessArgumentBytes, texts) != 0)
        return false;
    area.append(texts).push_back('\0');
    return true;
}

/// Whether a text with "=" is an argument, such as --name=value, and no variable: its last "-" follows
/// another one.
bool isLongOption(std::string_view text)
{
    const std::size_t last = text.rfind('-');
    return last != std::string_view::npos && last > 0 && text[last - 1] == '-';
}

} // namespace

bool readArgumentArea(int pid, std::string& area)
{
    area.clear();
    const ProcessFolder folder(pid);
    ProcessExecutable executable;
    if (!folder || folder.executable(executable) != 0)
        return false;
    area.append(executable.path).push_back('\0');
    return addTexts(folder, "cmdline", area) && addTexts(folder, "environ", area);
}

void splitArgumentArea(
    std::string_view area, std::vector<std::string>& arguments, std::vector<std::string>& environment)
{
    bool environmentSeen = false;
    for (const std::string_view text : zeroTerminatedTexts(area)) {
        if (text.empty())
            continue;
        bool isVariable = environmentSeen;
        if (text.find('=') != std::string_view::npos) {
            isVariable = !isLongOption(text);
            environmentSeen = environmentSeen || isVariable;
        }
        (isVariable ? environment : arguments).emplace_back(text);
    }
}

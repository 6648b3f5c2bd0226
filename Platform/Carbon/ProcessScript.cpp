#include "Platform/Carbon/ProcessScript.h"

#include "Platform/Support/RegularFile.h"

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// How much of a script's first line the kernel looks at.
constexpr std::size_t kFirstLineBytes = 255;
/// A script stands after the interpreter and its own options; more of those than this nobody writes.
constexpr std::size_t kLastScriptIndex = 4;

using Words = std::vector<std::string_view>;

std::string_view baseName(std::string_view path)
{
    return path.substr(path.rfind('/') + 1); // npos + 1 is 0
}

/// The first line of a regular file, "" when it cannot be read.
std::string firstLine(const std::string& path)
{
    struct stat status;
    const Descriptor file = openRegularFile(path, status);
    if (!file)
        return "";
    std::string line(kFirstLineBytes, '\0');
    const ssize_t count = ::read(file.get(), line.data(), line.size());
    line.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    line.resize(std::min(line.find('\n'), line.size()));
    return line;
}

Words wordsOf(std::string_view line)
{
    Words words;
    while (true) {
        line.remove_prefix(std::min(line.find_first_not_of(" \t\r"), line.size()));
        if (line.empty())
            return words;
        const std::size_t end = std::min(line.find_first_of(" \t\r"), line.size());
        words.push_back(line.substr(0, end));
        line.remove_prefix(end);
    }
}

bool isFile(std::string_view path, const ProcessExecutable& executable)
{
    struct stat status;
    return ::stat(std::string(path).c_str(), &status) == 0 && status.st_dev == executable.device
        && status.st_ino == executable.inode;
}

/// Whether "env WORDS..." starts a program as `startedAs`: options and assignments come before its name.
bool envStarts(const Words& words, std::string_view startedAs)
{
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (!words[i].starts_with('-') && words[i].find('=') == std::string_view::npos)
            return baseName(words[i]) == baseName(startedAs);
    }
    return false;
}

/// Whether the file is a script for this interpreter, which was started under the name `startedAs`.
bool isScriptFor(const std::string& path, const ProcessExecutable& interpreter, std::string_view startedAs)
{
    const std::string line = firstLine(path);
    if (!line.starts_with("#!"))
        return false;
    const Words words = wordsOf(std::string_view(line).substr(2));
    if (words.empty())
        return false;
    return isFile(words[0], interpreter) || (baseName(words[0]) == "env" && envStarts(words, startedAs));
}

} // namespace

std::string scriptOfProcess(const ProcessFolder& process, const ProcessExecutable& interpreter)
{
    std::string area;
    if (process.read("cmdline", kMaxProcessArgumentBytes, area) != 0)
        return "";
    const Words arguments = zeroTerminatedTexts(area);
    const std::size_t end = std::min(arguments.size(), kLastScriptIndex + 1);
    for (std::size_t i = 1; i < end; ++i) {
        std::string path(arguments[i]);
        if (path.empty() || path.front() == '-')
            continue;
        std::string folder;
        if (path.front() != '/') {
            if (process.workingFolder(folder) != 0)
                return "";
            path.insert(0, folder + '/');
        }
        if (isScriptFor(path, interpreter, arguments[0]))
            return path;
    }
    return "";
}

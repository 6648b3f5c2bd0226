#include "Update/descriptor/MountPoints.h"

#include <fstream>
#include <sstream>

namespace {

constexpr char kMountTable[] = "/proc/self/mountinfo";
/// Which word of a line, counted from 0, is the mount point.
constexpr int kMountPointWord = 4;

/// A mount point's path with its escapes ("\040" and the like, three octal digits) resolved.
std::string unescaped(std::string_view text)
{
    const auto isOctal = [](char c) { return c >= '0' && c <= '7'; };
    std::string path;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == '\\' && i + 3 < text.size() && isOctal(text[i + 1])
            && isOctal(text[i + 2]) && isOctal(text[i + 3]);
        if (!isEscape) {
            path.push_back(text[i]);
            continue;
        }
        path.push_back(
            static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 + (text[i + 3] - '0')));
        i += 3;
    }
    return path;
}

bool isAtOrBelow(const std::string& path, const std::string& folder)
{
    return path.compare(0, folder.size(), folder) == 0
        && (path.size() == folder.size() || path[folder.size()] == '/');
}

} // namespace

bool holdsMountPoint(const std::string& folder)
{
    std::ifstream file(kMountTable);
    std::ostringstream table;
    if (!file || !(table << file.rdbuf()))
        return true;
    return holdsMountPoint(table.str(), folder);
}

bool holdsMountPoint(std::string_view mountTable, const std::string& folder)
{
    std::istringstream lines {std::string(mountTable)};
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string word;
        for (int i = 0; i <= kMountPointWord && words >> word; ++i)
            ;
        if (words && isAtOrBelow(unescaped(word), folder))
            return true;
    }
    return false;
}

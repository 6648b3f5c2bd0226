#include "WatchSelfUpdate/ProcessSearch.h"

#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr uid_t kRootUser = 0;
// More of a command line is not looked at.
constexpr std::size_t kMaxCommandLineBytes = 128 * 1024;

bool isAt(std::string_view word, std::string_view path)
{
    return word.substr(0, path.size()) == path && (word.size() == path.size() || word[path.size()] == '/');
}

bool isAtAny(std::string_view word, const std::vector<std::string>& paths)
{
    for (const std::string& path : paths)
        if (isAt(word, path))
            return true;
    return false;
}

// The path as given and, where it exists, without links: the kernel tells a program's path in this way.
std::vector<std::string> spellings(const std::string& path)
{
    std::vector<std::string> paths {path};
    while (paths.front().size() > 1 && paths.front().back() == '/')
        paths.front().pop_back();
    char* const resolved = realpath(path.c_str(), nullptr);
    if (resolved && paths.front() != resolved)
        paths.emplace_back(resolved);
    std::free(resolved);
    return paths;
}

std::string programOf(int process)
{
    constexpr std::string_view kRemovedEnding = " (deleted)";
    char path[PATH_MAX] = {};
    const ssize_t length = readlinkat(process, "exe", path, sizeof(path));
    std::string_view program(path, length > 0 ? static_cast<std::size_t>(length) : 0);
    if (program.size() > kRemovedEnding.size()
        && program.substr(program.size() - kRemovedEnding.size()) == kRemovedEnding)
        program.remove_suffix(kRemovedEnding.size());
    return std::string(program);
}

std::string commandLineOf(int process)
{
    const int fd = openat(process, "cmdline", O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return {};
    std::string words(kMaxCommandLineBytes, '\0');
    std::size_t filled = 0;
    ssize_t count = 0;
    while (filled < words.size() && (count = read(fd, words.data() + filled, words.size() - filled)) > 0)
        filled += static_cast<std::size_t>(count);
    (void)close(fd); // it was only read
    words.resize(filled);
    return words;
}

bool hasWordAt(std::string_view words, const std::vector<std::string>& paths)
{
    while (!words.empty()) {
        const std::string_view word = words.substr(0, words.find('\0'));
        if (isAtAny(word, paths))
            return true;
        words.remove_prefix(word.size() < words.size() ? word.size() + 1 : word.size());
    }
    return false;
}

bool belongsTo(int process, ProcessOwner owner)
{
    struct stat info { };
    if (fstat(process, &info) != 0)
        return false;
    const bool isRootAccepted = owner == ProcessOwner::CallingUserOrRoot;
    return info.st_uid == getuid() || (isRootAccepted && info.st_uid == kRootUser);
}

bool runs(int process, const std::vector<std::string>& paths, ProcessOwner owner)
{
    return belongsTo(process, owner)
        && (isAtAny(programOf(process), paths) || hasWordAt(commandLineOf(process), paths));
}

bool isOtherProcess(const char* name)
{
    char* end = nullptr;
    const unsigned long number = std::strtoul(name, &end, 10);
    return end != name && *end == '\0' && number != static_cast<unsigned long>(getpid());
}

} // namespace

bool isProgramRunning(const std::string& path, ProcessOwner owner)
{
    DIR* const processes = opendir("/proc");
    if (!processes)
        return false;
    const std::vector<std::string> paths = spellings(path);
    bool found = false;
    // The kernel ends the listing after its highest process number.
    while (const dirent* entry = found ? nullptr : readdir(processes)) {
        if (!isOtherProcess(entry->d_name))
            continue;
        const int process
            = openat(dirfd(processes), entry->d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (process < 0)
            continue;
        found = runs(process, paths, owner);
        (void)close(process); // it was only read
    }
    (void)closedir(processes); // it was only read
    return found;
}

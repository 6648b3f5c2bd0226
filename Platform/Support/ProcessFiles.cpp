#include "Platform/Support/ProcessFiles.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>

namespace {

constexpr std::string_view kRemovedMark = " (deleted)";
constexpr std::size_t kReadBytes = 4096;

/// The process id that a folder of /proc is named by, or 0 for any other name.
int processIdOf(const std::string& name)
{
    int pid = 0;
    const char* const end = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data(), end, pid);
    return error == std::errc() && stop == end && pid > 0 ? pid : 0;
}

bool liesAt(const std::string& path, const ProcessExecutable& executable)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && status.st_dev == executable.device
        && status.st_ino == executable.inode;
}

} // namespace

std::vector<int> runningProcessIds()
{
    std::vector<int> ids;
    std::error_code error;
    std::filesystem::directory_iterator at("/proc", error);
    for (; !error && at != std::filesystem::directory_iterator(); at.increment(error)) {
        if (const int pid = processIdOf(at->path().filename().string()))
            ids.push_back(pid);
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

ProcessFolder::ProcessFolder(int pid)
{
    if (pid > 0)
        m_folder.reset(::open(("/proc/" + std::to_string(pid)).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

int ProcessFolder::read(const char* name, std::size_t maxBytes, std::string& bytes) const
{
    bytes.clear();
    const Descriptor file(::openat(m_folder.get(), name, O_RDONLY | O_CLOEXEC));
    if (!file)
        return errno;
    while (bytes.size() < maxBytes) {
        const std::size_t used = bytes.size();
        bytes.resize(used + std::min(kReadBytes, maxBytes - used));
        const ssize_t count = ::read(file.get(), bytes.data() + used, bytes.size() - used);
        const int error = count < 0 ? errno : 0;
        bytes.resize(used + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (error == EINTR)
            continue;
        if (error != 0)
            bytes.clear();
        if (count <= 0)
            return error;
    }
    return 0;
}

int ProcessFolder::executable(ProcessExecutable& executable) const
{
    struct stat status;
    if (::fstatat(m_folder.get(), "exe", &status, 0) != 0)
        return errno;
    executable.device = status.st_dev;
    executable.inode = status.st_ino;
    if (const int error = linkTarget("exe", executable.path))
        return error;
    if (liesAt(executable.path, executable)) {
        executable.place = ProcessExecutable::kInPlace; // also where it bears a name like a removed file's
    } else if (executable.path.ends_with(kRemovedMark)) {
        executable.place = ProcessExecutable::kRemoved;
        executable.path.resize(executable.path.size() - kRemovedMark.size());
    } else {
        executable.place = ProcessExecutable::kOutOfSight;
    }
    return 0;
}

int ProcessFolder::workingFolder(std::string& path) const
{
    return linkTarget("cwd", path);
}

int ProcessFolder::linkTarget(const char* name, std::string& path) const
{
    path.resize(PATH_MAX);
    const ssize_t length = ::readlinkat(m_folder.get(), name, path.data(), path.size());
    const int error = length < 0 ? errno : 0;
    path.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return error;
}

std::vector<std::string_view> zeroTerminatedTexts(std::string_view area)
{
    std::vector<std::string_view> texts;
    while (!area.empty()) {
        const std::size_t end = std::min(area.find('\0'), area.size());
        texts.push_back(area.substr(0, end));
        area.remove_prefix(std::min(end + 1, area.size()));
    }
    return texts;
}

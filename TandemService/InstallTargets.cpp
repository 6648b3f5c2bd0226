#include "TandemService/InstallTargets.h"

#include "Platform/Carbon/Folders.h"
#include "Platform/Support/ErrorNumbers.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kMaxListBytes = 1 << 20;

/// The list's folder, made when it is missing; empty when it cannot be made.
fs::path listFolder()
{
    FSRef caches;
    if (FSFindFolder(kUserDomain, kCachedDataFolderType, kCreateFolder, &caches) != noErr)
        return {};
    const fs::path folder = fs::path(caches.path) / "com.velmora.tandemservice";
    std::error_code error;
    if (fs::create_directory(folder, error))
        fs::permissions(folder, fs::perms::owner_all, error);
    return fs::is_directory(fs::symlink_status(folder, error)) ? folder : fs::path();
}

void write(const std::vector<std::string>& targets)
{
    const fs::path folder = listFolder();
    if (folder.empty())
        return;
    const fs::path fresh = folder / "InstallTargets.new";
    std::ofstream file(fresh, std::ios::binary | std::ios::trunc);
    for (const std::string& target : targets)
        file.write(target.c_str(), static_cast<std::streamsize>(target.size() + 1));
    file.close();
    std::error_code error;
    if (file)
        fs::rename(fresh, folder / "InstallTargets", error);
}

} // namespace

std::vector<std::string> InstallTargets::list() const
{
    const fs::path folder = listFolder();
    if (folder.empty())
        return {};
    const fs::path path = folder / "InstallTargets";
    std::error_code error;
    const std::uintmax_t bytes = fs::file_size(path, error);
    if (error || bytes > kMaxListBytes)
        return {};
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> targets;
    std::string target;
    while (targets.size() < kMaxTargets && std::getline(file, target, '\0')) {
        // A list that is damaged leads nowhere: only absolute paths count, and only an interrupted install is
        // touched there.
        if (target.starts_with('/'))
            targets.push_back(target);
    }
    return targets;
}

void InstallTargets::add(const std::string& target)
{
    std::vector<std::string> targets = list();
    if (targets.size() >= kMaxTargets || std::find(targets.begin(), targets.end(), target) != targets.end())
        return;
    targets.push_back(target);
    write(targets);
}

void InstallTargets::remove(const std::string& target)
{
    std::vector<std::string> targets = list();
    if (std::erase(targets, target) > 0)
        write(targets);
}

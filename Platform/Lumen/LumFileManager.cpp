// The folders that resource documents are looked for in.
#include "Platform/Lumen/LumResource.h"
#include "Platform/Support/Unicode.h"

#include <sys/stat.h>

namespace PubLumen {
namespace {

bool isFolder(const FSSpec& place)
{
    struct stat found { };
    return ::stat(place.path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

bool isFile(const std::string& path)
{
    struct stat found { };
    return ::stat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode);
}

} // namespace

bool LumFileManager::OpenFolder(const FSSpec& folder)
{
    if (!isFolder(folder))
        return false;
    m_folders = {folder.path};
    return true;
}

bool LumFileManager::AddFolder(const FSSpec& folder)
{
    if (!isFolder(folder))
        return false;
    m_folders.push_back(folder.path);
    return true;
}

std::string LumFileManager::DocumentPath(std::u16string_view name) const
{
    std::string fileName;
    if (!pathFromWide(name, fileName) || fileName.find('/') != std::string::npos)
        return {};
    for (const std::string& folder : m_folders) {
        const std::string path = folder + "/" + fileName;
        if (isFile(path))
            return path;
    }
    return {};
}

} // namespace PubLumen

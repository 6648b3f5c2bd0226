// A scratch folder for one test.
#include "tests/support/TempDir.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

namespace fs = std::filesystem;

namespace {

[[noreturn]] void giveUp(const char* what, const fs::path& path)
{
    std::fprintf(stderr, "%s: %s\n", what, path.c_str());
    std::abort();
}

/// Lets the owner into every folder below `folder`: what may not be entered cannot be removed.
void openFolders(const fs::path& folder)
{
    std::error_code error;
    fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add, error);
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        if (at->symlink_status(error).type() == fs::file_type::directory)
            openFolders(at->path());
    }
}

} // namespace

ScopedTempDir::ScopedTempDir()
{
    std::error_code error;
    const fs::path base = fs::canonical(fs::temp_directory_path(error), error);
    std::string pattern = (base / "tandem-test-XXXXXX").string();
    if (error || !::mkdtemp(pattern.data()))
        giveUp("cannot make a scratch folder", pattern);
    m_path = pattern;
}

ScopedTempDir::~ScopedTempDir()
{
    openFolders(m_path);
    std::error_code error;
    fs::remove_all(m_path, error);
    if (error)
        std::fprintf(stderr, "cannot remove %s: %s\n", m_path.c_str(), error.message().c_str());
}

fs::path ScopedTempDir::write(std::string_view name, std::string_view bytes) const
{
    const fs::path file = at(name);
    std::error_code error;
    fs::create_directories(file.parent_path(), error);
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (error || !out)
        giveUp("cannot write", file);
    return file;
}

fs::path ScopedTempDir::makeFolder(std::string_view name) const
{
    const fs::path folder = at(name);
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        giveUp("cannot make", folder);
    return folder;
}

std::string readWholeFile(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

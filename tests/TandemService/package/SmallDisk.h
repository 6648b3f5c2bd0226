// Mounts of a test's own, as long as they live.
#pragma once

#include <filesystem>

#include <gtest/gtest.h>
#include <sys/mount.h>

/// Something mounted on a folder; not, where this place does not allow it.
class ScopedMount {
public:
    ScopedMount(const char* source, std::filesystem::path folder, const char* type, unsigned flags,
        const char* options)
        : m_folder(std::move(folder))
        , m_mounted(mount(source, m_folder.c_str(), type, flags, options) == 0)
    {
    }
    ~ScopedMount() { EXPECT_TRUE(!m_mounted || umount2(m_folder.c_str(), MNT_DETACH) == 0); }
    ScopedMount(const ScopedMount&) = delete;
    ScopedMount& operator=(const ScopedMount&) = delete;
    bool mounted() const { return m_mounted; }

private:
    std::filesystem::path m_folder;
    bool m_mounted;
};

/// A small file system of its own.
struct SmallDisk : ScopedMount {
    SmallDisk(const std::filesystem::path& folder, const char* options)
        : ScopedMount("tmpfs", folder, "tmpfs", 0, options)
    {
    }
};

/// A folder that is seen in another place as well.
struct BoundFolder : ScopedMount {
    BoundFolder(const std::filesystem::path& folder, const std::filesystem::path& place)
        : ScopedMount(folder.c_str(), place, nullptr, MS_BIND, nullptr)
    {
    }
};

#define SKIP_UNLESS_MOUNTED(disk)                                                                            \
    if (!(disk).mounted())                                                                                   \
    GTEST_SKIP() << "this place does not allow mounting"

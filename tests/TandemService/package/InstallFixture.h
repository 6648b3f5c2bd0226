// A target folder with old contents, packages to install into it, and the look at what came of it.
#pragma once

#include "TandemService/package/Installer.h"
#include "tests/support/PackageBuilder.h"
#include "tests/support/TempDir.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include <gtest/gtest.h>

/// Path to "KIND MODE CONTENT" for everything below a folder, links not followed.
using Snapshot = std::map<std::string, std::string>;
Snapshot snapshot(const std::filesystem::path& folder);

/// The library that builds the packages leaves so many bytes at a flat one's end that belong to no member.
inline constexpr std::uintmax_t kUnusedTailBytes = 20;

class InstallFixture : public ::testing::Test {
protected:
    InstallFixture();

    /// Installs without waiting for the disk.
    InstallError install(const std::filesystem::path& package);
    /// A package that replaces Foo.app, adds Bar.app and leaves Keep.txt alone.
    static packages::PackageBuilder usualPackage();
    /// What the target holds after the usual package.
    Snapshot usualOutcome() const;
    /// Puts the old contents into the target.
    void restore();
    /// The scratch folder holds nothing beside what `names` says: no staging folder is left.
    void expectNoLitter() const;
    /// Runs `work` in a child process of the user "nobody" and returns what it returned.
    int runAsNobody(const std::function<int()>& work) const;

    ScopedTempDir m_scratch;
    std::filesystem::path m_target; ///< holds Foo.app (Contents/old, Contents/version = 1) and Keep.txt
    Snapshot m_before;
};

#define SKIP_UNLESS_ROOT()                                                                                   \
    if (geteuid() != 0)                                                                                      \
    GTEST_SKIP() << "needs uid 0"

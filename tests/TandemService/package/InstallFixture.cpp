#include "tests/TandemService/package/InstallFixture.h"

#include <set>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

Snapshot snapshot(const fs::path& folder)
{
    Snapshot result;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        struct stat status = {};
        EXPECT_EQ(lstat(entry.path().c_str(), &status), 0);
        char mode[16];
        (void)snprintf(mode, sizeof mode, "%o ", status.st_mode);
        std::string text = mode;
        if (S_ISLNK(status.st_mode))
            text += fs::read_symlink(entry.path()).string();
        else if (S_ISREG(status.st_mode))
            text += readWholeFile(entry.path());
        result[entry.path().lexically_relative(folder).string()] = text;
    }
    return result;
}

InstallFixture::InstallFixture()
    : m_target(m_scratch.makeFolder("apps"))
{
    restore();
    m_before = snapshot(m_target);
}

void InstallFixture::restore()
{
    fs::remove_all(m_target);
    (void)m_scratch.write("apps/Foo.app/Contents/version", "1");
    (void)m_scratch.write("apps/Foo.app/Contents/old", "only in the old one");
    (void)m_scratch.write("apps/Keep.txt", "mine");
}

InstallError InstallFixture::install(const fs::path& package)
{
    InstallOptions options;
    options.durable = false;
    return installPackage(package.string(), m_target.string(), options).error;
}

packages::PackageBuilder InstallFixture::usualPackage()
{
    packages::PackageBuilder builder;
    builder.folder(".").folder("./Bar.app").file("./Bar.app/b", "bar", 0755).folder("./Foo.app");
    builder.folder("./Foo.app/Contents").file("./Foo.app/Contents/version", "2");
    return builder.symbolicLink("./Foo.app/Current", "Contents");
}

Snapshot InstallFixture::usualOutcome() const
{
    Snapshot after;
    after["Bar.app"] = "40755 ";
    after["Bar.app/b"] = "100755 bar";
    after["Foo.app"] = "40755 ";
    after["Foo.app/Contents"] = "40755 ";
    after["Foo.app/Contents/version"] = "100644 2";
    after["Foo.app/Current"] = "120777 Contents";
    after["Keep.txt"] = m_before.at("Keep.txt");
    return after;
}

void InstallFixture::expectNoLitter() const
{
    for (const fs::path& folder : {m_scratch.path(), m_target}) {
        for (const fs::directory_entry& entry : fs::directory_iterator(folder))
            EXPECT_NE(entry.path().filename().string()[0], '.') << entry.path();
    }
}

int InstallFixture::runAsNobody(const std::function<int()>& work) const
{
    constexpr uid_t kNobody = 65534;
    EXPECT_EQ(chmod(m_scratch.path().c_str(), 0755), 0);
    const pid_t child = fork();
    if (child == 0) {
        if (setresgid(kNobody, kNobody, kNobody) != 0 || setresuid(kNobody, kNobody, kNobody) != 0)
            _exit(120);
        _exit(work());
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    return WEXITSTATUS(status);
}

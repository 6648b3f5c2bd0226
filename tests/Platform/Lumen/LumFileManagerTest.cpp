#include "Platform/Lumen/LumResource.h"

#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

namespace {

FSSpec place(const std::filesystem::path& path)
{
    FSSpec spec;
    spec.path = path.string();
    return spec;
}

TEST(LumFileManager, SearchesAddedFoldersAfterTheFirst)
{
    const ScopedTempDir first;
    const ScopedTempDir second;
    const std::string inFirst = first.write("both.aui", "1").string();
    second.write("both.aui", "2");
    const std::string inSecond = second.write("own.aui", "2").string();
    PubLumen::LumFileManager files;
    files.OpenFolder(place(first.path()));
    EXPECT_TRUE(files.AddFolder(place(second.path())));
    EXPECT_EQ(files.DocumentPath(u"both.aui"), inFirst);
    EXPECT_EQ(files.DocumentPath(u"own.aui"), inSecond);
}

TEST(LumFileManager, AddsFoldersOnly)
{
    const ScopedTempDir folder;
    const auto file = folder.write("file", "x");
    PubLumen::LumFileManager files;
    EXPECT_FALSE(files.AddFolder(place(file)));
    EXPECT_FALSE(files.AddFolder(place(folder.at("missing"))));
    EXPECT_EQ(files.DocumentPath(u"file"), "");
}

} // namespace

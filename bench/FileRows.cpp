// Files: deletion of many, installation of a package.
#include "bench/Peers.h"
#include "bench/Rows.h"

#include "Cocoa2CarbonLib/FSDeleteObjects.h"
#include "TandemService/package/Installer.h"

#include <fstream>
#include <random>

namespace fs = std::filesystem;

namespace bench {
namespace {

constexpr int kFolders = 100;
constexpr int kDeletedFilesPerFolder = 100;
constexpr int kPackedFilesPerFolder = 20;
constexpr std::size_t kPackedFileBytes = 15'000;
constexpr int kRounds = 5;

/// Letters that compress about as well as a program does.
std::string content(std::mt19937& random, std::size_t size)
{
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>('a' + random() % 16);
    return bytes;
}

fs::path makeTree(const fs::path& top, int filesPerFolder, std::size_t fileBytes)
{
    std::mt19937 random(1);
    for (int folder = 0; folder < kFolders; ++folder) {
        const fs::path path = top / std::to_string(folder);
        fs::create_directories(path);
        for (int file = 0; file < filesPerFolder; ++file)
            std::ofstream(path / std::to_string(file), std::ios::binary) << content(random, fileBytes);
    }
    return top;
}

double deleteOurs(const fs::path& top)
{
    (void)makeTree(top, kDeletedFilesPerFolder, 1);
    FSRef ref;
    require(FSPathMakeRef(reinterpret_cast<const UInt8*>(top.c_str()), &ref, nullptr) == 0, "the tree");
    return secondsOf([&ref] { require(FSDeleteObjects(&ref) == 0, "FSDeleteObjects"); });
}

double deleteTheirs(const fs::path& top)
{
    (void)makeTree(top, kDeletedFilesPerFolder, 1);
    return secondsOf([&top] { (void)run({"rm", "-rf", top.string()}); });
}

double install(const fs::path& package, const fs::path& target, bool durable)
{
    fs::remove_all(target);
    fs::create_directories(target);
    InstallOptions options;
    options.durable = durable;
    return secondsOf([&] { require(installPackage(package, target, options).ok(), "installPackage"); });
}

double unpack(const fs::path& archive, const fs::path& target)
{
    fs::remove_all(target);
    fs::create_directories(target);
    return secondsOf([&] { (void)run({"bsdtar", "-xf", archive.string(), "-C", target.string()}); });
}

} // namespace

void fileRows(Table& table, const Stage& stage)
{
    const fs::path top = stage.folder / "tree";
    table.row(
        "deletion of 10,000 files", "rm -rf", [&top] { return deleteOurs(top); },
        [&top] { return deleteTheirs(top); }, kRounds);

    const fs::path package = stage.folder / "X.pkg";
    const fs::path archive = package / "Contents/Archive.pax.gz";
    fs::create_directories(archive.parent_path());
    (void)makeTree(stage.folder / "payload/Foo.app", kPackedFilesPerFolder, kPackedFileBytes);
    (void)run({"bsdtar", "-czf", archive.string(), "--format=pax", "-C", (stage.folder / "payload").string(),
        "Foo.app"});
    const fs::path target = stage.folder / "target/within";
    const auto peer = [&] { return unpack(archive, target); };
    table.row(
        "installation of 2,000 files, 30 MB", "bsdtar -xf", [&] { return install(package, target, true); },
        peer, kRounds);
    table.row(
        "the same without waiting for the disk", "bsdtar -xf",
        [&] { return install(package, target, false); }, peer, kRounds);
}

} // namespace bench

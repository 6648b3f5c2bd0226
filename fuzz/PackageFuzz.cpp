// Packages: any bytes are installed whole or not at all, and nothing outside the target is touched. The first
// byte says where the others stand: checksums would keep most changes of a finished package from being looked
// at.
#include "TandemService/package/Installer.h"
#include "fuzz/FuzzSupport.h"
#include "tests/support/PackageBuilder.h"

#include <glib.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t kContentBytes = 1 << 20;
constexpr std::size_t kEntries = 200;

void appendNumber(std::string& bytes, std::uint64_t value, int count)
{
    for (int i = count - 1; i >= 0; --i)
        bytes += static_cast<char>(value >> (8 * i) & 0xFF);
}

/// A zlib stream (RFC 1950) of one stored block.
std::string zlibStored(std::string_view bytes)
{
    std::uint32_t low = 1;
    std::uint32_t high = 0;
    for (const char byte : bytes) {
        low = (low + static_cast<unsigned char>(byte)) % 65521;
        high = (high + low) % 65521;
    }
    std::string stream = "\x78\x01\x01";
    const auto length = static_cast<std::uint16_t>(bytes.size());
    for (const int value : {length & 0xFF, length >> 8, ~length & 0xFF, ~length >> 8 & 0xFF})
        stream += static_cast<char>(value);
    stream += bytes;
    appendNumber(stream, high << 16 | low, 4);
    return stream;
}

std::string sha1(std::string_view bytes)
{
    const std::unique_ptr<GChecksum, void (*)(GChecksum*)> sum(
        g_checksum_new(G_CHECKSUM_SHA1), g_checksum_free);
    g_checksum_update(
        sum.get(), reinterpret_cast<const guchar*>(bytes.data()), static_cast<gssize>(bytes.size()));
    std::array<guint8, 20> digest {};
    gsize size = digest.size();
    g_checksum_get_digest(sum.get(), digest.data(), &size);
    return {digest.begin(), digest.end()};
}

/// A xar archive around any table of contents, its checksum first in the heap, `heap` behind it.
std::string xarAround(std::string_view table, std::string_view heap)
{
    const std::string packed = zlibStored(table);
    std::string bytes = "xar!";
    appendNumber(bytes, 28, 2);
    appendNumber(bytes, 1, 2);
    appendNumber(bytes, packed.size(), 8);
    appendNumber(bytes, table.size(), 8);
    appendNumber(bytes, 1, 4);
    return bytes + packed + sha1(packed) + std::string(heap);
}

fs::path writePackage(const fs::path& folder, char kind, std::string_view bytes)
{
    const fs::path package = folder / "X.pkg";
    switch (kind) {
    case 'b':
        return packages::writeBundleAround(package, bytes);
    case 'B':
        return packages::writeBundleAround(package, packages::gzip(bytes));
    case 'F':
        return packages::writeFlatAround(package, packages::gzip(bytes));
    case 't':
        fuzz::writeFile(package, xarAround(bytes.substr(0, 0xFFFF), packages::gzip(bytes)));
        return package;
    default:
        fuzz::writeFile(package, bytes);
        return package;
    }
}

/// Every name below `folder`, with what stands in its files.
std::vector<std::string> listing(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        const bool isFile = !entry.is_symlink() && entry.is_regular_file();
        names.push_back(entry.path().string() + (isFile ? " " + std::to_string(entry.file_size()) : ""));
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const fs::path home = fuzz::enterScratchHome();
    if (size == 0)
        return 0;
    const fs::path stage = home / "stage";
    const fs::path target = stage / "above/target";
    fs::create_directories(target / "Foo.app");
    fuzz::writeFile(target / "Foo.app/old", "old");
    fuzz::writeFile(target / "kept", "kept");
    fuzz::writeFile(stage / "above/beside", "beside");
    const fs::path package
        = writePackage(stage, static_cast<char>(bytes[0]), fuzz::asText(bytes + 1, size - 1));
    const std::vector<std::string> before = listing(stage);

    InstallOptions options;
    options.durable = false;
    options.limits.contentBytes = kContentBytes;
    options.limits.streamBytes = 2 * kContentBytes;
    options.limits.tocBytes = kContentBytes;
    options.limits.entries = kEntries;
    const InstallResult result = installPackage(package, target, options);
    if (!result.ok()) {
        fuzz::require(!result.text.empty(), "a failure says why");
        fuzz::require(listing(stage) == before, "a failed install leaves everything as it was");
    } else {
        fs::remove_all(target);
        fs::create_directories(target);
        fs::remove_all(package);
        fuzz::require(listing(stage)
                == std::vector<std::string> {(stage / "above").string(),
                    (stage / "above/beside").string() + " 6", target.string()},
            "an install touches nothing but its target");
    }
    fs::remove_all(stage);
    return 0;
}

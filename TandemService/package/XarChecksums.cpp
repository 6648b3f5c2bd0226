#include "TandemService/package/XarChecksums.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>

#include <gio/gio.h>
#include <sys/stat.h>

namespace {

constexpr std::size_t kBlockBytes = 64 * 1024;
constexpr std::size_t kHeaderBytes = 28;
/// SHA-1, MD5, one that is named after the header, SHA-512; which one is taken from the table's own words.
constexpr std::uint64_t kMaxChecksumKind = 4;

/// The fixed header: "xar!", then big-endian header size (16 bits), version (16), packed and unpacked length
/// of the table of contents (64 each), kind of checksum (32, 0 for none).
struct XarHeader {
    std::uint64_t headerBytes = 0;
    std::uint64_t version = 0;
    std::uint64_t packedBytes = 0;
    std::uint64_t unpackedBytes = 0;
    std::uint64_t checksumKind = 0;
};

const InstallResult kDamaged {
    InstallError::packageDamaged, "the package is damaged: wrong header or checksum"};

std::uint64_t bigEndian(const unsigned char* bytes, std::size_t count)
{
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i)
        value = value << 8 | bytes[i];
    return value;
}

bool readFully(int file, char* buffer, std::size_t size, std::uint64_t offset)
{
    while (size > 0) {
        const ssize_t count = pread(file, buffer, size, static_cast<off_t>(offset));
        if (count <= 0)
            return false;
        buffer += count;
        size -= static_cast<std::size_t>(count);
        offset += static_cast<std::uint64_t>(count);
    }
    return true;
}

InstallResult readHeader(int file, const InstallLimits& limits, XarHeader& header)
{
    std::array<unsigned char, kHeaderBytes> bytes {};
    const ssize_t count = pread(file, bytes.data(), bytes.size(), 0);
    if (count < 4 || std::memcmp(bytes.data(), "xar!", 4) != 0)
        return {InstallError::packageKind, "the package is no flat package"};
    header = {bigEndian(&bytes[4], 2), bigEndian(&bytes[6], 2), bigEndian(&bytes[8], 8),
        bigEndian(&bytes[16], 8), bigEndian(&bytes[24], 4)};
    if (header.packedBytes > limits.tocBytes || header.unpackedBytes > limits.tocBytes)
        return {InstallError::packageTooLarge, "the package's table of contents is too large"};
    if (static_cast<std::size_t>(count) < kHeaderBytes || header.headerBytes < kHeaderBytes
        || header.version != 1 || header.checksumKind == 0 || header.checksumKind > kMaxChecksumKind)
        return kDamaged;
    return {};
}

std::optional<GChecksumType> checksumType(const std::string& style)
{
    if (style == "sha1")
        return G_CHECKSUM_SHA1;
    if (style == "md5")
        return G_CHECKSUM_MD5;
    if (style == "sha256")
        return G_CHECKSUM_SHA256;
    if (style == "sha512")
        return G_CHECKSUM_SHA512;
    return std::nullopt;
}

/// The checksum, in lower-case hexadecimal, of a run of bytes in the file; empty when it cannot be read.
std::string checksumOfFile(int file, std::uint64_t offset, std::uint64_t length, const std::string& style)
{
    const std::optional<GChecksumType> type = checksumType(style);
    if (!type)
        return {};
    const std::unique_ptr<GChecksum, void (*)(GChecksum*)> checksum(g_checksum_new(*type), g_checksum_free);
    std::vector<char> block(kBlockBytes);
    while (length > 0) {
        const std::size_t size = std::min<std::uint64_t>(length, block.size());
        if (!readFully(file, block.data(), size, offset))
            return {};
        g_checksum_update(
            checksum.get(), reinterpret_cast<const guchar*>(block.data()), static_cast<gssize>(size));
        offset += size;
        length -= size;
    }
    return g_checksum_get_string(checksum.get());
}

/// Unpacks the table of contents, which must give exactly the announced length.
bool unpackTable(const std::string& packed, std::string& table)
{
    const std::unique_ptr<GConverter, void (*)(void*)> converter(
        G_CONVERTER(g_zlib_decompressor_new(G_ZLIB_COMPRESSOR_FORMAT_ZLIB)), g_object_unref);
    std::size_t taken = 0;
    std::size_t given = 0;
    while (true) {
        std::array<char, 4096> surplus {};
        const bool full = given == table.size();
        gsize bytesRead = 0;
        gsize bytesWritten = 0;
        const GConverterResult result
            = g_converter_convert(converter.get(), packed.data() + taken, packed.size() - taken,
                full ? surplus.data() : table.data() + given, full ? surplus.size() : table.size() - given,
                G_CONVERTER_INPUT_AT_END, &bytesRead, &bytesWritten, nullptr);
        if (result == G_CONVERTER_ERROR || (full && bytesWritten > 0))
            return false;
        taken += bytesRead;
        given += bytesWritten;
        if (result == G_CONVERTER_FINISHED)
            return taken == packed.size() && given == table.size();
    }
}

std::string hexadecimal(const std::string& bytes)
{
    std::string text;
    for (const char byte : bytes) {
        constexpr const char* kDigits = "0123456789abcdef";
        text += kDigits[static_cast<unsigned char>(byte) >> 4];
        text += kDigits[static_cast<unsigned char>(byte) & 15];
    }
    return text;
}

bool liesWithin(const XarRun& run, std::uint64_t heapBytes)
{
    return run.offset <= heapBytes && run.length <= heapBytes - run.offset;
}

} // namespace

InstallResult checkXarChecksums(int file, const InstallLimits& limits)
{
    XarHeader header;
    if (InstallResult result = readHeader(file, limits, header); !result.ok())
        return result;
    struct stat status = {};
    const std::uint64_t heap = header.headerBytes + header.packedBytes;
    if (fstat(file, &status) != 0 || static_cast<std::uint64_t>(status.st_size) < heap)
        return kDamaged;
    const std::uint64_t heapBytes = static_cast<std::uint64_t>(status.st_size) - heap;

    std::string packed(header.packedBytes, '\0');
    std::string xml(header.unpackedBytes, '\0');
    XarTable table;
    if (!readFully(file, packed.data(), packed.size(), header.headerBytes) || !unpackTable(packed, xml)
        || !parseXarTable(xml, table))
        return kDamaged;
    constexpr std::uint64_t kMaxChecksumBytes = 64;
    if (table.toc.length > kMaxChecksumBytes || !liesWithin(table.toc, heapBytes))
        return kDamaged;
    std::string stored(table.toc.length, '\0');
    const std::string found = checksumOfFile(file, header.headerBytes, header.packedBytes, table.toc.style);
    if (found.empty() || !readFully(file, stored.data(), stored.size(), heap + table.toc.offset)
        || hexadecimal(stored) != found)
        return kDamaged;
    std::uint64_t bytesLeft = limits.streamBytes;
    for (const XarRun& run : table.members) {
        if (!liesWithin(run, heapBytes))
            return kDamaged;
        // The runs may overlap, so that a small file names more bytes than any machine can read.
        if (run.length > bytesLeft)
            return {InstallError::packageTooLarge, "the package's members are too large"};
        bytesLeft -= run.length;
        const std::string sum = checksumOfFile(file, heap + run.offset, run.length, run.style);
        if (sum.empty() || g_ascii_strcasecmp(sum.c_str(), run.checksum.c_str()) != 0)
            return kDamaged;
    }
    return {};
}

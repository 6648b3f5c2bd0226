// Flat packages: xar archives.
#include "TandemService/package/Package.h"

#include "TandemService/package/PayloadArchive.h"
#include "TandemService/package/XarChecksums.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include <archive.h>
#include <archive_entry.h>

namespace {

constexpr std::size_t kBlockBytes = 64 * 1024;
constexpr std::string_view kPayloadName = "Payload";
constexpr std::string_view kComponentSuffix = ".pkg";
/// The members of a flat package besides its payload are a handful of small files.
constexpr std::size_t kMaxMembers = 10'000;

using Reader = std::unique_ptr<archive, int (*)(archive*)>;

InstallResult damaged(archive* reader)
{
    const char* text = reader ? archive_error_string(reader) : nullptr;
    return {
        InstallError::packageDamaged, std::string("the package is damaged: ") + (text ? text : "bad header")};
}

/// "Payload", or "NAME.pkg/Payload".
bool isPayload(archive_entry* entry)
{
    const char* const path = archive_entry_pathname(entry);
    if (!path || archive_entry_filetype(entry) != AE_IFREG)
        return false;
    const std::string_view name = path;
    if (name == kPayloadName)
        return true;
    const std::size_t slash = name.find('/');
    return slash != std::string_view::npos && name.substr(slash + 1) == kPayloadName
        && slash > kComponentSuffix.size() && name.substr(0, slash).ends_with(kComponentSuffix);
}

/// A member's bytes, block by block. The blocks' offsets are left alone: the library counts them across
/// members, and members of this format have no gaps.
class MemberStream {
public:
    /// `bytesLeft`: how much all members together may still give.
    MemberStream(archive* reader, std::uint64_t& bytesLeft)
        : m_reader(reader)
        , m_bytesLeft(bytesLeft)
    {
    }

    /// True when the member was not read to its end because there were no bytes left to give.
    bool isTooLarge() const { return m_isTooLarge; }

    /// Up to `size` bytes; 0 at the end of the member, whose checksum was right then; -1 on an error.
    std::ptrdiff_t read(char* buffer, std::size_t size)
    {
        while (m_size == 0) {
            const void* block = nullptr;
            la_int64_t offset = 0;
            const int status = archive_read_data_block(m_reader, &block, &m_size, &offset);
            if (status != ARCHIVE_OK) {
                m_size = 0;
                return status == ARCHIVE_EOF ? 0 : -1;
            }
            m_isTooLarge = m_size > m_bytesLeft;
            if (m_isTooLarge)
                return -1;
            m_bytesLeft -= m_size;
            m_block = static_cast<const char*>(block);
        }
        const std::size_t count = std::min(size, m_size);
        std::memcpy(buffer, m_block, count);
        m_block += count;
        m_size -= count;
        return static_cast<std::ptrdiff_t>(count);
    }

private:
    archive* m_reader;
    std::uint64_t& m_bytesLeft;
    bool m_isTooLarge = false;
    const char* m_block = nullptr;
    std::size_t m_size = 0;
};

/// Reads a member for its checksum only. False on an error.
bool readThrough(MemberStream& member)
{
    std::vector<char> block(kBlockBytes);
    std::ptrdiff_t count = 0;
    do
        count = member.read(block.data(), block.size());
    while (count > 0);
    return count == 0;
}

InstallResult readMembers(archive* reader, const InstallLimits& limits, const PayloadReader& readPayload)
{
    bool payloadSeen = false;
    std::size_t members = 0;
    std::uint64_t bytesLeft = limits.streamBytes;
    archive_entry* entry = nullptr;
    int status = ARCHIVE_OK;
    while ((status = archive_read_next_header(reader, &entry)) == ARCHIVE_OK) {
        if (++members > kMaxMembers)
            return {InstallError::packageTooLarge, "the package holds too many members"};
        const bool payload = isPayload(entry);
        if (payload && payloadSeen)
            return {InstallError::packageKind, "the package holds more than one payload"};
        payloadSeen = payloadSeen || payload;
        MemberStream member(reader, bytesLeft);
        const auto fill = [&member](char* buffer, std::size_t size) { return member.read(buffer, size); };
        InstallResult result;
        if (payload)
            result = readPayloadArchive(fill, PayloadFormat::cpio, limits, readPayload);
        else if (!readThrough(member))
            result = damaged(reader);
        if (member.isTooLarge())
            return {InstallError::packageTooLarge, "the package's members are too large"};
        if (!result.ok())
            return result;
    }
    if (status != ARCHIVE_EOF)
        return damaged(reader);
    if (!payloadSeen)
        return {InstallError::packageKind, "the package holds no payload"};
    return {};
}

} // namespace

InstallResult readFlatPackage(
    Descriptor packageFile, const InstallLimits& limits, const PayloadReader& readPayload)
{
    if (const InstallResult result = checkXarChecksums(packageFile.get(), limits); !result.ok())
        return result;
    const Reader reader(archive_read_new(), archive_read_free);
    if (!reader || archive_read_support_format_xar(reader.get()) != ARCHIVE_OK)
        return {InstallError::system, "the archive library cannot read flat packages"};
    if (archive_read_open_fd(reader.get(), packageFile.get(), kBlockBytes) != ARCHIVE_OK)
        return damaged(reader.get());
    return readMembers(reader.get(), limits, readPayload);
}

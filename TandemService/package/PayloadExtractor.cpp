#include "TandemService/package/PayloadExtractor.h"

#include "TandemService/package/PayloadMember.h"
#include "TandemService/package/WorkingFolder.h"

#include <cerrno>

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace {

constexpr int kExtractFlags = ARCHIVE_EXTRACT_TIME | ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_NO_OVERWRITE
    | ARCHIVE_EXTRACT_SECURE_SYMLINKS | ARCHIVE_EXTRACT_SECURE_NODOTDOT
    | ARCHIVE_EXTRACT_SECURE_NOABSOLUTEPATHS;

/// What the library gives for errors of its own.
bool isOwnError(int error)
{
    return error <= 0;
}

std::string messageOf(archive* object)
{
    const char* text = archive_error_string(object);
    return text ? text : "unknown error";
}

InstallResult readerFailure(archive* reader)
{
    return {InstallError::packageDamaged, "the package is damaged: " + messageOf(reader)};
}

/// The writer refuses unsafe members itself, as a second line of defence; a full disk and the like have an
/// errno value.
InstallResult writerFailure(archive* writer)
{
    const int error = archive_errno(writer);
    if (error == ENOSPC || error == EDQUOT)
        return {InstallError::noSpace, "there is not enough space: " + messageOf(writer)};
    if (isOwnError(error) || error == EEXIST || error == ELOOP || error == ENOTDIR)
        return {InstallError::packageUnsafe, "a member cannot be unpacked: " + messageOf(writer)};
    return {InstallError::system, "a member cannot be written: " + messageOf(writer)};
}

} // namespace

PayloadExtractor::PayloadExtractor(int folder, const InstallLimits& limits)
    : m_folder(folder)
    , m_limits(limits)
{
}

InstallResult PayloadExtractor::extractAll(archive* reader)
{
    // The writer takes paths from the working folder only.
    const WorkingFolder inside(m_folder);
    if (!inside.entered())
        return systemFailure("the staging folder cannot be entered", errno);
    const Writer writer(archive_write_disk_new(), archive_write_free);
    if (!writer || archive_write_disk_set_options(writer.get(), kExtractFlags) != ARCHIVE_OK)
        return {InstallError::system, "the archive library cannot be used"};

    archive_entry* entry = nullptr;
    int status = ARCHIVE_OK;
    while ((status = archive_read_next_header(reader, &entry)) == ARCHIVE_OK) {
        if (++m_entries > m_limits.entries)
            return {InstallError::packageTooLarge, "the package holds too many members"};
        if (const InstallResult result = extractOne(reader, writer.get(), entry); !result.ok())
            return result;
    }
    if (status != ARCHIVE_EOF)
        return readerFailure(reader);
    // The library takes the end of the stream for the end of the archive, and says nothing of a missing mark.
    if (archive_filter_bytes(reader, 0) == archive_read_header_position(reader))
        return {InstallError::packageDamaged, "the package is damaged: the archive ends too early"};
    if (archive_write_close(writer.get()) != ARCHIVE_OK)
        return writerFailure(writer.get());
    return {};
}

InstallResult PayloadExtractor::extractOne(archive* reader, archive* writer, archive_entry* entry)
{
    bool skip = false;
    if (const InstallResult result = checkEntry(entry, skip); !result.ok() || skip)
        return result;
    if (archive_write_header(writer, entry) != ARCHIVE_OK)
        return writerFailure(writer);
    if (const InstallResult result = copyData(reader, writer); !result.ok())
        return result;
    if (archive_write_finish_entry(writer) != ARCHIVE_OK)
        return writerFailure(writer);
    return {};
}

/// Applies the rules and rewrites the entry to what is installed; `skip` for the payload's root, whose mode
/// and times belong to the target folder.
InstallResult PayloadExtractor::checkEntry(archive_entry* entry, bool& skip)
{
    std::string path;
    if (const InstallResult result = normalisePath(archive_entry_pathname(entry), m_limits, path);
        !result.ok())
        return result;
    const bool hardLink = archive_entry_hardlink(entry) != nullptr;
    const mode_t type = archive_entry_filetype(entry);
    if (!hardLink && type != AE_IFREG && type != AE_IFDIR && type != AE_IFLNK)
        return {InstallError::packageUnsafe, "a member is neither file, folder nor link: " + path};
    if (path.empty()) {
        skip = type == AE_IFDIR && !hardLink;
        return skip ? InstallResult {} : InstallResult {InstallError::packageDamaged, "a member has no name"};
    }
    struct stat earlier = {};
    const bool twice = fstatat(m_folder, path.c_str(), &earlier, AT_SYMLINK_NOFOLLOW) == 0;
    if (twice && !(S_ISDIR(earlier.st_mode) && type == AE_IFDIR))
        return {InstallError::packageDamaged, "two members have the same name: " + path};
    archive_entry_copy_pathname(entry, path.c_str());
    archive_entry_set_perm(entry, installMode(archive_entry_perm(entry), type == AE_IFDIR));
    if (hardLink)
        return checkHardLink(entry);
    if (type == AE_IFLNK)
        return checkLinkText(archive_entry_symlink(entry), m_limits);
    return checkSize(entry);
}

/// The status of what this payload brought, reached through its own folders and not through its links.
bool PayloadExtractor::findMember(const std::string& path, struct stat& status) const
{
    for (std::size_t slash = path.find('/'); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        const std::string above = path.substr(0, slash);
        if (fstatat(m_folder, above.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISDIR(status.st_mode))
            return false;
    }
    return fstatat(m_folder, path.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

/// A hard link may only name a file that this payload brought before.
InstallResult PayloadExtractor::checkHardLink(archive_entry* entry)
{
    std::string path;
    if (const InstallResult result = normalisePath(archive_entry_hardlink(entry), m_limits, path);
        !result.ok())
        return result;
    struct stat status = {};
    if (path.empty() || !findMember(path, status) || !S_ISREG(status.st_mode))
        return {InstallError::packageUnsafe, "a hard link names no file of the package: " + path};
    archive_entry_copy_hardlink(entry, path.c_str());
    // Some archives store the contents with the last link: the file is written again, and then gets its mode.
    const bool bringsContents = archive_entry_size(entry) > 0;
    if (bringsContents && fchmodat(m_folder, path.c_str(), S_IRUSR | S_IWUSR, 0) != 0)
        return systemFailure("a member cannot be written", errno);
    return checkSize(entry);
}

InstallResult PayloadExtractor::checkSize(const archive_entry* entry)
{
    auto* const mutableEntry
        = const_cast<archive_entry*>(entry); // the library's getters are not const-correct
    const la_int64_t size = archive_entry_size_is_set(mutableEntry) ? archive_entry_size(mutableEntry) : 0;
    if (size < 0)
        return {InstallError::packageDamaged, "a member has a negative size"};
    const auto bytes = static_cast<std::uint64_t>(size);
    if (bytes > m_limits.contentBytes - m_bytes)
        return {InstallError::packageTooLarge, "the package's contents are too large"};
    m_bytes += bytes;
    struct statvfs space = {};
    if (fstatvfs(m_folder, &space) != 0)
        return systemFailure("the free space cannot be read", errno);
    const auto freeBlocks = geteuid() == 0 ? space.f_bfree : space.f_bavail;
    // Some file systems do not say how large they are: there the writing itself tells.
    const bool known = space.f_blocks > 0 && space.f_frsize > 0;
    if (known && bytes / space.f_frsize > freeBlocks)
        return {InstallError::noSpace, "there is not enough space"};
    return {};
}

InstallResult PayloadExtractor::copyData(archive* reader, archive* writer)
{
    const void* block = nullptr;
    std::size_t size = 0;
    la_int64_t offset = 0;
    int status = ARCHIVE_OK;
    while ((status = archive_read_data_block(reader, &block, &size, &offset)) == ARCHIVE_OK) {
        if (size > 0 && archive_write_data_block(writer, block, size, offset) != ARCHIVE_OK)
            return writerFailure(writer);
    }
    return status == ARCHIVE_EOF ? InstallResult {} : readerFailure(reader);
}

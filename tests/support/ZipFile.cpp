#include "tests/support/ZipFile.h"

#include <archive.h>
#include <archive_entry.h>

#include <cstdlib>

namespace {

bool writeMember(archive* zip, const ZipMember& member)
{
    archive_entry* const entry = archive_entry_new();
    archive_entry_set_pathname(entry, member.name.c_str());
    archive_entry_set_perm(entry, 0644);
    archive_entry_set_filetype(entry, member.linkTarget.empty() ? AE_IFREG : AE_IFLNK);
    if (!member.linkTarget.empty())
        archive_entry_set_symlink(entry, member.linkTarget.c_str());
    archive_entry_set_size(entry, static_cast<la_int64_t>(member.bytes.size()));
    const bool written = archive_write_header(zip, entry) == ARCHIVE_OK
        && archive_write_data(zip, member.bytes.data(), member.bytes.size())
            == static_cast<la_ssize_t>(member.bytes.size());
    archive_entry_free(entry);
    return written;
}

/// `password` is null for an archive that anybody may read.
std::string writeZip(const std::vector<ZipMember>& members, const char* password)
{
    std::size_t capacity = 4096;
    for (const ZipMember& member : members)
        capacity += member.bytes.size() + member.name.size() * 2 + member.linkTarget.size() + 1024;
    std::vector<char> buffer(capacity);
    std::size_t used = 0;
    archive* const zip = archive_write_new();
    bool written = archive_write_set_format_zip(zip) == ARCHIVE_OK
        && (!password
            || (archive_write_set_options(zip, "zip:encryption=traditional") == ARCHIVE_OK
                && archive_write_set_passphrase(zip, password) == ARCHIVE_OK))
        && archive_write_open_memory(zip, buffer.data(), buffer.size(), &used) == ARCHIVE_OK;
    for (const ZipMember& member : members)
        written = written && writeMember(zip, member);
    written = written && archive_write_close(zip) == ARCHIVE_OK;
    archive_write_free(zip);
    if (!written)
        std::abort();
    return std::string(buffer.data(), used);
}

} // namespace

std::string zipOf(const std::vector<ZipMember>& members)
{
    return writeZip(members, nullptr);
}

std::string zipOf(const std::string& name, const std::string& bytes)
{
    return writeZip({{.name = name, .bytes = bytes}}, nullptr);
}

std::string encryptedZipOf(const std::string& name, const std::string& bytes)
{
    return writeZip({{.name = name, .bytes = bytes}}, "password");
}

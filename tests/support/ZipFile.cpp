#include "tests/support/ZipFile.h"

#include <archive.h>
#include <archive_entry.h>

#include <cstdlib>
#include <vector>

std::string zipOf(const std::string& name, const std::string& bytes)
{
    std::vector<char> buffer(bytes.size() + name.size() * 2 + 4096);
    std::size_t used = 0;
    archive* const zip = archive_write_new();
    archive_entry* const entry = archive_entry_new();
    archive_entry_set_pathname(entry, name.c_str());
    archive_entry_set_size(entry, static_cast<la_int64_t>(bytes.size()));
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_entry_set_perm(entry, 0644);
    const bool written = archive_write_set_format_zip(zip) == ARCHIVE_OK
        && archive_write_open_memory(zip, buffer.data(), buffer.size(), &used) == ARCHIVE_OK
        && archive_write_header(zip, entry) == ARCHIVE_OK
        && archive_write_data(zip, bytes.data(), bytes.size()) == static_cast<la_ssize_t>(bytes.size())
        && archive_write_close(zip) == ARCHIVE_OK;
    archive_entry_free(entry);
    archive_write_free(zip);
    if (!written)
        std::abort();
    return std::string(buffer.data(), used);
}

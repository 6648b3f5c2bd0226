// Makes installer packages, sound ones and hostile ones.
#include "tests/support/PackageBuilder.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>

#include <archive.h>
#include <archive_entry.h>
#include <locale.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace packages {
namespace {

using Writer = std::unique_ptr<::archive, int (*)(::archive*)>;
using Entry = std::unique_ptr<archive_entry, void (*)(archive_entry*)>;

void require(bool good, const char* what)
{
    if (good)
        return;
    std::fprintf(stderr, "a package cannot be built: %s\n", what);
    std::abort();
}

la_ssize_t collect(::archive*, void* context, const void* bytes, std::size_t size)
{
    static_cast<std::string*>(context)->append(static_cast<const char*>(bytes), size);
    return static_cast<la_ssize_t>(size);
}

std::string write(const std::function<void(::archive*)>& prepare, const std::function<void(::archive*)>& fill)
{
    // Names in UTF-8, whatever the locale is.
    const std::unique_ptr<std::remove_pointer_t<locale_t>, void (*)(locale_t)> locale(
        newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr), freelocale);
    const locale_t before = uselocale(locale.get());
    std::string bytes;
    const Writer writer(archive_write_new(), archive_write_free);
    prepare(writer.get());
    require(archive_write_set_bytes_in_last_block(writer.get(), 1) == ARCHIVE_OK, "block size");
    require(archive_write_open(writer.get(), &bytes, nullptr, collect, nullptr) == ARCHIVE_OK, "open");
    fill(writer.get());
    require(archive_write_close(writer.get()) == ARCHIVE_OK, "close");
    (void)uselocale(before); // returns the one set above
    return bytes;
}

void writeMember(::archive* writer, const Member& member)
{
    const Entry entry(archive_entry_new(), archive_entry_free);
    archive_entry_copy_pathname(entry.get(), member.path.c_str());
    archive_entry_set_filetype(entry.get(), member.type);
    archive_entry_set_perm(entry.get(), member.mode);
    archive_entry_set_mtime(entry.get(), 1'600'000'000, 0);
    if (member.type == S_IFLNK)
        archive_entry_copy_symlink(entry.get(), member.link.c_str());
    if (member.hardLink)
        archive_entry_copy_hardlink(entry.get(), member.link.c_str());
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(member.content.size()));
    require(archive_write_header(writer, entry.get()) == ARCHIVE_OK, member.path.c_str());
    if (!member.content.empty())
        require(archive_write_data(writer, member.content.data(), member.content.size())
                == static_cast<la_ssize_t>(member.content.size()),
            "data");
}

fs::path save(const fs::path& file, std::string_view bytes)
{
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    require(static_cast<bool>(out), file.c_str());
    return file;
}

} // namespace

std::string gzip(std::string_view bytes)
{
    const auto prepare = [](::archive* writer) {
        require(archive_write_set_format_raw(writer) == ARCHIVE_OK, "raw");
        require(archive_write_add_filter_gzip(writer) == ARCHIVE_OK, "gzip");
        require(
            archive_write_set_filter_option(writer, "gzip", "timestamp", nullptr) == ARCHIVE_OK, "timestamp");
    };
    return write(prepare, [bytes](::archive* writer) {
        writeMember(writer, {.path = "data", .type = S_IFREG, .content = std::string(bytes), .link = {}});
    });
}

std::string newCpioMember(
    unsigned number, unsigned mode, unsigned links, const std::string& path, const std::string& content)
{
    const std::string name = path + '\0';
    const unsigned fields[] = {number, mode, 0, 0, links, 0, static_cast<unsigned>(content.size()), 0, 0, 0,
        0, static_cast<unsigned>(name.size()), 0};
    std::string bytes = "070701";
    for (const unsigned field : fields) {
        char digits[9];
        (void)std::snprintf(digits, sizeof digits, "%08x", field); // always eight
        bytes += digits;
    }
    const auto pad = [&bytes] { bytes.append((4 - bytes.size() % 4) % 4, '\0'); };
    bytes += name;
    pad();
    bytes += content;
    pad();
    return bytes;
}

namespace {

/// A header of 512 bytes and the content, filled up to a multiple of that.
std::string tarBlocks(char type, const std::string& path, const std::string& link, const std::string& content)
{
    std::string header(512, '\0');
    const auto put
        = [&header](std::size_t at, const std::string& text) { header.replace(at, text.size(), text); };
    char size[12];
    (void)std::snprintf(size, sizeof size, "%011zo", content.size()); // always eleven
    put(0, path);
    put(100, "0000644");
    put(108, "0000000");
    put(116, "0000000");
    put(124, size);
    put(136, "00000000000");
    put(148, "        ");
    header[156] = type;
    put(157, link);
    put(257, std::string("ustar\00000", 8));
    unsigned sum = 0;
    for (const char byte : header)
        sum += static_cast<unsigned char>(byte);
    char checksum[8];
    (void)std::snprintf(checksum, sizeof checksum, "%06o", sum); // always six
    put(148, std::string(checksum, 7));
    return header + content + std::string((512 - content.size() % 512) % 512, '\0');
}

} // namespace

std::string paxMember(char type, const std::string& path, const std::string& link, const std::string& content)
{
    return tarBlocks('x', "pax", "", "11 mtime=1\n") + tarBlocks(type, path, link, content);
}

PackageBuilder& PackageBuilder::file(const std::string& path, const std::string& content, mode_t mode)
{
    m_members.push_back({.path = path, .type = S_IFREG, .content = content, .mode = mode, .link = {}});
    return *this;
}

PackageBuilder& PackageBuilder::folder(const std::string& path, mode_t mode)
{
    m_members.push_back({.path = path, .type = S_IFDIR, .content = {}, .mode = mode, .link = {}});
    return *this;
}

PackageBuilder& PackageBuilder::symbolicLink(const std::string& path, const std::string& text)
{
    m_members.push_back({.path = path, .type = S_IFLNK, .content = {}, .mode = 0777, .link = text});
    return *this;
}

PackageBuilder& PackageBuilder::hardLink(const std::string& path, const std::string& to)
{
    m_members.push_back({.path = path, .type = S_IFREG, .content = {}, .link = to, .hardLink = true});
    return *this;
}

PackageBuilder& PackageBuilder::node(const std::string& path, mode_t type)
{
    m_members.push_back({.path = path, .type = type, .content = {}, .link = {}});
    return *this;
}

std::string PackageBuilder::archive(Format format) const
{
    const auto prepare = [format](::archive* writer) {
        const int status = format == Format::pax ? archive_write_set_format_pax(writer)
            : format == Format::newCpio          ? archive_write_set_format_cpio_newc(writer)
                                                 : archive_write_set_format_cpio_odc(writer);
        require(status == ARCHIVE_OK, "format");
    };
    return write(prepare, [this](::archive* writer) {
        for (const Member& member : m_members)
            writeMember(writer, member);
    });
}

fs::path PackageBuilder::writeBundle(const fs::path& folder, Format format) const
{
    return writeBundleAround(folder, gzip(archive(format)));
}

fs::path PackageBuilder::writeFlat(const fs::path& file, const std::vector<std::string>& payloadNames) const
{
    return writeFlatAround(file, gzip(archive(Format::oldCpio)), payloadNames);
}

fs::path writeBundleAround(const fs::path& folder, std::string_view archiveBytes)
{
    (void)save(folder / "Contents/Archive.pax.gz", archiveBytes);
    return folder;
}

fs::path writeFlatAround(const fs::path& file, std::string_view payloadBytes,
    const std::vector<std::string>& payloadNames, const std::string& bill)
{
    const auto prepare
        = [](::archive* writer) { require(archive_write_set_format_xar(writer) == ARCHIVE_OK, "xar"); };
    const std::string bytes = write(prepare, [&](::archive* writer) {
        writeMember(writer, {.path = "Bom", .type = S_IFREG, .content = bill, .link = {}});
        for (const std::string& name : payloadNames)
            writeMember(
                writer, {.path = name, .type = S_IFREG, .content = std::string(payloadBytes), .link = {}});
        writeMember(writer, {.path = "PackageInfo", .type = S_IFREG, .content = "<pkg-info/>", .link = {}});
    });
    return save(file, bytes);
}

} // namespace packages

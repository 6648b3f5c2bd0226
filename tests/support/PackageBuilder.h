// Makes installer packages, sound ones and hostile ones.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace packages {

struct Member {
    std::string path;
    mode_t type = 0; ///< S_IFREG and its like
    std::string content;
    mode_t mode = 0644;
    std::string link; ///< a symbolic link's text, or what a hard link names
    bool hardLink = false;
};

enum class Format { pax, newCpio, oldCpio };

/// `bytes` as one gzip member.
std::string gzip(std::string_view bytes);

/// One member of a cpio archive of the new form, byte by byte. Members of the same number are links to one
/// file, which takes the contents of the last of them; the member "TRAILER!!!" ends the archive.
std::string newCpioMember(
    unsigned number, unsigned mode, unsigned links, const std::string& path, const std::string& content);

/// One member of a tar archive in the pax form, byte by byte; `type` is the header's type flag. Two thousand
/// zero bytes end the archive.
std::string paxMember(
    char type, const std::string& path, const std::string& link, const std::string& content);

/// Collects members in order; writes what it is given without looking at it.
class PackageBuilder {
public:
    PackageBuilder& file(const std::string& path, const std::string& content, mode_t mode = 0644);
    PackageBuilder& folder(const std::string& path, mode_t mode = 0755);
    PackageBuilder& symbolicLink(const std::string& path, const std::string& text);
    PackageBuilder& hardLink(const std::string& path, const std::string& to);
    /// A device, FIFO or socket.
    PackageBuilder& node(const std::string& path, mode_t type);

    /// The archive before compression.
    std::string archive(Format format) const;
    /// A bundle package at `folder`, which is made.
    std::filesystem::path writeBundle(const std::filesystem::path& folder, Format format = Format::pax) const;
    /// A flat package whose payload member is called `payloadName`, among others; several names give several
    /// payloads.
    std::filesystem::path writeFlat(
        const std::filesystem::path& file, const std::vector<std::string>& payloadNames = {"Payload"}) const;

private:
    std::vector<Member> m_members;
};

/// Writes a bundle package around ready bytes.
std::filesystem::path writeBundleAround(const std::filesystem::path& folder, std::string_view archiveBytes);
/// Writes a flat package around ready bytes; `bill` is what its other member "Bom" holds.
std::filesystem::path writeFlatAround(const std::filesystem::path& file, std::string_view payloadBytes,
    const std::vector<std::string>& payloadNames = {"Payload"},
    const std::string& bill = "bill of materials");

} // namespace packages

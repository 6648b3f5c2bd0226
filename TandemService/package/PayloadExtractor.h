// Unpacks a payload archive into a staging folder, member by member, under the rules of PayloadMember.h.
#pragma once

#include "TandemService/package/InstallOptions.h"
#include "TandemService/package/InstallResult.h"

#include <cstdint>
#include <memory>
#include <string>

struct archive;
struct archive_entry;
struct stat;

class PayloadExtractor {
public:
    /// The staging folder's descriptor must outlive the extractor.
    PayloadExtractor(int folder, const InstallLimits& limits);

    /// Unpacks every member of an opened archive. The archive's reader must stay silent: its first warning
    /// ends the work. What was unpacked until then stays in the folder.
    InstallResult extractAll(archive* reader);

private:
    using Writer = std::unique_ptr<archive, int (*)(archive*)>;

    InstallResult extractOne(archive* reader, archive* writer, archive_entry* entry);
    InstallResult checkEntry(archive_entry* entry, bool& skip);
    InstallResult checkHardLink(archive_entry* entry);
    bool findMember(const std::string& path, struct stat& status) const;
    InstallResult checkSize(const archive_entry* entry);
    InstallResult copyData(archive* reader, archive* writer);

    int m_folder;
    const InstallLimits& m_limits;
    std::size_t m_entries = 0;
    std::uint64_t m_bytes = 0;
};

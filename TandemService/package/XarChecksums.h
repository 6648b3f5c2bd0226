// The checksums of a flat package's xar archive. The archive library compares those that it is told of; an
// archive whose header or table of contents names none passes it unchecked. Here every checksum must be named
// and right, for the whole file, before anything is unpacked.
#pragma once

#include "TandemService/package/InstallOptions.h"
#include "TandemService/package/InstallResult.h"

#include <cstdint>
#include <string>
#include <vector>

/// A run of bytes in the archive's heap and the checksum that it must have.
struct XarRun {
    std::uint64_t offset = 0; ///< from the start of the heap
    std::uint64_t length = 0;
    std::string style;    ///< "sha1", "md5", "sha256" or "sha512"
    std::string checksum; ///< in hexadecimal
};

struct XarTable {
    XarRun toc; ///< where the checksum of the packed table of contents lies; its own `checksum` is empty
    std::vector<XarRun> members;
};

/// Reads the table of contents, an XML document. False when it is malformed, or a member's bytes have no
/// checksum.
bool parseXarTable(const std::string& xml, XarTable& table);

/// Compares every checksum of the archive in `file`.
InstallResult checkXarChecksums(int file, const InstallLimits& limits);

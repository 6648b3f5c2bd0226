// The suite's product registry: which products are installed, and where.
#pragma once

#include "Platform/Support/Types.h"

#include <cstddef>

/// One product's record, of a fixed layout of 8300 bytes. Texts are zero-terminated UTF-16.
struct VELTAN_ProdInfo {
    UInt8 size[4]; ///< big-endian; the caller sets 8300 before every query
    UniChar firstName[1064]; ///< first part of the saved information's file name
    UniChar secondName[2058]; ///< second part of that file name
    UniChar installPath[1026]; ///< POSIX path of the product's bundle
};
static_assert(sizeof(VELTAN_ProdInfo) == 8300);
static_assert(offsetof(VELTAN_ProdInfo, firstName) == 4);
static_assert(offsetof(VELTAN_ProdInfo, secondName) == 2132);
static_assert(offsetof(VELTAN_ProdInfo, installPath) == 6248);

using VELTAN_ProdEnumerator = struct VELTAN_ProdEnumState*;
/// Identifies a product to VELTAN_ProdQuery; kept by the enumerator until its next step.
using VELTAN_ProdGUID = const struct VELTAN_ProdEntry*;

/// Opens the registry: the folder "/Library/Application Support/Velmora/Tandem Service/Products" of the local domain, one
/// property list a product, in file-name order. *enumerator stays null when there is none; returns 0 when it was opened.
SInt32 VELTAN_ProdEnumGUIDCreate(VELTAN_ProdEnumerator* enumerator);
/// The next product, or null (0) after the last one.
VELTAN_ProdGUID VELTAN_ProdEnumGUID(VELTAN_ProdEnumerator enumerator);
/// Fills the record; fields whose key ("FirstName", "SecondName", "InstallPath") is missing are left as they are. Non-zero when the record's size field
/// is not 8300, or the product's file cannot be read, is no dictionary, or holds a value that does not fit or is of another kind.
SInt32 VELTAN_ProdQuery(VELTAN_ProdGUID product, VELTAN_ProdInfo* info);
void VELTAN_ProdEnumGUIDRelease(VELTAN_ProdEnumerator enumerator);

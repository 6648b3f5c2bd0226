// The suite's product registry: which products are installed, and where.
#pragma once

#include "Platform/Support/Types.h"

#include <cstddef>

/// One product's record, of a fixed layout of 8300 bytes. Texts are zero-terminated UTF-16.
struct VELTAN_ProdInfo {
    UInt8 size[4];             ///< big-endian; the caller sets 8300 before every query
    UniChar firstName[1064];   ///< first part of the saved information's file name
    UniChar secondName[2058];  ///< second part of that file name
    UniChar installPath[1026]; ///< POSIX path of the product's bundle
};
static_assert(sizeof(VELTAN_ProdInfo) == 8300);
static_assert(offsetof(VELTAN_ProdInfo, firstName) == 4);
static_assert(offsetof(VELTAN_ProdInfo, secondName) == 2132);
static_assert(offsetof(VELTAN_ProdInfo, installPath) == 6248);

using VELTAN_ProdEnumerator = struct VELTAN_ProdEnumState*;
/// Identifies a product to VELTAN_ProdQuery; kept by the enumerator until it is released.
using VELTAN_ProdGUID = const struct VELTAN_ProdEntry*;

/// What the functions below answer instead of 0.
enum : SInt32 { kNoRegistry = 1, kWrongRecordSize = 2, kUnreadableProduct = 3 };

/// The most products that a registry may hold.
inline constexpr std::size_t kMaxRegisteredProducts = 10'000;

/// Opens the registry: the folder "/Library/Application Support/Velmora/Tandem Service/Products" of the local
/// domain, one property list (NAME.plist) a product, in the byte order of the file names. Returns 0, and an
/// enumerator that the caller releases; or kNoRegistry, and null, when there is no such folder, it cannot be
/// read or it holds too many.
SInt32 VELTAN_ProdEnumGUIDCreate(VELTAN_ProdEnumerator* enumerator);
/// The next product, or null (0) after the last one.
VELTAN_ProdGUID VELTAN_ProdEnumGUID(VELTAN_ProdEnumerator enumerator);
/// Fills the record: the keys "FirstName", "SecondName" and "InstallPath" of the product's file each set
/// their text, and a missing key leaves its text as it is. Returns 0; kWrongRecordSize when the record's size
/// field is not 8300; or kUnreadableProduct when the file cannot be read, is no dictionary, or holds a value
/// that is no text or does not fit. Then the record is left as it is.
SInt32 VELTAN_ProdQuery(VELTAN_ProdGUID product, VELTAN_ProdInfo* info);
/// Ends an enumeration; null is allowed.
void VELTAN_ProdEnumGUIDRelease(VELTAN_ProdEnumerator enumerator);

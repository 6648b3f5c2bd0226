// The two kinds of installer packages, and how the payload archive inside them is reached.
#pragma once

#include "TandemService/package/InstallOptions.h"
#include "TandemService/package/InstallResult.h"
#include "Platform/Support/Descriptor.h"

#include <functional>
#include <string>

struct archive;

/// Reads an opened payload archive; an error ends the reading of the package.
using PayloadReader = std::function<InstallResult(archive* payload)>;

/// Reads a bundle package: a folder that holds Contents/Archive.pax.gz, a gzip-compressed tar, pax or cpio
/// archive.
InstallResult readBundlePackage(
    Descriptor archiveFile, const InstallLimits& limits, const PayloadReader& readPayload);

/// Reads a flat package: a xar archive with one member named "Payload", at the top or in one folder
/// "NAME.pkg" (a component package), that is a gzip-compressed cpio archive. Every other member is read as
/// well, for its checksum. A package of several components is refused.
InstallResult readFlatPackage(
    Descriptor packageFile, const InstallLimits& limits, const PayloadReader& readPayload);

/// Reads the package at `path`, of whichever kind it is.
InstallResult readPackage(
    const std::string& path, const InstallLimits& limits, const PayloadReader& readPayload);

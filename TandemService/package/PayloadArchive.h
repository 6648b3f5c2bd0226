// A payload: a gzip-compressed archive, read to its very end.
#pragma once

#include "TandemService/package/GzipStream.h"
#include "TandemService/package/Package.h"

/// Which archive formats a payload may have.
enum class PayloadFormat { tarOrCpio, cpio };

/// Opens the compressed archive that `fill` supplies, has it read, and makes sure that the compressed stream
/// ended as it should.
InstallResult readPayloadArchive(GzipStream::Fill fill, PayloadFormat format, const InstallLimits& limits,
    const PayloadReader& readPayload);

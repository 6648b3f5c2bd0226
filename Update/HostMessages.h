// The requests to the host: a 32-bit four-character id and a payload of zero-terminated UTF-8 texts.
#pragma once

#include "Platform/Support/Types.h"

enum HostMessage : SInt32 {
    kInstallPackageMessage = 0x55504B47, ///< "UPKG": package path, target folder
    kRelaunchMessage = 0x5551524C,       ///< "UQRL": path of the host product's bundle
    kUpdateEndMessage = 0x55456E64,      ///< "UEnd": a text
};

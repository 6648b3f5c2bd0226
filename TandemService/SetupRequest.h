// The requests of the setup port: ids and the reading of their payloads.
#pragma once

#include "Platform/Support/Types.h"

#include <string>
#include <string_view>
#include <variant>

inline constexpr OSType kInstallPackageRequest = 0x55504B47; ///< 'UPKG'
inline constexpr OSType kRelaunchRequest = 0x5551524C;       ///< 'UQRL'
inline constexpr OSType kUpdateEndRequest = 0x55456E64;      ///< 'UEnd'

/// The longest payload that a request has, in bytes.
inline constexpr std::size_t kMaxSetupPayloadBytes = 2048;

struct InstallPackageRequest {
    std::string package;
    std::string target;
};
struct RelaunchRequest {
    std::string bundle;
};
struct UpdateEndRequest {
    std::string text;
};
/// Not one of the three, or not laid out as it should be.
struct UnknownRequest { };

using SetupRequest = std::variant<UnknownRequest, InstallPackageRequest, RelaunchRequest, UpdateEndRequest>;

/// Reads a request. The texts must not be empty, each must end with a zero byte within the payload, and
/// nothing may follow the last one. A sender leaves the zero byte of an empty package path out, so its
/// payload has a single text: that is refused as well.
SetupRequest parseSetupRequest(SInt32 id, std::string_view payload);

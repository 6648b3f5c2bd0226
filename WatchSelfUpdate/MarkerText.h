// What the marker file says.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

inline constexpr std::size_t kMaxMarkerPathBytes = 1023;
/// Two paths, each with its zero byte.
inline constexpr std::size_t kMaxMarkerBytes = 2 * (kMaxMarkerPathBytes + 1);

struct Marker {
    std::string runFile;    ///< what the update started, and what is waited for
    std::string hostBundle; ///< the bundle of the host to start again
};

/// Reads two absolute paths in UTF-8, 1 to 1023 bytes each, each ended by a zero byte, and nothing else.
/// False for anything else; then `marker` is unchanged.
bool parseMarker(std::string_view bytes, Marker& marker);

// The bounds of an install, and a hook that follows its steps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

/// What a package may ask for. Generous for a desktop product, and far from what would fill a machine
/// unnoticed.
struct InstallLimits {
    std::uint64_t contentBytes = 16ULL << 30; ///< all files of the payload together
    std::uint64_t streamBytes = 20ULL << 30;  ///< the payload archive after decompression, headers included
    std::uint64_t headerBytes = 4ULL << 20;   ///< a member's header, with the names in it
    std::size_t entries = 1'000'000;
    std::size_t pathBytes = 1023;         ///< a member's path, and a symbolic link's text
    std::size_t pathDepth = 100;          ///< folders within folders
    std::uint64_t tocBytes = 16ULL << 20; ///< a flat package's table of contents, packed or unpacked
};

struct InstallOptions {
    InstallLimits limits;
    /// Puts contents on disk before they are swapped in, so that a power failure cannot leave empty files.
    bool durable = true;
    /// Called after each step with its name ("staged", "aside NAME", ...); tests end the process in it.
    std::function<void(std::string_view)> onStep;

    void step(std::string_view name) const
    {
        if (onStep)
            onStep(name);
    }
};

// What the fuzz targets share: rules that end the process when broken, a scratch folder, and cutting the
// input.
#pragma once

#include "Platform/Support/Types.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace fuzz {

/// Ends the process, which the fuzzer then reports together with the input, when a rule is broken.
void require(bool holds, const char* rule);

/// Makes a new folder below $TMPDIR and points HOME, the caches folder, the run-time folder and the local
/// domain into it. It stays until the process ends; fuzz/run removes it with all of $TMPDIR.
std::filesystem::path enterScratchHome();

void writeFile(const std::filesystem::path& file, std::string_view bytes);

/// The units of a text: two bytes each, an odd last one is left out.
std::u16string units(std::string_view bytes);

/// Cuts the input at newlines: returns what comes before the next one and leaves the rest in `bytes`.
std::string_view takeLine(std::string_view& bytes);

inline std::string_view asText(const std::uint8_t* bytes, std::size_t size)
{
    return {reinterpret_cast<const char*>(bytes), size};
}

} // namespace fuzz

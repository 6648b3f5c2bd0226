// The rows of the table, by subject.
#pragma once

#include "bench/Table.h"

#include <filesystem>
#include <string>

namespace bench {

/// Where everything is: bench/run laid it out.
struct Stage {
    std::string site;             ///< the web server's root, without a "/" at the end
    std::filesystem::path folder; ///< for whatever a row writes
    std::filesystem::path www;    ///< what the web server serves
};

void downloadRows(Table& table, const Stage& stage);
void memoryRow(Table& table, const Stage& stage);
void documentRows(Table& table);
void fileRows(Table& table, const Stage& stage);
void checkRows(Table& table, const Stage& stage);

/// What a process that is started for the memory row does, "ours" or "curl": it downloads, prints by how many
/// KiB its resident memory grew at most, and ends.
[[noreturn]] void memoryProcess(const std::string& what, const Stage& stage, std::FILE* out);

/// Downloads to `path`, or to memory when it is empty, driven by events.
void downloadOurs(const std::string& url, const std::string& path);

inline constexpr char kLargeFile[] = "/large.bin";
inline constexpr char kSmallFile[] = "/small.xml";

} // namespace bench

// The memory that a download needs beyond what the idle process holds, each measured in a process of its own.
#include "bench/Peers.h"
#include "bench/Rows.h"

#include <cstdlib>
#include <fstream>

namespace bench {
namespace {

constexpr int kRounds = 7;

/// The peak of this process's resident memory since it was last forgotten (proc(5), VmHWM), in KiB.
int peakKibibytes()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:"))
            return std::atoi(line.c_str() + 6);
    }
    require(false, "VmHWM");
    return 0;
}

void forgetPeak()
{
    std::ofstream file("/proc/self/clear_refs");
    file << "5" << std::flush;
    require(static_cast<bool>(file), "/proc/self/clear_refs");
}

double measured(const char* what, const Stage& stage)
{
    return std::atof(
        run({"/proc/self/exe", stage.site, stage.folder.string(), stage.www.string(), what}).c_str());
}

} // namespace

void memoryProcess(const std::string& what, const Stage& stage, std::FILE* out)
{
    const std::string url = stage.site + kLargeFile;
    const std::string file = (stage.folder / "download").string();
    forgetPeak();
    const int idle = peakKibibytes();
    if (what == "ours")
        downloadOurs(url, file);
    else
        CurlPeer().fetchToFile(url, file);
    std::fprintf(out, "%d\n", peakKibibytes() - idle);
    std::exit(std::fflush(out) == 0 ? 0 : 1);
}

void memoryRow(Table& table, const Stage& stage)
{
    table.row(
        "peak memory of 64 MiB to disk, less idle", "curl_easy_perform",
        [&stage] { return measured("ours", stage); }, [&stage] { return measured("curl", stage); }, kRounds,
        Unit::kibibytes);
}

} // namespace bench

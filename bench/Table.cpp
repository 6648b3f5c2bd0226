#include "bench/Table.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

namespace bench {
namespace {

/// The value that `share` of the values lie below.
double quantile(std::vector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(share * static_cast<double>(values.size()))];
}

double median(const std::vector<double>& values)
{
    return quantile(values, 0.5);
}

std::string figure(double value, Unit unit)
{
    char text[32];
    const bool isTime = unit == Unit::milliseconds;
    std::snprintf(text, sizeof text, isTime ? "%.1f ms" : "%.0f KiB", isTime ? value * 1000 : value);
    return text;
}

} // namespace

void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "bench: failed: %s\n", what);
    std::exit(1);
}

double secondsOf(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

Table::Table(std::FILE* out)
    : m_out(out)
{
    std::fprintf(m_out, "| %-44s | %11s | %11s | %5s | %-11s | %-30s |\n", "What", "Ours", "Peer", "Ratio",
        "Spread", "Peer is");
    std::fprintf(m_out, "|---|---:|---:|---:|---|---|\n");
}

void Table::row(const std::string& what, const std::string& peerName, const Measure& ours,
    const Measure& peer, int rounds, Unit unit)
{
    std::vector<double> our;
    std::vector<double> their;
    std::vector<double> ratios;
    for (int round = -1; round < rounds; ++round) {
        // By turns in the order as well: whoever comes second finds warmer caches.
        const bool peerFirst = round % 2 == 0;
        const double before = peerFirst ? peer() : 0;
        const double mine = ours();
        const double others = peerFirst ? before : peer();
        if (round < 0)
            continue; // caches, connections and the allocator are warm from here on
        require(others > 0, what.c_str());
        our.push_back(mine);
        their.push_back(others);
        ratios.push_back(mine / others);
    }
    char spread[32];
    std::snprintf(spread, sizeof spread, "%.2f-%.2f", quantile(ratios, 0.25), quantile(ratios, 0.75));
    std::fprintf(m_out, "| %-44s | %11s | %11s | %5.2f | %-11s | %-30s |\n", what.c_str(),
        figure(median(our), unit).c_str(), figure(median(their), unit).c_str(), median(ratios), spread,
        peerName.c_str());
    (void)std::fflush(m_out); // a lost line shows in the table itself
}

} // namespace bench

// Measures one thing after the other, ours and a peer's by turns, and prints a line for each.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// Ends the process with a message: a figure of something that failed would be worse than none.
void require(bool holds, const char* what);

/// What one round took, in seconds or KiB.
using Measure = std::function<double()>;

/// The seconds that a call takes.
double secondsOf(const std::function<void()>& work);

enum class Unit { milliseconds, kibibytes };

class Table {
public:
    /// `out` stays the caller's.
    explicit Table(std::FILE* out);

    /// Measures `ours` and `peer` by turns, after one round that does not count, and prints the row. The
    /// ratio is the median of the rounds' own ratios; the spread is where the middle half of them lies.
    void row(const std::string& what, const std::string& peerName, const Measure& ours, const Measure& peer,
        int rounds, Unit unit = Unit::milliseconds);

private:
    std::FILE* m_out;
};

} // namespace bench

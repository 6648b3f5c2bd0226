#include "Cocoa2CarbonLib/KernelProcess.h"

#include "Platform/Support/ProcessFiles.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <system_error>
#include <tuple>
#include <utility>

namespace {

/// Both files are far shorter.
constexpr std::size_t kMaxFileBytes = 64 * 1024;

/// The whole of `text` as a number.
template <typename Number> bool parseNumber(std::string_view text, Number& number, int base = 10)
{
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    return error == std::errc() && stop == end;
}

/// The next word of a line, which is taken off it; empty at its end.
std::string_view takeWord(std::string_view& line)
{
    line.remove_prefix(std::min(line.find_first_not_of(" \t\n"), line.size()));
    const std::string_view word = line.substr(0, line.find_first_of(" \t\n"));
    line.remove_prefix(word.size());
    return word;
}

/// What follows "NAME:" on its line of a status. The process's name in the first line can forge none: the
/// kernel escapes its line ends there.
std::optional<std::string_view> statusField(std::string_view text, std::string_view name)
{
    const std::size_t at = text.find('\n' + std::string(name) + ":\t");
    if (at == std::string_view::npos)
        return std::nullopt;
    const std::string_view rest = text.substr(at + name.size() + 3);
    return rest.substr(0, rest.find('\n'));
}

/// The real, the effective and the saved id of a status.
bool parseIds(std::string_view text, std::string_view name, UInt32& real, UInt32& effective, UInt32& saved)
{
    std::optional<std::string_view> line = statusField(text, name);
    return line && parseNumber(takeWord(*line), real) && parseNumber(takeWord(*line), effective)
        && parseNumber(takeWord(*line), saved);
}

} // namespace

bool parseStat(std::string_view text, KernelProcess& process)
{
    // The command stands in parentheses and may itself hold any, and blanks and line ends; nothing after it
    // does.
    const std::size_t open = text.find('(');
    const std::size_t close = text.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open)
        return false;
    std::string_view before = text.substr(0, open);
    std::string_view after = text.substr(close + 1);
    process.command = text.substr(open + 1, close - open - 1);
    const std::string_view state = takeWord(after);
    if (!parseNumber(takeWord(before), process.pid) || state.size() != 1)
        return false;
    process.state = state[0];
    // The fields from the fourth, the parent, to the 24th, the resident pages.
    std::array<std::string_view, 21> fields;
    for (std::string_view& field : fields)
        field = takeWord(after);
    return parseNumber(fields[0], process.parent) && parseNumber(fields[3], process.terminal)
        && parseNumber(fields[5], process.flags) && parseNumber(fields[14], process.priority)
        && parseNumber(fields[15], process.nice) && parseNumber(fields[18], process.startTicks)
        && parseNumber(fields[20], process.residentPages);
}

bool parseStatus(std::string_view text, KernelProcess& process)
{
    const std::optional<std::string_view> group = statusField(text, "Tgid");
    const std::optional<std::string_view> tracer = statusField(text, "TracerPid");
    const std::optional<std::string_view> ignored = statusField(text, "SigIgn");
    return group && parseNumber(*group, process.group) && tracer && parseNumber(*tracer, process.tracer)
        && ignored && parseNumber(*ignored, process.ignoredSignals, 16)
        && parseIds(text, "Uid", process.realUser, process.effectiveUser, process.savedUser)
        && parseIds(text, "Gid", process.realGroup, process.effectiveGroup, process.savedGroup);
}

bool readKernelProcess(int pid, KernelProcess& process)
{
    const ProcessFolder folder(pid);
    std::string text;
    if (!folder || folder.read("stat", kMaxFileBytes, text) != 0 || !parseStat(text, process))
        return false;
    return folder.read("status", kMaxFileBytes, text) == 0 && parseStatus(text, process)
        && process.pid == process.group;
}

std::vector<KernelProcess> readKernelProcesses()
{
    std::vector<KernelProcess> processes;
    for (const int pid : runningProcessIds()) {
        KernelProcess process;
        if (readKernelProcess(pid, process))
            processes.push_back(std::move(process));
    }
    sortNewestFirst(processes);
    return processes;
}

void sortNewestFirst(std::vector<KernelProcess>& processes)
{
    std::sort(processes.begin(), processes.end(), [](const KernelProcess& a, const KernelProcess& b) {
        return std::tie(a.startTicks, a.pid) > std::tie(b.startTicks, b.pid);
    });
}

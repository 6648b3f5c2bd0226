#include "Cocoa2CarbonLib/DSProcessesInfo.h"

#include "Cocoa2CarbonLib/KernelProcess.h"
#include "Cocoa2CarbonLib/ProcessArguments.h"
#include "Cocoa2CarbonLib/ProcessMapping.h"
#include "Cocoa2CarbonLib/ProcessTexts.h"
#include "Platform/Support/ProcessFiles.h"
#include "Platform/Support/Unicode.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <pwd.h>
#include <unistd.h>

namespace {

constexpr std::size_t kListCapacity = 5;
constexpr SInt64 kNanoseconds = 1'000'000'000;
/// An entry of the user database that is longer than this counts as none.
constexpr std::size_t kMaxUserBytes = 1 << 20;

SInt64 nanosecondsOf(clockid_t clock)
{
    timespec now {};
    (void)::clock_gettime(clock, &now); // both clocks exist wherever this runs
    return now.tv_sec * kNanoseconds + now.tv_nsec;
}

ProcessDate startTime(const KernelProcess& process)
{
    const SInt64 systemStart = nanosecondsOf(CLOCK_REALTIME) - nanosecondsOf(CLOCK_BOOTTIME);
    const auto ticksPerSecond = static_cast<UInt64>(::sysconf(_SC_CLK_TCK));
    const UInt64 seconds = process.startTicks / ticksPerSecond;
    const UInt64 rest = process.startTicks % ticksPerSecond * kNanoseconds / ticksPerSecond;
    return {static_cast<SInt64>(seconds) + (systemStart + static_cast<SInt64>(rest)) / kNanoseconds};
}

std::string userName(uid_t user)
{
    for (std::size_t size = 1024; size <= kMaxUserBytes; size *= 2) {
        std::vector<char> buffer(size);
        struct passwd entry;
        struct passwd* found = nullptr;
        const int error = ::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found);
        if (error == 0 && found)
            return found->pw_name;
        if (error != ERANGE)
            break;
    }
    return "UNKNOWN USER";
}

std::string joined(const ProcessTextList& texts)
{
    std::string text;
    for (const std::string& part : texts) {
        if (!text.empty())
            text += ' ';
        text += part;
    }
    return text;
}

std::u16string lowerCase(std::string_view text)
{
    std::u16string wide = wideFromUtf8(text);
    std::transform(wide.begin(), wide.end(), wide.begin(), lowerCaseUnit);
    return wide;
}

/// Whether `text` holds `part`, ignoring case: only that of ASCII letters where one of them is no UTF-8.
bool holdsIgnoringCase(const std::string& text, const std::string& part)
{
    if (!isValidUtf8(text) || !isValidUtf8(part))
        return ::strcasestr(text.c_str(), part.c_str()) != nullptr;
    return lowerCase(text).find(lowerCase(part)) != std::u16string::npos;
}

/// Whether a process's name, or its short one when that is not known, holds `name`, ignoring case.
bool nameHolds(const KernelProcess& process, const std::string& name)
{
    if (const std::optional<std::string> fullName = nameForProcessWithPID(process.pid))
        return holdsIgnoringCase(*fullName, name);
    return ::strcasestr(process.command.c_str(), name.c_str()) != nullptr;
}

std::string nameOf(const KernelProcess& process)
{
    return nameForProcessWithPID(process.pid).value_or(process.command);
}

/// All processes but the last one of the table, in the order in which they are told: from its end.
std::vector<KernelProcess> toldProcesses()
{
    std::vector<KernelProcess> processes = readKernelProcesses();
    if (!processes.empty())
        processes.pop_back();
    std::reverse(processes.begin(), processes.end());
    return processes;
}

} // namespace

void args(int pid, std::unique_ptr<ProcessTextList>& arguments, std::unique_ptr<ProcessTextList>& environment)
{
    for (std::unique_ptr<ProcessTextList>* list : {&arguments, &environment}) {
        if (*list)
            continue;
        *list = std::make_unique<ProcessTextList>();
        (*list)->reserve(kListCapacity);
    }
    std::string area;
    if (!readArgumentArea(pid, area)) {
        arguments->emplace_back("Not Available");
        environment->emplace_back("Not Available");
        return;
    }
    splitArgumentArea(area, *arguments, *environment);
    if (arguments->empty())
        arguments->emplace_back("None");
    if (environment->empty())
        environment->emplace_back("None");
}

std::optional<std::string> nameForProcessWithPID(int pid)
{
    const ProcessFolder folder(pid);
    ProcessExecutable executable;
    if (!folder || folder.executable(executable) != 0)
        return std::nullopt;
    return executable.path.substr(executable.path.rfind('/') + 1); // npos + 1 is 0
}

ProcessInfo getProcessInfoByPID(int pid)
{
    KernelProcess process;
    if (!readKernelProcess(pid, process))
        return {};
    std::unique_ptr<ProcessTextList> arguments;
    std::unique_ptr<ProcessTextList> environment;
    args(pid, arguments, environment);
    const UInt8 state = documentedState(process);
    const UInt32 flags = documentedFlags(process);
    ProcessInfo info;
    const auto set
        = [&info](std::string_view key, ProcessValue value) { info.emplace(key, std::move(value)); };
    set(DSProcessName, nameOf(process));
    set(DSProcessPIDNumber, SInt32 {process.pid});
    set(DSProcessStartTime, startTime(process));
    set(DSProcessFlags, reportedFlagTexts(flags));
    set(DSProcessFlagValue, flags);
    set(DSProcessStatus, stateText(state));
    set(DSProcessStatusValue, UInt32 {state});
    set(DSProcessSystemPriority, SInt32 {documentedPriority(process)});
    set(DSProcessNiceValue, SInt32 {process.nice});
    set(DSProcessParentPID, SInt32 {process.parent});
    set(DSProcessOwner, userName(process.effectiveUser));
    set(DSProcessArguments, joined(*arguments));
    set(DSProcessEnvironment, std::move(*environment));
    return info;
}

std::vector<ProcessInfo> getProcessInfoByName(std::string_view name)
{
    std::vector<ProcessInfo> infos;
    const std::string wanted(name);
    const std::vector<KernelProcess> processes = readKernelProcesses();
    for (auto process = processes.rbegin(); process != processes.rend(); ++process) {
        if (nameHolds(*process, wanted))
            infos.push_back(getProcessInfoByPID(process->pid));
    }
    return infos;
}

std::vector<ProcessInfo> allProcessesInfo()
{
    std::vector<ProcessInfo> infos;
    for (const KernelProcess& process : toldProcesses())
        infos.push_back(getProcessInfoByPID(process.pid));
    return infos;
}

ProcessTextList allProcesses()
{
    ProcessTextList names;
    for (const KernelProcess& process : toldProcesses())
        names.push_back(nameOf(process));
    return names;
}

Boolean isProcessRunningByPID(int pid)
{
    KernelProcess process;
    return readKernelProcess(pid, process);
}

Boolean isProcessRunningByName(std::string_view name)
{
    // What a short name is compared with: the longest of them fits many times over.
    char shortName[255];
    const std::size_t length = std::min(name.size(), sizeof shortName - 1);
    std::memcpy(shortName, name.data(), length);
    shortName[length] = '\0';
    const std::vector<KernelProcess> processes = readKernelProcesses();
    return std::any_of(processes.rbegin(), processes.rend(), [&](const KernelProcess& process) {
        return nameForProcessWithPID(process.pid) == name || process.command == shortName;
    });
}

// What is known about the running processes. Texts are bytes as the kernel gives them, usually UTF-8. The
// functions keep no state; the caller owns what they return. A process that has ended and waits to be
// collected by its parent is still one.
#pragma once

#include "Platform/Support/Types.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

using ProcessTextList = std::vector<std::string>;
struct ProcessDate {
    SInt64 secondsSince1970 = 0;

    bool operator==(const ProcessDate&) const = default;
};
using ProcessValue = std::variant<SInt32, UInt32, std::string, ProcessTextList, ProcessDate>;
/// A process's values by the keys below: all of them, or none when the process cannot be read.
using ProcessInfo = std::map<std::string, ProcessValue, std::less<>>;

// The keys, and the type of the value.

/// std::string: the executable's file name, or the short command name when that is not known.
inline constexpr std::string_view DSProcessName = "Process Name";
/// SInt32
inline constexpr std::string_view DSProcessPIDNumber = "Process PID Number";
/// ProcessDate
inline constexpr std::string_view DSProcessStartTime = "Process Start Time";
/// ProcessTextList: what the flags mean.
inline constexpr std::string_view DSProcessFlags = "Process Flags";
/// UInt32
inline constexpr std::string_view DSProcessFlagValue = "Process Flag Value";
/// std::string: what the state means; several texts, each with a blank at its end.
inline constexpr std::string_view DSProcessStatus = "Process Status";
/// UInt32
inline constexpr std::string_view DSProcessStatusValue = "Process Status Value";
/// SInt32: 0 to 255, a lower one runs first.
inline constexpr std::string_view DSProcessSystemPriority = "Process System Priority";
/// SInt32: -20 to 19.
inline constexpr std::string_view DSProcessNiceValue = "Process Nice Value";
/// SInt32
inline constexpr std::string_view DSProcessParentPID = "Process Parent PID";
/// std::string: the effective user's name, or "UNKNOWN USER".
inline constexpr std::string_view DSProcessOwner = "Process Owner";
/// std::string: the arguments with one blank between them.
inline constexpr std::string_view DSProcessArguments = "Process Arguments";
/// ProcessTextList
inline constexpr std::string_view DSProcessEnvironment = "Process Environment";

/// Adds a process's arguments, the executable's path first, and its environment to the lists, making each
/// that is null. A list that would stay empty gets "None"; both get "Not Available" when the process does not
/// show them.
void args(
    int pid, std::unique_ptr<ProcessTextList>& arguments, std::unique_ptr<ProcessTextList>& environment);
/// The file name of a process's executable; nothing when that is not known, as of another user's process.
std::optional<std::string> nameForProcessWithPID(int pid);

/// Also prints "procFlags: %d" where a process has flags and none is known.
ProcessInfo getProcessInfoByPID(int pid);
/// The processes whose name holds `name`, ignoring case, the oldest first. One that ended meanwhile is an
/// empty dictionary, here and below.
std::vector<ProcessInfo> getProcessInfoByName(std::string_view name);
/// All processes but the oldest, the older first. Leaving that one out is meant.
std::vector<ProcessInfo> allProcessesInfo();
/// Their names, in the same order.
ProcessTextList allProcesses();
Boolean isProcessRunningByPID(int pid);
/// Whether a process's name, or its short command name (15 bytes at most), is `name` exactly.
Boolean isProcessRunningByName(std::string_view name);

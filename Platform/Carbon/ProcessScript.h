// The script that an interpreter runs. Private to this folder.
#pragma once

#include "Platform/Support/ProcessFiles.h"

#include <string>

/// The absolute path of the script that the process runs, when its program is the interpreter that the
/// script's first line names (execve(2)); otherwise empty.
std::string scriptOfProcess(const ProcessFolder& process, const ProcessExecutable& interpreter);

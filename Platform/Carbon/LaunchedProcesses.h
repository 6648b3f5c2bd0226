// The list of the processes that this program has launched. Private to this folder.
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Platform/Carbon/Processes.h"
#include "Platform/Support/ChildProcess.h"

/// Starts `request` in a session of its own and lists the process under `application`; `process` may be null.
OSStatus launchProcess(const FSRef& application, ChildRequest request, ProcessSerialNumber* process);
/// Lists a child of this process, started by somebody else and reaped by nobody.
void listLaunchedProcess(const FSRef& application, int processId);

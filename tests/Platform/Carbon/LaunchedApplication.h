// Applications for tests of launching: scripts that tell how they were started.
#pragma once

#include "Platform/Carbon/LaunchServices.h"
#include "tests/support/TempDir.h"

#include <string>
#include <string_view>
#include <vector>

FSRef refTo(const std::filesystem::path& path);

/// Writes an executable shell script.
std::filesystem::path writeScript(
    const ScopedTempDir& folder, std::string_view name, std::string_view commands);

/// LaunchApplication with the flags of a program that goes on running.
OSStatus launch(const FSRef& application, LaunchParamBlockRec* block = nullptr);

/// LSOpenFromRefSpec for one document.
OSStatus openDocument(const FSRef& document, FSRef* launched, const FSRef* target = nullptr);

/// Processes events until all that was launched from `application` has ended, at most half a minute.
LaunchState waitForEnd(const FSRef& application);

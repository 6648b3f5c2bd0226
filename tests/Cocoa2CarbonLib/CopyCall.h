// One call of the copy with arguments that have defaults, and looks at the trees that it is given and makes.
#pragma once

#include "Cocoa2CarbonLib/FSCopyObject.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

struct CopyCall {
    std::filesystem::path source;
    std::filesystem::path destDir;
    UInt32 maxLevels = 0;
    FSCatalogInfoBitmap whichInfo = 0;
    int dupeAction = 0;
    const HFSUniStr255* newName = nullptr;
    bool wantFSSpec = false;
    bool wantName = false;
    CopyObjectFilterProcPtr filterProc = nullptr;
    void* yourData = nullptr;
    FSRef* newObjectRef = nullptr;
    FSSpec* newObjectSpec = nullptr;

    /// Makes the references, calls, and gives what was returned; what was printed goes to `printed`.
    OSStatus run(std::string* printed = nullptr) const;
};

FSRef refTo(const std::filesystem::path& path);
HFSUniStr255 unicodeName(std::u16string_view text);
/// `printed` with each line number, which only the source's layout decides, replaced by "N".
std::string withoutLineNumbers(const std::string& printed);

/// What is below `top` (itself included, as ""): for each path the kind, mode, modification time in
/// nanoseconds, and content or target.
std::map<std::string, std::string> describeTree(const std::filesystem::path& top);
struct stat statusOf(const std::filesystem::path& path);

/// Sets an attribute; false where the file system has none.
bool setAttribute(const std::filesystem::path& path, const char* name, std::string_view value);
/// An attribute's value, or "(none)".
std::string attribute(const std::filesystem::path& path, const char* name);

// Finding, checking and repairing the copy of the helper tool that is run with administrator rights.
#pragma once

#include "Platform/Carbon/Folders.h"
#include "Platform/CoreFoundation/CFURL.h"

/// The place of a tool: the standard folder, in it `subFolderName` (may be null; at most 255 units), in that
/// `toolName` (empty: the folder itself). With `createFolder` missing folders are made (mode 0700). A
/// symbolic link for the subfolder is refused with permErr, another object that is no folder with dirNFErr. 0
/// and a URL that the caller owns in *tool, which must be null before; otherwise an error number.
int MoreSecCopyHelperToolURL(FSDomain domain, FSFolderType folderType, CFStringRef subFolderName,
    CFStringRef toolName, unsigned char createFolder, CFURLRef* tool);
/// Whether the installed tool looks like the template: owned by root, mode exactly 0104555, of the template's
/// size and modification time (whole seconds). A missing tool does not look OK, nor does any beside a
/// template that cannot be read. 0, or coreFoundationUnknownErr when the tool has no path of at most 1023
/// bytes.
int MoreSecCheckHelperTool(CFURLRef templateTool, CFURLRef tool, unsigned char* looksOK);
/// Replaces a tool that does not look OK by a copy of the template; what stands at its path is removed
/// before, a folder only when it is empty. The copy is not root-owned and set-user-id again: that is the
/// tool's own privileged repair. 0, otherwise an errno value or coreFoundationUnknownErr.
int MoreSecCheckAndFixHelperTool(CFURLRef templateTool, CFURLRef tool);

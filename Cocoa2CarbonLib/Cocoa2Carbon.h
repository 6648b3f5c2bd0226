// Runners of command-line tools, a question about running programs, and a wide-string helper.
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Platform/Support/Types.h"

extern "C" {

/// Unpacks a ZIP archive with "/usr/bin/unzip -o ZIP -d FOLDER" (existing files are replaced). Both paths are
/// UTF-8; before one that begins with "-", and would be read as an option, "./" is put, and in an archive's
/// name that would be read as a pattern its characters are marked as literal. Blocks until the tool has
/// ended; there is no time limit. Its listing is not shown, its complaints go to standard error. 1 when its
/// exit status was 0, otherwise 0, also for a null argument, for an archive that is no regular file, and
/// where the tool would have unpacked another archive instead.
int C2C_UnzipFile(const char* zipPath, const char* destinationFolder);

/// Installs a package with "/usr/sbin/installer -pkg PACKAGE -target TARGET", paths as above. Blocks until
/// the tool has ended; there is no time limit. Its exit status; paramErr for a null argument, and then
/// nothing is started; 127 when it could not be started, 128 plus the signal when one ended it, -1 when its
/// status was lost.
int C2C_InstallerFile(const char* packagePath, const char* target);

/// Whether a process runs whose name is that of the file without its extension, such as "Foo" for Foo.app;
/// see isProcessRunningByName. 0 also when the file's path does not fit in 1023 bytes, and for null.
Boolean C2C_IsRunning(const FSRef* file);

/// The number of units before the first zero unit. `s` must not be null.
int C2C_wcslen(const UniChar* s);

} // extern "C"

// The process's surroundings while a payload is unpacked: working folder, file-creation mask and character
// set.
#pragma once

#include "Platform/Support/Descriptor.h"

#include <locale.h>
#include <sys/types.h>

/// Enters a folder, with the mask 022 and UTF-8 names whatever the user's locale is; puts everything back
/// when it goes. For a process of one thread.
class WorkingFolder {
public:
    explicit WorkingFolder(int folder);
    ~WorkingFolder();
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

    /// False, with errno set, when the folder could not be entered.
    bool entered() const { return m_entered; }

private:
    Descriptor m_before;
    bool m_entered = false;
    mode_t m_maskBefore;
    locale_t m_locale;
    locale_t m_localeBefore;
};

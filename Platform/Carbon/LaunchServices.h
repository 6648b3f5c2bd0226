// Launch Services: starting applications, opening documents with the application that is meant for them, and
// finding applications.
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Platform/Carbon/Processes.h"
#include "Platform/CoreFoundation/CFURL.h"

inline constexpr UInt16 extendedBlock = 0x4C43; ///< 'LC'
inline constexpr UInt32 extendedBlockLen = 32;  ///< in bytes, of the original's block

enum : UInt16 {
    launchDontSwitch = 0x0200,  ///< the application stays in the background
    launchNoFileFlags = 0x0800, ///< launchFileFlags is not looked at
    launchContinue = 0x4000,    ///< the caller goes on running
};

/// What is to be launched, and which process it became.
struct LaunchParamBlockRec {
    UInt16 launchBlockID = 0;      ///< must be extendedBlock
    UInt32 launchEPBLength = 0;    ///< must be extendedBlockLen
    UInt16 launchFileFlags = 0;    ///< must be 0
    UInt16 launchControlFlags = 0; ///< launchContinue and launchNoFileFlags, and any launch... of above
    const FSSpec* launchAppSpec = nullptr;  ///< must not be null
    ProcessSerialNumber launchProcessSN {}; ///< set on success
};

/// Starts an application: a bundle's executable (Contents/Linux/<CFBundleExecutable>), or the file itself
/// when it is an executable one. A package (".pkg") is none, whatever its mode says. The process has a
/// session of its own, no terminal and no standard input, and goes on when this program ends.
/// kLSApplicationNotFoundErr when the object is no application, errFSBadFSRef when another object has taken
/// its place, otherwise the error of the start; a file that no system call can execute is such an error.
OSStatus LaunchApplication(LaunchParamBlockRec* block);

enum : UInt32 {
    kLSLaunchAndDisplayErrors = 0x00000040, ///< a failure is told to the user, on standard error
    kLSLaunchDontAddToRecents = 0x00000100,
    kLSLaunchNoParams = 0x00000800, ///< passThruParams must be null
    kLSLaunchNewInstance = 0x00080000,
};

/// Which document is to be opened, and how.
struct LSLaunchFSRefSpec {
    const FSRef* appRef = nullptr; ///< must be null: the document's own application
    UInt32 numDocs = 0;            ///< must be 1
    const FSRef* itemRefs = nullptr;
    /// The folder that a package is installed into; a document of another kind has no use for it.
    const FSRef* passThruParams = nullptr;
    UInt32 launchFlags = 0;
    void* asyncRefCon = nullptr; ///< must be null
};

/// Opens a document and goes on: a package (".pkg", a file or a folder) with this system's installer, a ZIP
/// archive with "/usr/bin/unzip" into the archive's own folder, everything else with the desktop's default
/// application for its kind. The reference of what was started is written to `launched`, which may be null.
/// paramErr for a package without a folder to install it into; kLSApplicationNotFoundErr when there is no
/// application for the document, for what is neither a file nor a folder, and for a damaged archive in whose
/// place unzip would take another one; otherwise the error of the start.
OSStatus LSOpenFromRefSpec(const LSLaunchFSRefSpec* spec, FSRef* launched);

/// What became of the processes that this program launched from one application.
enum LaunchState : SInt32 {
    kNothingLaunched, ///< none, or one that the desktop started for it and that is known by its file only
    kLaunchedRunning, ///< at least one is running
    kLaunchedEnded,   ///< all have ended
};

/// The state of what LaunchApplication and LSOpenFromRefSpec launched from `application`, by process id and
/// not by a look at other processes. Reaps what has ended; a process that somebody else reaped has ended too.
LaunchState LaunchStateOf(const FSRef* application);

/// Applications are not looked for by their creator.
inline constexpr OSType kLSUnknownCreator = 0;

/// Finds the application with a bundle identifier: the bundle in whose Contents/Linux the program of the
/// desktop entry "<identifier>.desktop" lies. `creator` must be kLSUnknownCreator, `name` and `application`
/// null. Returns noErr, and the URL of the bundle's folder, which the caller owns; paramErr for a null
/// identifier or URL; otherwise kLSApplicationNotFoundErr, and null: also for an entry that is damaged,
/// hidden or has no program in a bundle.
OSStatus LSFindApplicationForInfo(
    OSType creator, CFStringRef identifier, CFStringRef name, FSRef* application, CFURLRef* applicationURL);

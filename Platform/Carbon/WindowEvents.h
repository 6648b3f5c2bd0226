// Keys pressed in a window, before the window's controls see them.
#pragma once

#include "Platform/Carbon/Windows.h"

using EventRef = struct OpaqueEventRef*;
using EventHandlerCallRef = struct OpaqueEventHandlerCallRef*;
using EventHandlerRef = struct OpaqueEventHandlerRef*;
using EventHandlerUPP = OSStatus (*)(EventHandlerCallRef next, EventRef event, void* userData);

enum : UInt32 { kEventClassKeyboard = 0x6B657962 /* 'keyb' */ };
enum : UInt32 { kEventRawKeyDown = 1 };
struct EventTypeSpec {
    UInt32 eventClass;
    UInt32 eventKind;
};

/// Calls `handler` once for each key that is pressed in the window, not for its repetitions. With
/// eventNotHandledErr the key goes on to the controls, with noErr it ends there. `list` must hold just the
/// raw key-down event, `ref` must be null. The handler goes with the window, which it may dispose.
OSStatus InstallWindowEventHandler(WindowRef window, EventHandlerUPP handler, UInt32 count,
    const EventTypeSpec* list, void* userData, EventHandlerRef* ref);

enum : UInt32 { kEventParamKeyMacCharCodes = 0x6B636872 /* 'kchr' */, typeChar = 0x54455854 /* 'TEXT' */ };
/// The characters of the keys that have no printable one.
enum : char { kEnterCharCode = 3, kReturnCharCode = 13, kEscapeCharCode = 27 };
/// Writes the key's character to `data` (one char): a character of ASCII, one of the three above, or 0. The
/// name must be kEventParamKeyMacCharCodes, the type typeChar, `size` 1, and the two other pointers null.
OSStatus GetEventParameter(EventRef event, UInt32 name, UInt32 type, UInt32* actualType, UInt32 size,
    UInt32* actualSize, void* data);

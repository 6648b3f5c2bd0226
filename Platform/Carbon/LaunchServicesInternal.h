// What the files of Launch Services share. Private to this folder.
#pragma once

#include "Platform/Carbon/FSRef.h"

#include <sys/types.h>

/// noErr when the object that the reference was made of is still at its place; a link leads to it. `mode` is
/// its kind and mode, as stat(2) gives them.
OSStatus checkStillThere(const FSRef& ref, mode_t& mode);
/// True for a name that ends in ".pkg", ignoring case.
bool isPackage(const FSRef& ref);

/// The desktop's name for a document's kind: a MIME type, guessed from its name and its first bytes.
std::string contentTypeOf(const FSRef& document);
/// True when that is the name for a kind that is not known.
bool isUnknownContentType(const std::string& type);
/// Opens a document with the desktop's default application for the kind `type`, whose bundle or program
/// is written to `application`. kLSApplicationNotFoundErr when there is none.
OSStatus openWithDesktopHandler(const FSRef& document, const std::string& type, FSRef& application);

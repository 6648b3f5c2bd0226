// How the text of a download's address becomes a URL.
#pragma once

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFURL.h"

#include <string_view>

/// The URL of `text`: "file://" and "http://" addresses (in any case) as they are, everything else with
/// "http://" in front, then with its percent escapes resolved and made anew, so that an address may be given
/// escaped or not. Null when an escape is malformed or the result is no URL.
CFRef<CFURLRef> createDownloadURL(std::u16string_view text);

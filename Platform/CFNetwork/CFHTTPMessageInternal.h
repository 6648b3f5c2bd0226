// What an HTTP message holds. Private to this folder.
#pragma once

#include "Platform/CFNetwork/CFHTTPMessage.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFRuntime.h"

struct __CFHTTPMessage final : CFObject {
    __CFHTTPMessage(CFURLRef requestURL, CFIndex responseStatus)
        : CFObject(kCFRuntimeHTTPMessage)
        , url(retainCF(requestURL))
        , statusCode(responseStatus)
    {
    }

    const CFRef<CFURLRef> url; ///< null in an answer
    const CFIndex statusCode;  ///< 0 in a request
};

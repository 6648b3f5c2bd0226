// HTTP messages.
#include "Platform/CFNetwork/CFHTTPMessageInternal.h"
#include "Platform/Support/Assertion.h"

CFHTTPMessageRef CFHTTPMessageCreateRequest(
    CFAllocatorRef, CFStringRef method, CFURLRef url, CFHTTPVersion version)
{
    VELMORA_ASSERT(method != nullptr && CFStringGetView(method) == u"GET");
    VELMORA_ASSERT(version == kCFHTTPVersion1_1);
    return url ? new __CFHTTPMessage(url, 0) : nullptr;
}

CFIndex CFHTTPMessageGetResponseStatusCode(CFHTTPMessageRef message)
{
    return message->statusCode;
}

#include "Platform/Lumen/LumString.h"

#include "Platform/Support/Unicode.h"

SInt32 lum_wcscmpi(const UniChar* a, const UniChar* b)
{
    return compareIgnoringCase(a ? a : u"", b ? b : u"");
}

// The fetched-URL list of a test program without a plug-in object.
#include "Update/download/DescriptorFetch.h"

std::vector<CLumStringW>& fetchedDescriptorURLs()
{
    static std::vector<CLumStringW> urls;
    return urls;
}

#include "tests/support/ProductBundles.h"

#include "Update/descriptor/ProductBundles.h"

std::vector<std::string>& collectedProductBundles()
{
    static std::vector<std::string> folders;
    return folders;
}

const std::vector<std::string>& productBundleFolders()
{
    return collectedProductBundles();
}

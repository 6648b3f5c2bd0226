// The collected products' bundles of a test program without a plug-in object.
#pragma once

#include <string>
#include <vector>

/// The list that productBundleFolders() gives; empty at first.
std::vector<std::string>& collectedProductBundles();

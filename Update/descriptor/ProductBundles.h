// What a run action must know of the products that were collected.
#pragma once

#include <string>
#include <vector>

/// The paths of the bundles of all products that the last check collected, those without updates included.
/// Defined by the owner of the plug-in object.
const std::vector<std::string>& productBundleFolders();

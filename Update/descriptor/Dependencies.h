// The dependencies of a descriptor: installed components without which it does not apply.
#pragma once

#include "Platform/Lumen/LumString.h"
#include "Update/collect/VersionNumber.h"
#include "Update/descriptor/Constants.h"

#include <memory>
#include <vector>

/// One dependency; its fields are public because it is a record that is read once. Texts have at most 1023
/// units.
class CDependency {
public:
    /// Reads the "DEPENDENCY" element. 0 when the node has another name, or "type" or "location" is missing;
    /// otherwise 1, also without attributes: then every field keeps its default.
    int Parse(CFTreeRef tree, const CConstants* constants);

    SInt32 dependencyType = -1; ///< 0 "common"
    CLumStringW name;
    Version version {};
    CLumStringW language {u"eng"};
    /// After substitution: the component's bundle folder; empty when the path did not fit.
    CLumStringW location;
};

class CDependencies {
public:
    /// Reads the "DEPENDENCY" children of `tree`. 1, or 0 when the node is not named "DEPENDENCIES".
    int ParseDependencies(CFTreeRef tree, const CConstants* constants);
    /// Appends a dependency and owns it.
    void AddItem(std::unique_ptr<CDependency> dependency);
    void ReleaseAllDpcy();
    /// In document order.
    const std::vector<std::unique_ptr<CDependency>>& items() const { return m_items; }

private:
    std::vector<std::unique_ptr<CDependency>> m_items;
};

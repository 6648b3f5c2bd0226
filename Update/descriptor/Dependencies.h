// The dependencies of a descriptor: installed components without which it does not apply.
#pragma once

#include "Update/collect/VersionNumber.h"
#include "Update/descriptor/Constants.h"

#include <memory>
#include <vector>

/// One dependency; its texts are public because it is a record that is read once.
class CDependency {
public:
    /// Reads the "DEPENDENCY" element. 0 when the node has another name, "type" or "location" is missing, or a substitution
    /// fails; otherwise 1, also without attributes.
    int Parse(CFTreeRef tree, const CConstants* constants);

    SInt32 dependencyType = -1; ///< 0 "common"
    WideText name;
    Version version {};
    WideText language {u"eng"};
    WideText location; ///< after substitution: the component's bundle folder
};

class CDependencies {
public:
    /// Reads the "DEPENDENCY" children of `tree`. 1, or 0 when the node is not named "DEPENDENCIES".
    int ParseDependencies(CFTreeRef tree, const CConstants* constants);
    void AddItem(std::unique_ptr<CDependency> dependency);
    void ReleaseAllDpcy();
    const std::vector<std::unique_ptr<CDependency>>& items() const { return m_items; }

private:
    std::vector<std::unique_ptr<CDependency>> m_items;
};

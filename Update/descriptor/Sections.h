// The sections of a descriptor: further installed components that are updated with it.
#pragma once

#include "Platform/Lumen/LumString.h"
#include "Update/collect/VersionNumber.h"
#include "Update/descriptor/Constants.h"

#include <memory>
#include <vector>

/// One section; its fields are public because it is a record that is read once. Texts have at most 1023
/// units.
class CSect {
public:
    /// Reads the "SECTION" element. 0 when the node has another name; otherwise 1, also without attributes:
    /// then every field keeps its default.
    int Parse(CFTreeRef tree, const CConstants* constants);

    SInt32 sectionId = -1;
    CLumStringW name;
    SInt32 check = 1;
    CLumStringW language {u"eng"};
    Version version {};
    SInt32 enabled = 1;
    CLumStringW link; ///< after substitution
    CLumStringW site;
    CLumStringW url;
    CLumStringW description;
    SInt32 size = 0; ///< in bytes, as the descriptor says
    /// After substitution: the component's bundle folder; empty when the path did not fit.
    CLumStringW location;
};

class CSects {
public:
    /// Reads the "SECTION" children of `tree` and keeps those that are installed here. 1, or 0 when the node
    /// is not named "SECTIONS".
    int ParseSects(CFTreeRef tree, const CConstants* constants);
    /// Appends a section and owns it.
    void AddSectItem(std::unique_ptr<CSect> sect);
    /// 1 when the section's location names an existing object, else 0.
    int SectionCanUpdate(const CSect* sect) const;
    void ReleaseAllSect();
    /// In document order.
    const std::vector<std::unique_ptr<CSect>>& items() const { return m_items; }

private:
    std::vector<std::unique_ptr<CSect>> m_items;
};

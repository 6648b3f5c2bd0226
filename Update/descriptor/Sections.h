// The sections of a descriptor: further installed components that are updated with it.
#pragma once

#include "Update/collect/VersionNumber.h"
#include "Update/descriptor/Constants.h"

#include <memory>
#include <vector>

/// One section; its texts are public because it is a record that is read once.
class CSect {
public:
    /// Reads the "SECTION" element. 0 when the node has another name or a substitution fails; otherwise 1, also without attributes.
    int Parse(CFTreeRef tree, const CConstants* constants);

    SInt32 sectionId = -1;
    WideText name;
    SInt32 check = 1;
    WideText language {u"eng"};
    Version version {};
    SInt32 enabled = 1;
    WideText link; ///< after substitution
    WideText site;
    WideText url;
    WideText description;
    SInt32 size = 0;
    WideText location; ///< after substitution: the component's bundle folder
};

class CSects {
public:
    /// Reads the "SECTION" children of `tree` and keeps those that are installed here. 1, or 0 when the node is not named
    /// "SECTIONS".
    int ParseSects(CFTreeRef tree, const CConstants* constants);
    void AddSectItem(std::unique_ptr<CSect> sect);
    /// 1 when the section's location names an existing object, else 0.
    int SectionCanUpdate(const CSect* sect) const;
    void ReleaseAllSect();
    const std::vector<std::unique_ptr<CSect>>& items() const { return m_items; }

private:
    std::vector<std::unique_ptr<CSect>> m_items;
};

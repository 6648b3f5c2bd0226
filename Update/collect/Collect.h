// The products that a check looks at: the host first, then every registered product that is found.
#pragma once

#include "Update/collect/PListParse.h"

#include <memory>
#include <vector>

class CCollect {
public:
    /// Appends the host's record, then the registered products, and returns how many records are held now.
    /// The argument is not used.
    int DoCollect(int);
    /// Appends the record of the running host's own bundle; none when it lies in no bundle.
    void CollectCUSelf();
    /// Appends the record of each registered product whose bundle is found, in the registry's order.
    void CollectProds();
    /// Shared libraries are no products of their own: nothing is collected.
    void CollectCommonDLL();

    /// Starts a walk at record `index`: returns it and moves on, or returns null when there is no such
    /// record.
    CPListParse* GetIni(int index);
    /// The walk's next record, or null.
    CPListParse* NextIni();
    /// How many records are held.
    int count() const { return static_cast<int>(m_records.size()); }

    /// Deletes every record that is not in `keep` and starts the walk anew; the order of the others stays.
    void DeleteOtherPListParse(const std::vector<CPListParse*>& keep);

private:
    void append(std::unique_ptr<CPListParse> record);

    std::vector<std::unique_ptr<CPListParse>> m_records;
    UInt32 m_cursor = 0; ///< shared by all walkers
};

// The selection window's tree: how it is built, toggled and read.
#include "Update/collect/PListParse.h"
#include "Update/descriptor/FileSec.h"
#include "Update/descriptor/General.h"
#include "Update/ui/AuProductsWind.h"

#include <algorithm>

using PubLumen::LumTree;
using PubLumen::LumTreeItem;

namespace {

constexpr std::u16string_view kCommonBranchText = u"Common Library";
/// The product's own entries are the ones that its branch stands for.
bool isOwnEntry(const CFileSec* file)
{
    return file && file->ownerCode() == kAppDescriptor;
}

std::u16string_view displayText(const CFileSec& file)
{
    return file.title().empty() ? file.name() : file.title();
}

bool holdsEntries(const std::vector<CFileSec*>* files)
{
    return files && !files->empty();
}

/// The entry that names a product's branch: its first own entry, else its first; null when that one is null.
const CFileSec* representativeOf(const std::vector<CFileSec*>& entries)
{
    const auto own = std::find_if(entries.begin(), entries.end(), isOwnEntry);
    return own != entries.end() ? *own : entries.front();
}

void takeOwnEntries(const ProductFiles& products, CPListParse* product, std::vector<CFileSec*>& out)
{
    const auto found = products.find(product);
    if (found != products.end())
        std::copy_if(found->second.begin(), found->second.end(), std::back_inserter(out), isOwnEntry);
}

} // namespace

void PAuProductsWind::buildTree(LumTree& tree)
{
    addCommonBranch(tree);
    if (!m_products)
        return;
    for (const auto& [product, entries] : *m_products)
        if (product && !entries.empty())
            addProductBranch(tree, product, entries);
}

void PAuProductsWind::addCommonBranch(LumTree& tree)
{
    const bool mandatory = holdsEntries(m_mandatoryCommon);
    if (!mandatory && !holdsEntries(m_optionalCommon))
        return;
    LumTreeItem* branch = tree.AppendItem(nullptr, kCommonBranchText, mandatory ? kCheckedFixed : kNoCheckBox,
        mandatory ? m_mandatoryCommon : nullptr);
    if (m_optionalCommon)
        for (CFileSec* file : *m_optionalCommon)
            if (file)
                tree.AppendItem(branch, displayText(*file), kChecked, file);
    tree.ExpandItem(branch);
}

void PAuProductsWind::addProductBranch(
    LumTree& tree, CPListParse* product, const std::vector<CFileSec*>& entries)
{
    const CFileSec* representative = representativeOf(entries);
    const bool own = isOwnEntry(representative);
    LumTreeItem* branch
        = tree.AppendItem(nullptr, representative ? displayText(*representative) : std::u16string_view(),
            own ? kChecked : kNoCheckBox, own ? product : nullptr);
    for (CFileSec* file : entries)
        if (file && !isOwnEntry(file))
            tree.AppendItem(branch, displayText(*file), kChecked, file);
    tree.ExpandItem(branch);
}

SInt32 PAuProductsWind::TreeCtrlProc(
    const void* control, SInt32 message, const void* parameter, const void* userData)
{
    if (!control || !parameter || !userData)
        return -1;
    const auto& mouse = *static_cast<const PubLumen::LumTreeMouse*>(parameter);
    if (message != PubLumen::kLumMsgTreeMouse || mouse.event != PubLumen::kLumMouseClick)
        return 0;
    // Both were given as what they are here when the controls were set up.
    auto* window = static_cast<PAuProductsWind*>(const_cast<void*>(userData));
    auto* tree = static_cast<LumTree*>(const_cast<void*>(control));
    window->toggle(*tree, mouse.where);
    return 0;
}

void PAuProductsWind::toggle(LumTree& tree, PubLumen::LumPoint windowPoint)
{
    auto part = PubLumen::LumTreePart::None;
    LumTreeItem* item = tree.HitTest(tree.WindowToTree(windowPoint), part);
    if (!item || part != PubLumen::LumTreePart::CheckBox)
        return;
    const SInt32 state = tree.GetItemState(item);
    if (state != kChecked && state != kUnchecked)
        return;
    const SInt32 newState = state == kChecked ? kUnchecked : kChecked;
    tree.SetItemState(item, newState);
    for (LumTreeItem* child = tree.GetFirstChild(item); child; child = tree.GetNextSibling(child))
        tree.SetItemState(child, newState);
    // A checked child checks its branch; the last unchecked one does not uncheck it, which is meant.
    LumTreeItem* parent = tree.GetParent(item);
    if (newState == kChecked && parent && tree.GetItemState(parent) == kUnchecked)
        tree.SetItemState(parent, kChecked);
    ChangePaneInfo();
    tree.Redraw();
}

void PAuProductsWind::CalcNeedUpdateFiles(std::vector<CFileSec*>& out)
{
    const LumTree* tree = m_panel ? m_panel->FindTree(u"trev1") : nullptr;
    if (!tree)
        return;
    for (const LumTreeItem* item = tree->GetFirstChild(nullptr); item; item = tree->GetNextSibling(item))
        collectBranch(*tree, item, out);
}

void PAuProductsWind::collectBranch(
    const LumTree& tree, const LumTreeItem* branch, std::vector<CFileSec*>& out)
{
    void* data = tree.GetItemData(branch);
    if (data && data == m_mandatoryCommon) {
        out.insert(out.end(), m_mandatoryCommon->begin(), m_mandatoryCommon->end());
    } else if (data && m_products) {
        const SInt32 state = tree.GetItemState(branch);
        if (state == kUnchecked)
            return;
        if (state == kChecked) // no other branch stands for a product
            takeOwnEntries(*m_products, static_cast<CPListParse*>(data), out);
    }
    for (const LumTreeItem* child = tree.GetFirstChild(branch); child; child = tree.GetNextSibling(child))
        if (tree.GetItemState(child) == kChecked && tree.GetItemData(child))
            out.push_back(static_cast<CFileSec*>(tree.GetItemData(child)));
}

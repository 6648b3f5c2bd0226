// The product selection window: a check tree, the download size, and the answer.
#pragma once

#include "Platform/Carbon/WindowEvents.h"
#include "Platform/Lumen/LumTree.h"
#include "Platform/Support/UniText.h"
#include "Update/ui/LumenWind.h"

#include <map>
#include <vector>

class CFileSec;
class CPListParse;

/// Who is told what the user chose: called exactly once for a window that was shown and answered, after it
/// was disposed.
class IProductsResponse {
public:
    /// The chosen files, borrowed for the call; null when the user declined.
    virtual void SelectProductsResponse(const std::vector<CFileSec*>* files) = 0;

protected:
    ~IProductsResponse() = default;
};

/// The order in which the products were collected, so that branches come in an order that the user knows.
/// Null comes first.
struct InCollectionOrder {
    bool operator()(const CPListParse* a, const CPListParse* b) const;
};

/// Products in the order of the window's branches.
using ProductFiles = std::map<CPListParse*, std::vector<CFileSec*>, InCollectionOrder>;

/// The states of a tree's item; the highest digit is the index of its icon.
enum CheckState : SInt32 {
    kNoCheckBox = 0, ///< cannot be toggled
    kChecked = 0x1000,
    kUnchecked = 0x2000,
    kCheckedFixed = 0x3000, ///< cannot be toggled
};

class PAuProductsWind : public PLumenWind {
public:
    /// Loads the icons from the plug-in's bundle. `response` must outlive the window.
    explicit PAuProductsWind(IProductsResponse& response);
    ~PAuProductsWind() override;

    /// Shows the window over the three collections, which must outlive it and stay the caller's. 1 when it
    /// was shown.
    int ShowWnd(const PubLumen::LumFileManager* files, std::vector<CFileSec*>* mandatoryCommon,
        std::vector<CFileSec*>* optionalCommon, ProductFiles* products);

    void InstallUserInfoUI(PubLumen::LumPanel* panel) override;
    /// Recomputes the size line and the OK button.
    void ChangePaneInfo();
    /// The sizes of the chosen entries, in bytes, added up in 32 bits.
    SInt32 NeedDiskSpace();
    /// Appends the chosen entries in the tree's order.
    void CalcNeedUpdateFiles(std::vector<CFileSec*>& out);

    /// What the buttons and the tree call; `userData` is the window.
    static SInt32 DUButtonOKProc(
        const void* control, SInt32 message, const void* parameter, const void* userData);
    static SInt32 DUButtonCancelProc(
        const void* control, SInt32 message, const void* parameter, const void* userData);
    static SInt32 TreeCtrlProc(
        const void* control, SInt32 message, const void* parameter, const void* userData);
    /// Return and Enter confirm, Escape declines; always eventNotHandledErr.
    static OSStatus MyDocWndEventHandler(EventHandlerCallRef next, EventRef event, void* userData);

private:
    void buildTree(PubLumen::LumTree& tree);
    void addCommonBranch(PubLumen::LumTree& tree);
    void addProductBranch(
        PubLumen::LumTree& tree, CPListParse* product, const std::vector<CFileSec*>& entries);
    void toggle(PubLumen::LumTree& tree, PubLumen::LumPoint windowPoint);
    void collectBranch(
        const PubLumen::LumTree& tree, const PubLumen::LumTreeItem* branch, std::vector<CFileSec*>& out);
    void confirm();
    void decline();

    IProductsResponse& m_response;
    std::vector<IconRef> m_icons; ///< by the highest digit of the state
    WideText m_labelTemplate;
    std::vector<CFileSec*>* m_mandatoryCommon = nullptr;
    std::vector<CFileSec*>* m_optionalCommon = nullptr;
    ProductFiles* m_products = nullptr;
};

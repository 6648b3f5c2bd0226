// The product selection window: a check tree, the download size, and the answer.
#pragma once

#include "Platform/Support/UniText.h"
#include "Update/ui/LumenWind.h"

#include <map>
#include <vector>

class CFileSec;
class CPListParse;

/// Who is told what the user chose: called exactly once for a window that was shown and answered, after it was disposed.
class IProductsResponse {
public:
    /// The chosen files, borrowed for the call; null when the user declined.
    virtual void SelectProductsResponse(const std::vector<CFileSec*>* files) = 0;

protected:
    ~IProductsResponse() = default;
};

/// Products in the order of the window's branches.
using ProductFiles = std::map<CPListParse*, std::vector<CFileSec*>>;

class PAuProductsWind : public PLumenWind {
public:
    /// `response` must outlive the window.
    explicit PAuProductsWind(IProductsResponse& response);
    ~PAuProductsWind() override;

    /// Shows the window over the three collections, which must outlive it and stay the caller's. 1 when it was shown.
    int ShowWnd(const PubLumen::LumFileManager* files, std::vector<CFileSec*>* mandatoryCommon,
        std::vector<CFileSec*>* optionalCommon, ProductFiles* products);

    void InstallUserInfoUI(PubLumen::LumPanel* panel) override;
    /// Recomputes the size line and the OK button.
    void ChangePaneInfo();
    /// The sizes of the chosen entries, in bytes, added up in 32 bits.
    SInt32 NeedDiskSpace();
    /// Appends the chosen entries in the tree's order.
    void CalcNeedUpdateFiles(std::vector<CFileSec*>& out);

private:
    IProductsResponse& m_response;
    WideText m_labelTemplate;
    std::vector<CFileSec*>* m_mandatoryCommon = nullptr;
    std::vector<CFileSec*>* m_optionalCommon = nullptr;
    ProductFiles* m_products = nullptr;
};

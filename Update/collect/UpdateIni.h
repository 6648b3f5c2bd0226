// The host application's own record.
#pragma once

#include "Update/collect/PListParse.h"

class CUpdateIni : public CPListParse {
public:
    CUpdateIni();
    using CPListParse::Parse;
    /// Reads the main bundle of the running process. 1, or 0 when there is none.
    int Parse() override;
};

// The record of any installed bundle.
#pragma once

#include "Update/collect/PListParse.h"

class CAppIni : public CPListParse {
public:
    CAppIni();
    using CPListParse::Parse;
    /// Reads the bundle at a folder. 1, or 0 when it has no readable Info.plist: then nothing is changed.
    int Parse(CFURLRef bundle) override;
};

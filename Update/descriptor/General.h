// The general section of a descriptor.
#pragma once

#include "Update/collect/VersionNumber.h"
#include "Update/descriptor/Constants.h"

#include <string_view>

/// What kind of product a descriptor is for; also the owner code of its file entries.
enum DescriptorType : SInt32 {
    kNoDescriptorType = 0,
    kUpdaterDescriptor = 1,
    kSectionDescriptor = 2,
    kAppDescriptor = 3,
    kCommonDescriptor = 5, ///< 4 is not used
};

class CGeneral {
public:
    /// Reads the key elements of `tree`; later values overwrite earlier ones. 1, or 0 when the node is not
    /// named "GENERAL".
    int Parse(CFTreeRef tree, const CConstants* constants);

    Version version {};
    /// 0 no, 1 yes, 2 restart, 3 restart the system, 4 restart system and application.
    SInt32 closeApplication = 0;
    SInt32 showErrors = 0;
    SInt32 selfUpdate = 1;
    SInt32 resumeDownloads = 1;
    SInt32 forceUpdate = 0;
    SInt32 checkSeparately = 0;
    SInt32 descriptorType = kNoDescriptorType;

private:
    void readKey(std::u16string_view key, std::u16string_view value, const CConstants& constants);
};

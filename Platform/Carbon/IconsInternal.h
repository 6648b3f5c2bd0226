// What an icon reference stands for inside the platform.
#pragma once

#include "Platform/Carbon/Icons.h"

#include <QImage>
#include <vector>

/// Pictures rather than pixmaps, so that an icon can be registered before the application has a screen.
struct OpaqueIconRef {
    OSType creator = 0;
    OSType iconType = 0;
    std::vector<QImage> pictures; ///< at least one, none of them null
};

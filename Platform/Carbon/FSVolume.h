// What a volume, a mounted file system, says about itself.
#pragma once

#include "Platform/Support/Types.h"

struct VolumeParms {
    UInt32 blockBytes = 0;  ///< how much of the parameter block the volume filled; the grade ends at byte 18
    SInt32 volumeGrade = 0; ///< minus its speed in bytes a second; 0: not known
    bool isLocal = true;    ///< not reached over a network, as far as its type tells
    bool hasSubvolumes = false; ///< parts of one volume may have different device numbers
};

/// Asks the volume of an open folder. Linux measures no volume's speed, so the grade is always 0.
OSStatus volumeParms(int folder, VolumeParms& parms);

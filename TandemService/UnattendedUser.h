// Answers the windows where there is nobody to do it.
#pragma once

#include "TandemService/WindowWatcher.h"

/// What became of a window.
enum class UnattendedAnswer {
    none,      ///< not a window to answer
    confirmed, ///< the offer was taken as it stood checked
    declined,  ///< nothing was offered checked
    stuck,     ///< the window has no button to press
};

/// Presses "butn_OK" of a selection window, or "butn_Later" where OK is disabled.
UnattendedAnswer answerWindow(QWidget& window, WindowKind kind);

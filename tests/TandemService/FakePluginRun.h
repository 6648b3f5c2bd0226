// What the fake provider does once its message was opened.
#pragma once

#include "Update/MsgProvider.h"

#include <string>

/// Adds a line to the file that $FAKE_LOG names.
void note(const std::string& line);
/// The variable's value, or the empty text.
std::string setting(const char* name);

/// Shows the selection window; what follows is told by $FAKE_RUN (see FakePluginRun.cpp), who presses which
/// button by $FAKE_USER ("ok", "later"; nobody by default).
void startRun(IMsgPluginContainer& container);
/// Takes every window down.
void endRun();

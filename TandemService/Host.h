// The host from its arguments to its exit status.
#pragma once

/// Runs the program. Makes the application object, so it is called once.
int runHost(int& argc, char** argv);

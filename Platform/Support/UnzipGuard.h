// Archives that unzip must not be asked for.
#pragma once

/// False for what is there but no regular file, as unzip would wait for ever for what comes out of a pipe;
/// and for a file that is missing or no archive while another one has its name and ".zip" or ".ZIP" in
/// addition, as unzip would take that one in its place and call it a success.
bool mayBeUnzipped(const char* zipPath);

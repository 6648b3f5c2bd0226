// Full reads and writes, and the copying of files: errors are errno values, 0 is success.
#pragma once

/// Reads `bytesToRead` bytes, resuming after interruptions. EPIPE at the end of the file; *bytesRead (may be
/// null) is what was read, also after an error.
int MoreUNIXRead(int fd, void* buf, unsigned long bytesToRead, unsigned long* bytesRead);
/// Writes `bytesToWrite` bytes, resuming after interruptions; *bytesWritten (may be null) is what was
/// written, also after an error.
int MoreUNIXWrite(int fd, const void* buf, unsigned long bytesToWrite, unsigned long* bytesWritten);
/// Copies from the current position of `source` to its end, through a buffer of 65,536 bytes.
int MoreUNIXCopyDescriptorToDescriptor(int source, int dest);
/// Copies a file's contents, permission bits (without set-user-id, set-group-id and sticky, whatever the
/// umask) and times (in microseconds). The first error met, as an errno value; a half-written copy stays.
int MoreUNIXCopyFile(const char* source, const char* dest);

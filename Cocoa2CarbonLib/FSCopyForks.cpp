#include "Cocoa2CarbonLib/FSCopyForks.h"

#include "Cocoa2CarbonLib/GenLinkedList.h"
#include "Platform/Carbon/FSFork.h"
#include "Platform/Support/ErrorNumbers.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

void closeFork(void* data)
{
    FSCloseFork(static_cast<FSForkRef>(data));
}

/// Open forks, closed when the list goes.
class ForkList {
public:
    ForkList() { InitLinkedList(&m_list, closeFork); }
    ForkList(const ForkList&) = delete;
    ForkList& operator=(const ForkList&) = delete;
    ~ForkList() { DestroyList(&m_list); }

    OSStatus add(FSForkRef fork)
    {
        const OSStatus error = AddToTail(&m_list, fork);
        if (error != noErr)
            FSCloseFork(fork);
        return error;
    }
    const GenLinkedList* list() const { return &m_list; }

private:
    GenLinkedList m_list {};
};

/// A walk over a list's forks, null after the last one.
class ForkWalk {
public:
    explicit ForkWalk(const ForkList& forks) { InitIterator(forks.list(), &m_iterator); }
    FSForkRef next() { return static_cast<FSForkRef>(Next(&m_iterator)); }

private:
    GenIterator m_iterator {};
};

OSStatus openAllForks(int source, ForkList& forks)
{
    std::vector<std::string> names;
    OSStatus error = FSIterateForks(source, names);
    for (auto name = names.begin(); error == noErr && name != names.end(); ++name) {
        FSForkRef fork = nullptr;
        error = FSOpenForkForReading(source, *name, &fork);
        if (error == noErr)
            error = forks.add(fork);
        else if (error == fnfErr)
            error = noErr; // taken away since the names were read
    }
    return error;
}

OSStatus openDestinationForks(const ForkList& sources, int destination, ForkList& forks)
{
    OSStatus error = noErr;
    ForkWalk walk(sources);
    for (FSForkRef source = walk.next(); source && error == noErr; source = walk.next()) {
        FSForkRef fork = nullptr;
        error = FSOpenForkForWriting(destination, FSGetForkName(source), &fork);
        if (error == noErr)
            error = forks.add(fork);
    }
    return error;
}

OSStatus copyPieces(
    FSForkRef source, FSForkRef destination, UInt64 start, UInt64 end, const CopyBuffer& buffer)
{
    OSStatus error = noErr;
    while (error == noErr && start < end) {
        const UInt32 bytes = static_cast<UInt32>(std::min<UInt64>(end - start, buffer.size));
        error = FSReadFork(source, start, bytes, buffer.bytes.get());
        if (error == noErr)
            error = FSWriteFork(destination, start, bytes, buffer.bytes.get());
        start += bytes;
    }
    return error;
}

OSStatus copyThroughBuffer(FSForkRef source, FSForkRef destination, const CopyBuffer& buffer)
{
    UInt64 start = 0;
    UInt64 end = 0;
    OSStatus error = FSNextForkData(source, 0, &start, &end);
    while (error == noErr) {
        error = copyPieces(source, destination, start, end, buffer);
        if (error == noErr)
            error = FSNextForkData(source, end, &start, &end);
    }
    return error == errFSNoMoreItems ? FSSetForkSize(destination, FSGetForkSize(source)) : error;
}

OSStatus copyFork(FSForkRef source, FSForkRef destination, bool usesVolumeCopy, const CopyBuffer& buffer)
{
    const bool isContent = FSGetForkName(source).empty();
    const OSStatus error = usesVolumeCopy && isContent ? PBHCopyFileSync(source, destination) : unimpErr;
    return error == unimpErr ? copyThroughBuffer(source, destination, buffer) : error;
}

} // namespace

OSStatus CopyForks(int source, int destination, bool usesVolumeCopy, const CopyBuffer& buffer)
{
    ForkList sources;
    OSStatus error = openAllForks(source, sources);
    ForkWalk walk(sources);
    for (FSForkRef from = walk.next(); from && error == noErr; from = walk.next()) {
        FSForkRef to = nullptr;
        error = FSOpenForkForWriting(destination, FSGetForkName(from), &to);
        if (error == noErr)
            error = copyFork(from, to, usesVolumeCopy, buffer);
        FSCloseFork(to);
    }
    return error;
}

OSStatus CopyForksToDropBox(int source, int destination, const CopyBuffer& buffer)
{
    ForkList sources;
    ForkList destinations;
    OSStatus error = openAllForks(source, sources);
    if (error == noErr)
        error = openDestinationForks(sources, destination, destinations);
    ForkWalk to(destinations);
    ForkWalk from(sources);
    while (error == noErr) {
        const FSForkRef fork = from.next();
        if (!fork)
            return noErr;
        error = copyThroughBuffer(fork, to.next(), buffer);
    }
    return error;
}

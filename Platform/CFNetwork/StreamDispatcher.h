// Delivers the events of scheduled streams out of the application's event loop, one at a time. Private to
// this folder.
#pragma once

#include "Platform/CFNetwork/CFReadStream.h"

#include <QObject>

#include <deque>

class StreamDispatcher final : public QObject {
public:
    /// Made at first use; ends with the application object.
    static StreamDispatcher& instance();

    /// Asks for one call of the stream's `dispatchNextEvent`; nothing more while such a call is waiting
    /// already.
    void queue(CFReadStreamRef stream);
    /// Takes the request back.
    void forget(CFReadStreamRef stream);

private:
    StreamDispatcher() = default;
    void customEvent(QEvent* event) override;

    std::deque<CFReadStreamRef> m_waiting;
};

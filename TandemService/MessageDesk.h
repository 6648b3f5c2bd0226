// The provider, the message that it posted, and whether that message is open.
#pragma once

#include "TandemService/MessageContainer.h"
#include "TandemService/MessagePool.h"
#include "TandemService/PluginLoader.h"

#include <QObject>

#include <functional>
#include <string>

class MessageDesk {
public:
    /// `isBusyElsewhere`: whether something besides an open message forbids a check. `onEnded` is called from
    /// the event loop, once for each opened message, after the provider said that it has finished.
    MessageDesk(std::function<bool()> isBusyElsewhere, std::function<void()> onEnded);
    /// Cancels an open message before the provider goes.
    ~MessageDesk();
    MessageDesk(const MessageDesk&) = delete;
    MessageDesk& operator=(const MessageDesk&) = delete;

    /// Loads the provider; see PluginLoader::load.
    bool load(const std::string& folder, std::string& error);
    /// Asks the provider for its message; an older one is dropped. False when the check could not run, also
    /// while a message is open.
    bool check();
    /// The message to offer, or null.
    UserMessage* message() { return m_pool.first(); }
    /// Whether the provider still has something to offer for the message.
    bool canShow();
    /// Hands the message back to its provider. False when there is none, it is open already, or the provider
    /// cannot show it.
    bool open();
    bool isOpen() const { return m_open; }
    /// Abandons an open message at once; onEnded is not called for it.
    void cancel();

private:
    void noteEnd();

    std::function<void()> m_onEnded;
    MessagePool m_pool;
    MessageContainer m_container;
    PluginLoader m_loader; // after the container, which must outlive it
    QObject m_context;     ///< of the queued call: without the desk there is none
    bool m_open = false;
};

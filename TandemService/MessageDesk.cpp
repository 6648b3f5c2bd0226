#include "TandemService/MessageDesk.h"

#include <QTimer>

MessageDesk::MessageDesk(std::function<bool()> isBusyElsewhere, std::function<void()> onEnded)
    : m_onEnded(std::move(onEnded))
    , m_container(
          [this, busy = std::move(isBusyElsewhere)] { return m_open || busy(); }, [this] { noteEnd(); })
{
}

MessageDesk::~MessageDesk()
{
    cancel();
}

bool MessageDesk::load(const std::string& folder, std::string& error)
{
    return m_loader.load(folder, m_container, error);
}

bool MessageDesk::check()
{
    if (m_open || !m_loader.provider())
        return false;
    m_pool.clear();
    return m_loader.provider()->GenerateMsg(&m_pool) == 0;
}

bool MessageDesk::canShow()
{
    return message() && m_loader.provider()->CanShowNow(message()) == 0;
}

bool MessageDesk::open()
{
    UserMessage* const toOpen = message();
    if (m_open || !toOpen)
        return false;
    m_open = true;
    const bool taken = m_loader.provider()->ProcessMsg(toOpen) == 0;
    if (!taken)
        m_open = false;
    return taken;
}

void MessageDesk::cancel()
{
    if (!m_open)
        return;
    m_open = false;
    (void)m_loader.provider()->CancelProcessMsg(message()); // always 0
}

/// The provider may say it twice, and says it in the middle of its own work.
void MessageDesk::noteEnd()
{
    if (!m_open)
        return;
    m_open = false;
    QTimer::singleShot(0, &m_context, [this] { m_onEnded(); });
}

// The widget behind a window reference: what it asks its definition procedure, its keys, its closing and its
// dragging.
#include "Platform/Carbon/WindowsInternal.h"

#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointer>
#include <QWindow>

namespace {

/// The character that a key stands for, as a handler asks for it.
char characterOf(const QKeyEvent& event)
{
    switch (event.key()) {
    case Qt::Key_Return:
        return kReturnCharCode;
    case Qt::Key_Enter:
        return kEnterCharCode;
    case Qt::Key_Escape:
        return kEscapeCharCode;
    default:
        return event.text().isEmpty() ? '\0' : event.text().front().toLatin1();
    }
}

std::intptr_t packedPoint(QPoint point)
{
    const auto vertical = static_cast<UInt16>(point.y());
    const auto horizontal = static_cast<UInt16>(point.x());
    return static_cast<std::intptr_t>((static_cast<UInt32>(vertical) << 16) | horizontal);
}

} // namespace

OpaqueWindowPtr::OpaqueWindowPtr(WindowDefProcPtr defProc, WindowClass windowClass)
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint)
    , m_defProc(defProc)
{
    // The resident host goes on when its last window closes.
    setAttribute(Qt::WA_QuitOnClose, false);
    if (windowClass == kModalWindowClass)
        setWindowModality(Qt::ApplicationModal);
    // On the native window a key is seen exactly once; on widgets it is seen again by each parent.
    (void)winId(); // makes the native window now
    windowHandle()->installEventFilter(this);
}

void OpaqueWindowPtr::readFeatures()
{
    if (!m_defProc(0, this, kWindowMsgGetFeatures, reinterpret_cast<std::intptr_t>(&m_features)))
        m_features = 0;
}

void OpaqueWindowPtr::setBounds(const Rect& bounds)
{
    const QRect geometry(bounds.left, bounds.top, bounds.right - bounds.left, bounds.bottom - bounds.top);
    if ((m_features & kWindowCanGrow) == 0)
        setFixedSize(geometry.size());
    setGeometry(geometry);
    if ((m_features & kWindowCanGetWindowRegion) == 0)
        return;
    checkRegion(kWindowStructureRgn);
    checkRegion(kWindowContentRgn);
}

/// Windows of another shape than their bounds are not supported.
void OpaqueWindowPtr::checkRegion(WindowRegionCode code)
{
    OpaqueRgn region;
    GetWindowRegionRec record {&region, code};
    const SInt32 answer = m_defProc(0, this, kWindowMsgGetRegion, reinterpret_cast<std::intptr_t>(&record));
    VELMORA_ASSERT(answer == noErr && region.rect == bounds());
}

Rect OpaqueWindowPtr::bounds() const
{
    const QRect at = geometry();
    return {static_cast<SInt16>(at.y()), static_cast<SInt16>(at.x()),
        static_cast<SInt16>(at.y() + at.height()), static_cast<SInt16>(at.x() + at.width())};
}

void OpaqueWindowPtr::forgetHandlers()
{
    keyHandler = nullptr;
    closeAction = nullptr;
}

bool OpaqueWindowPtr::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress || watched != windowHandle())
        return QWidget::eventFilter(watched, event);
    const auto& key = *static_cast<QKeyEvent*>(event);
    if (key.isAutoRepeat())
        return false;
    return takesKey(characterOf(key));
}

bool OpaqueWindowPtr::takesKey(char character)
{
    if (!keyHandler)
        return false;
    const QPointer<QWidget> alive(this);
    OpaqueEventRef event {character};
    const OSStatus status = keyHandler(nullptr, &event, keyUserData);
    // Behind a window that the key has closed there is nobody to go on to.
    return !alive || !keyHandler || status == noErr;
}

void OpaqueWindowPtr::closeEvent(QCloseEvent* event)
{
    if (!closeAction) {
        event->accept();
        return;
    }
    event->ignore();
    // The action may dispose the window and forget itself meanwhile.
    const std::function<void()> action = closeAction;
    action();
}

void OpaqueWindowPtr::mousePressEvent(QMouseEvent* event)
{
    const QPoint where = event->globalPosition().toPoint();
    const bool dragsWindow = event->button() == Qt::LeftButton
        && m_defProc(0, this, kWindowMsgHitTest, packedPoint(where)) == kWindowPartContent;
    if (!dragsWindow) {
        QWidget::mousePressEvent(event);
        return;
    }
    if (!windowHandle()->startSystemMove())
        m_dragOffset = where - pos();
}

void OpaqueWindowPtr::mouseMoveEvent(QMouseEvent* event)
{
    if (m_dragOffset)
        move(event->globalPosition().toPoint() - *m_dragOffset);
}

void OpaqueWindowPtr::mouseReleaseEvent(QMouseEvent*)
{
    m_dragOffset.reset();
}

OSStatus InstallWindowEventHandler(WindowRef window, EventHandlerUPP handler, UInt32 count,
    const EventTypeSpec* list, void* userData, EventHandlerRef* ref)
{
    VELMORA_ASSERT(window && handler && !window->keyHandler && count == 1 && list && !ref);
    VELMORA_ASSERT(list->eventClass == kEventClassKeyboard && list->eventKind == kEventRawKeyDown);
    window->keyHandler = handler;
    window->keyUserData = userData;
    return noErr;
}

OSStatus GetEventParameter(
    EventRef event, UInt32 name, UInt32 type, UInt32* actualType, UInt32 size, UInt32* actualSize, void* data)
{
    VELMORA_ASSERT(event && name == kEventParamKeyMacCharCodes && type == typeChar && size == 1);
    VELMORA_ASSERT(!actualType && !actualSize && data);
    *static_cast<char*>(data) = event->character;
    return noErr;
}

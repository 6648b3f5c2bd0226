#include "TandemService/UnattendedUser.h"

#include <QPushButton>

UnattendedAnswer answerWindow(QWidget& window, WindowKind kind)
{
    if (kind == WindowKind::progress || kind == WindowKind::alert)
        return UnattendedAnswer::none;
    auto* const confirm = window.findChild<QPushButton*>(QStringLiteral("butn_OK"));
    if (confirm && confirm->isEnabled()) {
        confirm->click();
        return UnattendedAnswer::confirmed;
    }
    auto* const later = window.findChild<QPushButton*>(QStringLiteral("butn_Later"));
    if (!later)
        return UnattendedAnswer::stuck;
    later->click();
    return UnattendedAnswer::declined;
}

#include "Platform/Lumen/LumControls.h"

#include "Platform/Support/Assertion.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>

namespace PubLumen {

LumButton::LumButton(QPushButton& widget)
    : m_widget(widget)
{
    QObject::connect(&widget, &QPushButton::clicked, &widget, [this] { press(); });
}

void LumButton::SetProc(LumControlProc proc, const void* userData)
{
    m_proc = proc;
    m_userData = userData;
}

void LumButton::SetEnabled(bool enabled)
{
    m_widget.setEnabled(enabled);
}

void LumButton::press()
{
    if (m_proc)
        (void)m_proc(this, kLumMsgButtonPress, nullptr, m_userData); // a press has nothing to answer
}

void LumStatic::CopyText(WideText& text) const
{
    const QString shown = m_widget.text();
    text.assign(std::u16string_view(
        reinterpret_cast<const UniChar*>(shown.utf16()), static_cast<std::size_t>(shown.size())));
}

void LumStatic::SetText(std::u16string_view text)
{
    m_widget.setText(QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size())));
}

void LumBar::Configure(SInt32 minimum, SInt32 maximum, SInt32 value, SInt32 step)
{
    VELMORA_ASSERT(minimum < maximum && step == 1);
    m_widget.setRange(minimum, maximum);
    SetValue(value);
}

void LumBar::SetValue(SInt32 value)
{
    m_widget.setValue(std::clamp(value, m_widget.minimum(), m_widget.maximum()));
}

} // namespace PubLumen

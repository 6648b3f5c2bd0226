// A panel's simple controls: buttons, texts and bars, found by name in the panel that owns them.
#pragma once

#include "Platform/Support/UniText.h"

class QLabel;
class QProgressBar;
class QPushButton;

/// Called when something happened to a control; `control` is the control's object, `parameter` depends on the
/// message and lives for the call, `userData` is what was given with the procedure. It may dispose the
/// window. The result is not used.
using LumControlProc
    = SInt32 (*)(const void* control, SInt32 message, const void* parameter, const void* userData);

/// A button was pressed, with the mouse or a key; no parameter.
inline constexpr SInt32 kLumMsgButtonPress = 1000;

namespace PubLumen {

class LumButton {
public:
    explicit LumButton(QPushButton& widget);
    /// Gives the button its procedure; null takes it away.
    void SetProc(LumControlProc proc, const void* userData);
    /// A disabled button cannot be pressed.
    void SetEnabled(bool enabled);

private:
    void press();

    QPushButton& m_widget;
    LumControlProc m_proc = nullptr;
    const void* m_userData = nullptr;
};

class LumStatic {
public:
    explicit LumStatic(QLabel& widget)
        : m_widget(widget)
    {
    }
    void CopyText(WideText& text) const;
    void SetText(std::u16string_view text);

private:
    QLabel& m_widget;
};

class LumBar {
public:
    explicit LumBar(QProgressBar& widget)
        : m_widget(widget)
    {
    }
    /// Sets range and value; `step` must be 1.
    void Configure(SInt32 minimum, SInt32 maximum, SInt32 value, SInt32 step);
    /// A value outside the range is held at its nearer end.
    void SetValue(SInt32 value);

private:
    QProgressBar& m_widget;
};

} // namespace PubLumen

// A panel: the content of a window, with its named controls.
#pragma once

#include "Platform/Lumen/LumControls.h"

#include <map>
#include <memory>
#include <string>

class QWidget;

namespace PubLumen {

class LumTree;

/// In pixels that do not depend on the screen's scale.
struct LumSize {
    SInt32 width = 0;
    SInt32 height = 0;
};

/// Owned by its window. The controls are owned by the panel; each look-up gives null when the layout has no
/// control of that name and kind.
class LumPanel {
public:
    explicit LumPanel(QWidget& content);
    ~LumPanel();
    LumPanel(const LumPanel&) = delete;
    LumPanel& operator=(const LumPanel&) = delete;

    /// The size that the content needs, at least the layout's own and at most the main screen's.
    LumSize GetSize() const;
    LumButton* FindButton(std::u16string_view name);
    LumStatic* FindStatic(std::u16string_view name);
    LumBar* FindBar(std::u16string_view name);
    LumTree* FindTree(std::u16string_view name);

    /// Takes away all the controls' procedures.
    void Close();

private:
    template <typename T> using Controls = std::map<std::u16string, std::unique_ptr<T>, std::less<>>;

    QWidget& m_content;
    Controls<LumButton> m_buttons;
    Controls<LumStatic> m_statics;
    Controls<LumBar> m_bars;
    Controls<LumTree> m_trees;
};

} // namespace PubLumen

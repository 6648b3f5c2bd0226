#include "Platform/Lumen/LumPanel.h"

#include "Platform/Lumen/CheckTree.h"

#include <QGuiApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>

namespace PubLumen {
namespace {

/// The control of that name, made at its first look-up.
template <typename Widget, typename Map>
auto* findControl(QWidget& content, Map& controls, std::u16string_view name)
{
    using Control = typename Map::mapped_type::element_type;
    if (const auto known = controls.find(name); known != controls.end())
        return known->second.get();
    const QString objectName = QString::fromUtf16(name.data(), static_cast<qsizetype>(name.size()));
    auto* widget = dynamic_cast<Widget*>(content.findChild<QWidget*>(objectName));
    if (!widget)
        return static_cast<Control*>(nullptr);
    return controls.emplace(name, std::make_unique<Control>(*widget)).first->second.get();
}

} // namespace

LumPanel::LumPanel(QWidget& content)
    : m_content(content)
{
}

LumPanel::~LumPanel() = default;

LumSize LumPanel::GetSize() const
{
    QSize size = m_content.sizeHint().expandedTo(m_content.minimumSizeHint()).expandedTo(m_content.size());
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        size = size.boundedTo(screen->availableSize());
    return {size.width(), size.height()};
}

LumButton* LumPanel::FindButton(std::u16string_view name)
{
    return findControl<QPushButton>(m_content, m_buttons, name);
}

LumStatic* LumPanel::FindStatic(std::u16string_view name)
{
    return findControl<QLabel>(m_content, m_statics, name);
}

LumBar* LumPanel::FindBar(std::u16string_view name)
{
    return findControl<QProgressBar>(m_content, m_bars, name);
}

LumTree* LumPanel::FindTree(std::u16string_view name)
{
    return findControl<CheckTree>(m_content, m_trees, name);
}

void LumPanel::Close()
{
    for (const auto& [name, button] : m_buttons)
        button->SetProc(nullptr, nullptr);
    for (const auto& [name, tree] : m_trees)
        tree->SetProc(nullptr, nullptr);
}

} // namespace PubLumen

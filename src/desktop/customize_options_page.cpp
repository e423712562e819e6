#include "desktop/customize_options_page.h"

#include "desktop/customize_parts.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <array>

namespace cw {
namespace {

template <class Value>
struct choice {
    const char* text;
    Value value;
};

constexpr auto sizes = std::to_array<choice<bool>>({{"&Small", false}, {"&Large", true}});
constexpr auto texts = std::to_array<choice<tool_button_text>>({
    {"&Icons alone", tool_button_text::none},
    {"Icons with text &beside them", tool_button_text::beside},
    {"Icons with text &under them", tool_button_text::under},
});

/// A group with a radio button for each choice.
template <class Value, class Choices>
QGroupBox* group_of(const QString& title, const Choices& choices, std::vector<std::pair<QRadioButton*, Value>>& buttons)
{
    auto* group = new QGroupBox(title);
    auto* layout = new QVBoxLayout(group);
    for (const auto& entry : choices) {
        auto* button = new QRadioButton(QLatin1String(entry.text), group);
        layout->addWidget(button);
        buttons.emplace_back(button, entry.value);
    }
    return group;
}

template <class Value>
Value chosen(const std::vector<std::pair<QRadioButton*, Value>>& buttons)
{
    for (const auto& [button, value] : buttons)
        if (button->isChecked())
            return value;
    return {};
}

template <class Value>
void choose(const std::vector<std::pair<QRadioButton*, Value>>& buttons, Value wanted)
{
    for (const auto& [button, value] : buttons) {
        const QSignalBlocker quiet(button);
        button->setChecked(value == wanted);
    }
}

} // namespace

customize_options_page::customize_options_page(command_bars& bars, QWidget* parent)
    : QWidget(parent), m_bars(bars), m_menuIcons(new QCheckBox(QStringLiteral("Show i&cons in menus")))
{
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(group_of(QStringLiteral("Icons on toolbars"), sizes, m_sizes));
    layout->addWidget(group_of(QStringLiteral("Buttons on toolbars"), texts, m_texts));
    auto* menus = new QGroupBox(QStringLiteral("Menus"));
    (new QVBoxLayout(menus))->addWidget(m_menuIcons);
    layout->addWidget(menus);
    layout->addStretch(1);
    auto* reset_button = new QPushButton(QStringLiteral("&Reset Everything..."));
    reset_button->setAutoDefault(false);
    reset_button->setToolTip(QStringLiteral("Toolbars, keys and options as the program brings them"));
    auto* line = new QHBoxLayout;
    line->addStretch(1);
    line->addWidget(reset_button);
    layout->addLayout(line);

    for (const auto& [button, value] : m_sizes)
        connect(button, &QRadioButton::toggled, this, [this](bool on) { on ? apply() : void(); });
    for (const auto& [button, value] : m_texts)
        connect(button, &QRadioButton::toggled, this, [this](bool on) { on ? apply() : void(); });
    connect(m_menuIcons, &QCheckBox::toggled, this, [this] { apply(); });
    connect(reset_button, &QPushButton::clicked, this, [this] { reset(); });
    refresh();
}

void customize_options_page::refresh()
{
    const bar_options& look = m_bars.options();
    choose(m_sizes, look.large_icons);
    choose(m_texts, look.button_text);
    const QSignalBlocker quiet(m_menuIcons);
    m_menuIcons->setChecked(look.menu_icons);
}

void customize_options_page::apply()
{
    m_bars.set_options({chosen(m_sizes), chosen(m_texts), m_menuIcons->isChecked()});
}

void customize_options_page::reset()
{
    if (confirmed(*this, QStringLiteral("Go back to the toolbars, keys and options that the program brings? "
                                        "Your own are lost.")))
        m_bars.reset();
}

} // namespace cw

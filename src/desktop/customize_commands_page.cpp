#include "desktop/customize_commands_page.h"

#include "desktop/customize_parts.h"
#include "desktop/name_dialog.h"
#include "desktop/qt_text.h"
#include "desktop/tool_lists.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>

namespace cw {
namespace {

constexpr int category_width_in_characters = 18;
constexpr int list_width_in_characters = 26;

QPushButton* push_button(const char* text, const char* tip = "")
{
    auto* button = new QPushButton(QString::fromUtf8(text));
    button->setAutoDefault(false);
    button->setToolTip(QString::fromUtf8(tip));
    return button;
}

QVBoxLayout* column(std::initializer_list<QWidget*> widgets)
{
    auto* layout = new QVBoxLayout;
    for (QWidget* widget : widgets)
        layout->addWidget(widget);
    return layout;
}

} // namespace

customize_commands_page::customize_commands_page(command_bars& bars, QWidget* parent)
    : QWidget(parent), m_bars(bars), m_categoryList(new QListWidget), m_choices(new tool_choice_list),
      m_bar(new QComboBox), m_shown(new QCheckBox(QStringLiteral("&Show this toolbar"))), m_contents(new tool_tree),
      m_note(new QLabel), m_new(push_button("&New...")), m_rename(push_button("Renam&e...")),
      m_delete(push_button("De&lete")),
      m_reset(push_button("&Reset...", "Takes all toolbars away, as the program brings none")),
      m_add(push_button("&Add \u2192", "Puts the chosen command on the toolbar")),
      m_remove(push_button("\u2190 Remo&ve", "Takes the chosen thing off the toolbar")), m_up(push_button("Move &Up")),
      m_down(push_button("Move &Down")), m_separator(push_button("Se&parator")),
      m_menuName(push_button("&Menu Name...", "Names the chosen menu of your own"))
{
    lay_out();
    connect_all();
    refresh();
}

void customize_commands_page::lay_out()
{
    const int character = fontMetrics().averageCharWidth();
    // The categories are short and known: the room that is left is for the others.
    m_categoryList->setFixedWidth(character * category_width_in_characters);
    m_categoryList->setSpacing(1);
    m_choices->setMinimumWidth(character * list_width_in_characters);
    m_contents->setMinimumWidth(character * list_width_in_characters);
    m_bar->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_bar->setMinimumContentsLength(list_width_in_characters / 2);
    m_note->setTextFormat(Qt::PlainText);
    m_note->setWordWrap(true);

    auto* between = column({m_add, m_remove, m_separator});
    between->insertStretch(0, 1);
    between->addSpacing(fontMetrics().lineSpacing());
    between->addWidget(m_up);
    between->addWidget(m_down);
    between->addWidget(m_menuName);
    between->addStretch(1);

    auto* about_bar = column({m_new, m_rename, m_delete, m_reset});
    about_bar->addStretch(1);

    auto* layout = new QGridLayout(this);
    layout->addWidget(field_label(QStringLiteral("Cate&gories:"), m_categoryList), 0, 0);
    layout->addWidget(m_categoryList, 1, 0, 3, 1);
    layout->addWidget(field_label(QStringLiteral("C&ommands:"), m_choices), 0, 1);
    layout->addWidget(m_choices, 1, 1, 3, 1);
    layout->addLayout(between, 1, 2, 3, 1);
    layout->addWidget(field_label(QStringLiteral("Tool&bar:"), m_bar), 0, 3);
    layout->addWidget(m_bar, 1, 3);
    layout->addWidget(m_shown, 2, 3);
    layout->addWidget(m_contents, 3, 3);
    layout->addLayout(about_bar, 1, 4, 3, 1);
    layout->addWidget(m_note, 4, 0, 1, 5);
    m_contents->setAccessibleName(QStringLiteral("What is on the toolbar"));
    layout->setColumnStretch(1, 1);
    layout->setColumnStretch(3, 1);
    layout->setRowStretch(3, 1);

    // In the order in which a toolbar is filled.
    const std::initializer_list<QWidget*> order{m_categoryList, m_choices, m_add,      m_remove, m_separator,
                                                m_up,           m_down,    m_menuName, m_bar,    m_shown,
                                                m_contents,     m_new,     m_rename,   m_delete, m_reset};
    QWidget* before = nullptr;
    for (QWidget* widget : order) {
        if (before)
            setTabOrder(before, widget);
        before = widget;
    }
}

void customize_commands_page::connect_all()
{
    connect(m_categoryList, &QListWidget::currentRowChanged, this, [this] { show_category(); });
    connect(m_choices, &QListWidget::currentRowChanged, this, [this] { update_buttons(); });
    connect(m_choices, &QListWidget::itemActivated, this, [this] { add_chosen(); });
    connect(m_bar, &QComboBox::currentIndexChanged, this, [this] { show_bar(); });
    connect(m_contents, &QTreeWidget::currentItemChanged, this, [this] { update_buttons(); });
    connect(m_shown, &QCheckBox::toggled, this, [this](bool on) {
        std::vector<tool_bar> bars = m_bars.tool_bars();
        if (!chosen_bar())
            return;
        bars[static_cast<std::size_t>(m_bar->currentIndex())].shown = on;
        change(std::move(bars));
    });
    const std::initializer_list<std::pair<QPushButton*, void (customize_commands_page::*)()>> actions{
        {m_new, &customize_commands_page::make_bar},
        {m_rename, &customize_commands_page::rename_bar},
        {m_delete, &customize_commands_page::delete_bar},
        {m_reset, &customize_commands_page::delete_all_bars},
        {m_add, &customize_commands_page::add_chosen},
        {m_remove, &customize_commands_page::remove_chosen},
        {m_separator, &customize_commands_page::add_separator},
        {m_menuName, &customize_commands_page::rename_menu}};
    for (const auto& [button, action] : actions)
        connect(button, &QPushButton::clicked, this, action);
    connect(m_up, &QPushButton::clicked, this, [this] { move_chosen(-1); });
    connect(m_down, &QPushButton::clicked, this, [this] { move_chosen(1); });
    m_contents->set_drop_sink([this](const tool_place& place, const tool_item& item) { put(place, item); });
    m_contents->set_move_sink([this](const tool_place& from, const tool_place& to) { move(from, to); });
}

void customize_commands_page::insert_category(tool_category category, int place)
{
    const int count = static_cast<int>(m_categories.size());
    const int index = place < 0 ? count : std::min(place, count);
    const QString name = category.name;
    m_categories.insert(m_categories.begin() + index, std::move(category));
    m_categoryList->insertItem(index, name);
    if (m_categoryList->currentRow() < 0)
        m_categoryList->setCurrentRow(0);
    else
        show_category();
}

void customize_commands_page::show_category()
{
    const int row = m_categoryList->currentRow();
    const bool known = row >= 0 && row < static_cast<int>(m_categories.size());
    m_choices->show_choices(known ? m_categories[static_cast<std::size_t>(row)].choices : std::vector<tool_choice>{});
    update_buttons();
}

void customize_commands_page::refresh()
{
    const QString before = m_bar->currentText();
    {
        const QSignalBlocker quiet(m_bar);
        m_bar->clear();
        for (const tool_bar& bar : m_bars.tool_bars())
            m_bar->addItem(to_qt(bar.name));
        m_bar->setCurrentIndex(std::max(0, m_bar->findText(before)));
    }
    show_bar();
}

void customize_commands_page::show_bar()
{
    const std::optional<tool_place> before = m_contents->chosen();
    const tool_bar* bar = chosen_bar();
    {
        const QSignalBlocker quiet(m_shown);
        m_shown->setChecked(bar && bar->shown);
    }
    m_note->setText(bar ? QString() : QStringLiteral("There is no toolbar yet. New makes one, and so does Add."));
    m_contents->show_items(bar ? bar->items : std::vector<tool_item>{}, m_bars.menu());
    if (before)
        m_contents->choose(*before);
    update_buttons();
}

const tool_bar* customize_commands_page::chosen_bar() const
{
    const int index = m_bar->currentIndex();
    const bool known = index >= 0 && index < static_cast<int>(m_bars.tool_bars().size());
    return known ? &m_bars.tool_bars()[static_cast<std::size_t>(index)] : nullptr;
}

void customize_commands_page::update_buttons()
{
    const tool_bar* bar = chosen_bar();
    const std::optional<tool_place> place = bar ? m_contents->chosen() : std::nullopt;
    const tool_item* item = place ? item_at(bar->items, *place) : nullptr;
    m_add->setEnabled(m_choices->chosen() != nullptr);
    for (QWidget* about_bar :
         std::initializer_list<QWidget*>{m_bar, m_rename, m_delete, m_shown, m_contents, m_separator})
        about_bar->setEnabled(bar != nullptr);
    m_reset->setEnabled(bar != nullptr);
    m_remove->setEnabled(item != nullptr);
    m_menuName->setEnabled(item && item->kind == tool_kind::menu);
    const auto can_step = [&](int step) {
        if (!item)
            return false;
        tool_place other = *place;
        std::size_t& position = other.within_menu ? *other.within_menu : other.index;
        if (step < 0 && position == 0)
            return false;
        position += static_cast<std::size_t>(step);
        return item_at(bar->items, other) != nullptr;
    };
    m_up->setEnabled(can_step(-1));
    m_down->setEnabled(can_step(1));
}

QStringList customize_commands_page::names_but(std::optional<std::size_t> place) const
{
    QStringList names;
    for (std::size_t index = 0; index < m_bars.tool_bars().size(); ++index)
        if (index != place)
            names.append(to_qt(m_bars.tool_bars()[index].name));
    return names;
}

QString customize_commands_page::free_name() const
{
    const QStringList taken = names_but(std::nullopt);
    int number = 1;
    QString name;
    do
        name = QStringLiteral("Toolbar %1").arg(number++);
    while (taken.contains(name));
    return name;
}

bool customize_commands_page::change(std::vector<tool_bar> bars)
{
    const bool done = m_bars.set_tool_bars(std::move(bars));
    refresh();
    if (!done)
        m_note->setText(QStringLiteral("There can be %1 toolbars, %2 things on each and in each menu, and %3 in all.")
                            .arg(tool_limits::tool_bars)
                            .arg(tool_limits::items)
                            .arg(tool_limits::items_together));
    return done;
}

void customize_commands_page::change_items(std::vector<tool_item> items, const tool_place& chosen)
{
    std::vector<tool_bar> bars = m_bars.tool_bars();
    bars[static_cast<std::size_t>(m_bar->currentIndex())].items = std::move(items);
    if (change(std::move(bars)))
        m_contents->choose(chosen);
}

// ---- toolbars ------------------------------------------------------------------------------------

void customize_commands_page::make_bar()
{
    const std::optional<QString> name =
        ask_for_name(QStringLiteral("New Toolbar"), free_name(), names_but(std::nullopt), this);
    if (!name)
        return;
    std::vector<tool_bar> bars = m_bars.tool_bars();
    bars.push_back({from_qt(*name), true, {}});
    if (change(std::move(bars)))
        m_bar->setCurrentIndex(m_bar->count() - 1);
}

void customize_commands_page::rename_bar()
{
    const auto index = static_cast<std::size_t>(m_bar->currentIndex());
    const std::optional<QString> name =
        ask_for_name(QStringLiteral("Rename Toolbar"), m_bar->currentText(), names_but(index), this);
    if (!name)
        return;
    std::vector<tool_bar> bars = m_bars.tool_bars();
    bars[index].name = from_qt(*name);
    change(std::move(bars));
    m_bar->setCurrentIndex(static_cast<int>(index));
}

void customize_commands_page::delete_bar()
{
    const tool_bar* bar = chosen_bar();
    const auto question = QStringLiteral("Delete the toolbar \u201C%1\u201D with all that is on it?");
    if (!bar->items.empty() && !confirmed(*this, question.arg(to_qt(bar->name))))
        return;
    std::vector<tool_bar> bars = m_bars.tool_bars();
    bars.erase(bars.begin() + m_bar->currentIndex());
    change(std::move(bars));
}

void customize_commands_page::delete_all_bars()
{
    if (confirmed(*this, QStringLiteral("Take all toolbars away? The program brings none of its own.")))
        change({});
}

// ---- what is on them -----------------------------------------------------------------------------

void customize_commands_page::add_chosen()
{
    if (const tool_choice* choice = m_choices->chosen())
        add(tool_item(choice->item));
}

void customize_commands_page::add_separator()
{
    add(tool_item::separator());
}

tool_place customize_commands_page::place_for(const tool_item& item) const
{
    const std::optional<tool_place> chosen = m_contents->chosen();
    const std::vector<tool_item>& items = chosen_bar()->items;
    if (!chosen)
        return {items.size(), {}};
    const bool fits_menu = item.kind == tool_kind::command || item.kind == tool_kind::separator;
    if (fits_menu && chosen->within_menu)
        return {chosen->index, *chosen->within_menu + 1};
    if (fits_menu && items[chosen->index].kind == tool_kind::menu)
        return {chosen->index, items[chosen->index].contents.size()};
    return {chosen->index + 1, {}};
}

void customize_commands_page::add(const tool_item& item)
{
    if (!chosen_bar() && !change({{from_qt(free_name()), true, {}}}))
        return;
    put(place_for(item), item);
}

void customize_commands_page::put(const tool_place& place, const tool_item& item)
{
    std::vector<tool_item> items = chosen_bar()->items;
    if (insert_item(items, place, item))
        change_items(std::move(items), place);
}

void customize_commands_page::remove_chosen()
{
    const std::optional<tool_place> place = m_contents->chosen();
    std::vector<tool_item> items = chosen_bar()->items;
    if (!place || !take_item(items, *place))
        return;
    // The next thing takes its place, so that one after the other can go.
    tool_place next = *place;
    std::size_t& position = next.within_menu ? *next.within_menu : next.index;
    if (!item_at(items, next) && position > 0)
        --position;
    change_items(std::move(items), next);
}

void customize_commands_page::move_chosen(int step)
{
    const std::optional<tool_place> from = m_contents->chosen();
    if (!from)
        return;
    tool_place to = *from;
    std::size_t& position = to.within_menu ? *to.within_menu : to.index;
    // Downwards it goes behind the next one.
    position += step < 0 ? static_cast<std::size_t>(-1) : 2;
    move(*from, to);
}

void customize_commands_page::move(const tool_place& from, tool_place to)
{
    std::vector<tool_item> items = chosen_bar()->items;
    const std::optional<tool_item> item = take_item(items, from);
    if (!item)
        return;
    // What stood behind it has moved up by one.
    if (!from.within_menu && to.index > from.index)
        --to.index;
    else if (from.within_menu && to.within_menu && to.index == from.index && *to.within_menu > *from.within_menu)
        --*to.within_menu;
    if (insert_item(items, to, *item))
        change_items(std::move(items), to);
}

void customize_commands_page::rename_menu()
{
    const std::optional<tool_place> place = m_contents->chosen();
    std::vector<tool_item> items = chosen_bar()->items;
    if (!place || place->within_menu || place->index >= items.size())
        return;
    const std::optional<QString> name =
        ask_for_name(QStringLiteral("Menu Name"), to_qt(items[place->index].text), {}, this);
    if (!name)
        return;
    items[place->index].text = from_qt(*name);
    change_items(std::move(items), *place);
}

} // namespace cw

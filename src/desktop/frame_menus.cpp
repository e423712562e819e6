#include "desktop/frame_menus.h"

#include "app/menus.h"
#include "desktop/icons.h"
#include "desktop/qt_text.h"
#include "desktop/shortcut_notes.h"
#include "desktop/virtual_keys.h"
#include "framework/recent_file_list.h"

#include <QAction>
#include <QDir>
#include <QMenu>
#include <QMenuBar>

namespace cw {
namespace {

bool is_recent_files_placeholder(std::span<const menu_item> table)
{
    return table.size() == 1 && table.front().id == ID_FILE_MRU_FIRST;
}

} // namespace

QString recent_file_label(std::size_t index, std::u16string_view name)
{
    constexpr std::size_t mnemonic_count = 10;
    const std::size_t number = index + 1;
    QString label = QString::number(number);
    if (number <= mnemonic_count)
        label.insert(label.size() - 1, u'&');
    // A tab would be taken for the place where a key stands.
    return label + u' ' + one_line_of(to_qt(name)).replace(u'&', QStringLiteral("&&"));
}

void frame_menus::fill(QMenuBar& bar, std::span<const menu_item> table)
{
    for (const menu_item& item : table)
        fill(*bar.addMenu(to_qt(item.text)), item.popup);
}

void frame_menus::fill(QMenu& popup, std::span<const menu_item> table)
{
    for (const menu_item& item : table)
        add(popup, item);
    QObject::connect(&popup, &QMenu::aboutToShow, &popup, [this, &popup, table] { refresh(popup, table); });
}

void frame_menus::add(QMenu& popup, const menu_item& item)
{
    if (item.is_separator())
        popup.addSeparator();
    else if (item.is_popup())
        fill(*popup.addMenu(to_qt(item.text)), item.popup);
    else
        add_command(popup, to_qt(item.text), item.id, !item.disabled_in_resource);
}

QAction* frame_menus::make_action(QObject& owner, const QString& text, std::uint32_t id)
{
    auto* action = new QAction(text, &owner);
    action->setData(id);
    action->setMenuRole(QAction::NoRole);
    QObject::connect(action, &QAction::triggered, action, [this, id] { m_commands.run(id); });
    return action;
}

void frame_menus::add_command(QMenu& popup, const QString& text, std::uint32_t id, bool enabled)
{
    QAction* action = make_action(popup, text, id);
    action->setEnabled(enabled);
    popup.addAction(action);
}

void frame_menus::update_state(QAction& action) const
{
    const command_ui state = m_commands.update(action.data().toUInt());
    if (const std::optional<bool> enabled = state.enabled())
        action.setEnabled(*enabled);
    if (const std::optional<bool> checked = state.checked()) {
        action.setCheckable(true);
        action.setChecked(*checked);
    }
}

void frame_menus::refresh(QMenu& popup, std::span<const menu_item> table)
{
    if (m_recentFiles && is_recent_files_placeholder(table))
        refill_recent_files(popup, table.front());
    for (QAction* action : popup.actions()) {
        const std::uint32_t id = action->data().toUInt();
        if (id == 0)
            continue;
        // A key behind a tab is shown beside the text; the frame itself answers the key.
        const QString key = key_text(id);
        const QString text = action->text().section(u'\t', 0, 0);
        action->setText(key.isEmpty() ? text : text + u'\t' + key);
        action->setIcon(m_iconsShown ? command_icon(id) : QIcon());
        update_state(*action);
    }
}

void frame_menus::refill_recent_files(QMenu& popup, const menu_item& placeholder)
{
    popup.clear();
    const std::u16string folder = from_qt(QDir::currentPath());
    CString name;
    for (std::size_t index = 0; index < m_recentFiles->GetSize(); ++index) {
        if (!m_recentFiles->GetDisplayName(name, index, folder.c_str(), folder.size(), true))
            break;
        add_command(popup, recent_file_label(index, name), ID_FILE_MRU_FIRST + static_cast<std::uint32_t>(index), true);
    }
    if (popup.isEmpty())
        add_command(popup, to_qt(placeholder.text), 0, false);
}

QString frame_menus::key_text(std::uint32_t id) const
{
    for (const std::span<const accelerator> table : {m_accelerators, fixed_keys()})
        for (const accelerator& key : table)
            if (key.command_id == id)
                return accelerator_text(key);
    return {};
}

} // namespace cw

#include "desktop/help_window.h"

#include "desktop/fixed_tool_bar.h"
#include "desktop/icons.h"

#include <QAction>
#include <QDesktopServices>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSplitter>
#include <QStyle>
#include <QTextBlock>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <array>

namespace cw {
namespace {

constexpr QSize preferred_size(960, 720);
constexpr int share_of_screen_in_percent = 90;
constexpr int contents_width_in_pixels = 220;
constexpr int page_margin_in_pixels = 16;
constexpr int space_around_entry_in_pixels = 4;
constexpr int find_width_in_characters = 30;
constexpr int smallest_font_in_points = 6;
constexpr int largest_font_in_points = 36;
constexpr int address_role = Qt::UserRole;

/// A mix of two colours, `share` percent of the second.
QColor mixed(const QColor& first, const QColor& second, int share)
{
    const auto mix = [share](int from, int to) { return from + (to - from) * share / 100; };
    return QColor(mix(first.red(), second.red()), mix(first.green(), second.green()), mix(first.blue(), second.blue()));
}

/// Pages have no colours of their own.
QString style_of(const QPalette& palette)
{
    const QColor base = palette.color(QPalette::Base);
    const QColor text = palette.color(QPalette::Text);
    return QStringLiteral("p, li, td, th { line-height: 120%; }"
                          "h1 { font-size: xx-large; font-weight: 600; }"
                          "h2 { font-size: x-large; font-weight: 600; margin-top: 22px; }"
                          "h3 { font-size: large; font-weight: 600; margin-top: 16px; }"
                          "li { margin-bottom: 3px; }"
                          "a[href] { color: %1; text-decoration: underline; }"
                          "table { border-collapse: collapse; margin-top: 8px; margin-bottom: 8px; }"
                          "td, th { border: 1px solid %2; }"
                          "th { background-color: %3; text-align: left; }"
                          "code, pre { font-family: monospace; }"
                          "pre, .note { background-color: %3; }")
        .arg(palette.color(QPalette::Link).name(), mixed(base, text, 25).name(), mixed(base, text, 8).name());
}

struct fault_text {
    help_fault fault;
    const char* heading;
    const char* advice;
};
constexpr auto fault_texts = std::to_array<fault_text>({
    {help_fault::no_folder, "The help is not there",
     "The folder of the help was not found. It belongs to the installation of the viewer and stands beside the folder "
     "of its program. Installing the viewer again brings it back."},
    {help_fault::no_page, "The page is not there", "The help has no such page."},
    {help_fault::unreadable, "The page cannot be read", "The page is there, but it cannot be read."},
    {help_fault::too_long, "The page is too long", "The page is longer than this window shows."},
    {help_fault::not_utf8, "The page cannot be shown", "The page is not a text in UTF-8."},
});

/// A page that tells why there is none.
QString fault_page(const help_page& page, const QString& topic_path)
{
    const auto* entry = std::ranges::find(fault_texts, page.fault, &fault_text::fault);
    QString html = QStringLiteral("<html><head><title>%1</title></head><body><h1>%1</h1><p>%2</p>")
                       .arg(QLatin1String(entry->heading), QLatin1String(entry->advice));
    const auto add = [&html](const char* label, const QString& text) {
        if (!text.isEmpty())
            html += QStringLiteral("<p>%1<br><code>%2</code></p>").arg(QLatin1String(label), text.toHtmlEscaped());
    };
    add("Help was asked for:", topic_path);
    add("This file was looked for:", page.file);
    add("The system tells:", page.reason);
    return html + QStringLiteral("</body></html>");
}

/// Paths and fragments do not tell pages apart.
QUrl page_of(const QUrl& address)
{
    return address.adjusted(QUrl::RemoveFragment | QUrl::RemoveQuery | QUrl::NormalizePathSegments);
}

bool leads_to_the_desktop(const QUrl& link)
{
    return link.scheme() == QLatin1String("https") || link.scheme() == QLatin1String("http") ||
           link.scheme() == QLatin1String("mailto");
}

} // namespace

help_view::help_view(QWidget* parent) : QTextBrowser(parent)
{
    setOpenLinks(false);
    setFrameShape(QFrame::NoFrame);
    setAccessibleName(QStringLiteral("Help text"));
    document()->setDocumentMargin(page_margin_in_pixels);
    document()->setDefaultStyleSheet(style_of(palette()));
}

void help_view::set_pages(help_pages pages, const QString& topic_path)
{
    m_pages = std::move(pages);
    m_topicPath = topic_path;
}

void help_view::refresh()
{
    document()->setDefaultStyleSheet(style_of(palette()));
    if (source().isEmpty())
        return;
    const int place = verticalScrollBar()->value();
    reload();
    verticalScrollBar()->setValue(place);
}

QVariant help_view::loadResource(int type, const QUrl& name)
{
    const QUrl address = source().resolved(name);
    if (type == QTextDocument::ImageResource) {
        m_hasPictures = true;
        m_roomOfPictures = room_for_pictures();
        return m_pages.read_picture(address, m_roomOfPictures, devicePixelRatioF());
    }
    if (type != QTextDocument::HtmlResource)
        return {};
    m_hasPictures = false;
    const help_page page = m_pages.read(address);
    return page.fault == help_fault::none ? page.html : fault_page(page, m_topicPath);
}

int help_view::room_for_pictures() const
{
    const int scroll_bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
    return std::max(1, width() - scroll_bar - 2 * page_margin_in_pixels);
}

void help_view::resizeEvent(QResizeEvent* event)
{
    QTextBrowser::resizeEvent(event);
    if (!m_hasPictures || m_refreshWaits || room_for_pictures() == m_roomOfPictures)
        return;
    // Not in here: a page that is set lays the view out again.
    m_refreshWaits = true;
    QTimer::singleShot(0, this, [this] {
        m_refreshWaits = false;
        if (room_for_pictures() != m_roomOfPictures)
            refresh();
    });
}

QMimeData* help_view::createMimeDataFromSelection() const
{
    QMimeData* copied = QTextBrowser::createMimeDataFromSelection();
    // A piece of a list or a table would begin with an empty line.
    copied->setText(copied->text().trimmed());
    return copied;
}

void help_view::changeEvent(QEvent* event)
{
    QTextBrowser::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        refresh();
}

help_window::help_window(QWidget* parent)
    : QMainWindow(parent), m_tools(new fixed_tool_bar(QStringLiteral("Help tools"), this)), m_contents(new QListWidget),
      m_view(new help_view), m_findBar(new QWidget), m_findField(new QLineEdit), m_findResult(new QLabel)
{
    setWindowIcon(application_icon());
    setWindowTitle(QStringLiteral("Cratewright Help"));
    setContextMenuPolicy(Qt::NoContextMenu);
    const QSize largest = screen()->availableGeometry().size() * share_of_screen_in_percent / 100;
    resize(preferred_size.boundedTo(largest));

    m_contents->setAccessibleName(QStringLiteral("Contents"));
    m_contents->setFrameShape(QFrame::NoFrame);
    auto* panes = new QSplitter(Qt::Horizontal);
    panes->setChildrenCollapsible(false);
    panes->addWidget(m_contents);
    panes->addWidget(m_view);
    panes->setStretchFactor(1, 1);
    panes->setSizes({contents_width_in_pixels, width() - contents_width_in_pixels});

    make_find_bar();
    auto* all = new QWidget;
    auto* layout = new QVBoxLayout(all);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(panes, 1);
    layout->addWidget(m_findBar);
    setCentralWidget(all);
    make_tools();

    connect(m_view, &QTextBrowser::sourceChanged, this, [this](const QUrl& address) { page_changed(address); });
    connect(m_view, &QTextBrowser::anchorClicked, this, [this](const QUrl& link) { follow(link); });
    connect(m_contents, &QListWidget::itemClicked, this, [this](const QListWidgetItem* item) { go_to(item); });
    connect(m_contents, &QListWidget::itemActivated, this, [this](const QListWidgetItem* item) { go_to(item); });
}

void help_window::make_tools()
{
    m_tools->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    const int icon_size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    m_tools->setIconSize(QSize(icon_size, icon_size));
    addToolBar(m_tools);

    const auto add = [this](const QString& text, const QList<QKeySequence>& keys, auto run) {
        auto* action = new QAction(text, this);
        action->setShortcuts(keys);
        if (!keys.isEmpty())
            action->setToolTip(QStringLiteral("%1 (%2)").arg(QString(text).remove(u'&').remove(QStringLiteral("...")),
                                                             keys.front().toString(QKeySequence::NativeText)));
        connect(action, &QAction::triggered, this, run);
        addAction(action);
        return action;
    };
    const auto show_tool = [this](QAction* action) {
        m_tools->addAction(action);
        m_tools->widgetForAction(action)->setFocusPolicy(Qt::TabFocus);
        return action;
    };
    const auto icon = [this](QStyle::StandardPixmap picture) { return style()->standardIcon(picture, nullptr, this); };
    using keys = QList<QKeySequence>;

    QAction* back = show_tool(
        add(QStringLiteral("&Back"), keys{Qt::ALT | Qt::Key_Left, Qt::Key_Back}, [this] { m_view->backward(); }));
    back->setIcon(icon(QStyle::SP_ArrowBack));
    back->setEnabled(false);
    connect(m_view, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
    QAction* forward = show_tool(
        add(QStringLiteral("F&orward"), keys{Qt::ALT | Qt::Key_Right, Qt::Key_Forward}, [this] { m_view->forward(); }));
    forward->setIcon(icon(QStyle::SP_ArrowForward));
    forward->setEnabled(false);
    connect(m_view, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
    show_tool(add(QStringLiteral("&Home"), keys{Qt::ALT | Qt::Key_Home, Qt::Key_HomePage}, [this] {
        m_view->setSource(m_start);
    }))->setIcon(icon(QStyle::SP_DirHomeIcon));
    m_tools->addSeparator();
    show_tool(add(QStringLiteral("&Find..."), keys{QKeySequence::Find}, [this] { open_find_bar(); }));
    m_tools->addSeparator();
    show_tool(
        add(QStringLiteral("&Larger"), keys{Qt::CTRL | Qt::Key_Plus, Qt::CTRL | Qt::Key_Equal}, [this] { zoom(1); }));
    show_tool(add(QStringLiteral("&Smaller"), keys{Qt::CTRL | Qt::Key_Minus}, [this] { zoom(-1); }));
    show_tool(add(QStringLiteral("&Ordinary Size"), keys{Qt::CTRL | Qt::Key_0}, [this] { zoom(0); }));

    add(QStringLiteral("Find Next"), keys{Qt::Key_F3}, [this] { find(false); });
    add(QStringLiteral("Find Previous"), keys{Qt::SHIFT | Qt::Key_F3}, [this] { find(true); });
    // Arrow keys scroll, until somebody wants to mark a text by them.
    QAction* marking = add(QStringLiteral("Mark Text by Keys"), keys{Qt::Key_F7}, [] {});
    marking->setCheckable(true);
    connect(marking, &QAction::toggled, m_view, [view = m_view](bool on) {
        view->setTextInteractionFlags(Qt::TextBrowserInteraction |
                                      (on ? Qt::TextSelectableByKeyboard : Qt::NoTextInteraction));
    });
    add(QStringLiteral("Close"), keys{Qt::Key_Escape}, [this] { escape(); });
}

void help_window::make_find_bar()
{
    auto* label = new QLabel(QStringLiteral("Find in page:"));
    label->setBuddy(m_findField);
    m_findField->setAccessibleName(QStringLiteral("Find in page"));
    m_findField->setClearButtonEnabled(true);
    m_findField->setMinimumWidth(fontMetrics().averageCharWidth() * find_width_in_characters);
    auto* next = new QPushButton(QStringLiteral("&Next"));
    auto* previous = new QPushButton(QStringLiteral("&Previous"));
    m_findResult->setObjectName(QStringLiteral("find_result"));
    m_findResult->setAccessibleName(QStringLiteral("Result of the search"));

    auto* layout = new QHBoxLayout(m_findBar);
    layout->addWidget(label);
    layout->addWidget(m_findField);
    layout->addWidget(next);
    layout->addWidget(previous);
    layout->addWidget(m_findResult, 1);
    m_findBar->hide();

    connect(m_findField, &QLineEdit::textEdited, this, [this] { find(false, true); });
    connect(m_findField, &QLineEdit::returnPressed, this, [this] { find(false); });
    connect(next, &QPushButton::clicked, this, [this] { find(false); });
    connect(previous, &QPushButton::clicked, this, [this] { find(true); });
}

void help_window::show_topic(const QString& topic_path)
{
    const help_topic topic = parse_help_topic(topic_path);
    const bool other_pages = topic.folder != m_view->pages().folder();
    m_view->set_pages(help_pages(topic.folder), topic_path);
    m_start = help_pages::address_of(topic.page);
    // The files may have changed since the last time.
    if (m_view->source() == m_start)
        m_view->refresh();
    else
        m_view->setSource(m_start);
    if (other_pages)
        m_view->clearHistory();
    fill_contents();
    page_changed(m_start);
    if (isMinimized())
        showNormal();
    show();
    raise();
    activateWindow();
    m_view->setFocus();
}

void help_window::fill_contents()
{
    m_contents->clear();
    const help_page start = m_view->pages().read(m_start);
    m_contents->setVisible(start.fault == help_fault::none);
    QTextDocument document;
    document.setHtml(start.html);
    const auto add = [this](const QString& text, const QUrl& address) {
        for (int row = 0; row < m_contents->count(); ++row)
            if (m_contents->item(row)->data(address_role).toUrl() == address)
                return;
        auto* item = new QListWidgetItem(text, m_contents);
        // Not by the list's spacing: a click between two entries would miss both.
        item->setSizeHint(QSize(0, m_contents->fontMetrics().height() + 2 * space_around_entry_in_pixels));
        item->setToolTip(text.toHtmlEscaped());
        item->setData(address_role, address);
    };
    add(QStringLiteral("Contents"), page_of(m_start));
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
        for (auto at = block.begin(); !at.atEnd(); ++at) {
            const QTextFragment fragment = at.fragment();
            const QUrl address = page_of(m_start.resolved(QUrl(fragment.charFormat().anchorHref())));
            if (fragment.charFormat().isAnchor() && help_pages::is_address(address))
                add(fragment.text(), address);
        }
}

void help_window::page_changed(const QUrl& address)
{
    const QString title = m_view->documentTitle();
    const QString name = QStringLiteral("Cratewright Help");
    setWindowTitle(title.isEmpty() ? name : QStringLiteral("%1 \u2013 %2").arg(title, name));
    m_contents->setCurrentRow(-1);
    for (int row = 0; row < m_contents->count(); ++row)
        if (m_contents->item(row)->data(address_role).toUrl() == page_of(address))
            m_contents->setCurrentRow(row);
}

void help_window::follow(const QUrl& link)
{
    if (help_pages::is_address(link))
        m_view->setSource(link);
    else if (leads_to_the_desktop(link))
        QDesktopServices::openUrl(link);
    // What else there may be, files and programs of the machine, is not for a page to open.
}

void help_window::go_to(const QListWidgetItem* item)
{
    m_view->setSource(item->data(address_role).toUrl());
}

void help_window::zoom(int points)
{
    QFont font = m_view->font();
    if (points == 0)
        font = QFont();
    else
        font.setPointSizeF(
            std::clamp(font.pointSizeF() + points, double{smallest_font_in_points}, double{largest_font_in_points}));
    m_view->setFont(font);
}

void help_window::open_find_bar()
{
    m_findBar->show();
    m_findField->setFocus(Qt::ShortcutFocusReason);
    m_findField->selectAll();
}

void help_window::find(bool backward, bool from_here)
{
    const QString text = m_findField->text();
    m_findResult->clear();
    if (text.isEmpty())
        return open_find_bar();
    if (from_here) {
        QTextCursor cursor = m_view->textCursor();
        cursor.setPosition(cursor.selectionStart());
        m_view->setTextCursor(cursor);
    }
    const QTextDocument::FindFlags direction = backward ? QTextDocument::FindBackward : QTextDocument::FindFlags();
    if (m_view->find(text, direction))
        return;
    const QTextCursor before = m_view->textCursor();
    QTextCursor around = before;
    around.movePosition(backward ? QTextCursor::End : QTextCursor::Start);
    m_view->setTextCursor(around);
    if (m_view->find(text, direction)) {
        m_findResult->setText(backward ? QStringLiteral("Went on from the end of the page")
                                       : QStringLiteral("Went on from the start of the page"));
        return;
    }
    m_view->setTextCursor(before);
    m_findResult->setText(QStringLiteral("Not found in this page"));
}

void help_window::escape()
{
    if (m_findBar->isHidden()) {
        close();
        return;
    }
    m_findBar->hide();
    m_view->setFocus();
}

} // namespace cw

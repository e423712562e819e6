// The help in a window of its own: contents beside the page, finding, zoom, going back and forth. It
// stays open beside the main window, whose keys and menus know nothing of it.
#pragma once

#include "desktop/help_pages.h"

#include <QMainWindow>
#include <QTextBrowser>

class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QToolBar;

namespace cw {

/// The page. It reads nothing but the help's own files.
class help_view final : public QTextBrowser {
public:
    explicit help_view(QWidget* parent = nullptr);

    /// `topic_path` is what messages name.
    void set_pages(help_pages pages, const QString& topic_path);
    [[nodiscard]] const help_pages& pages() const noexcept { return m_pages; }
    /// Shows the page again, in the colours of the palette, at the place where it was.
    void refresh();
    QVariant loadResource(int type, const QUrl& name) override;

protected:
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    /// The width that a picture can have without the page being wider than the view.
    [[nodiscard]] int room_for_pictures() const;

    help_pages m_pages;
    QString m_topicPath;
    bool m_hasPictures = false;
    int m_roomOfPictures = 0;
    bool m_refreshWaits = false;
};

class help_window final : public QMainWindow {
public:
    explicit help_window(QWidget* parent = nullptr);

    /// Shows the topic of a path such as `/usr/Program/0409/HelpLib.chm::/helplibrary/CwCabView.htm`, or
    /// tells that it is not there, and brings the window to the front.
    void show_topic(const QString& topic_path);

    [[nodiscard]] help_view& view() noexcept { return *m_view; }
    [[nodiscard]] QListWidget& contents() noexcept { return *m_contents; }
    [[nodiscard]] QLineEdit& find_field() noexcept { return *m_findField; }

private:
    void make_tools();
    void make_find_bar();
    /// The start page and what it links to, in the order of its links.
    void fill_contents();
    void page_changed(const QUrl& address);
    void follow(const QUrl& link);
    void go_to(const QListWidgetItem* item);
    /// Larger by so many points; 0 is the ordinary size.
    void zoom(int points);
    void open_find_bar();
    /// Goes on from the selection, or with `from_here` at its beginning, and once around.
    void find(bool backward, bool from_here = false);
    void escape();

    QUrl m_start;
    QToolBar* m_tools;
    QListWidget* m_contents;
    help_view* m_view;
    QWidget* m_findBar;
    QLineEdit* m_findField;
    QLabel* m_findResult;
};

} // namespace cw

// The help as it lies on the disk: a folder of pages and pictures, read so that no link leads out of
// it. The help window shows them.
#pragma once

#include <QImage>
#include <QString>
#include <QUrl>

#include <utility>

namespace cw {

/// A topic's path, `FOLDER::/PAGE`, taken apart at its last "::". Without one it is all folder.
struct help_topic {
    QString folder;
    QString page; // with its leading slash
};
[[nodiscard]] help_topic parse_help_topic(const QString& topic_path);

enum class help_fault { none, no_folder, no_page, unreadable, too_long, not_utf8 };

/// A page, or why there is none.
struct help_page {
    QString html;
    help_fault fault = help_fault::none;
    /// The file that was looked for; empty for an address that leads nowhere in the folder.
    QString file;
    /// The system's words where a file is unreadable.
    QString reason;
};

inline constexpr qint64 longest_help_page_in_bytes = 1024 * 1024;
inline constexpr qint64 longest_help_picture_in_bytes = 8 * 1024 * 1024;

/// Pages have addresses of a scheme of their own, `help:/PAGE`. Their links resolve against them, and
/// so ".." ends at the folder.
class help_pages {
public:
    /// The folder need not be there.
    explicit help_pages(QString folder = {}) : m_folder(std::move(folder)) {}

    [[nodiscard]] const QString& folder() const noexcept { return m_folder; }
    [[nodiscard]] static QUrl address_of(const QString& page);
    [[nodiscard]] static bool is_address(const QUrl& url);

    [[nodiscard]] help_page read(const QUrl& address) const;
    /// Null for what is no picture of the folder. At its own size or smaller, so that it is no wider than
    /// `widest`, in the pixels of the device.
    [[nodiscard]] QImage read_picture(const QUrl& address, int widest, qreal device_pixel_ratio) const;

private:
    /// Empty for an address that leads nowhere in the folder, whatever there is.
    [[nodiscard]] QString file_of(const QUrl& address) const;
    /// Whether a file lies in the folder, all links on the way followed.
    [[nodiscard]] bool holds(const QString& file) const;

    QString m_folder;
};

} // namespace cw

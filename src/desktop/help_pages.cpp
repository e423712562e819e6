#include "desktop/help_pages.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QStringDecoder>

#include <optional>

namespace cw {
namespace {

constexpr QLatin1String topic_separator("::");
constexpr QLatin1String help_scheme("help");

/// The file's bytes; none where it cannot be read, is no plain file or is longer than that.
std::optional<QByteArray> read_bytes(const QString& path, qint64 longest_in_bytes, help_fault& fault, QString& reason)
{
    fault = help_fault::unreadable;
    // A pipe would be waited for.
    if (!QFileInfo(path).isFile()) {
        reason = QStringLiteral("It is not a plain file");
        return {};
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        reason = file.errorString();
        return {};
    }
    QByteArray bytes = file.read(longest_in_bytes + 1);
    if (file.error() != QFileDevice::NoError) {
        reason = file.errorString();
        return {};
    }
    if (bytes.size() > longest_in_bytes) {
        fault = help_fault::too_long;
        return {};
    }
    fault = help_fault::none;
    return bytes;
}

} // namespace

help_topic parse_help_topic(const QString& topic_path)
{
    const qsizetype separator = topic_path.lastIndexOf(topic_separator);
    if (separator < 0)
        return {topic_path, {}};
    return {topic_path.left(separator), topic_path.mid(separator + topic_separator.size())};
}

QUrl help_pages::address_of(const QString& page)
{
    QUrl address;
    address.setScheme(help_scheme);
    address.setPath(page.startsWith(u'/') ? page : u'/' + page, QUrl::DecodedMode);
    return address;
}

bool help_pages::is_address(const QUrl& url)
{
    return url.scheme() == help_scheme;
}

QString help_pages::file_of(const QUrl& address) const
{
    // Decoded slashes and dots were none when the address was resolved.
    const QString page = QDir::cleanPath(address.path(QUrl::FullyDecoded));
    const bool is_inside = is_address(address) && address.authority().isEmpty() && page.startsWith(u'/') &&
                           page.size() > 1 && !page.startsWith(QLatin1String("/..")) && !page.contains(QChar::Null);
    return is_inside ? m_folder + page : QString();
}

bool help_pages::holds(const QString& file) const
{
    const QString folder = QFileInfo(m_folder).canonicalFilePath();
    return !folder.isEmpty() && QFileInfo(file).canonicalFilePath().startsWith(folder + u'/');
}

help_page help_pages::read(const QUrl& address) const
{
    help_page page;
    page.file = file_of(address);
    if (m_folder.isEmpty() || !QFileInfo(m_folder).isDir()) {
        page.fault = help_fault::no_folder;
        return page;
    }
    if (page.file.isEmpty() || !QFileInfo::exists(page.file) || !holds(page.file)) {
        page.fault = help_fault::no_page;
        return page;
    }
    const std::optional<QByteArray> bytes = read_bytes(page.file, longest_help_page_in_bytes, page.fault, page.reason);
    if (!bytes)
        return page;
    // Without a state the last character has to be whole, too.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    page.html = decoder.decode(*bytes);
    // What a wrong byte leaves behind is not worth showing: the page is of another encoding.
    if (decoder.hasError()) {
        page.html.clear();
        page.fault = help_fault::not_utf8;
    }
    return page;
}

QImage help_pages::read_picture(const QUrl& address, int widest, qreal device_pixel_ratio) const
{
    const QString file = file_of(address);
    if (file.isEmpty() || !holds(file))
        return {};
    help_fault fault{};
    QString reason;
    std::optional<QByteArray> bytes = read_bytes(file, longest_help_picture_in_bytes, fault, reason);
    if (!bytes)
        return {};
    QBuffer buffer(&*bytes);
    QImage picture = QImageReader(&buffer).read();
    if (picture.isNull())
        return {};
    QSizeF size = picture.size();
    if (size.width() > widest)
        size *= widest / size.width();
    const QSize pixels = (size * device_pixel_ratio).toSize().expandedTo(QSize(1, 1));
    // The page's painter would leave pixels out, or repeat them.
    if (pixels != picture.size())
        picture = picture.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    picture.setDevicePixelRatio(device_pixel_ratio);
    return picture;
}

} // namespace cw

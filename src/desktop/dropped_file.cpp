#include "desktop/dropped_file.h"

#include "platform/utf8.h"

#include <QByteArray>
#include <QMimeData>
#include <QSysInfo>
#include <QUrl>

#include <filesystem>

namespace cw {
namespace {

bool is_of_this_machine(const QUrl& url)
{
    const QString host = url.host();
    return host.isEmpty() || host == QLatin1String("localhost") ||
           host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0;
}

} // namespace

std::optional<std::u16string> dropped_file(const QMimeData& data)
{
    for (const QUrl& url : data.urls()) {
        if (!url.isLocalFile() || !is_of_this_machine(url))
            continue;
        // Not `toLocalFile`: a name may hold bytes that are no UTF-8.
        const QByteArray path = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1());
        std::error_code failure;
        if (path.startsWith('/') && !std::filesystem::is_directory(path.toStdString(), failure))
            return platform::path_from_bytes(path.toStdString());
    }
    return std::nullopt;
}

} // namespace cw

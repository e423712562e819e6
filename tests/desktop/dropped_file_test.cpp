#include "desktop/dropped_file.h"

#include "tests/support/temporary_folder.h"

#include <QMimeData>
#include <QSysInfo>
#include <QUrl>
#include <gtest/gtest.h>

namespace cw {
namespace {

using test_support::temporary_folder;

std::optional<std::u16string> dropped(const QByteArray& uris)
{
    QMimeData data;
    data.setData(QStringLiteral("text/uri-list"), uris);
    return dropped_file(data);
}

TEST(DroppedFile, IsTheFirstOne)
{
    EXPECT_EQ(dropped("file:///tmp/a%20b.hdr\r\nfile:///tmp/c.cab\r\n"), u"/tmp/a b.hdr");
    EXPECT_EQ(dropped("file:///tmp/no.extension%23x"), u"/tmp/no.extension#x");
    QMimeData several;
    several.setUrls({QUrl::fromLocalFile(QStringLiteral("/m/\u00FC?.clg")), QUrl::fromLocalFile(QStringLiteral("/n"))});
    EXPECT_EQ(dropped_file(several), u"/m/\u00FC?.clg");
}

TEST(DroppedFile, IsNoFolder)
{
    const temporary_folder folder;
    const QByteArray url = QUrl::fromLocalFile(QString::fromStdString(folder.path())).toEncoded();
    EXPECT_EQ(dropped(url), std::nullopt);
    EXPECT_EQ(dropped(url + "/"), std::nullopt);
    EXPECT_EQ(dropped("file:///"), std::nullopt);
    EXPECT_EQ(dropped(url + "\r\n" + url + "/a.hdr"), folder.wide_file("a.hdr"));
}

TEST(DroppedFile, LiesOnThisMachine)
{
    for (const char* elsewhere : {"http://host/a.hdr", "ftp://host/a.hdr", "file://other.host/a.hdr", "a.hdr",
                                  "smb://host/a.hdr", "", "\xFF\xFE", "file:", "data:,x"})
        EXPECT_EQ(dropped(elsewhere), std::nullopt) << elsewhere;
    EXPECT_EQ(dropped("file://localhost/a.hdr"), u"/a.hdr");
    EXPECT_EQ(dropped("file://" + QSysInfo::machineHostName().toUtf8() + "/a.hdr"), u"/a.hdr");
    EXPECT_EQ(dropped("http://host/a.hdr\r\nfile:///b.hdr"), u"/b.hdr");
}

TEST(DroppedFile, KeepsANameThatIsNoUtf8)
{
    EXPECT_EQ(dropped("file:///tmp/%FF%C3%A9.hdr"), u"/tmp/\xDCFF\u00E9.hdr");
}

TEST(DroppedFile, IsNotAText)
{
    QMimeData data;
    EXPECT_EQ(dropped_file(data), std::nullopt);
    data.setText(QStringLiteral("/tmp/a.hdr"));
    EXPECT_EQ(dropped_file(data), std::nullopt);
}

} // namespace
} // namespace cw

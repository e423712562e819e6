#include "desktop/qt_user_settings.h"

#include <QFile>
#include <QSettings>
#include <QStringList>
#include <gtest/gtest.h>

namespace cw {
namespace {

struct QtUserSettings : testing::Test {
    ~QtUserSettings() override { QSettings("Cratewright", "Settings test").clear(); }
    qt_user_settings settings{"Cratewright", "Settings test"};
};

TEST_F(QtUserSettings, KeepsNumbersAndTextsOverAnObjectsLife)
{
    {
        qt_user_settings writing("Cratewright", "Settings test");
        writing.write_number(u"Settings", u"Mode", 1);
        writing.write_text(u"Recent File List", u"File1", u"/a, b/\u00FC & \\ \".hdr");
    }
    qt_user_settings reading("Cratewright", "Settings test");
    EXPECT_EQ(reading.read_number(u"Settings", u"Mode", 0), 1);
    EXPECT_EQ(reading.read_text(u"Recent File List", u"File1", u""), u"/a, b/\u00FC & \\ \".hdr");
}

TEST_F(QtUserSettings, AnswersTheDefaultForWhatIsNotThereOrNoNumber)
{
    EXPECT_EQ(settings.read_number(u"Settings", u"None", -3), -3);
    EXPECT_EQ(settings.read_text(u"Settings", u"None", u"default"), u"default");
    settings.write_text(u"Settings", u"Word", u"seven");
    EXPECT_EQ(settings.read_number(u"Settings", u"Word", 7), 7);
    settings.write_text(u"Settings", u"Empty", u"");
    EXPECT_EQ(settings.read_text(u"Settings", u"Empty", u"default"), u"");
}

TEST_F(QtUserSettings, Removes)
{
    settings.write_number(u"Settings", u"Mode", 1);
    settings.remove(u"Settings", u"Mode");
    settings.remove(u"Settings", u"Mode");
    EXPECT_EQ(settings.read_number(u"Settings", u"Mode", 0), 0);
}

TEST_F(QtUserSettings, StandUnderTheCompanysAndTheProgramsName)
{
    settings.write_number(u"Settings", u"Mode", 1);
    QSettings store("Cratewright", "Settings test");
    store.sync();
    EXPECT_EQ(store.value("Settings/Mode").toInt(), 1);
    EXPECT_TRUE(store.fileName().startsWith(qEnvironmentVariable("XDG_CONFIG_HOME")));
    EXPECT_TRUE(store.fileName().contains("/Cratewright/Settings test"));
}

TEST_F(QtUserSettings, ReadsATextWithACommaThatWasTypedIntoTheFile)
{
    QSettings store("Cratewright", "Settings test");
    store.setValue("Recent File List/File1", QStringList{"/a", "b.hdr"});
    store.sync();
    EXPECT_EQ(settings.read_text(u"Recent File List", u"File1", u""), u"/a, b.hdr");
}

} // namespace
} // namespace cw

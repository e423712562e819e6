// Runs the window's tests without a display, with settings that leave the person's own alone.

#include "desktop/viewer_application.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

int main(int argument_count, char** arguments)
{
    testing::InitGoogleTest(&argument_count, arguments);
    const cw::test_support::temporary_folder settings;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("XDG_CONFIG_HOME", settings.path().c_str());
    qputenv("XDG_RUNTIME_DIR", settings.path().c_str());
    cw::viewer_application application(argument_count, arguments);
    return RUN_ALL_TESTS();
}

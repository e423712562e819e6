#include "platform/posix_services.h"

#include <gtest/gtest.h>

#include <csignal>

TEST(aborting_runtime_death_test, ends_the_process_with_a_word)
{
    EXPECT_EXIT(cw::platform::make_aborting_runtime()->invalid_parameter(), testing::KilledBySignal(SIGABRT),
                "invalid parameter in a runtime function");
}

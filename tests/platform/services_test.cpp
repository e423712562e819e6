#include "platform/services.h"

#include "platform/memory_user_settings.h"
#include "platform/posix_services.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::platform;

TEST(services, start_on_the_posix_side)
{
    EXPECT_EQ(current().files, posix_services().files);
    EXPECT_EQ(current().user, posix_services().user);
}

TEST(services, a_scope_puts_another_set_in_place_for_its_lifetime)
{
    memory_user_settings outer;
    memory_user_settings inner;
    user_settings* const before = current().user;
    {
        services set = current();
        set.user = &outer;
        const scoped_services outer_scope(set);
        EXPECT_EQ(current().user, &outer);
        EXPECT_EQ(current().files, posix_services().files);
        {
            set.user = &inner;
            const scoped_services inner_scope(set);
            EXPECT_EQ(current().user, &inner);
        }
        EXPECT_EQ(current().user, &outer);
    }
    EXPECT_EQ(current().user, before);
}

} // namespace

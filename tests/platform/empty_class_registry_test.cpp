#include "platform/posix_services.h"

#include <gtest/gtest.h>

TEST(empty_class_registry, knows_no_program_id)
{
    const auto registry = cw::platform::make_empty_class_registry();
    CLSID id = IID_IUnknown;
    EXPECT_EQ(registry->class_id_from_program_id(u"Some.Thing", &id), CO_E_CLASSSTRING);
    EXPECT_EQ(id, GUID_NULL);
}

TEST(empty_class_registry, creates_nothing)
{
    const auto registry = cw::platform::make_empty_class_registry();
    int anything = 0;
    void* object = &anything;
    EXPECT_EQ(registry->create_instance(IID_IUnknown, nullptr, 0x17, IID_IUnknown, &object), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(object, nullptr);
}

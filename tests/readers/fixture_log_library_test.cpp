#include "tests/readers/fixture_log_support.h"
#include "tests/readers/library_exports.h"

#include <dlfcn.h>

using namespace cw;
using namespace cw::fixture_log_tests;

namespace {

constexpr const char* library_path = CW_TEST_BUILD_DIR "/fixture/LogKit.dll";

TEST(FixtureLogLibrary, MakesTheLoaderClass)
{
    com_ptr<IClassFactory> class_object;
    ASSERT_EQ(entry_point()(CLSID_LogLoader, IID_IClassFactory, class_object.put_void()), S_OK);
    com_ptr<IUnknown> one;
    com_ptr<IUnknown> other;
    ASSERT_EQ(class_object->CreateInstance(nullptr, IID_IUnknown, one.put_void()), S_OK);
    ASSERT_EQ(class_object->CreateInstance(nullptr, IID_IUnknown, other.put_void()), S_OK);
    EXPECT_NE(one, other);
    EXPECT_TRUE(automation::query_interface<ILogLoader>(one.get(), IID_ILogLoader));
    EXPECT_TRUE(automation::query_interface<IDispatch>(one.get(), IID_IDispatch));
    EXPECT_FALSE(automation::query_interface<IUnknown>(one.get(), IID_IFeatureLog));
}

TEST(FixtureLogLibrary, RefusesOtherClassesAndInterfaces)
{
    void* object = &object;
    EXPECT_EQ(entry_point()(IID_ILogLoader, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    object = &object;
    EXPECT_EQ(entry_point()(CLSID_LogLoader, IID_ILogLoader, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(entry_point()(CLSID_LogLoader, IID_IClassFactory, nullptr), E_POINTER);
}

TEST(FixtureLogLibrary, ExportsItsEntryPointAlone)
{
    EXPECT_EQ(reader_tests::exported_names(library_path), strings{"DllGetClassObject"});
}

TEST(FixtureLogLibrary, IsNotFoundByABareName)
{
    entry_point();
    EXPECT_NE(::dlopen(library_path, RTLD_NOW | RTLD_NOLOAD), nullptr) << "loaded by its path";
    EXPECT_EQ(::dlopen("LogKit.dll", RTLD_NOW | RTLD_NOLOAD), nullptr);
}

} // namespace

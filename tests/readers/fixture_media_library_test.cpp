#include "tests/readers/fixture_support.h"
#include "tests/readers/library_exports.h"

#include <dlfcn.h>

using namespace cw;
using namespace cw::fixture_tests;

namespace {

constexpr const char* library_path = CW_TEST_BUILD_DIR "/fixture/MediaForge40.dll";

TEST(FixtureMediaLibrary, MakesTheFactoryClass)
{
    com_ptr<IClassFactory> class_object;
    ASSERT_EQ(entry_point()(CLSID_MediaFactory, IID_IClassFactory, class_object.put_void()), S_OK);
    com_ptr<IUnknown> object;
    ASSERT_EQ(class_object->CreateInstance(nullptr, IID_IUnknown, object.put_void()), S_OK);
    const auto factory = automation::query_interface<IDispatch>(object.get(), IID_IMediaFactory);
    EXPECT_TRUE(factory);
    EXPECT_EQ(automation::query_interface<IDispatch>(object.get(), IID_IDispatch), factory);
    EXPECT_FALSE(automation::query_interface<IDispatch>(object.get(), IID_IMediaFeature));
}

TEST(FixtureMediaLibrary, MakesANewObjectEachTime)
{
    com_ptr<IClassFactory> class_object;
    ASSERT_EQ(entry_point()(CLSID_MediaFactory, IID_IClassFactory, class_object.put_void()), S_OK);
    com_ptr<IDispatch> one;
    com_ptr<IDispatch> other;
    ASSERT_EQ(class_object->CreateInstance(nullptr, IID_IMediaFactory, one.put_void()), S_OK);
    ASSERT_EQ(class_object->CreateInstance(nullptr, IID_IMediaFactory, other.put_void()), S_OK);
    EXPECT_NE(one.get(), other.get());
}

TEST(FixtureMediaLibrary, RefusesOtherClassesAndInterfaces)
{
    void* object = &object;
    EXPECT_EQ(entry_point()(IID_IMediaFeature, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    object = &object;
    EXPECT_EQ(entry_point()(CLSID_MediaFactory, IID_IMediaFactory, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(entry_point()(CLSID_MediaFactory, IID_IClassFactory, nullptr), E_POINTER);
}

TEST(FixtureMediaLibrary, ExportsItsEntryPointAlone)
{
    EXPECT_EQ(reader_tests::exported_names(library_path), std::vector<std::string>{"DllGetClassObject"});
}

TEST(FixtureMediaLibrary, IsNotFoundByABareName)
{
    entry_point();
    EXPECT_NE(::dlopen(library_path, RTLD_NOW | RTLD_NOLOAD), nullptr) << "loaded by its path";
    EXPECT_EQ(::dlopen("MediaForge40.dll", RTLD_NOW | RTLD_NOLOAD), nullptr);
}

} // namespace

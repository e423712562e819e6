#include "automation/dispatch_object.h"
#include "support.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

using namespace cw::automation;

namespace {

class Module : public testing::Test {
protected:
    void SetUp() override
    {
        void* library = dlopen(CW_TEST_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        const auto entry = reinterpret_cast<dll_get_class_object>(dlsym(library, "DllGetClassObject"));
        ASSERT_NE(entry, nullptr);
        com_ptr<IClassFactory> factory;
        ASSERT_EQ(entry(GUID_NULL, IID_IClassFactory, factory.put_void()), S_OK);
        ASSERT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, object.put_void()), S_OK);
    }

    com_ptr<IDispatch> object;
};

TEST_F(Module, ATextMadeThereIsFreedHere)
{
    variant who(u"reader");
    DISPPARAMS arguments{&who, nullptr, 1, 0};
    variant result;
    ASSERT_EQ(object->Invoke(1, IID_NULL, 0, DISPATCH_METHOD, &arguments, &result, nullptr, nullptr), S_OK);
    EXPECT_EQ(test::describe(result), "'Hello, reader'");
}

TEST_F(Module, AnExceptionThrownThereIsKnownHere)
{
    DISPPARAMS none{};
    EXCEPINFO exception{};
    ASSERT_EQ(object->Invoke(2, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, &exception, nullptr), DISP_E_EXCEPTION);
    EXPECT_EQ(exception.scode, E_ACCESSDENIED);
    EXPECT_EQ(std::u16string_view(exception.bstrDescription), u"not today");
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrSource);
}

TEST_F(Module, AnErrorObjectSetThereIsReadHere)
{
    SetErrorInfo(0, nullptr);
    DISPPARAMS none{};
    ASSERT_EQ(object->Invoke(2, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr), E_ACCESSDENIED);
    com_ptr<IErrorInfo> info;
    ASSERT_EQ(GetErrorInfo(0, info.put()), S_OK);
    bstr text;
    ASSERT_EQ(info->GetDescription(text.put()), S_OK);
    EXPECT_EQ(text.view(), u"not today");
}

} // namespace

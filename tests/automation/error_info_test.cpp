#include "automation/error_info.h"

#include <gtest/gtest.h>

#include <thread>

using cw::automation::bstr;
using cw::automation::com_ptr;
using cw::automation::query_interface;
using cw::automation::set_error;

namespace {

constexpr GUID some_guid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

com_ptr<IErrorInfo> take_error()
{
    com_ptr<IErrorInfo> info;
    GetErrorInfo(0, info.put());
    return info;
}

std::u16string description_of(const com_ptr<IErrorInfo>& info)
{
    bstr text;
    return info && SUCCEEDED(info->GetDescription(text.put())) ? std::u16string(text.view()) : u"(none)";
}

class ErrorInfo : public testing::Test {
protected:
    void SetUp() override { SetErrorInfo(0, nullptr); }
    void TearDown() override { SetErrorInfo(0, nullptr); }
};

TEST_F(ErrorInfo, ThereIsNoneAtFirst)
{
    IErrorInfo* info = reinterpret_cast<IErrorInfo*>(this);
    EXPECT_EQ(GetErrorInfo(0, &info), S_FALSE);
    EXPECT_EQ(info, nullptr);
}

TEST_F(ErrorInfo, IsHandedOutOnce)
{
    EXPECT_EQ(set_error(E_FAIL, u"what happened", u"who", some_guid), E_FAIL);
    const auto info = take_error();
    ASSERT_TRUE(info);
    EXPECT_EQ(description_of(info), u"what happened");
    bstr source;
    EXPECT_EQ(info->GetSource(source.put()), S_OK);
    EXPECT_EQ(source.view(), u"who");
    GUID guid;
    EXPECT_EQ(info->GetGUID(&guid), S_OK);
    EXPECT_EQ(guid, some_guid);
    EXPECT_FALSE(take_error()) << "the first reader took it away";
}

TEST_F(ErrorInfo, TheLastOneSetStands)
{
    set_error(E_FAIL, u"first", u"");
    set_error(E_FAIL, u"second", u"");
    EXPECT_EQ(description_of(take_error()), u"second");
}

TEST_F(ErrorInfo, NullClears)
{
    set_error(E_FAIL, u"first", u"");
    EXPECT_EQ(SetErrorInfo(0, nullptr), S_OK);
    EXPECT_FALSE(take_error());
}

TEST_F(ErrorInfo, ReservedMustBeZero)
{
    IErrorInfo* info = nullptr;
    EXPECT_EQ(GetErrorInfo(1, &info), E_INVALIDARG);
    EXPECT_EQ(SetErrorInfo(1, nullptr), E_INVALIDARG);
    EXPECT_EQ(GetErrorInfo(0, nullptr), E_INVALIDARG);
    EXPECT_EQ(CreateErrorInfo(nullptr), E_INVALIDARG);
}

TEST_F(ErrorInfo, SetsAndReadsEveryField)
{
    com_ptr<ICreateErrorInfo> create;
    ASSERT_EQ(CreateErrorInfo(create.put()), S_OK);
    const auto info = query_interface<IErrorInfo>(create.get(), IID_IErrorInfo);
    ASSERT_TRUE(info);

    bstr text(u"junk");
    GUID guid = some_guid;
    DWORD context = 9;
    EXPECT_EQ(info->GetDescription(text.put()), S_OK);
    EXPECT_EQ(text.get(), nullptr) << "a new object is empty";
    EXPECT_EQ(info->GetGUID(&guid), S_OK);
    EXPECT_EQ(guid, GUID_NULL);
    EXPECT_EQ(info->GetHelpContext(&context), S_OK);
    EXPECT_EQ(context, 0u);

    EXPECT_EQ(create->SetGUID(some_guid), S_OK);
    EXPECT_EQ(create->SetSource(u"source"), S_OK);
    EXPECT_EQ(create->SetDescription(u"description"), S_OK);
    EXPECT_EQ(create->SetHelpFile(u"help"), S_OK);
    EXPECT_EQ(create->SetHelpContext(42), S_OK);
    EXPECT_EQ(info->GetGUID(&guid), S_OK);
    EXPECT_EQ(guid, some_guid);
    EXPECT_EQ(info->GetSource(text.put()), S_OK);
    EXPECT_EQ(text.view(), u"source");
    EXPECT_EQ(info->GetDescription(text.put()), S_OK);
    EXPECT_EQ(text.view(), u"description");
    EXPECT_EQ(info->GetHelpFile(text.put()), S_OK);
    EXPECT_EQ(text.view(), u"help");
    EXPECT_EQ(info->GetHelpContext(&context), S_OK);
    EXPECT_EQ(context, 42u);

    EXPECT_EQ(create->SetSource(nullptr), S_OK);
    EXPECT_EQ(info->GetSource(text.put()), S_OK);
    EXPECT_EQ(text.get(), nullptr);
    EXPECT_EQ(info->GetGUID(nullptr), E_INVALIDARG);
    EXPECT_EQ(info->GetSource(nullptr), E_INVALIDARG);
    EXPECT_EQ(info->GetHelpContext(nullptr), E_INVALIDARG);
}

TEST_F(ErrorInfo, BothInterfacesAreOneObject)
{
    com_ptr<ICreateErrorInfo> create;
    ASSERT_EQ(CreateErrorInfo(create.put()), S_OK);
    const auto info = query_interface<IErrorInfo>(create.get(), IID_IErrorInfo);
    EXPECT_EQ(query_interface<IUnknown>(create.get(), IID_IUnknown),
              query_interface<IUnknown>(info.get(), IID_IUnknown));
    EXPECT_EQ(query_interface<ICreateErrorInfo>(info.get(), IID_ICreateErrorInfo), create);
    void* other = this;
    EXPECT_EQ(create->QueryInterface(IID_ISupportErrorInfo, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(create->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(ErrorInfo, TheThreadHoldsAReference)
{
    com_ptr<ICreateErrorInfo> create;
    ASSERT_EQ(CreateErrorInfo(create.put()), S_OK);
    IErrorInfo* raw = query_interface<IErrorInfo>(create.get(), IID_IErrorInfo).get();
    ASSERT_EQ(SetErrorInfo(0, raw), S_OK);
    EXPECT_EQ(create->AddRef(), 3u);
    EXPECT_EQ(create->Release(), 2u);
    EXPECT_EQ(take_error().get(), raw);
    EXPECT_EQ(create->AddRef(), 2u);
    EXPECT_EQ(create->Release(), 1u);
}

TEST_F(ErrorInfo, EveryThreadHasItsOwn)
{
    set_error(E_FAIL, u"of the first thread", u"");
    std::thread([] {
        EXPECT_FALSE(take_error());
        set_error(E_FAIL, u"of the second thread", u"");
        EXPECT_EQ(description_of(take_error()), u"of the second thread");
        set_error(E_FAIL, u"left behind", u""); // released with the thread
    }).join();
    EXPECT_EQ(description_of(take_error()), u"of the first thread");
}

TEST_F(ErrorInfo, EmbeddedZerosPassWhole)
{
    set_error(E_FAIL, std::u16string_view(u"a\0b", 3), u"");
    EXPECT_EQ(description_of(take_error()), std::u16string(u"a\0b", 3));
}

} // namespace

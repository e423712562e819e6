#include "automation/dual_object.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

using namespace cw::automation;

namespace {

struct ICounter : IDispatch {
    virtual HRESULT Count(LONG* count) noexcept = 0;
    virtual HRESULT Fail(int how) noexcept = 0;

protected:
    ~ICounter() = default;
};

class counter final : public dual_object<counter, ICounter> {
public:
    static constexpr IID iid = guid_from_literal("0B4E6B0A-54B5-4C0B-9C0E-1F5F0B7C6D02");
    static constexpr std::u16string_view name = u"ICounter";
    static inline int living = 0;

    counter() { ++living; }
    ~counter() override { --living; }

    HRESULT Count(LONG* count) noexcept override
    {
        return answer_into(count, [this]() -> LONG {
            if (m_fails)
                throw automation_error(E_FAIL, u"cannot count");
            return 7;
        });
    }
    HRESULT Fail(int how) noexcept override
    {
        return answer([how] {
            switch (how) {
            case 1:
                throw std::bad_alloc();
            case 2:
                throw std::runtime_error("torn");
            case 3:
                throw 5;
            default:
                break;
            }
        });
    }

    bool m_fails = false;
};

std::u16string last_description()
{
    com_ptr<IErrorInfo> info;
    if (GetErrorInfo(0, info.put()) != S_OK)
        return u"none";
    bstr description;
    info->GetDescription(description.put());
    bstr source;
    info->GetSource(source.put());
    return std::u16string(source.view()) + u": " + std::u16string(description.view());
}

class dual_object_test : public testing::Test {
protected:
    com_ptr<counter> object = make_object<counter>();
};

TEST_F(dual_object_test, answers_to_its_interfaces)
{
    for (const IID& iid : {IID_IUnknown, IID_IDispatch, counter::iid}) {
        const auto found = query_interface<IUnknown>(static_cast<ICounter*>(object.get()), iid);
        EXPECT_EQ(found.get(), static_cast<ICounter*>(object.get()));
    }
    const auto support =
        query_interface<ISupportErrorInfo>(static_cast<ICounter*>(object.get()), IID_ISupportErrorInfo);
    ASSERT_TRUE(support);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(counter::iid), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IDispatch), S_FALSE);
    EXPECT_EQ(query_interface<IUnknown>(support.get(), IID_IUnknown).get(), static_cast<ICounter*>(object.get()));
    void* other = &object;
    EXPECT_EQ(object->QueryInterface(IID_IErrorInfo, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(dual_object_test, lives_as_long_as_it_is_referred_to)
{
    EXPECT_EQ(counter::living, 1);
    com_ptr<ICounter> second(object.get());
    object.reset();
    EXPECT_EQ(counter::living, 1);
    second.reset();
    EXPECT_EQ(counter::living, 0);
}

TEST_F(dual_object_test, own_operations_stand_behind_those_of_dispatch)
{
    // IUnknown has three operations, IDispatch four more.
    void*** const slots = reinterpret_cast<void***>(static_cast<ICounter*>(object.get()));
    const auto count = reinterpret_cast<HRESULT (*)(ICounter*, LONG*)>((*slots)[7]);
    LONG answered = 0;
    EXPECT_EQ(count(object.get(), &answered), S_OK);
    EXPECT_EQ(answered, 7);
}

TEST_F(dual_object_test, results_are_zero_where_the_work_fails)
{
    object->m_fails = true;
    LONG count = 3;
    EXPECT_EQ(object->Count(&count), E_FAIL);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(last_description(), u"ICounter: cannot count");
    EXPECT_EQ(object->Count(nullptr), E_POINTER);
}

TEST_F(dual_object_test, no_exception_passes)
{
    EXPECT_EQ(object->Fail(0), S_OK);
    EXPECT_EQ(object->Fail(1), E_OUTOFMEMORY);
    EXPECT_EQ(last_description(), u"none");
    EXPECT_EQ(object->Fail(2), E_FAIL);
    EXPECT_EQ(last_description(), u"ICounter: torn");
    EXPECT_EQ(object->Fail(3), E_UNEXPECTED);
}

TEST_F(dual_object_test, has_no_members_by_number)
{
    UINT count = 5;
    EXPECT_EQ(object->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(object->GetTypeInfoCount(nullptr), E_INVALIDARG);
    ITypeInfo* info = reinterpret_cast<ITypeInfo*>(&count);
    EXPECT_EQ(object->GetTypeInfo(0, 0, &info), DISP_E_BADINDEX);
    EXPECT_EQ(info, nullptr);
    EXPECT_EQ(object->GetTypeInfo(0, 0, nullptr), E_INVALIDARG);
    WCHAR text[] = u"Count";
    WCHAR* names[] = {text};
    DISPID id = 1;
    EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names, 1, 0, &id), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(id, DISPID_UNKNOWN);
    DISPPARAMS none{};
    EXPECT_EQ(object->Invoke(1, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr), DISP_E_MEMBERNOTFOUND);
}

} // namespace

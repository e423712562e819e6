#include "automation/dispatch_object.h"
#include "support.h"

#include <gtest/gtest.h>

#include <new>

using namespace cw::automation;
using cw::automation::test::counted_object;

namespace {

counted_object shared_object;

com_ptr<IUnknown> create_shared()
{
    return com_ptr<IUnknown>(&shared_object);
}

TEST(ClassFactory, CreatesWithOneReferenceForTheCaller)
{
    const auto factory = class_factory::make(create_shared);
    IDispatch* object = nullptr;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(&object)), S_OK);
    EXPECT_EQ(object, &shared_object);
    EXPECT_EQ(shared_object.references, 2u);
    object->Release();
}

TEST(ClassFactory, ReleasesAnObjectThatHasNotTheInterface)
{
    const auto factory = class_factory::make(create_shared);
    void* object = this;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IClassFactory, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(shared_object.references, 1u);
}

TEST(ClassFactory, RefusesAggregationAndNull)
{
    const auto factory = class_factory::make(create_shared);
    void* object = this;
    EXPECT_EQ(factory->CreateInstance(&shared_object, IID_IUnknown, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
}

TEST(ClassFactory, TurnsWhatACreatorThrowsIntoAResult)
{
    const struct {
        class_factory::creator create;
        HRESULT result;
    } rows[] = {
        {[]() -> com_ptr<IUnknown> { throw std::bad_alloc(); }, E_OUTOFMEMORY},
        {[]() -> com_ptr<IUnknown> { throw automation_error(E_ACCESSDENIED); }, E_ACCESSDENIED},
        {[]() -> com_ptr<IUnknown> { throw std::runtime_error("no"); }, E_FAIL},
        {[]() -> com_ptr<IUnknown> { throw 5; }, E_UNEXPECTED},
        {[]() -> com_ptr<IUnknown> { return nullptr; }, E_UNEXPECTED},
    };
    for (const auto& row : rows) {
        void* object = this;
        EXPECT_EQ(class_factory::make(row.create)->CreateInstance(nullptr, IID_IUnknown, &object), row.result);
        EXPECT_EQ(object, nullptr);
    }
    SetErrorInfo(0, nullptr);
}

TEST(ClassFactory, IsHandedOutByInterface)
{
    com_ptr<IClassFactory> factory;
    ASSERT_EQ(class_factory::hand_out(create_shared, IID_IClassFactory, factory.put_void()), S_OK);
    EXPECT_EQ(factory->AddRef(), 2u);
    EXPECT_EQ(factory->Release(), 1u);
    void* object = this;
    EXPECT_EQ(class_factory::hand_out(create_shared, IID_IDispatch, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(class_factory::hand_out(create_shared, IID_IClassFactory, nullptr), E_POINTER);
}

TEST(ClassFactory, AnswersItsInterfaces)
{
    const auto factory = class_factory::make(create_shared);
    EXPECT_TRUE(query_interface<IUnknown>(factory.get(), IID_IUnknown));
    EXPECT_TRUE(query_interface<IClassFactory>(factory.get(), IID_IClassFactory));
    void* object = this;
    EXPECT_EQ(factory->QueryInterface(IID_IDispatch, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(factory->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(factory->AddRef(), 2u);
    EXPECT_EQ(factory->Release(), 1u);
    EXPECT_EQ(factory->LockServer(1), S_OK);
    EXPECT_EQ(factory->LockServer(0), S_OK);
}

} // namespace

#include "automation/unknown.h"

#include "support.h"

#include <gtest/gtest.h>

using cw::automation::com_ptr;
using cw::automation::query_interface;
using cw::automation::test::counted_object;
using cw::automation::test::plain_object;

namespace {

TEST(ComPtr, CountsReferences)
{
    plain_object object;
    {
        com_ptr<IUnknown> first(&object);
        EXPECT_EQ(object.references, 2u);
        const com_ptr<IUnknown> second = first;
        EXPECT_EQ(object.references, 3u);
        const com_ptr<IUnknown> third = std::move(first);
        EXPECT_EQ(object.references, 3u);
        EXPECT_FALSE(first);
        EXPECT_EQ(second, third);
    }
    EXPECT_EQ(object.references, 1u);
}

TEST(ComPtr, AdoptsAndDetachesWithoutCounting)
{
    plain_object object;
    auto held = com_ptr<IUnknown>::adopt(&object);
    EXPECT_EQ(object.references, 1u);
    EXPECT_EQ(held.detach(), &object);
    EXPECT_EQ(object.references, 1u);
}

TEST(ComPtr, AssignmentToItselfKeepsTheObject)
{
    plain_object object;
    com_ptr<IUnknown> held(&object);
    const auto& same = held;
    held = same;
    EXPECT_EQ(object.references, 2u);
    EXPECT_EQ(held.get(), &object);
}

TEST(ComPtr, IsNullBeforeTheReleaseRuns)
{
    counted_object object;
    com_ptr<IDispatch> held(&object);
    struct seen {
        com_ptr<IDispatch>& held;
        bool null = false;
    } seen{held};
    object.context = &seen;
    object.on_release = [](void* context) {
        auto& look = *static_cast<struct seen*>(context);
        look.null = !look.held;
    };
    held.reset();
    EXPECT_TRUE(seen.null);
}

TEST(ComPtr, PutReleasesWhatWasHeld)
{
    plain_object first;
    plain_object second;
    com_ptr<IUnknown> held(&first);
    *held.put() = &second;
    EXPECT_EQ(first.references, 1u);
    EXPECT_EQ(held.detach(), &second);
}

TEST(QueryInterface, GivesNullForWhatAnObjectIsNot)
{
    plain_object object;
    EXPECT_FALSE(query_interface<IDispatch>(&object, IID_IDispatch));
    EXPECT_FALSE(query_interface<IDispatch>(nullptr, IID_IDispatch));
    EXPECT_TRUE(query_interface<IUnknown>(&object, IID_IUnknown));
    EXPECT_EQ(object.references, 1u);
}

} // namespace

#include "readers/fixture/counted_items.h"

#include "automation/dispatch_object.h"

#include <gtest/gtest.h>

#include <functional>

using namespace cw::fixture;

namespace {

HRESULT failure_of(const std::function<void()>& work)
{
    try {
        work();
        return S_OK;
    } catch (const cw::automation::automation_error& error) {
        return error.result();
    }
}

TEST(FixtureCountedItems, AreThoseOfAnArray)
{
    const json part{"a", "b"};
    counted_items items(&part);
    EXPECT_EQ(items.count(), 2);
    EXPECT_EQ(*items.at(1), "a");
    EXPECT_EQ(*items.at(2), "b");
    EXPECT_EQ(items.at(0), nullptr);
    EXPECT_EQ(items.at(3), nullptr);
    EXPECT_EQ(items.at(-1), nullptr);
}

TEST(FixtureCountedItems, AreNoneWhereThereIsNoPart)
{
    counted_items items(nullptr);
    EXPECT_EQ(items.count(), 0);
    EXPECT_EQ(items.at(1), nullptr);
    EXPECT_TRUE(items.all().empty());
}

TEST(FixtureCountedItems, TellCountsOneAfterTheOther)
{
    const json part{{"items", {"a"}}, {"counts", {3, 2}}};
    counted_items items(&part);
    EXPECT_EQ(items.count(), 3);
    EXPECT_EQ(items.count(), 2);
    EXPECT_EQ(items.count(), 2);
    EXPECT_EQ(items.all().size(), 1u);
}

TEST(FixtureCountedItems, LeaveOutEitherKey)
{
    const json items_alone{{"items", {1, 2}}};
    EXPECT_EQ(counted_items(&items_alone).count(), 2);
    const json counts_alone{{"counts", 4}};
    counted_items counted(&counts_alone);
    EXPECT_EQ(counted.count(), 4);
    EXPECT_EQ(counted.at(1), nullptr);
}

TEST(FixtureCountedItems, FailWhereTheModelSaysSo)
{
    const json fails{{"fail", "0x80070005"}};
    EXPECT_EQ(failure_of([&] { counted_items items(&fails); }), E_ACCESSDENIED);
    const json text("a");
    EXPECT_EQ(failure_of([&] { counted_items items(&text); }), DISP_E_TYPEMISMATCH);
    const json failing_items{{"items", fails}, {"counts", {1}}};
    counted_items without_items(&failing_items);
    EXPECT_EQ(without_items.count(), 1);
    EXPECT_EQ(failure_of([&] { (void)without_items.at(1); }), E_ACCESSDENIED);
    const json failing_count{{"items", json::array()}, {"counts", {fails, "x", 1}}};
    counted_items counted(&failing_count);
    EXPECT_EQ(failure_of([&] { (void)counted.count(); }), E_ACCESSDENIED);
    EXPECT_EQ(failure_of([&] { (void)counted.count(); }), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(counted.count(), 1);
}

} // namespace

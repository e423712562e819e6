#include "readers/fixture/log_array.h"

#include "automation/dispatch_object.h"
#include "tests/readers/fixture_log_support.h"

#include <limits>

using namespace cw::fixture;
using cw::automation::variant;
using cw::fixture_log_tests::shown;
using cw::fixture_log_tests::strings;

namespace {

std::vector<variant> texts(std::initializer_list<std::u16string_view> all)
{
    std::vector<variant> made;
    for (const std::u16string_view text : all)
        made.emplace_back(text);
    return made;
}

TEST(FixtureLogArray, HoldsTextsOrVariants)
{
    EXPECT_EQ(shown(log_array(VT_BSTR, 0, texts({u"a", u""})).get()), (strings{R"("a")", R"("")"}));
    std::vector<variant> mixed = texts({u"a"});
    mixed.emplace_back(5);
    EXPECT_EQ(shown(log_array(VT_VARIANT, 2, std::move(mixed)).get()), (strings{R"("a")", "5"}));
    EXPECT_EQ(shown(log_array(VT_VARIANT, 0, {}).get()), strings{});
}

TEST(FixtureLogArray, HasItsLowerBound)
{
    const log_array array(VT_VARIANT, -3, texts({u"a", u"b"}));
    LONG lower = 0;
    LONG upper = 0;
    EXPECT_EQ(SafeArrayGetLBound(array.get(), 1, &lower), S_OK);
    EXPECT_EQ(SafeArrayGetUBound(array.get(), 1, &upper), S_OK);
    EXPECT_EQ(lower, -3);
    EXPECT_EQ(upper, -2);
}

TEST(FixtureLogArray, CanBeReadPastItsBounds)
{
    const log_array array(VT_VARIANT, 0, texts({u"a"}), 8);
    EXPECT_EQ(shown(array.get()), strings{R"("a")"});
    const auto* elements = static_cast<const VARIANT*>(array.get()->pvData);
    for (int i = 1; i < 8; ++i)
        EXPECT_EQ(shown(elements[i]), "empty") << i;
}

TEST(FixtureLogArray, KeepsMoreElementsThanItsRoom)
{
    EXPECT_EQ(shown(log_array(VT_BSTR, 0, texts({u"a", u"b", u"c"}), 2).get()).size(), 3u);
}

TEST(FixtureLogArray, GoesAlsoWhereACallerLeftItLocked)
{
    // The array may only be freed with no lock left; otherwise the sanitizers tell of the leak.
    variant inner;
    inner.vt = VT_ARRAY | VT_BSTR;
    inner.parray = SafeArrayCreateVector(VT_BSTR, 0, 1);
    std::vector<variant> elements;
    elements.push_back(std::move(inner));
    const log_array array(VT_VARIANT, 0, std::move(elements), 8);
    EXPECT_EQ(SafeArrayLock(array.get()), S_OK);
    EXPECT_EQ(SafeArrayLock(array.get()), S_OK);
    EXPECT_EQ(SafeArrayDestroy(array.get()), DISP_E_ARRAYISLOCKED);
}

TEST(FixtureLogArray, RefusesBoundsOutOfRange)
{
    constexpr LONG highest = std::numeric_limits<LONG>::max();
    try {
        const log_array array(VT_VARIANT, highest, {}, 8);
        FAIL();
    } catch (const cw::automation::automation_error& error) {
        EXPECT_EQ(error.result(), DISP_E_OVERFLOW);
    }
    EXPECT_EQ(shown(log_array(VT_VARIANT, highest - 8, texts({u"a"}), 8).get()), strings{R"("a")"});
}

} // namespace

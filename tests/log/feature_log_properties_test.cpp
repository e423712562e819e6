#include "tests/log/log_support.h"

#include "automation/dual_object.h"
#include "bridges/log_interface.h"

#include <algorithm>

namespace cw {
namespace {

using namespace test_support;

/// A feature whose arrays and values the test holds in its hands.
class held_feature final : public automation::dual_object<held_feature, IFeatureLog> {
public:
    static constexpr IID iid = IID_IFeatureLog;
    static constexpr std::u16string_view name = u"IFeatureLog";

    ~held_feature() override
    {
        for (SAFEARRAY* array : arrays)
            SafeArrayDestroy(array);
    }
    HRESULT Name(BSTR*) noexcept override { return E_NOTIMPL; }
    HRESULT reserved_2() noexcept override { return E_NOTIMPL; }
    HRESULT ID(BSTR*) noexcept override { return E_NOTIMPL; }
    HRESULT Parent(IFeatureLog**) noexcept override { return E_NOTIMPL; }
    HRESULT PropertyValue(VARIANT, VARIANT* result) noexcept override
    {
        *result = value;
        return S_OK;
    }
    HRESULT reserved_6() noexcept override { return E_NOTIMPL; }
    HRESULT SubFeatures(IFeatureLogCollection**) noexcept override { return E_NOTIMPL; }
    HRESULT Operations(BSTR, IOperationList**) noexcept override { return E_NOTIMPL; }
    HRESULT reserved_9() noexcept override { return E_NOTIMPL; }
    HRESULT reserved_10() noexcept override { return E_NOTIMPL; }
    /// The arrays one after the other, the last for all further calls.
    HRESULT PropertyNames(SAFEARRAY** names) noexcept override
    {
        *names = arrays.at(std::min(calls, arrays.size() - 1));
        ++calls;
        return S_OK;
    }

    void add_names(ULONG count) { arrays.push_back(SafeArrayCreateVector(VT_BSTR, 0, count)); }

    std::vector<SAFEARRAY*> arrays;
    std::size_t calls = 0;
    VARIANT value{}; // owns nothing
};

class feature_log_properties : public log_view_test {
protected:
    /// What the list shows for a feature with these properties.
    lines rows_from(std::string_view properties)
    {
        EXPECT_TRUE(open_feature(R"("properties": )" + std::string(properties)));
        return rows_at("Main/Sub");
    }
    /// What it shows for one of this value.
    std::string text_of_scalar(std::string_view value)
    {
        const lines rows = rows_from(R"([["P", )" + std::string(value) + "]]");
        EXPECT_EQ(rows.size(), 1u) << value;
        return rows.empty() ? "" : rows.front();
    }
};

TEST_F(feature_log_properties, main_feature_has_them_too)
{
    program.open_log(R"({"root": {"Name": "Main", "properties": [["Version", "1.0"], ["State", 2]]}})");
    EXPECT_EQ(rows_at("Main"), (lines{"Version | 1.0", "State | Installed"}));
    EXPECT_EQ(columns_of(frame()), "Property (150) | Value (400)");
}

TEST_F(feature_log_properties, none_is_not_installed)
{
    EXPECT_EQ(rows_from("[]"), lines{"State | Not Installed"});
    open_feature(R"("ID": "S")");
    EXPECT_EQ(rows_at("Main/Sub"), lines{"State | Not Installed"});
}

TEST_F(feature_log_properties, states_are_told_by_the_low_half_of_the_value)
{
    EXPECT_EQ(text_of_scalar("0"), "P | Not Installed");
    EXPECT_EQ(text_of_scalar("1"), "P | 1");
    EXPECT_EQ(text_of_scalar("2"), "P | Installed");
    EXPECT_EQ(text_of_scalar("3"), "P | 3");
    EXPECT_EQ(text_of_scalar("-1"), "P | -1");
    EXPECT_EQ(text_of_scalar("65536"), "P | Not Installed");
    EXPECT_EQ(text_of_scalar("65538"), "P | Installed");
    EXPECT_EQ(text_of_scalar("65537"), "P | 65537");
    EXPECT_EQ(text_of_scalar("true"), "P | -1");
    EXPECT_EQ(text_of_scalar("false"), "P | Not Installed");
    EXPECT_EQ(text_of_scalar("null"), "P | Not Installed");
    EXPECT_EQ(text_of_scalar(R"({"vt": "VT_BSTR", "value": null})"), "P | Not Installed");
    EXPECT_EQ(text_of_scalar(R"({"vt": "VT_R8", "value": 1.5})"), "P | Not Installed");
    EXPECT_EQ(text_of_scalar(R"({"vt": "VT_R8", "value": 0.1})"), "P | 0.1");
    EXPECT_EQ(text_of_scalar(R"({"vt": "VT_I2", "value": 2})"), "P | Installed");
    EXPECT_EQ(text_of_scalar(R"({"vt": "VT_NULL"})"), "P | Not Installed");
}

TEST_F(feature_log_properties, texts_are_themselves)
{
    // A text's value is its place in memory, which never looks like a state here.
    EXPECT_EQ(text_of_scalar(R"("Installed by hand")"), "P | Installed by hand");
    EXPECT_EQ(text_of_scalar(R"("2")"), "P | 2");
    EXPECT_EQ(text_of_scalar(R"("")"), "P | ");
}

TEST_F(feature_log_properties, arrays_pair_with_the_first_one)
{
    EXPECT_EQ(rows_from(R"([["T", {"array": ["Vendor", "Town"]}], ["V", {"array": ["Me", "Here"]}]])"),
              (lines{"Vendor | Me", "Town | Here"}));
    // A shorter one leaves titles out.
    EXPECT_EQ(rows_from(R"([["T", {"array": ["Vendor", "Town"]}], ["V", {"array": ["Me"]}]])"), lines{"Vendor | Me"});
    EXPECT_EQ(rows_from(R"([["T", {"array": ["Vendor", "Town"]}]])"), lines{});
    EXPECT_EQ(rows_from(R"([["T", {"array": ["Vendor"]}], ["V", {"array": []}]])"), lines{});
}

TEST_F(feature_log_properties, an_empty_array_gives_no_titles)
{
    EXPECT_EQ(rows_from(R"([["T", {"array": []}], ["U", {"array": ["a"]}], ["V", {"array": ["b"]}]])"), lines{"a | b"});
}

TEST_F(feature_log_properties, rows_of_arrays_slide_in_at_the_top)
{
    EXPECT_EQ(rows_from(R"([["State", 2], ["Titles", {"array": ["Vendor"]}], ["Values", {"array": ["Me"]}]])"),
              (lines{"Vendor | Me", "State | Installed"}));
    EXPECT_EQ(rows_from(R"([["A", "1"], ["B", "2"], ["T", {"array": ["x", "y"]}], ["V", {"array": ["vx", "vy"]}],
                            ["W", {"array": ["wx", "wy"]}], ["C", "3"]])"),
              (lines{"x | wx", "y | wy", "x | vx", "y | vy", "A | 1", "C | 3", "B | 2"}));
}

TEST_F(feature_log_properties, scalars_behind_arrays_go_to_their_number_or_to_the_end)
{
    EXPECT_EQ(rows_from(R"([["T", {"array": ["x"]}], ["A", "1"], ["B", "2"]])"), (lines{"A | 1", "B | 2"}));
    EXPECT_EQ(
        rows_from(R"([["T", {"array": ["x", "y"]}], ["V", {"array": ["1", "2"]}], ["A", "a"], ["W", {"array": ["3"]}],
                            ["B", "b"]])"),
        (lines{"x | 3", "x | 1", "y | 2", "A | a", "B | b"}));
}

TEST_F(feature_log_properties, more_values_than_titles_are_an_invalid_argument)
{
    EXPECT_EQ(rows_from(R"([["A", "1"], ["T", {"array": ["x"]}], ["V", {"array": ["v", "w"]}], ["B", "2"]])"),
              (lines{"x | v", "A | 1"}));
    const lines errors = program.take_unhandled();
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_NE(errors.front().find("argument"), std::string::npos) << errors.front();
}

TEST_F(feature_log_properties, titles_belong_to_one_walk)
{
    program.open_log(R"({"root": {"Name": "Main", "properties": [["T", {"array": ["x"]}], ["V", {"array": ["1"]}]],
        "features": [{"Name": "Sub", "properties": [["T", {"array": ["y"]}], ["V", {"array": ["2"]}]]}]}})");
    EXPECT_EQ(rows_at("Main"), lines{"x | 1"});
    EXPECT_EQ(rows_at("Main/Sub"), lines{"y | 2"});
    EXPECT_EQ(rows_at("Main"), lines{"x | 1"});
}

TEST_F(feature_log_properties, names_are_read_anew_before_each)
{
    rows_from(R"([["A", "1"], ["B", "2"]])");
    EXPECT_EQ(program.take_trace(),
              (lines{"IFeatureLog PropertyNames", "IFeatureLog PropertyNames", "IFeatureLog PropertyValue",
                     "IFeatureLog PropertyNames", "IFeatureLog PropertyValue", "IFeatureLog PropertyNames",
                     "IFeatureLog PropertyNames"}));
}

TEST_F(feature_log_properties, the_lock_is_given_back)
{
    for (const char* properties : {R"([["A", "1"]])", R"([["A", {"fail": "0x80004005"}]])", "[]"}) {
        rows_from(properties);
        (void)take_error_codes();
        const auto feature = automation::query_interface<IFeatureLog>(
            frame().NavNodes().at(item_at(frame(), "log.clg/Main/Sub")).object.get(), IID_IFeatureLog);
        SAFEARRAY* names = nullptr;
        ASSERT_EQ(feature->PropertyNames(&names), S_OK);
        ASSERT_NE(names, nullptr);
        EXPECT_EQ(names->cLocks, 0u) << properties;
    }
}

TEST_F(feature_log_properties, the_lock_goes_back_through_the_array_named_last)
{
    const auto feature = automation::make_object<held_feature>();
    for (const ULONG count : {2u, 1u, 1u, 3u})
        feature->add_names(count);
    feature->value.vt = VT_I4;
    feature->value.lVal = 1;
    SafeArrayLock(feature->arrays[3]);
    program.open_log(R"({"root": {"Name": "Main"}})");
    const HTREEITEM item = item_at(frame(), "log.clg/Main");
    frame_access::nodes(frame())[item].object = automation::com_ptr<IDispatch>(feature.get());
    frame().ShowFeatureLogProperties(item);
    // One row: the second array, which is asked for its size, has one name.
    EXPECT_EQ(rows_of(frame()), lines{" | 1"});
    EXPECT_EQ(feature->arrays[0]->cLocks, 1u);
    EXPECT_EQ(feature->arrays[3]->cLocks, 0u);
    EXPECT_EQ(feature->calls, 4u);
    SafeArrayUnlock(feature->arrays[0]);
    frame_access::nodes(frame()).clear();
}

TEST_F(feature_log_properties, a_text_at_a_place_that_looks_like_a_state_is_one)
{
    // Texts of this platform never lie there, so the value refers to one that is put there.
    struct alignas(65536) placed {
        BSTR text;
        BSTR elsewhere;
    };
    static placed at_zero;
    const automation::bstr text(u"Vendor");
    at_zero.text = text.get();
    const auto feature = automation::make_object<held_feature>();
    feature->add_names(1);
    feature->value.vt = VT_BSTR | VT_BYREF;
    feature->value.byref = &at_zero;
    program.open_log(R"({"root": {"Name": "Main"}})");
    const HTREEITEM item = item_at(frame(), "log.clg/Main");
    frame_access::nodes(frame())[item].object = automation::com_ptr<IDispatch>(feature.get());
    frame().ShowFeatureLogProperties(item);
    EXPECT_EQ(rows_of(frame()), lines{" | Not Installed"});
    at_zero.elsewhere = text.get();
    feature->value.byref = &at_zero.elsewhere;
    feature->calls = 0;
    frame().ShowFeatureLogProperties(item);
    EXPECT_EQ(rows_of(frame()), lines{" | Vendor"});
    frame_access::nodes(frame()).clear();
}

TEST_F(feature_log_properties, elements_count_from_the_first_whatever_the_lower_bound_is)
{
    EXPECT_EQ(rows_from(R"([["T", {"vt": "VT_ARRAY|VT_BSTR", "lower": 3, "value": ["x", "y"]}],
                            ["V", {"vt": "VT_ARRAY|VT_BSTR", "lower": -2, "value": ["1", "2"]}]])"),
              (lines{"x | 1", "y | 2"}));
}

TEST_F(feature_log_properties, a_name_that_cannot_be_allocated_is_out_of_memory)
{
    open_feature(R"("properties": [["P", "1"]])");
    const HTREEITEM item = item_at(frame(), "log.clg/Main/Sub");
    scripted_text_memory memory;
    platform::services set = platform::current();
    set.memory = &memory;
    const platform::scoped_services in_use(set);
    // Labels of columns come first.
    lines codes;
    for (int allocation = 1; allocation < 20 && !std::ranges::count(codes, "0x8007000E"); ++allocation) {
        memory.fail_after = allocation;
        frame().Guard([&] { frame().ShowFeatureLogProperties(item); });
        codes = take_error_codes();
    }
    EXPECT_EQ(codes, lines{"0x8007000E"});
    EXPECT_EQ(rows_of(frame()), lines{});
}

TEST_F(feature_log_properties, a_value_that_fails_leaves_the_rows_so_far)
{
    EXPECT_EQ(rows_from(R"([["A", "1"], ["B", {"fail": "0x80004005"}], ["C", "3"]])"), lines{"A | 1"});
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
}

TEST_F(feature_log_properties, names_that_fail_leave_an_empty_list)
{
    put_marked_row(frame());
    EXPECT_EQ(rows_from(R"({"fail": "0x80004005"})"), lines{});
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
    EXPECT_EQ(columns_of(frame()), "Property (150) | Value (400)");
}

TEST_F(feature_log_properties, an_array_of_other_elements_than_texts_is_refused)
{
    EXPECT_EQ(rows_from(R"([["A", "1"], ["T", {"vt": "VT_ARRAY|VT_I4", "value": [1, 2]}]])"), lines{"A | 1"});
    EXPECT_EQ(take_error_codes(), lines{"0x80020005"});
}

} // namespace
} // namespace cw

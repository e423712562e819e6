#include "bridges/log_objects.h"

#include "automation/dual_object.h"
#include "tests/support/scripted_services.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cw {
namespace {

using automation::automation_error;
using automation::com_ptr;
using automation::make_object;

/// An array of the test's own.
class owned_array {
public:
    owned_array(VARTYPE type, ULONG elements) : m_array(SafeArrayCreateVector(type, 0, elements)) {}
    ~owned_array() { SafeArrayDestroy(m_array); }
    owned_array(const owned_array&) = delete;
    owned_array& operator=(const owned_array&) = delete;
    void put(LONG index, const automation::variant& value)
    {
        VARIANT copy = value;
        SafeArrayPutElement(m_array, &index, &copy);
    }
    void put(LONG index, std::u16string_view text)
    {
        const automation::bstr copy(text);
        SafeArrayPutElement(m_array, &index, copy.get());
    }
    [[nodiscard]] SAFEARRAY* get() const noexcept { return m_array; }

private:
    SAFEARRAY* m_array;
};

class records final : public automation::dual_object<records, IOperationList> {
public:
    static constexpr IID iid = IID_IOperationList;
    static constexpr std::u16string_view name = u"IOperationList";

    HRESULT Name(BSTR* text) noexcept override
    {
        return answer_into(text, [] { return automation::bstr(u"T").detach(); });
    }
    HRESULT Count(LONG* count) noexcept override
    {
        ++counted;
        *count = shrinks && counted > 2 ? 1 : size;
        return S_OK;
    }
    HRESULT First(LONG start, LONG* position) noexcept override
    {
        EXPECT_EQ(start, 0);
        *position = 40;
        return S_OK;
    }
    HRESULT Next(LONG* position, SAFEARRAY** record) noexcept override
    {
        asked.push_back(*position);
        *position += 7;
        return answer_into(record, [this]() -> SAFEARRAY* {
            if (fails)
                throw automation_error(E_FAIL, u"torn page");
            return gives_null ? nullptr : array.get();
        });
    }

    owned_array array{VT_VARIANT, 3};
    LONG size = 3;
    int counted = 0;
    bool shrinks = false;
    bool fails = false;
    bool gives_null = false;
    std::vector<LONG> asked;
};

template <class Work>
_com_error error_of(Work work)
{
    try {
        work();
    } catch (const _com_error& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was raised";
    return {S_OK, nullptr};
}

TEST(log_objects, raise_what_the_library_told)
{
    const auto list = make_object<records>();
    list->fails = true;
    const _com_error error =
        error_of([&] { for_each_record(list.get(), [](std::size_t, const operation_record&) {}); });
    EXPECT_EQ(error.Error(), E_FAIL);
    EXPECT_EQ(error.Description(), u"torn page");
}

TEST(log_objects, errors_go_with_their_interface)
{
    EXPECT_EQ(*log_interface_id<ILogLoader>, IID_ILogLoader);
    EXPECT_EQ(*log_interface_id<ILogDocument>, IID_ILogDocument);
    EXPECT_EQ(*log_interface_id<IFeatureLog>, IID_IFeatureLog);
    EXPECT_EQ(*log_interface_id<IFeatureLogCollection>, IID_IFeatureLogCollection);
    EXPECT_EQ(*log_interface_id<IOperationTypeCollection>, IID_IOperationTypeCollection);
    EXPECT_EQ(*log_interface_id<IOperationType>, IID_IOperationType);
    EXPECT_EQ(*log_interface_id<IOperationList>, IID_IOperationList);
}

TEST(log_objects, a_name_that_cannot_be_allocated_is_out_of_memory)
{
    test_support::scripted_services services;
    services.memory.fail_after = 1;
    EXPECT_EQ(error_of([] { (void)operations_of(nullptr, u"T"); }).Error(), E_OUTOFMEMORY);
}

TEST(log_objects, null_is_an_error_where_it_is_needed)
{
    EXPECT_EQ(error_of([] { (void)first_position(nullptr); }).Error(), E_POINTER);
    EXPECT_EQ(error_of([] { (void)operation_count(nullptr); }).Error(), E_POINTER);
    EXPECT_EQ(error_of([] { (void)collection_count(static_cast<IFeatureLogCollection*>(nullptr)); }).Error(),
              E_POINTER);
    EXPECT_EQ(error_of([] { (void)collection_item(static_cast<IOperationTypeCollection*>(nullptr), 1); }).Error(),
              E_POINTER);
    EXPECT_EQ(error_of([] { (void)operations_of(nullptr, u"T"); }).Error(), E_POINTER);
    EXPECT_FALSE(feature_log_of(nullptr));
    const auto list = make_object<records>();
    EXPECT_FALSE(feature_log_of(list.get()));
    list->gives_null = true;
    EXPECT_EQ(error_of([&] { for_each_record(list.get(), [](std::size_t, const operation_record&) {}); }).Error(),
              E_POINTER);
}

TEST(log_objects, texts_are_the_callers)
{
    const auto list = make_object<records>();
    EXPECT_EQ(text_of<IOperationList>(list.get(), &IOperationList::Name).view(), u"T");
}

TEST(log_objects, records_are_asked_for_by_the_librarys_position)
{
    const auto list = make_object<records>();
    std::vector<std::size_t> rows;
    for_each_record(list.get(), [&](std::size_t row, const operation_record&) {
        rows.push_back(row);
        EXPECT_EQ(list->array.get()->cLocks, 1u);
    });
    EXPECT_EQ(rows, (std::vector<std::size_t>{0, 1, 2}));
    EXPECT_EQ(list->asked, (std::vector<LONG>{40, 47, 54}));
    EXPECT_EQ(list->counted, 4);
    EXPECT_EQ(list->array.get()->cLocks, 0u);
}

TEST(log_objects, the_count_is_read_anew)
{
    const auto list = make_object<records>();
    list->shrinks = true;
    std::size_t rows = 0;
    for_each_record(list.get(), [&](std::size_t, const operation_record&) { ++rows; });
    EXPECT_EQ(rows, 2u);
}

TEST(log_objects, work_that_answers_false_is_the_last)
{
    const auto list = make_object<records>();
    std::size_t rows = 0;
    for_each_record(list.get(), [&](std::size_t row, operation_record& record) {
        ++rows;
        record.keep_locked();
        return row < 1;
    });
    EXPECT_EQ(rows, 2u);
    EXPECT_EQ(list->counted, 2);
    EXPECT_EQ(list->array.get()->cLocks, 2u);
    while (list->array.get()->cLocks > 0)
        SafeArrayUnaccessData(list->array.get());
}

TEST(log_objects, plain_texts_take_low_bits_for_truth_values)
{
    owned_array array(VT_VARIANT, 7);
    array.put(0, automation::variant(u"text"));
    array.put(1, automation::variant(std::int32_t{77}));
    array.put(2, automation::variant(std::int32_t{65536}));
    array.put(3, automation::variant(std::int32_t{-1}));
    array.put(4, automation::variant(true));
    array.put(5, automation::variant(false));
    const operation_record record(array.get());
    string converted;
    std::vector<std::u16string> texts;
    for (std::size_t index = 0; index < 8; ++index)
        texts.emplace_back(record.plain_text(index, converted));
    EXPECT_EQ(texts, (std::vector<std::u16string>{u"text", u"77", u"False", u"True", u"True", u"False", u"False",
                                                  u"False"}));
}

TEST(log_objects, elements_are_read_by_their_form)
{
    owned_array array(VT_VARIANT, 4);
    array.put(0, automation::variant(u"text"));
    array.put(1, automation::variant(std::int32_t{65538}));
    array.put(2, automation::variant(true));
    const operation_record record(array.get());
    string converted;
    EXPECT_EQ(record.text({0, log_element_form::text}), u"text");
    EXPECT_EQ(record.text({1, log_element_form::text}), u"");
    EXPECT_EQ(record.text({3, log_element_form::text}), u"");
    EXPECT_EQ(record.number({1, log_element_form::number}), 2);
    EXPECT_EQ(record.number({2, log_element_form::number}), -1);
    EXPECT_TRUE(record.flag({2, log_element_form::flag}));
    EXPECT_FALSE(record.flag({3, log_element_form::flag}));
    EXPECT_EQ(record.converted_text({0, log_element_form::converted_text}, converted), u"text");
    EXPECT_EQ(record.converted_text({1, log_element_form::converted_text}, converted), u"65538");
    EXPECT_EQ(record.converted_text({2, log_element_form::converted_text}, converted), u"-1");
    EXPECT_EQ(record.converted_text({3, log_element_form::converted_text}, converted), u"");
    // Beyond the end, and far beyond.
    EXPECT_EQ(record.text({4, log_element_form::text}), u"");
    EXPECT_EQ(record.number({1000, log_element_form::number}), 0);
    EXPECT_EQ(record.converted_text({4, log_element_form::converted_text}, converted), u"");
}

TEST(log_objects, arrays_are_locked_while_they_are_read)
{
    owned_array array(VT_BSTR, 2);
    array.put(0, std::u16string_view(u"a"));
    {
        const locked_array locked(array.get(), VT_BSTR);
        EXPECT_EQ(array.get()->cLocks, 1u);
        EXPECT_EQ(locked.size(), 2u);
        EXPECT_EQ(locked.text(0), u"a");
        EXPECT_EQ(locked.text(1), u"");
        EXPECT_EQ(locked.text(2), u"");
    }
    EXPECT_EQ(array.get()->cLocks, 0u);
    {
        locked_array kept(array.get(), VT_BSTR);
        kept.keep_locked();
    }
    EXPECT_EQ(array.get()->cLocks, 1u);
    SafeArrayUnaccessData(array.get());
}

TEST(log_objects, arrays_of_other_shapes_are_refused)
{
    const owned_array numbers(VT_I4, 2);
    EXPECT_EQ(error_of([&] { const locked_array locked(numbers.get(), VT_BSTR); }).Error(), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(numbers.get()->cLocks, 0u);
    const SAFEARRAYBOUND bounds[]{{2, 0}, {2, 0}};
    SAFEARRAY* const square = SafeArrayCreate(VT_BSTR, 2, bounds);
    EXPECT_EQ(error_of([&] { const locked_array locked(square, VT_BSTR); }).Error(), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(element_count(square), 0u);
    SafeArrayDestroy(square);
    const locked_array none(nullptr, VT_BSTR);
    EXPECT_EQ(none.size(), 0u);
    EXPECT_EQ(element_count(nullptr), 0u);
    EXPECT_EQ(element_count(numbers.get()), 2u);
}

} // namespace
} // namespace cw

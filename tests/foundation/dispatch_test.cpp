#include "foundation/dispatch.h"

#include "platform/last_error.h"
#include "platform/posix_services.h"

#include "printing.h"
#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

using cw::string;
using cw::automation::variant;
using cw::test_support::scripted_services;
using namespace cw::platform;

/// Keeps what it was called with, and answers as the test says.
struct recording_object final : IDispatch {
    std::function<HRESULT(VARIANT* result, EXCEPINFO* exception)> answer = [](VARIANT*, EXCEPINFO*) { return S_OK; };
    int calls = 0;
    int references = 1;
    DISPID member = 0;
    IID iid = IID_IUnknown;
    LCID locale = 99;
    WORD flags = 0;
    bool had_result = false;
    std::vector<VARIANT> arguments; // texts are copied into `texts`
    std::vector<std::u16string> texts;
    std::vector<DISPID> names;

    HRESULT QueryInterface(REFIID, void** object) noexcept override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG AddRef() noexcept override { return static_cast<ULONG>(++references); }
    ULONG Release() noexcept override { return static_cast<ULONG>(--references); }
    HRESULT GetTypeInfoCount(UINT*) noexcept override { return E_NOTIMPL; }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    HRESULT GetIDsOfNames(REFIID, WCHAR**, UINT, LCID, DISPID*) noexcept override { return E_NOTIMPL; }
    HRESULT Invoke(DISPID called, REFIID asked, LCID in_locale, WORD with_flags, DISPPARAMS* parameters,
                   VARIANT* result, EXCEPINFO* exception, UINT* argument_error) noexcept override
    {
        ++calls;
        member = called;
        iid = asked;
        locale = in_locale;
        flags = with_flags;
        had_result = result != nullptr;
        arguments.assign(parameters->rgvarg, parameters->rgvarg + parameters->cArgs);
        names.assign(parameters->rgdispidNamedArgs, parameters->rgdispidNamedArgs + parameters->cNamedArgs);
        texts.clear();
        for (const VARIANT& argument : arguments) {
            const bool is_text = argument.vt == VT_BSTR && argument.bstrVal;
            texts.push_back(is_text ? std::u16string(argument.bstrVal, SysStringLen(argument.bstrVal)) : u"");
        }
        EXPECT_NE(exception, nullptr);
        EXPECT_NE(argument_error, nullptr);
        return answer(result, exception);
    }
};

template <class Action>
_com_error raised_by(Action action)
{
    try {
        action();
    } catch (const _com_error& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was raised";
    return {S_OK, nullptr};
}

/// An object whose every result is a copy of `value`.
void answer_with(recording_object& object, const VARIANT& value)
{
    object.answer = [&value](VARIANT* result, EXCEPINFO*) { return result ? VariantCopy(result, &value) : S_OK; };
}

// --- the call ---

TEST(dispatch_method, calls_with_the_null_interface_in_the_neutral_locale)
{
    recording_object object;
    EXPECT_EQ(cw::dispatch_method(&object, 7, DISPATCH_METHOD, VT_EMPTY, nullptr, nullptr), S_OK);
    EXPECT_EQ(object.member, 7);
    EXPECT_EQ(object.iid, IID_NULL);
    EXPECT_EQ(object.locale, 0u);
    EXPECT_EQ(object.flags, DISPATCH_METHOD);
    EXPECT_TRUE(object.arguments.empty());
    EXPECT_TRUE(object.names.empty());
    EXPECT_FALSE(object.had_result);
}

TEST(dispatch_method, answers_a_success_that_is_not_s_ok)
{
    recording_object object;
    object.answer = [](VARIANT*, EXCEPINFO*) { return S_FALSE; };
    EXPECT_EQ(cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, nullptr), S_FALSE);
}

TEST(dispatch_method, passes_arguments_last_first_in_their_types)
{
    recording_object object;
    recording_object passed;
    std::int32_t referred = 5;
    const variant value(std::int32_t{77});
    const char16_t types[] = {VT_I1,   VT_UI1,  VT_I2,    VT_UI2,      VT_I4,      VT_UI4,     VT_I8,
                              VT_UI8,  VT_R4,   VT_R8,    VT_DATE,     VT_CY,      VT_BOOL,    VT_BOOL,
                              VT_INT,  VT_UINT, VT_ERROR, VT_DISPATCH, VT_UNKNOWN, VT_VARIANT, VT_BYREF | VT_I4,
                              VT_BSTR, VT_BSTR, 0};
    cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, types, -3, 200, -300, 60000, -70000,
                        3000000000u, -5000000000LL, 18000000000000000000ULL, 1.5, 2.5, 3.5, CY{12345}, 1, 0, -8, 9u,
                        E_FAIL, &passed, static_cast<IUnknown*>(&passed), static_cast<const VARIANT*>(&value),
                        &referred, u"text", static_cast<const char16_t*>(nullptr));
    ASSERT_EQ(object.arguments.size(), 23u);
    std::vector<VARIANT> a(object.arguments.rbegin(), object.arguments.rend());
    EXPECT_EQ(a[0].cVal, -3);
    EXPECT_EQ(a[1].bVal, 200);
    EXPECT_EQ(a[2].iVal, -300);
    EXPECT_EQ(a[3].uiVal, 60000);
    EXPECT_EQ(a[4].lVal, -70000);
    EXPECT_EQ(a[5].ulVal, 3000000000u);
    EXPECT_EQ(a[6].llVal, -5000000000LL);
    EXPECT_EQ(a[7].ullVal, 18000000000000000000ULL);
    EXPECT_EQ(a[8].fltVal, 1.5f);
    EXPECT_EQ(a[9].dblVal, 2.5);
    EXPECT_EQ(a[10].date, 3.5);
    EXPECT_EQ(a[11].cyVal.int64, 12345);
    EXPECT_EQ(a[12].boolVal, VARIANT_TRUE);
    EXPECT_EQ(a[13].boolVal, VARIANT_FALSE);
    EXPECT_EQ(a[14].intVal, -8);
    EXPECT_EQ(a[15].uintVal, 9u);
    EXPECT_EQ(a[16].scode, E_FAIL);
    EXPECT_EQ(a[17].pdispVal, &passed);
    EXPECT_EQ(a[18].punkVal, &passed);
    EXPECT_EQ(a[19].vt, VT_I4);
    EXPECT_EQ(a[19].lVal, 77);
    EXPECT_EQ(a[20].byref, &referred);
    EXPECT_EQ(object.texts[1], u"text");
    EXPECT_EQ(a[22].bstrVal, nullptr);
    for (std::size_t i = 0; i < a.size(); ++i) {
        EXPECT_EQ(a[i].vt, i == 19 ? VARTYPE{VT_I4} : VARTYPE{types[i]}) << i;
    }
    EXPECT_EQ(passed.references, 1);
}

TEST(dispatch_method, frees_the_texts_that_it_made)
{
    scripted_services script;
    recording_object object;
    const variant value(u"inside a variant");
    const char16_t types[] = {VT_BSTR, VT_VARIANT, VT_BSTR, 0};
    cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, types, u"one",
                        static_cast<const VARIANT*>(&value), u"two");
    EXPECT_THAT(object.texts, testing::ElementsAre(u"two", u"inside a variant", u"one"));
    EXPECT_EQ(script.memory.allocations, 3);
    EXPECT_EQ(script.memory.releases, 3);
    EXPECT_EQ(std::u16string_view(value.bstrVal), u"inside a variant");
}

TEST(dispatch_method, no_memory_for_an_argument_fails_without_a_call)
{
    scripted_services script;
    recording_object object;
    const variant value(u"inside a variant");
    const char16_t types[] = {VT_BSTR, VT_BSTR, 0};
    script.memory.fail_after = 2;
    const _com_error error =
        raised_by([&] { cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, types, u"one", u"two"); });
    EXPECT_EQ(error.Error(), E_OUTOFMEMORY);
    const char16_t variants[] = {VT_VARIANT, 0};
    script.memory.fail_after = 1;
    const _com_error second = raised_by([&] {
        cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, variants,
                            static_cast<const VARIANT*>(&value));
    });
    EXPECT_EQ(second.Error(), E_OUTOFMEMORY);
    EXPECT_EQ(object.calls, 0);
}

TEST(dispatch_method, puts_a_property_by_name)
{
    for (const WORD flags : {DISPATCH_PROPERTYPUT, DISPATCH_PROPERTYPUTREF}) {
        recording_object object;
        const char16_t types[] = {VT_I4, VT_BSTR, 0};
        cw::dispatch_method(&object, 4, flags, VT_EMPTY, nullptr, types, 1, u"value");
        EXPECT_THAT(object.names, testing::ElementsAre(DISPID_PROPERTYPUT));
        EXPECT_EQ(object.arguments[0].vt, VT_BSTR);
        EXPECT_EQ(object.arguments[1].lVal, 1);

        const _com_error error = raised_by([&] { cw::dispatch_method(&object, 4, flags, VT_EMPTY, nullptr, nullptr); });
        EXPECT_EQ(error.Error(), E_INVALIDARG);
        EXPECT_EQ(object.calls, 1);
    }
}

TEST(dispatch_method, drops_optional_arguments_at_the_end_that_were_left_out)
{
    constexpr char16_t optional_variant = VT_VARIANT | cw::optional_argument;
    constexpr char16_t optional_error = VT_ERROR | cw::optional_argument;
    VARIANT missing;
    VariantInit(&missing);
    missing.vt = VT_ERROR;
    missing.scode = DISP_E_PARAMNOTFOUND;
    const variant given(std::int32_t{5});
    const VARIANT* const left_out = &missing;
    const VARIANT* const there = &given;
    recording_object object;

    const char16_t three[] = {VT_I4, optional_variant, optional_error, 0};
    cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, three, 1, left_out, DISP_E_PARAMNOTFOUND);
    ASSERT_EQ(object.arguments.size(), 1u);
    EXPECT_EQ(object.arguments[0].lVal, 1);

    // One that is there keeps those before it.
    const char16_t two[] = {optional_variant, optional_variant, 0};
    cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, two, left_out, there);
    ASSERT_EQ(object.arguments.size(), 2u);
    EXPECT_EQ(object.arguments[0].lVal, 5);
    EXPECT_EQ(object.arguments[1].scode, DISP_E_PARAMNOTFOUND);

    cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, two, left_out, left_out);
    EXPECT_TRUE(object.arguments.empty());

    // Not marked as optional, and another error: both stay.
    const char16_t marked_late[] = {VT_VARIANT, optional_error, 0};
    cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, marked_late, left_out, E_FAIL);
    EXPECT_EQ(object.arguments.size(), 2u);
    const char16_t unmarked[] = {VT_VARIANT, 0};
    cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, unmarked, left_out);
    EXPECT_EQ(object.arguments.size(), 1u);

    // The value of a property is never left out.
    const char16_t value[] = {optional_variant, 0};
    cw::dispatch_method(&object, 1, DISPATCH_PROPERTYPUT, VT_EMPTY, nullptr, value, left_out);
    EXPECT_EQ(object.arguments.size(), 1u);
}

TEST(dispatch_method, a_null_object_is_a_bad_pointer)
{
    const _com_error error =
        raised_by([] { cw::dispatch_method(nullptr, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, nullptr); });
    EXPECT_EQ(error.Error(), E_POINTER);
    EXPECT_EQ(error.ErrorInfo(), nullptr);
}

TEST(dispatch_method, unsupported_types_fail_without_a_call)
{
    recording_object object;
    for (const char16_t type : {VT_NULL, VT_DECIMAL, VARENUM(15), VARENUM(24), VARENUM(VT_ARRAY | VT_I4)}) {
        const char16_t types[] = {VT_I4, type, 0};
        const _com_error error =
            raised_by([&] { cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, types, 1, nullptr); });
        EXPECT_EQ(error.Error(), E_INVALIDARG);
    }
    const char16_t variants[] = {VT_VARIANT, 0};
    const _com_error null_variant = raised_by([&] {
        cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, variants,
                            static_cast<const VARIANT*>(nullptr));
    });
    EXPECT_EQ(null_variant.Error(), E_INVALIDARG);
    int result = 0;
    const _com_error bad_result =
        raised_by([&] { cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_NULL, &result, nullptr); });
    EXPECT_EQ(bad_result.Error(), E_INVALIDARG);
    EXPECT_EQ(object.calls, 0);
}

// --- failures ---

TEST(dispatch_method, a_failure_is_raised_without_error_object)
{
    recording_object object;
    cw::automation::set_error(E_FAIL, u"pending on the thread", u"source");
    object.answer = [](VARIANT*, EXCEPINFO*) { return DISP_E_MEMBERNOTFOUND; };
    const _com_error error =
        raised_by([&] { cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, nullptr); });
    EXPECT_EQ(error.Error(), DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(error.ErrorInfo(), nullptr);
    SetErrorInfo(0, nullptr);
}

struct exception_case {
    WORD code;
    SCODE scode;
    HRESULT expected;
};

TEST(dispatch_method, an_exception_becomes_result_and_error_object)
{
    const exception_case cases[] = {
        {1, E_FAIL, make_hresult(0x80040201)},
        {0xFDFF, E_FAIL, make_hresult(0x8004FFFF)},
        {0xFE00, E_FAIL, make_hresult(0x8004FFFF)},
        {0xFFFF, 0, make_hresult(0x8004FFFF)},
        {0, E_FAIL, E_FAIL},
        {0, make_hresult(0x80040099), make_hresult(0x80040099)},
        {0, S_OK, DISP_E_EXCEPTION},
    };
    for (const exception_case& each : cases) {
        recording_object object;
        object.answer = [&](VARIANT*, EXCEPINFO* exception) {
            exception->wCode = each.code;
            exception->scode = each.scode;
            exception->bstrDescription = SysAllocString(u"description");
            exception->bstrSource = SysAllocString(u"source");
            exception->bstrHelpFile = SysAllocString(u"help.chm");
            exception->dwHelpContext = 12;
            return DISP_E_EXCEPTION;
        };
        const _com_error error =
            raised_by([&] { cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, nullptr); });
        EXPECT_EQ(error.Error(), each.expected);
        ASSERT_NE(error.ErrorInfo(), nullptr);
        EXPECT_EQ(error.Description(), u"description");
        cw::automation::bstr text;
        error.ErrorInfo()->GetSource(text.put());
        EXPECT_EQ(text.view(), u"source");
        error.ErrorInfo()->GetHelpFile(text.put());
        EXPECT_EQ(text.view(), u"help.chm");
        DWORD context = 0;
        error.ErrorInfo()->GetHelpContext(&context);
        EXPECT_EQ(context, 12u);
    }
}

HRESULT fill_in_late(EXCEPINFO* info)
{
    info->bstrDescription = SysAllocString(u"filled in late");
    info->scode = E_ABORT;
    return S_OK;
}

TEST(dispatch_method, asks_for_deferred_details)
{
    recording_object object;
    object.answer = [](VARIANT*, EXCEPINFO* exception) {
        exception->pfnDeferredFillIn = &fill_in_late;
        return DISP_E_EXCEPTION;
    };
    const _com_error error =
        raised_by([&] { cw::dispatch_method(&object, 1, DISPATCH_METHOD, VT_EMPTY, nullptr, nullptr); });
    EXPECT_EQ(error.Error(), E_ABORT);
    EXPECT_EQ(error.Description(), u"filled in late");
}

// --- results ---

template <class Value>
Value got(const VARIANT& answered, VARTYPE type)
{
    recording_object object;
    answer_with(object, answered);
    struct {
        Value value;
        unsigned char guard[8];
    } result{};
    std::memset(&result, 0x55, sizeof result);
    EXPECT_EQ(cw::dispatch_property_get(&object, 3, type, &result.value), S_OK);
    EXPECT_EQ(object.flags, DISPATCH_PROPERTYGET);
    EXPECT_EQ(object.member, 3);
    EXPECT_TRUE(object.arguments.empty());
    for (const unsigned char byte : result.guard)
        EXPECT_EQ(byte, 0x55);
    return result.value;
}

TEST(dispatch_property_get, stores_results_in_the_width_of_their_type)
{
    const variant number(std::int32_t{100});
    EXPECT_EQ((got<std::int8_t>(number, VT_I1)), 100);
    EXPECT_EQ((got<std::uint8_t>(number, VT_UI1)), 100);
    EXPECT_EQ((got<std::int16_t>(number, VT_I2)), 100);
    EXPECT_EQ((got<std::uint16_t>(number, VT_UI2)), 100);
    EXPECT_EQ((got<std::int32_t>(number, VT_I4)), 100);
    EXPECT_EQ((got<std::uint32_t>(number, VT_UI4)), 100u);
    EXPECT_EQ((got<std::int32_t>(number, VT_INT)), 100);
    EXPECT_EQ((got<std::int64_t>(number, VT_I8)), 100);
    EXPECT_EQ((got<float>(number, VT_R4)), 100.0f);
    EXPECT_EQ((got<double>(number, VT_R8)), 100.0);
    EXPECT_EQ((got<double>(number, VT_DATE)), 100.0);
    EXPECT_EQ((got<CY>(number, VT_CY).int64), 1000000);
    EXPECT_EQ((got<VARIANT_BOOL>(number, VT_BOOL)), VARIANT_TRUE);
    EXPECT_EQ((got<VARIANT_BOOL>(variant(false), VT_BOOL)), VARIANT_FALSE);
}

TEST(dispatch_property_get, texts_and_objects_belong_to_the_caller)
{
    cw::automation::bstr text;
    text.attach(got<BSTR>(variant(u"text"), VT_BSTR));
    EXPECT_EQ(text.view(), u"text");
    text.attach(got<BSTR>(variant(std::int32_t{-7}), VT_BSTR));
    EXPECT_EQ(text.view(), u"-7");

    recording_object answered;
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_DISPATCH;
    value.pdispVal = &answered;
    EXPECT_EQ((got<IDispatch*>(value, VT_DISPATCH)), &answered);
    EXPECT_EQ(answered.references, 2);
    value.pdispVal = nullptr;
    EXPECT_EQ((got<IDispatch*>(value, VT_DISPATCH)), nullptr);
}

TEST(dispatch_property_get, a_variant_is_handed_over_as_it_is)
{
    VARIANT value = got<VARIANT>(variant(u"text"), VT_VARIANT);
    EXPECT_EQ(value.vt, VT_BSTR);
    EXPECT_EQ(std::u16string_view(value.bstrVal), u"text");
    VariantClear(&value);
    EXPECT_EQ((got<VARIANT>(variant(), VT_VARIANT).vt), VT_EMPTY);
}

TEST(dispatch_property_get, an_array_is_handed_over)
{
    variant array;
    array.vt = VT_ARRAY | VT_I4;
    array.parray = SafeArrayCreateVector(VT_I4, 0, 3);
    SAFEARRAY* const copy = got<SAFEARRAY*>(array, VT_ARRAY | VT_I4);
    EXPECT_NE(copy, array.parray);
    EXPECT_EQ(SafeArrayGetDim(copy), 1u);
    SafeArrayDestroy(copy);
}

TEST(dispatch_property_get, a_value_of_the_type_asked_for_is_not_converted)
{
    variant value;
    value.vt = VT_ERROR;
    value.scode = DISP_E_PARAMNOTFOUND;
    EXPECT_EQ((got<SCODE>(value, VT_ERROR)), DISP_E_PARAMNOTFOUND);
}

TEST(dispatch_property_get, a_decimal_is_handed_over_whole)
{
    variant value;
    value.decVal.Lo64 = 42;
    value.vt = VT_DECIMAL;
    EXPECT_EQ((got<DECIMAL>(value, VT_DECIMAL).Lo64), 42u);
}

TEST(dispatch_property_get, a_failed_coercion_is_a_failed_call)
{
    recording_object object;
    const variant text(u"no number");
    answer_with(object, text);
    std::int32_t result = 77;
    const _com_error error = raised_by([&] { cw::dispatch_property_get(&object, 1, VT_I4, &result); });
    EXPECT_EQ(error.Error(), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(result, 77);
}

TEST(dispatch_property_get, without_a_place_for_it_no_result_is_asked)
{
    recording_object object;
    cw::dispatch_property_get(&object, 1, VT_I4, nullptr);
    EXPECT_FALSE(object.had_result);
    int result = 0;
    cw::dispatch_property_get(&object, 1, VT_EMPTY, &result);
    EXPECT_FALSE(object.had_result);
}

// --- text conversions ---

class charset_scope {
public:
    explicit charset_scope(const char* charset) : m_pages(make_icu_code_pages(charset)), m_scope(set()) {}

private:
    services set() const
    {
        services replaced = current();
        replaced.pages = m_pages.get();
        return replaced;
    }
    std::unique_ptr<code_pages> m_pages;
    scoped_services m_scope;
};

std::string narrowed(std::u16string_view text)
{
    const cw::automation::bstr wide(text);
    char* const bytes = cw::narrow_from_bstr(wide.get());
    const std::string result(bytes);
    delete[] bytes;
    return result;
}

std::u16string widened(const char* text)
{
    cw::automation::bstr wide;
    wide.attach(cw::bstr_from_narrow(text));
    return std::u16string(wide.view());
}

TEST(narrow_conversions, use_the_thread_s_charset)
{
    const charset_scope latin("ISO-8859-1");
    EXPECT_EQ(narrowed(u"n\u00E9"), "n\xE9");
    EXPECT_EQ(widened("n\xE9"), u"n\u00E9");
    EXPECT_EQ(narrowed(u""), "");
    BSTR empty = cw::bstr_from_narrow("");
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(SysStringLen(empty), 0u);
    SysFreeString(empty);
}

TEST(narrow_conversions, take_long_texts)
{
    EXPECT_EQ(narrowed(std::u16string(10000, u'\u20AC')).size(), 30000u);
    EXPECT_EQ(widened(std::string(10000, 'x').c_str()), std::u16string(10000, u'x'));
}

TEST(narrow_conversions, null_gives_null)
{
    EXPECT_EQ(cw::narrow_from_bstr(nullptr), nullptr);
    EXPECT_EQ(cw::bstr_from_narrow(nullptr), nullptr);
}

/// Answers a size and then fails, or fails at once.
struct failing_pages final : code_pages {
    int calls_that_work = 0;
    std::uint32_t error = error_invalid_parameter;

    int next() noexcept
    {
        if (calls_that_work-- > 0)
            return 4;
        set_last_error(error);
        return 0;
    }
    int to_narrow(std::uint32_t, const char16_t*, int, char*, int) noexcept override { return next(); }
    int to_wide(std::uint32_t, const char*, int, char16_t*, int) noexcept override { return next(); }
    std::size_t character_count(const char*) noexcept override { return 0; }
};

TEST(narrow_conversions, raise_the_last_error_of_the_converter)
{
    failing_pages pages;
    services set = current();
    set.pages = &pages;
    const scoped_services scope(set);
    const cw::automation::bstr wide(u"abc");
    for (const int calls_that_work : {0, 1}) {
        pages.calls_that_work = calls_that_work;
        EXPECT_EQ(raised_by([&] { (void)cw::narrow_from_bstr(wide.get()); }).Error(), make_hresult(0x80070057));
        pages.calls_that_work = calls_that_work;
        EXPECT_EQ(raised_by([&] { (void)cw::bstr_from_narrow("abc"); }).Error(), make_hresult(0x80070057));
    }
    // Only the low half of a number counts, and what is a result already stays.
    pages.error = 0x782345;
    EXPECT_EQ(raised_by([&] { (void)cw::bstr_from_narrow("abc"); }).Error(), make_hresult(0x80072345));
    pages.error = 0x80004005;
    EXPECT_EQ(raised_by([&] { (void)cw::bstr_from_narrow("abc"); }).Error(), E_FAIL);
}

TEST(narrow_conversions, raise_where_memory_is_short)
{
    scripted_services script;
    script.memory.fail_after = 1;
    EXPECT_EQ(raised_by([] { (void)cw::bstr_from_narrow("abc"); }).Error(), E_OUTOFMEMORY);
}

TEST(narrow_conversions, refuse_more_bytes_than_an_int_counts)
{
    // Two gigabytes of text in two megabytes of memory: the same pages over and over.
    constexpr std::size_t block = 2 << 20;
    constexpr std::size_t blocks = 1024;
    const int file = memfd_create("text", 0);
    ASSERT_GE(file, 0);
    ASSERT_EQ(ftruncate(file, block), 0);
    const std::string letters(block, 'a');
    ASSERT_EQ(write(file, letters.data(), block), static_cast<ssize_t>(block));
    void* const space =
        mmap(nullptr, (blocks + 1) * block, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(space, MAP_FAILED);
    char* const text = static_cast<char*>(space);
    for (std::size_t i = 0; i < blocks; ++i)
        ASSERT_NE(mmap(text + i * block, block, PROT_READ, MAP_SHARED | MAP_FIXED, file, 0), MAP_FAILED);
    EXPECT_EQ(raised_by([&] { (void)cw::bstr_from_narrow(text); }).Error(), E_INVALIDARG);
    munmap(space, (blocks + 1) * block);
    close(file);
}

} // namespace

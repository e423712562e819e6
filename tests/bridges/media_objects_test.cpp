#include "bridges/media_objects.h"

#include "foundation/exceptions.h"
#include "tests/support/scripted_services.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace {

// The automation library's own copying, counted and made to fail on demand.
int copies = 0;
HRESULT copy_failure = S_OK;

} // namespace

extern "C" HRESULT VariantCopy(VARIANT* target, const VARIANT* source) noexcept
{
    static const auto real = reinterpret_cast<decltype(&VariantCopy)>(dlsym(RTLD_NEXT, "VariantCopy"));
    ++copies;
    return FAILED(copy_failure) ? copy_failure : real(target, source);
}

namespace cw {
namespace {

using automation::com_ptr;
using lines = std::vector<std::string>;

HRESULT result_of(const std::function<void()>& work)
{
    try {
        work();
        return S_OK;
    } catch (const _com_error& error) {
        return error.Error();
    }
}

std::string argument_text(const VARIANT& value)
{
    switch (value.vt) {
    case VT_I4:
        return std::to_string(value.lVal);
    case VT_BSTR: {
        const std::u16string_view text(value.bstrVal, SysStringLen(value.bstrVal));
        return "\"" + std::string(text.begin(), text.end()) + "\"";
    }
    default:
        return "type " + std::to_string(value.vt);
    }
}

/// Answers members by number from a table and writes each call down: number, kind, arguments in
/// their natural order.
class fake_dispatch final : public IDispatch {
public:
    std::map<DISPID, automation::variant> values;
    std::vector<com_ptr<IDispatch>> items; // from index 1, for any number not in `values`
    std::map<std::string, HRESULT> failures;
    lines calls;
    ULONG references = 0;

    ~fake_dispatch() { EXPECT_EQ(references, 0u); }
    HRESULT QueryInterface(REFIID, void**) noexcept override { return E_NOINTERFACE; }
    ULONG AddRef() noexcept override { return ++references; }
    ULONG Release() noexcept override { return --references; }
    HRESULT GetTypeInfoCount(UINT*) noexcept override { return E_NOTIMPL; }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    HRESULT GetIDsOfNames(REFIID, WCHAR**, UINT, LCID, DISPID*) noexcept override
    {
        calls.emplace_back("GetIDsOfNames");
        return E_NOTIMPL;
    }
    HRESULT Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result, EXCEPINFO*,
                   UINT*) noexcept override
    {
        std::string line = std::to_string(member) + (flags == DISPATCH_METHOD ? " call" : " get");
        for (UINT i = arguments->cArgs; i-- > 0;)
            line += " " + argument_text(arguments->rgvarg[i]);
        calls.push_back(line);
        if (const auto failure = failures.find(line); failure != failures.end())
            return failure->second;
        if (!result)
            return S_OK;
        if (const auto found = values.find(member); found != values.end())
            return found->second.copy_to(*result);
        const LONG index = arguments->cArgs == 1 ? arguments->rgvarg[0].lVal : 0;
        if (index < 1 || static_cast<std::size_t>(index) > items.size())
            return DISP_E_MEMBERNOTFOUND;
        result->vt = VT_DISPATCH;
        result->pdispVal = com_ptr<IDispatch>(items[static_cast<std::size_t>(index) - 1]).detach();
        return S_OK;
    }
};

automation::variant typed(VARTYPE type, std::int32_t value)
{
    automation::variant result(value);
    result.vt = type;
    return result;
}

automation::variant reference(IDispatch* object)
{
    automation::variant result;
    result.vt = VT_DISPATCH;
    result.pdispVal = com_ptr<IDispatch>(object).detach();
    return result;
}

class media_objects : public testing::Test {
protected:
    media_objects()
    {
        copies = 0;
        copy_failure = S_OK;
    }
    ~media_objects() override { copy_failure = S_OK; }

    fake_dispatch first;
    fake_dispatch second;
    fake_dispatch object;
};

TEST_F(media_objects, reads_each_type_by_its_number)
{
    object.values[media_feature::Name.id] = automation::variant(u"Main");
    object.values[media_feature::FileNeed.id] = automation::variant(-4);
    object.values[media_feature::ImageIndex.id] = typed(VT_I2, 7);
    object.values[media_feature::Visible.id] = automation::variant(true);
    object.values[media_feature::Volatile.id] = automation::variant(false);
    object.values[media_feature::SubFeatures.id] = reference(&first);
    EXPECT_EQ(get(&object, media_feature::Name), u"Main");
    EXPECT_EQ(get(&object, media_feature::FileNeed), -4);
    EXPECT_EQ(get(&object, media_feature::ImageIndex), 7);
    EXPECT_TRUE(get(&object, media_feature::Visible));
    EXPECT_FALSE(get(&object, media_feature::Volatile));
    EXPECT_EQ(get(&object, media_feature::SubFeatures).get(), &first);
    EXPECT_EQ(object.calls, (lines{"13 get", "11 get", "36 get", "9 get", "21 get", "0 get"}));

    automation::variant date(36925.5);
    date.vt = VT_DATE;
    object.values[media_file::Date.id] = std::move(date);
    EXPECT_EQ(get(&object, media_file::Date), 36925.5);

    object.values[media_registry_value::Data.id] = automation::variant(u"00ff");
    const automation::variant data = get(&object, media_registry_value::Data);
    ASSERT_EQ(data.vt, VT_BSTR);
    EXPECT_EQ(std::u16string_view(data.bstrVal), u"00ff");
}

TEST_F(media_objects, takes_any_boolean_but_zero_for_true)
{
    object.values[media_feature::Visible.id] = typed(VT_BOOL, 1);
    EXPECT_TRUE(get(&object, media_feature::Visible));
    object.values[media_feature::Visible.id] = automation::variant(2);
    EXPECT_TRUE(get(&object, media_feature::Visible));
}

TEST_F(media_objects, takes_null_texts_for_empty_and_keeps_zeros_in_texts)
{
    automation::variant null_text;
    null_text.vt = VT_BSTR;
    object.values[media_feature::Name.id] = std::move(null_text);
    EXPECT_EQ(get(&object, media_feature::Name), u"");
    EXPECT_EQ(get_bstr(&object, media_feature::Name).get(), nullptr);
    const std::u16string_view odd(u"a\0b", 3);
    object.values[media_feature::Name.id] = automation::variant(odd);
    EXPECT_EQ(get(&object, media_feature::Name), odd);
    EXPECT_EQ(get_bstr(&object, media_feature::Name).view(), odd);
}

TEST_F(media_objects, gives_null_for_a_null_object)
{
    object.values[media_feature::ObjectProperties.id] = reference(nullptr);
    EXPECT_FALSE(get(&object, media_feature::ObjectProperties));
}

TEST_F(media_objects, raises_the_failure_of_a_member_and_of_a_null_object)
{
    object.failures["13 get"] = E_ACCESSDENIED;
    EXPECT_EQ(result_of([&] { (void)get(&object, media_feature::Name); }), E_ACCESSDENIED);
    EXPECT_EQ(result_of([&] { (void)get(&object, media_feature::Flags); }), DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(result_of([&] { (void)get(nullptr, media_feature::Name); }), E_POINTER);
    EXPECT_EQ(result_of([&] { (void)collection_count(nullptr); }), E_POINTER);
    EXPECT_EQ(result_of([&] { (void)collection_item(nullptr, 1); }), E_POINTER);
    object.values[media_feature::Flags.id] = automation::variant(u"no number");
    EXPECT_EQ(result_of([&] { (void)get(&object, media_feature::Flags); }), DISP_E_TYPEMISMATCH);
}

TEST_F(media_objects, reads_both_kinds_of_collections)
{
    object.values[1003] = automation::variant(2);
    object.values[1] = automation::variant(1);
    object.items = {&first, &second};
    EXPECT_EQ(collection_count(&object), 2);
    EXPECT_EQ(collection_count(&object, component_files), 1);
    EXPECT_EQ(collection_item(&object, 2).get(), &second);
    EXPECT_EQ(collection_item(&object, 1, component_files).get(), &first);
    EXPECT_EQ(object.calls, (lines{"1003 get", "1 get", "0 get 2", "5 get 1"}));
    EXPECT_EQ(result_of([&] { (void)collection_item(&object, 3); }), DISP_E_MEMBERNOTFOUND);
}

TEST_F(media_objects, looks_items_up_by_name)
{
    object.values[0] = reference(&first);
    object.values[5] = reference(&second);
    EXPECT_EQ(collection_item(&object, u"Help Files").get(), &first);
    EXPECT_EQ(collection_item(&object, u"a.txt", component_files).get(), &second);
    EXPECT_EQ(collection_item(&object, u"").get(), &first);
    EXPECT_EQ(object.calls, (lines{"0 get \"Help Files\"", "5 get \"a.txt\"", "0 get \"\""}));
    object.values[0] = reference(nullptr);
    EXPECT_FALSE(collection_item(&object, u"missing"));
}

TEST_F(media_objects, hands_a_copy_of_the_key_over)
{
    object.items = {&first};
    (void)collection_item(&object, 1);
    const int one_item = copies;
    EXPECT_GE(one_item, 1);
    copy_failure = E_OUTOFMEMORY;
    object.calls.clear();
    EXPECT_EQ(result_of([&] { (void)collection_item(&object, 1); }), E_OUTOFMEMORY);
    EXPECT_EQ(result_of([&] { (void)collection_item(&object, u"name"); }), E_OUTOFMEMORY);
    EXPECT_EQ(object.calls, lines{});
}

TEST_F(media_objects, raises_where_a_name_or_a_password_cannot_be_allocated)
{
    test_support::scripted_services services;
    services.memory.fail_after = 1;
    EXPECT_EQ(result_of([&] { (void)collection_item(&object, u"name"); }), E_OUTOFMEMORY);
    services.memory.fail_after = 1;
    EXPECT_EQ(result_of([&] { (void)open_media(&object, u"/m.hdr", u"secret"); }), E_OUTOFMEMORY);
    services.memory.fail_after = 2;
    EXPECT_EQ(result_of([&] { (void)open_media(&object, u"/m.hdr", u"secret"); }), E_OUTOFMEMORY);
    services.memory.fail_after = 1;
    EXPECT_EQ(result_of([&] { extract(&object, u"/out"); }), E_OUTOFMEMORY);
    EXPECT_EQ(object.calls, lines{});
}

TEST_F(media_objects, walks_items_and_reads_the_count_anew_after_each)
{
    object.values[1003] = automation::variant(1);
    object.items = {&first, &second};
    lines seen;
    for_each_item(&object, [&](std::int32_t index, IDispatch* item) {
        seen.push_back(std::to_string(index) + (item == &first ? " first" : " second"));
        object.values[1003] = automation::variant(2);
    });
    EXPECT_EQ(seen, (lines{"1 first", "2 second"}));
    EXPECT_EQ(object.calls, (lines{"1003 get", "0 get 1", "1003 get", "0 get 2", "1003 get"}));

    object.calls.clear();
    for_each_item(&object, [&](std::int32_t, IDispatch*) { object.values[1003] = automation::variant(0); });
    EXPECT_EQ(object.calls, (lines{"1003 get", "0 get 1", "1003 get"}));
}

TEST_F(media_objects, walks_nothing_for_no_items)
{
    object.values[1003] = automation::variant(0);
    object.values[1] = automation::variant(-1);
    for_each_item(&object, [](std::int32_t, IDispatch*) { FAIL(); });
    for_each_file(&object, [](std::int32_t, IDispatch*) { FAIL(); });
    EXPECT_EQ(object.calls, (lines{"1003 get", "1 get"}));
}

TEST_F(media_objects, walks_files_by_their_own_numbers_and_holds_each_while_it_is_dealt_with)
{
    object.values[1] = automation::variant(1);
    object.items = {&first};
    const ULONG before = first.references;
    for_each_file(&object, [&](std::int32_t index, IDispatch* file) {
        EXPECT_EQ(index, 1);
        EXPECT_EQ(file, &first);
        EXPECT_EQ(first.references, before + 1);
    });
    EXPECT_EQ(first.references, before);
    EXPECT_EQ(object.calls, (lines{"1 get", "5 get 1", "1 get"}));
}

TEST_F(media_objects, lets_an_exception_out_of_a_walk_and_releases_the_item)
{
    object.values[1003] = automation::variant(2);
    object.items = {&first, &second};
    const ULONG before = first.references;
    EXPECT_THROW(for_each_item(&object, [](std::int32_t, IDispatch*) { throw 1; }), int);
    EXPECT_EQ(first.references, before);
}

TEST_F(media_objects, opens_a_media_with_path_and_password)
{
    object.values[2001] = reference(&first);
    EXPECT_EQ(open_media(&object, u"C:\\m.hdr", u"secret").get(), &first);
    EXPECT_EQ(open_media(&object, u"/m.hdr", u"").get(), &first);
    EXPECT_EQ(object.calls, (lines{"2001 call \"C:\\m.hdr\" \"secret\"", "2001 call \"/m.hdr\" \"\""}));
    object.failures["2001 call \"/m.hdr\" \"\""] = E_FAIL;
    EXPECT_EQ(result_of([&] { (void)open_media(&object, u"/m.hdr", u""); }), E_FAIL);
}

TEST_F(media_objects, reads_the_product_guid_and_extracts)
{
    object.values[16] = automation::variant(u"{G}");
    EXPECT_EQ(product_guid(&object), u"{G}");
    extract(&object, u"/tmp/a.txt");
    EXPECT_EQ(object.calls, (lines{"16 get 0", "9 call \"/tmp/a.txt\""}));
    object.failures["9 call \"/tmp/a.txt\""] = E_ACCESSDENIED;
    EXPECT_EQ(result_of([&] { extract(&object, u"/tmp/a.txt"); }), E_ACCESSDENIED);
}

} // namespace
} // namespace cw

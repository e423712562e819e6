#include "automation/dispatch_object.h"
#include "support.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace cw::automation;
using cw::automation::test::describe;

namespace {

constexpr WORD get = DISPATCH_PROPERTYGET;
constexpr WORD call = DISPATCH_METHOD;

class sample final : public dispatch_object<sample> {
public:
    static constexpr IID iid = guid_from_literal("0B4E6B0A-54B5-4C0B-9C0E-1F5F0B7C6D01");
    static constexpr std::u16string_view name = u"ISample";
    static inline int living = 0;

    sample() { ++living; }
    ~sample() override { --living; }

    std::u16string Text() const { return std::u16string(u"a\0b", 3); }
    std::u16string_view View() const { return u"view"; }
    const char16_t* Literal() const { return u"literal"; }
    bstr NoText() const { return {}; }
    std::u16string_view TooLong() const { return {u"x", std::size_t{1} << 32}; }
    std::int16_t Small() const { return -7; }
    std::int32_t Number() const { return 70000; }
    bool Yes() const { return true; }
    date_value Date() const { return {1.5}; }
    variant Value() const { return variant(2.5); }
    com_ptr<sample> Child() const { return make_object<sample>(); }
    com_ptr<sample> NoChild() const { return nullptr; }
    std::int32_t Half(std::int32_t number) const { return number / 2; }
    std::u16string Join(const std::u16string& first, std::int32_t number, const VARIANT* last)
    {
        return first + u"|" + std::u16string(1, static_cast<char16_t>(u'0' + number)) + u"|" +
               (last ? std::u16string(test::view_of(*last)) : u"none");
    }
    void Store(std::int32_t number) { stored = number; }
    void Throw(std::int32_t what)
    {
        switch (what) {
        case 0:
            throw automation_error(E_ACCESSDENIED);
        case 1:
            throw automation_error(E_ACCESSDENIED, u"closed");
        case 2:
            throw std::bad_alloc();
        case 3:
            throw std::runtime_error("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xFFz");
        default:
            throw 5;
        }
    }

    static constexpr std::array members{
        property<&sample::Text>(0, u"Text"),        property<&sample::View>(1, u"View"),
        property<&sample::NoText>(2, u"NoText"),    property<&sample::TooLong>(3, u"TooLong"),
        property<&sample::Small>(4, u"Small"),      property<&sample::Number>(5, u"Number"),
        property<&sample::Yes>(6, u"Yes"),          property<&sample::Date>(7, u"Date"),
        property<&sample::Value>(8, u"Value"),      property<&sample::Child>(9, u"Child"),
        property<&sample::NoChild>(10, u"NoChild"), property<&sample::Half>(11, u"Half"),
        property<&sample::Literal>(15, u"Literal"), method<&sample::Join>(12, u"Join"),
        method<&sample::Store>(13, u"Store"),       method<&sample::Throw>(14, u"Throw"),
    };

    std::int32_t stored = 0;
    std::vector<std::u16string> calls;

protected:
    void before_call(const member& called, const call_arguments& arguments) override
    {
        calls.push_back(std::u16string(called.name) + static_cast<char16_t>(u'0' + arguments.count()));
        if (refuse)
            throw automation_error(E_ABORT);
    }

public:
    bool refuse = false;
};

class nameless final : public dispatch_object<nameless> {
public:
    static constexpr IID iid = IID_NULL;
    static constexpr std::u16string_view name = u"Nameless";
    std::int32_t One() const { return 1; }
    static constexpr std::array members{property<&nameless::One>(1, u"One")};
};

struct outcome {
    HRESULT result;
    variant value;
    UINT argument_error = 99;
};

// Arguments in their natural order.
outcome invoke(IDispatch& object, DISPID id, WORD flags, std::vector<VARIANT> arguments = {})
{
    std::reverse(arguments.begin(), arguments.end());
    DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    outcome all;
    all.result = object.Invoke(id, IID_NULL, 0, flags, &parameters, &all.value, nullptr, &all.argument_error);
    return all;
}

class DispatchObject : public testing::Test {
protected:
    void SetUp() override { SetErrorInfo(0, nullptr); }
    void TearDown() override
    {
        object.reset();
        EXPECT_EQ(sample::living, 0);
    }
    com_ptr<sample> object = make_object<sample>();
};

TEST_F(DispatchObject, ReturnsEveryType)
{
    const struct {
        DISPID id;
        VARTYPE type;
        const char* value;
    } rows[] = {
        {1, VT_BSTR, "'view'"}, {2, VT_BSTR, "''"},         {4, VT_I2, "-7"},
        {5, VT_I4, "70000"},    {6, VT_BOOL, "true"},       {7, VT_DATE, "1.5"},
        {8, VT_R8, "2.5"},      {9, VT_DISPATCH, "object"}, {10, VT_DISPATCH, "no object"},
    };
    for (const auto& row : rows) {
        const outcome all = invoke(*object, row.id, get);
        EXPECT_EQ(all.result, S_OK) << row.id;
        EXPECT_EQ(all.value.vt, row.type) << row.id;
        EXPECT_EQ(describe(all.value), row.value) << row.id;
    }
    EXPECT_EQ(test::view_of(invoke(*object, 0, get).value), std::u16string_view(u"a\0b", 3));
    EXPECT_EQ(invoke(*object, 2, get).value.bstrVal, nullptr);
}

TEST_F(DispatchObject, AReturnedObjectHasOneReference)
{
    {
        const outcome all = invoke(*object, 9, get);
        EXPECT_EQ(sample::living, 2);
        EXPECT_EQ(all.value.pdispVal->AddRef(), 2u);
        all.value.pdispVal->Release();
    }
    EXPECT_EQ(sample::living, 1);
}

TEST_F(DispatchObject, ATextWithoutMemoryIsAResult)
{
    EXPECT_EQ(invoke(*object, 3, get).result, E_OUTOFMEMORY);
}

TEST_F(DispatchObject, TakesArgumentsInOrderAndConverted)
{
    variant text(u"5");
    variant number(std::int32_t{7});
    variant last(u"last");
    EXPECT_EQ(describe(invoke(*object, 12, call, {text, text, last}).value), "'5|5|last'");
    EXPECT_EQ(describe(invoke(*object, 12, call, {number, number}).value), "'7|7|none'");
    EXPECT_EQ(describe(invoke(*object, 11, get, {variant(3.5)}).value), "2");
    invoke(*object, 13, call, {number});
    EXPECT_EQ(object->stored, 7);
}

TEST_F(DispatchObject, AnArgumentMayBePassedByReferenceOrLeftOut)
{
    variant text(u"there");
    VARIANT reference{};
    reference.vt = VT_BYREF | VT_VARIANT;
    reference.pvarVal = &text;
    VARIANT by_text{};
    by_text.vt = VT_BYREF | VT_BSTR;
    by_text.byref = &text.bstrVal;
    VARIANT left_out{};
    left_out.vt = VT_ERROR;
    left_out.scode = DISP_E_PARAMNOTFOUND;
    const variant one(std::int32_t{1});
    EXPECT_EQ(describe(invoke(*object, 12, call, {reference, one, reference}).value), "'there|1|there'");
    EXPECT_EQ(describe(invoke(*object, 12, call, {by_text, one, left_out}).value), "'there|1|none'");
    EXPECT_EQ(invoke(*object, 12, call, {left_out, one}).result, DISP_E_BADPARAMCOUNT);
    reference.pvarVal = &left_out;
    EXPECT_EQ(describe(invoke(*object, 12, call, {by_text, one, reference}).value), "'there|1|none'");
}

TEST_F(DispatchObject, CountsArguments)
{
    const variant one(std::int32_t{1});
    EXPECT_EQ(invoke(*object, 12, call, {one}).result, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(invoke(*object, 12, call, {one, one, one, one}).result, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(invoke(*object, 5, get, {one}).result, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(invoke(*object, 13, call).result, DISP_E_BADPARAMCOUNT);
    EXPECT_TRUE(object->calls.empty());
}

TEST_F(DispatchObject, TellsWhichArgumentDoesNotConvert)
{
    const variant word(u"word");
    const variant number(std::int32_t{1});
    const variant large(1e10);
    outcome all = invoke(*object, 12, call, {number, word, number});
    EXPECT_EQ(all.result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(all.argument_error, 1u) << "counted as the arguments stand, last first";
    all = invoke(*object, 12, call, {number, large});
    EXPECT_EQ(all.result, DISP_E_OVERFLOW);
    EXPECT_EQ(all.argument_error, 0u);
    all = invoke(*object, 14, call, {number});
    EXPECT_EQ(all.result, E_ACCESSDENIED);
    EXPECT_EQ(all.argument_error, 99u) << "a failure of the member is no failure of an argument";
    DISPPARAMS parameters{const_cast<variant*>(&word), nullptr, 1, 0};
    EXPECT_EQ(object->Invoke(13, IID_NULL, 0, call, &parameters, nullptr, nullptr, nullptr), DISP_E_TYPEMISMATCH);
}

TEST_F(DispatchObject, FindsMembersByNumberAndKind)
{
    EXPECT_EQ(invoke(*object, 77, get).result, DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(invoke(*object, 5, call).result, DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(invoke(*object, 13, get, {variant(std::int32_t{1})}).result, DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(invoke(*object, 5, DISPATCH_PROPERTYPUT).result, DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(invoke(*object, 5, 0).result, DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(describe(invoke(*object, 5, get | call).value), "70000");
    EXPECT_EQ(invoke(*object, 13, get | call, {variant(std::int32_t{9})}).result, S_OK);
    EXPECT_EQ(object->stored, 9);
}

TEST_F(DispatchObject, RefusesMalformedCalls)
{
    DISPPARAMS none{};
    DISPPARAMS without_place{nullptr, nullptr, 1, 0};
    variant number(std::int32_t{1});
    DISPID id = 5;
    DISPPARAMS named{&number, &id, 1, 1};
    variant value(std::int32_t{77});
    EXPECT_EQ(object->Invoke(5, IID_IDispatch, 0, get, &none, &value, nullptr, nullptr), DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(object->Invoke(5, IID_NULL, 0, get, nullptr, &value, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(object->Invoke(11, IID_NULL, 0, get, &without_place, &value, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(object->Invoke(11, IID_NULL, 0, get, &named, &value, nullptr, nullptr), DISP_E_NONAMEDARGS);
    EXPECT_EQ(value.lVal, 77) << "a failure leaves the result alone";
}

TEST_F(DispatchObject, TheResultMayBeDiscarded)
{
    DISPPARAMS none{};
    EXPECT_EQ(object->Invoke(9, IID_NULL, 0, get, &none, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(sample::living, 1);
}

TEST_F(DispatchObject, AMethodWithoutResultGivesAnEmptyOne)
{
    const outcome all = invoke(*object, 13, call, {variant(std::int32_t{1})});
    EXPECT_EQ(all.result, S_OK);
    EXPECT_EQ(all.value.vt, VT_EMPTY);
}

struct failing {
    std::int32_t what;
    HRESULT result;
    std::u16string_view description; // empty: the result comes straight
};
constexpr failing failures[] = {
    {0, E_ACCESSDENIED, u""},    {1, E_ACCESSDENIED, u"closed"}, {2, E_OUTOFMEMORY, u""},
    {3, E_FAIL, u"aä€😀\uFFFDz"}, {4, E_UNEXPECTED, u""},
};

TEST_F(DispatchObject, FailuresFillTheExceptionRecord)
{
    for (const failing& row : failures) {
        variant what(row.what);
        DISPPARAMS arguments{&what, nullptr, 1, 0};
        EXCEPINFO exception{};
        exception.wCode = 77;
        const HRESULT result = object->Invoke(14, IID_NULL, 0, call, &arguments, nullptr, &exception, nullptr);
        bstr description;
        bstr source;
        description.attach(exception.bstrDescription);
        source.attach(exception.bstrSource);
        if (row.description.empty()) {
            EXPECT_EQ(result, row.result) << row.what;
            EXPECT_EQ(exception.wCode, 77) << "the record is left alone";
            continue;
        }
        EXPECT_EQ(result, DISP_E_EXCEPTION) << row.what;
        EXPECT_EQ(exception.scode, row.result);
        EXPECT_EQ(description.view(), row.description);
        EXPECT_EQ(source.view(), u"ISample");
        EXPECT_EQ(exception.wCode, 0);
        EXPECT_EQ(exception.bstrHelpFile, nullptr);
        EXPECT_EQ(exception.pfnDeferredFillIn, nullptr);
    }
}

TEST_F(DispatchObject, WithoutARecordFailuresLeaveAnErrorObject)
{
    for (const failing& row : failures) {
        SetErrorInfo(0, nullptr);
        EXPECT_EQ(invoke(*object, 14, call, {variant(row.what)}).result, row.result) << row.what;
        com_ptr<IErrorInfo> info;
        GetErrorInfo(0, info.put());
        ASSERT_EQ(static_cast<bool>(info), !row.description.empty()) << row.what;
        if (!info)
            continue;
        bstr text;
        GUID guid;
        EXPECT_EQ(info->GetDescription(text.put()), S_OK);
        EXPECT_EQ(text.view(), row.description);
        EXPECT_EQ(info->GetSource(text.put()), S_OK);
        EXPECT_EQ(text.view(), u"ISample");
        EXPECT_EQ(info->GetGUID(&guid), S_OK);
        EXPECT_EQ(guid, sample::iid);
    }
}

TEST_F(DispatchObject, BeforeEachCallTheObjectIsTold)
{
    invoke(*object, 5, get);
    invoke(*object, 13, call, {variant(std::int32_t{1})});
    EXPECT_EQ(object->calls, (std::vector<std::u16string>{u"Number0", u"Store1"}));
    object->refuse = true;
    EXPECT_EQ(invoke(*object, 13, call, {variant(std::int32_t{2})}).result, E_ABORT);
    EXPECT_EQ(object->stored, 1) << "it is told before, and its failure is the call's";
}

TEST_F(DispatchObject, AnswersItsInterfaces)
{
    const com_ptr<IDispatch> dispatch(object.get());
    const IID same[] = {IID_IUnknown, IID_IDispatch, sample::iid};
    for (const IID& iid : same)
        EXPECT_EQ(query_interface<IDispatch>(dispatch.get(), iid), dispatch);
    const auto support = query_interface<ISupportErrorInfo>(dispatch.get(), IID_ISupportErrorInfo);
    ASSERT_TRUE(support);
    EXPECT_EQ(query_interface<IUnknown>(support.get(), IID_IUnknown).get(), static_cast<IUnknown*>(dispatch.get()));
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IDispatch), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(sample::iid), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IUnknown), S_FALSE);
    void* other = this;
    for (const IID& iid : {IID_IClassFactory, IID_NULL}) {
        EXPECT_EQ(object->QueryInterface(iid, &other), E_NOINTERFACE);
        EXPECT_EQ(other, nullptr);
    }
    EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(DispatchObject, AnObjectWithoutAnInterfaceOfItsOwn)
{
    const auto plain = make_object<nameless>();
    void* other = this;
    EXPECT_EQ(plain->QueryInterface(IID_NULL, &other), E_NOINTERFACE);
    EXPECT_EQ(plain->InterfaceSupportsErrorInfo(IID_NULL), S_FALSE);
    EXPECT_EQ(describe(invoke(*plain, 1, get).value), "1");
}

TEST_F(DispatchObject, FindsNamesWithoutRegardToCase)
{
    auto number_of = [&](const char16_t* wanted, HRESULT expected) {
        WCHAR* names[] = {const_cast<WCHAR*>(wanted)};
        DISPID id = 77;
        EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names, 1, 0, &id), expected);
        return id;
    };
    EXPECT_EQ(number_of(u"Number", S_OK), 5);
    EXPECT_EQ(number_of(u"nUMBER", S_OK), 5);
    EXPECT_EQ(number_of(u"Numbers", DISP_E_UNKNOWNNAME), DISPID_UNKNOWN);
    EXPECT_EQ(number_of(u"", DISP_E_UNKNOWNNAME), DISPID_UNKNOWN);
    EXPECT_EQ(number_of(nullptr, DISP_E_UNKNOWNNAME), DISPID_UNKNOWN);
}

TEST_F(DispatchObject, ParametersHaveNoNames)
{
    WCHAR* names[] = {const_cast<WCHAR*>(u"Join"), const_cast<WCHAR*>(u"first")};
    DISPID ids[] = {77, 77};
    EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names, 2, 0, ids), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(ids[0], 12);
    EXPECT_EQ(ids[1], DISPID_UNKNOWN);
    EXPECT_EQ(object->GetIDsOfNames(IID_IDispatch, names, 1, 0, ids), DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(object->GetIDsOfNames(IID_NULL, nullptr, 1, 0, ids), E_INVALIDARG);
    EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names, 1, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(object->GetIDsOfNames(IID_NULL, nullptr, 0, 0, nullptr), S_OK);
}

TEST_F(DispatchObject, HasNoTypeInformation)
{
    UINT count = 5;
    EXPECT_EQ(object->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
    ITypeInfo* info = reinterpret_cast<ITypeInfo*>(this);
    EXPECT_EQ(object->GetTypeInfo(0, 0, &info), DISP_E_BADINDEX);
    EXPECT_EQ(info, nullptr);
    EXPECT_EQ(object->GetTypeInfoCount(nullptr), E_INVALIDARG);
    EXPECT_EQ(object->GetTypeInfo(0, 0, nullptr), E_INVALIDARG);
}

TEST_F(DispatchObject, CountsReferencesOverThreads)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this] {
            for (int turn = 0; turn < 10000; ++turn) {
                object->AddRef();
                object->Release();
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(object->AddRef(), 2u);
    EXPECT_EQ(object->Release(), 1u);
}

TEST(AutomationError, TellsItsResult)
{
    const automation_error error(E_FAIL, u"text");
    EXPECT_STREQ(error.what(), "0x80004005");
    EXPECT_EQ(error.result(), E_FAIL);
    EXPECT_EQ(error.description(), u"text");
}

TEST(TranslateExceptions, TurnsThemIntoResultsAndErrorObjects)
{
    const auto object = make_object<sample>();
    for (const failing& row : failures) {
        set_error(E_FAIL, u"an older error", u"");
        struct request {
            sample& object;
            std::int32_t what;
        } request{*object, row.what};
        const HRESULT result = translate_exceptions(
            u"the source",
            [](void* context) {
                auto& wanted = *static_cast<struct request*>(context);
                wanted.object.Throw(wanted.what);
            },
            &request);
        EXPECT_EQ(result, row.result);
        com_ptr<IErrorInfo> info;
        GetErrorInfo(0, info.put());
        ASSERT_EQ(static_cast<bool>(info), !row.description.empty()) << "the older one must be gone";
        if (!info)
            continue;
        bstr text;
        EXPECT_EQ(info->GetDescription(text.put()), S_OK);
        EXPECT_EQ(text.view(), row.description);
        EXPECT_EQ(info->GetSource(text.put()), S_OK);
        EXPECT_EQ(text.view(), u"the source");
    }
    EXPECT_EQ(translate_exceptions(
                  u"", [](void*) {}, nullptr),
              S_OK);
}

} // namespace

#include "automation/variant.h"

#include "support.h"

#include <gtest/gtest.h>

using cw::automation::variant;
using namespace cw::automation::test;

namespace {

VARIANT reference_to(VARTYPE type, void* place)
{
    VARIANT value{};
    value.vt = type | VT_BYREF;
    value.byref = place;
    return value;
}

TEST(Variant, InitMakesItEmptyWithoutFreeing)
{
    VARIANT value;
    std::fill_n(reinterpret_cast<char*>(&value), sizeof value, '\x7f');
    VariantInit(&value);
    EXPECT_EQ(value.vt, VT_EMPTY);
    EXPECT_EQ(value.llVal, 0);
    VariantInit(nullptr);
}

TEST(Variant, ClearReleasesReferences)
{
    counted_object object;
    for (const VARTYPE type : std::initializer_list<VARTYPE>{VT_DISPATCH, VT_UNKNOWN}) {
        VARIANT value{};
        value.vt = type;
        value.pdispVal = &object;
        object.AddRef();
        EXPECT_EQ(VariantClear(&value), S_OK);
        EXPECT_EQ(value.vt, VT_EMPTY);
        EXPECT_EQ(object.references, 1u);
    }
}

TEST(Variant, ClearOfNullReferencesAndTexts)
{
    for (const VARTYPE type : std::initializer_list<VARTYPE>{+VT_DISPATCH, +VT_UNKNOWN, +VT_BSTR, VT_ARRAY | VT_I4}) {
        VARIANT value{};
        value.vt = type;
        EXPECT_EQ(VariantClear(&value), S_OK) << type;
        EXPECT_EQ(value.vt, VT_EMPTY);
    }
    EXPECT_EQ(VariantClear(nullptr), E_INVALIDARG);
}

TEST(Variant, ClearLeavesWhatItOnlyRefersTo)
{
    BSTR text = SysAllocString(u"text");
    VARIANT value = reference_to(VT_BSTR, &text);
    EXPECT_EQ(VariantClear(&value), S_OK);
    EXPECT_EQ(value.vt, VT_EMPTY);
    EXPECT_EQ(std::u16string_view(text), u"text");
    SysFreeString(text);
}

TEST(Variant, ClearLeavesATypeAloneThatDoesNotExist)
{
    for (const VARTYPE type :
         std::initializer_list<VARTYPE>{15, +VT_VARIANT, 0x1003, 0x0FFF, VT_BYREF | VT_EMPTY, VT_ARRAY | VT_NULL}) {
        VARIANT value{};
        value.vt = type;
        value.lVal = 7;
        EXPECT_EQ(VariantClear(&value), DISP_E_BADVARTYPE) << type;
        EXPECT_EQ(value.vt, type);
        EXPECT_EQ(value.lVal, 7);
    }
}

TEST(Variant, ClearRefusesALockedArray)
{
    VARIANT value{};
    value.vt = VT_ARRAY | VT_I4;
    value.parray = SafeArrayCreateVector(VT_I4, 0, 1);
    SAFEARRAY* array = value.parray;
    ASSERT_EQ(SafeArrayLock(array), S_OK);
    EXPECT_EQ(VariantClear(&value), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(value.vt, VT_ARRAY | VT_I4);
    EXPECT_EQ(value.parray, array);
    ASSERT_EQ(SafeArrayUnlock(array), S_OK);
    EXPECT_EQ(VariantClear(&value), S_OK);
}

TEST(Variant, ClearIsEmptyBeforeAReleaseRuns)
{
    counted_object object;
    VARIANT value{};
    value.vt = VT_DISPATCH;
    value.pdispVal = &object;
    struct seen {
        VARIANT* value;
        VARTYPE type = 0xFFFF;
    } seen{&value};
    object.context = &seen;
    object.on_release = [](void* context) {
        auto& look = *static_cast<struct seen*>(context);
        look.type = look.value->vt;
    };
    object.AddRef();
    EXPECT_EQ(VariantClear(&value), S_OK);
    EXPECT_EQ(seen.type, VT_EMPTY);
}

TEST(Variant, CopyIsDeepForTexts)
{
    const variant source(std::u16string_view(u"a\0b", 3));
    variant copy(std::int32_t{5});
    ASSERT_EQ(VariantCopy(&copy, &source), S_OK);
    EXPECT_EQ(view_of(copy), std::u16string_view(u"a\0b", 3));
    EXPECT_NE(copy.bstrVal, source.bstrVal);
}

TEST(Variant, CopyOfANullTextIsNull)
{
    variant source;
    source.vt = VT_BSTR;
    variant copy;
    ASSERT_EQ(VariantCopy(&copy, &source), S_OK);
    EXPECT_EQ(copy.vt, VT_BSTR);
    EXPECT_EQ(copy.bstrVal, nullptr);
}

TEST(Variant, CopyCountsReferences)
{
    counted_object object;
    variant source;
    source.vt = VT_DISPATCH;
    source.pdispVal = &object;
    object.AddRef();
    {
        variant copy;
        ASSERT_EQ(source.copy_to(copy), S_OK);
        EXPECT_EQ(object.references, 3u);
    }
    EXPECT_EQ(object.references, 2u);
}

TEST(Variant, CopyIsDeepForArrays)
{
    variant source;
    source.vt = VT_ARRAY | VT_BSTR;
    source.parray = SafeArrayCreateVector(VT_BSTR, 1, 1);
    LONG index = 1;
    const cw::automation::bstr text(u"element");
    ASSERT_EQ(SafeArrayPutElement(source.parray, &index, text.get()), S_OK);
    variant copy;
    ASSERT_EQ(VariantCopy(&copy, &source), S_OK);
    EXPECT_EQ(copy.vt, source.vt);
    ASSERT_NE(copy.parray, source.parray);
    cw::automation::bstr element;
    ASSERT_EQ(SafeArrayGetElement(copy.parray, &index, element.put()), S_OK);
    EXPECT_EQ(element.view(), u"element");
}

TEST(Variant, CopyKeepsReferencesToOtherPlaces)
{
    std::int32_t number = 5;
    const VARIANT source = reference_to(VT_I4, &number);
    variant copy;
    ASSERT_EQ(VariantCopy(&copy, &source), S_OK);
    EXPECT_EQ(copy.vt, VT_BYREF | VT_I4);
    EXPECT_EQ(copy.byref, &number);
}

TEST(Variant, CopyOntoItselfChangesNothing)
{
    variant value(u"text");
    BSTR before = value.bstrVal;
    EXPECT_EQ(VariantCopy(&value, &value), S_OK);
    EXPECT_EQ(value.bstrVal, before);
    EXPECT_EQ(VariantCopyInd(&value, &value), S_OK);
    EXPECT_EQ(value.bstrVal, before);
}

TEST(Variant, CopyOfAnElementOverItsArray)
{
    variant outer;
    outer.vt = VT_ARRAY | VT_VARIANT;
    outer.parray = SafeArrayCreateVector(VT_VARIANT, 0, 1);
    variant inner(u"inner");
    LONG index = 0;
    ASSERT_EQ(SafeArrayPutElement(outer.parray, &index, static_cast<VARIANT*>(&inner)), S_OK);
    VARIANT* element = nullptr;
    ASSERT_EQ(SafeArrayPtrOfIndex(outer.parray, &index, reinterpret_cast<void**>(&element)), S_OK);
    ASSERT_EQ(VariantCopy(&outer, element), S_OK);
    EXPECT_EQ(view_of(outer), u"inner");
}

TEST(Variant, CopyRefusals)
{
    variant target(std::int32_t{5});
    VARIANT bad{};
    bad.vt = 15;
    EXPECT_EQ(VariantCopy(&target, &bad), DISP_E_BADVARTYPE);
    EXPECT_EQ(VariantCopyInd(&target, &bad), DISP_E_BADVARTYPE);
    EXPECT_EQ(target.lVal, 5);
    EXPECT_EQ(VariantCopy(nullptr, &target), E_INVALIDARG);
    EXPECT_EQ(VariantCopy(&target, nullptr), E_INVALIDARG);
    EXPECT_EQ(VariantCopyInd(nullptr, &target), E_INVALIDARG);
    EXPECT_EQ(VariantCopyInd(&target, nullptr), E_INVALIDARG);
}

TEST(Variant, CopyOntoALockedArrayIsRefusedWithoutALeak)
{
    variant target;
    target.vt = VT_ARRAY | VT_I4;
    target.parray = SafeArrayCreateVector(VT_I4, 0, 1);
    ASSERT_EQ(SafeArrayLock(target.parray), S_OK);
    const variant source(u"text");
    EXPECT_EQ(VariantCopy(&target, &source), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(target.vt, VT_ARRAY | VT_I4);
    ASSERT_EQ(SafeArrayUnlock(target.parray), S_OK);
}

TEST(Variant, CopyIndFollowsReferencesOfEveryWidth)
{
    std::int8_t i1 = -5;
    std::uint16_t ui2 = 65000;
    std::int32_t i4 = -70000;
    double r8 = 1.5;
    VARIANT_BOOL boolean = VARIANT_TRUE;
    DECIMAL decimal{0, 2, 0x80, 0, 12345};
    const struct {
        VARTYPE type;
        void* place;
        const char* value;
    } rows[] = {{VT_I1, &i1, "-5"},  {VT_UI2, &ui2, "65000"},     {VT_I4, &i4, "-70000"},
                {VT_R8, &r8, "1.5"}, {VT_BOOL, &boolean, "true"}, {VT_DECIMAL, &decimal, "-0:12345e-2"}};
    for (const auto& row : rows) {
        const VARIANT source = reference_to(row.type, row.place);
        variant copy(u"old");
        ASSERT_EQ(VariantCopyInd(&copy, &source), S_OK) << row.type;
        EXPECT_EQ(copy.vt, row.type);
        EXPECT_EQ(describe(copy), row.value);
    }
}

TEST(Variant, CopyIndCopiesWhatItFinds)
{
    BSTR text = SysAllocString(u"text");
    const VARIANT to_text = reference_to(VT_BSTR, &text);
    variant copy;
    ASSERT_EQ(VariantCopyInd(&copy, &to_text), S_OK);
    EXPECT_NE(copy.bstrVal, text);
    EXPECT_EQ(view_of(copy), u"text");
    SysFreeString(text);

    counted_object object;
    IDispatch* pointer = &object;
    const VARIANT to_object = reference_to(VT_DISPATCH, &pointer);
    ASSERT_EQ(VariantCopyInd(&copy, &to_object), S_OK);
    EXPECT_EQ(object.references, 2u);
    VariantClear(&copy);

    SAFEARRAY* array = SafeArrayCreateVector(VT_I4, 0, 3);
    const VARIANT to_array = reference_to(VT_ARRAY | VT_I4, &array);
    ASSERT_EQ(VariantCopyInd(&copy, &to_array), S_OK);
    EXPECT_EQ(copy.vt, VT_ARRAY | VT_I4);
    EXPECT_NE(copy.parray, array);
    SafeArrayDestroy(array);
}

TEST(Variant, CopyIndFollowsOneVariantBetween)
{
    std::int32_t number = 6;
    VARIANT direct{};
    direct.vt = VT_I4;
    direct.lVal = 5;
    VARIANT inner = reference_to(VT_I4, &number);
    variant copy;
    const VARIANT to_direct = reference_to(VT_VARIANT, &direct);
    ASSERT_EQ(VariantCopyInd(&copy, &to_direct), S_OK);
    EXPECT_EQ(describe(copy), "5");
    VARIANT outer = reference_to(VT_VARIANT, &inner);
    ASSERT_EQ(VariantCopyInd(&copy, &outer), S_OK);
    EXPECT_EQ(describe(copy), "6");
    const VARIANT two_between = reference_to(VT_VARIANT, &outer);
    EXPECT_EQ(VariantCopyInd(&copy, &two_between), E_INVALIDARG);
    outer.byref = &outer; // a ring
    EXPECT_EQ(VariantCopyInd(&copy, &outer), E_INVALIDARG);
    inner.vt = 15;
    outer.byref = &inner;
    EXPECT_EQ(VariantCopyInd(&copy, &outer), DISP_E_BADVARTYPE);
    EXPECT_EQ(describe(copy), "6");
}

TEST(Variant, CopyIndInPlace)
{
    std::int32_t number = 6;
    variant value;
    static_cast<VARIANT&>(value) = reference_to(VT_I4, &number);
    ASSERT_EQ(VariantCopyInd(&value, &value), S_OK);
    EXPECT_EQ(value.vt, VT_I4);
    EXPECT_EQ(value.lVal, 6);
}

TEST(Variant, CopyIndRefusesANullReference)
{
    const VARIANT nowhere = reference_to(VT_I4, nullptr);
    variant copy;
    EXPECT_EQ(VariantCopyInd(&copy, &nowhere), E_INVALIDARG);
}

TEST(Variant, TheHolderHandsOver)
{
    variant first(u"text");
    variant second(std::move(first));
    EXPECT_EQ(first.vt, VT_EMPTY);
    EXPECT_EQ(view_of(second), u"text");
    first = std::move(second);
    EXPECT_EQ(view_of(first), u"text");
    VARIANT raw = first.detach();
    EXPECT_EQ(first.vt, VT_EMPTY);
    EXPECT_EQ(VariantClear(&raw), S_OK);
    variant third(u"old");
    EXPECT_EQ(third.put()->vt, VT_EMPTY);
    const char16_t* const pointer = u"pointer";
    EXPECT_EQ(describe(variant(pointer)), "'pointer'") << "not a boolean";
    EXPECT_EQ(describe(variant(true)), "true");
    EXPECT_EQ(describe(variant(false)), "false");
    EXPECT_EQ(describe(variant(1.25)), "1.25");
}

} // namespace

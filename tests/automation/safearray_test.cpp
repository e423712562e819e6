#include "automation/safearray.h"

#include "automation/element_types.h"
#include "support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

using cw::automation::bstr;
using cw::automation::variant;
using namespace cw::automation::test;

namespace {

struct destroyer {
    void operator()(SAFEARRAY* array) const { EXPECT_EQ(SafeArrayDestroy(array), S_OK); }
};
using array_holder = std::unique_ptr<SAFEARRAY, destroyer>;

array_holder vector_of(VARTYPE type, LONG lower, ULONG elements)
{
    return array_holder(SafeArrayCreateVector(type, lower, elements));
}

TEST(SafeArray, HasTypeSizeAndZeroedElementsForEveryElementType)
{
    for (const auto& row : cw::automation::detail::element_types) {
        const auto array = vector_of(row.type, -2, 5);
        ASSERT_TRUE(array) << row.type;
        VARTYPE type = 0;
        EXPECT_EQ(SafeArrayGetVartype(array.get(), &type), S_OK);
        EXPECT_EQ(type, row.type);
        EXPECT_EQ(SafeArrayGetElemsize(array.get()), row.size_in_bytes);
        EXPECT_EQ(SafeArrayGetDim(array.get()), 1u);
        EXPECT_EQ(array->fFeatures, row.array_features | FADF_HAVEVARTYPE);
        LONG bound = 0;
        EXPECT_EQ(SafeArrayGetLBound(array.get(), 1, &bound), S_OK);
        EXPECT_EQ(bound, -2);
        EXPECT_EQ(SafeArrayGetUBound(array.get(), 1, &bound), S_OK);
        EXPECT_EQ(bound, 2);
        const auto* bytes = static_cast<const char*>(array->pvData);
        EXPECT_EQ(std::count(bytes, bytes + 5 * row.size_in_bytes, '\0'), 5 * row.size_in_bytes);
    }
}

TEST(SafeArray, RefusesTypesThatAreNoElements)
{
    for (const VARTYPE type :
         std::initializer_list<VARTYPE>{+VT_EMPTY, +VT_NULL, 15, 24, 36, VT_ARRAY | VT_I4, VT_BYREF | VT_I4})
        EXPECT_EQ(SafeArrayCreateVector(type, 0, 1), nullptr) << type;
}

TEST(SafeArray, RefusesBoundsThatDoNotFit)
{
    const SAFEARRAYBOUND one{1, 0};
    EXPECT_EQ(SafeArrayCreate(VT_I4, 0, &one), nullptr);
    EXPECT_EQ(SafeArrayCreate(VT_I4, 1, nullptr), nullptr);
    EXPECT_EQ(SafeArrayCreate(VT_I4, 0x10000, &one), nullptr);
    EXPECT_EQ(SafeArrayCreateVector(VT_I4, INT32_MAX, 2), nullptr) << "the upper bound";
    EXPECT_EQ(SafeArrayCreateVector(VT_I4, INT32_MIN, 0), nullptr) << "the upper bound";
    // 2^31 * 2^31 * 2^31 * 24 bytes pass 64 bits, and their product wraps to a small number.
    const std::vector<SAFEARRAYBOUND> huge(3, SAFEARRAYBOUND{0x80000000u, INT32_MIN});
    EXPECT_EQ(SafeArrayCreate(VT_VARIANT, 3, huge.data()), nullptr);
    // 2^62 elements of 4 bytes: exactly 2^64, which is 0.
    EXPECT_EQ(SafeArrayCreate(VT_I4, 2, huge.data()), nullptr);
}

TEST(SafeArray, MayHaveNoElements)
{
    const auto array = vector_of(VT_BSTR, 1, 0);
    ASSERT_TRUE(array);
    LONG bound;
    EXPECT_EQ(SafeArrayGetUBound(array.get(), 1, &bound), S_OK);
    EXPECT_EQ(bound, 0);
    LONG index = 1;
    void* element;
    EXPECT_EQ(SafeArrayPtrOfIndex(array.get(), &index, &element), DISP_E_BADINDEX);
    SAFEARRAY* copy = nullptr;
    EXPECT_EQ(SafeArrayCopy(array.get(), &copy), S_OK);
    EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
}

TEST(SafeArray, KeepsTheLastDimensionFirst)
{
    const SAFEARRAYBOUND bounds[] = {{2, 10}, {3, -1}, {4, 0}};
    const array_holder array(SafeArrayCreate(VT_I4, 3, bounds));
    ASSERT_TRUE(array);
    EXPECT_EQ(SafeArrayGetDim(array.get()), 3u);
    EXPECT_EQ(array->rgsabound[0].cElements, 4u);
    for (UINT dimension = 1; dimension <= 3; ++dimension) {
        LONG bound;
        EXPECT_EQ(SafeArrayGetLBound(array.get(), dimension, &bound), S_OK);
        EXPECT_EQ(bound, bounds[dimension - 1].lLbound);
        EXPECT_EQ(SafeArrayGetUBound(array.get(), dimension, &bound), S_OK);
        EXPECT_EQ(bound, bounds[dimension - 1].lLbound + static_cast<LONG>(bounds[dimension - 1].cElements) - 1);
    }
    LONG bound = 77;
    for (const UINT dimension : {0u, 4u, 0xFFFFFFFFu}) {
        EXPECT_EQ(SafeArrayGetLBound(array.get(), dimension, &bound), DISP_E_BADINDEX);
        EXPECT_EQ(SafeArrayGetUBound(array.get(), dimension, &bound), DISP_E_BADINDEX);
    }
    EXPECT_EQ(bound, 77);
}

TEST(SafeArray, TheFirstDimensionVariesFastest)
{
    const SAFEARRAYBOUND bounds[] = {{2, 10}, {3, -1}, {4, 0}};
    const array_holder array(SafeArrayCreate(VT_I4, 3, bounds));
    std::int32_t place = 0;
    for (LONG z = 0; z < 4; ++z)
        for (LONG y = -1; y < 2; ++y)
            for (LONG x = 10; x < 12; ++x, ++place) {
                const LONG indices[] = {x, y, z};
                void* element = nullptr;
                ASSERT_EQ(SafeArrayPtrOfIndex(array.get(), indices, &element), S_OK);
                EXPECT_EQ(element, static_cast<std::int32_t*>(array->pvData) + place);
                ASSERT_EQ(SafeArrayPutElement(array.get(), indices, &place), S_OK);
                std::int32_t back = -1;
                ASSERT_EQ(SafeArrayGetElement(array.get(), indices, &back), S_OK);
                EXPECT_EQ(back, place);
            }
    EXPECT_EQ(static_cast<std::int32_t*>(array->pvData)[23], 23);
}

TEST(SafeArray, ChecksEveryIndex)
{
    const SAFEARRAYBOUND bounds[] = {{2, 10}, {3, -1}};
    const array_holder array(SafeArrayCreate(VT_I4, 2, bounds));
    const LONG rows[][2] = {{9, 0}, {12, 0}, {10, -2}, {10, 2}, {INT32_MIN, 0}, {10, INT32_MAX}};
    for (const auto& indices : rows) {
        std::int32_t number = 5;
        void* element = nullptr;
        EXPECT_EQ(SafeArrayPtrOfIndex(array.get(), indices, &element), DISP_E_BADINDEX);
        EXPECT_EQ(SafeArrayGetElement(array.get(), indices, &number), DISP_E_BADINDEX);
        EXPECT_EQ(SafeArrayPutElement(array.get(), indices, &number), DISP_E_BADINDEX);
        EXPECT_EQ(number, 5);
    }
}

TEST(SafeArray, LocksAreCounted)
{
    SAFEARRAY* array = SafeArrayCreateVector(VT_I4, 0, 1);
    EXPECT_EQ(SafeArrayUnlock(array), E_UNEXPECTED);
    EXPECT_EQ(SafeArrayLock(array), S_OK);
    void* data = nullptr;
    EXPECT_EQ(SafeArrayAccessData(array, &data), S_OK);
    EXPECT_EQ(data, array->pvData);
    EXPECT_EQ(array->cLocks, 2u);
    EXPECT_EQ(SafeArrayDestroy(array), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayUnaccessData(array), S_OK);
    EXPECT_EQ(SafeArrayDestroy(array), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayUnlock(array), S_OK);
    EXPECT_EQ(SafeArrayUnaccessData(array), E_UNEXPECTED);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST(SafeArray, LocksHaveALimit)
{
    const auto array = vector_of(VT_I4, 0, 1);
    for (int i = 0; i < 0xFFFF; ++i)
        ASSERT_EQ(SafeArrayLock(array.get()), S_OK);
    EXPECT_EQ(SafeArrayLock(array.get()), E_UNEXPECTED);
    void* data = array.get();
    EXPECT_EQ(SafeArrayAccessData(array.get(), &data), E_UNEXPECTED);
    EXPECT_EQ(data, nullptr);
    array->cLocks = 0;
}

TEST(SafeArray, AnArrayWithALockedArrayInsideStaysWhole)
{
    SAFEARRAY* outer = SafeArrayCreateVector(VT_VARIANT, 0, 2);
    auto* elements = static_cast<VARIANT*>(outer->pvData);
    elements[0].vt = VT_BSTR;
    elements[0].bstrVal = SysAllocString(u"first");
    elements[1].vt = VT_ARRAY | VT_I4;
    elements[1].parray = SafeArrayCreateVector(VT_I4, 0, 1);
    ASSERT_EQ(SafeArrayLock(elements[1].parray), S_OK);
    EXPECT_EQ(SafeArrayDestroy(outer), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(describe(elements[0]), "'first'");
    ASSERT_EQ(SafeArrayUnlock(elements[1].parray), S_OK);
    EXPECT_EQ(SafeArrayDestroy(outer), S_OK);
}

TEST(SafeArray, OwnsItsTexts)
{
    const auto array = vector_of(VT_BSTR, 0, 2);
    LONG index = 1;
    const bstr text(std::u16string_view(u"a\0b", 3));
    ASSERT_EQ(SafeArrayPutElement(array.get(), &index, text.get()), S_OK);
    ASSERT_EQ(SafeArrayPutElement(array.get(), &index, text.get()), S_OK) << "frees the first copy";
    EXPECT_NE(static_cast<BSTR*>(array->pvData)[1], text.get());
    bstr element;
    ASSERT_EQ(SafeArrayGetElement(array.get(), &index, element.put()), S_OK);
    EXPECT_EQ(element.view(), text.view());
    EXPECT_NE(element.get(), static_cast<BSTR*>(array->pvData)[1]);
    index = 0;
    ASSERT_EQ(SafeArrayGetElement(array.get(), &index, element.put()), S_OK);
    EXPECT_EQ(element.get(), nullptr);
    index = 1;
    ASSERT_EQ(SafeArrayPutElement(array.get(), &index, nullptr), S_OK) << "null is a text too";
    EXPECT_EQ(static_cast<BSTR*>(array->pvData)[1], nullptr);
}

TEST(SafeArray, OwnsItsReferences)
{
    for (const VARTYPE type : std::initializer_list<VARTYPE>{VT_DISPATCH, VT_UNKNOWN}) {
        counted_object object;
        counted_object other;
        auto array = vector_of(type, 0, 2);
        LONG index = 0;
        ASSERT_EQ(SafeArrayPutElement(array.get(), &index, static_cast<IDispatch*>(&object)), S_OK);
        EXPECT_EQ(object.references, 2u);
        IUnknown* element = nullptr;
        ASSERT_EQ(SafeArrayGetElement(array.get(), &index, &element), S_OK);
        EXPECT_EQ(object.references, 3u);
        element->Release();
        SAFEARRAY* copy = nullptr;
        ASSERT_EQ(SafeArrayCopy(array.get(), &copy), S_OK);
        EXPECT_EQ(object.references, 3u);
        ASSERT_EQ(SafeArrayPutElement(copy, &index, static_cast<IDispatch*>(&other)), S_OK);
        EXPECT_EQ(object.references, 2u);
        EXPECT_EQ(other.references, 2u);
        EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
        EXPECT_EQ(other.references, 1u);
        array.reset();
        EXPECT_EQ(object.references, 1u);
    }
}

TEST(SafeArray, OwnsItsVariants)
{
    counted_object object;
    auto array = vector_of(VT_VARIANT, 5, 2);
    LONG index = 6;
    {
        variant value;
        value.vt = VT_DISPATCH;
        value.pdispVal = &object;
        object.AddRef();
        ASSERT_EQ(SafeArrayPutElement(array.get(), &index, static_cast<VARIANT*>(&value)), S_OK);
    }
    EXPECT_EQ(object.references, 2u);
    variant out;
    ASSERT_EQ(SafeArrayGetElement(array.get(), &index, out.put()), S_OK);
    EXPECT_EQ(object.references, 3u);
    variant text(u"text");
    ASSERT_EQ(SafeArrayPutElement(array.get(), &index, static_cast<VARIANT*>(&text)), S_OK);
    EXPECT_EQ(object.references, 2u);
    index = 5;
    ASSERT_EQ(SafeArrayGetElement(array.get(), &index, out.put()), S_OK);
    EXPECT_EQ(out.vt, VT_EMPTY);
    EXPECT_EQ(object.references, 1u);
}

TEST(SafeArray, PutsAnElementOverTheArrayThatItLiesIn)
{
    auto outer = vector_of(VT_VARIANT, 0, 1);
    auto* element = static_cast<VARIANT*>(outer->pvData);
    element->vt = VT_ARRAY | VT_VARIANT;
    element->parray = SafeArrayCreateVector(VT_VARIANT, 0, 1);
    auto* inner = static_cast<VARIANT*>(element->parray->pvData);
    inner->vt = VT_BSTR;
    inner->bstrVal = SysAllocString(u"inner");
    LONG index = 0;
    ASSERT_EQ(SafeArrayPutElement(outer.get(), &index, inner), S_OK);
    EXPECT_EQ(describe(*element), "'inner'");
}

TEST(SafeArray, AFailedPutLeavesTheElement)
{
    auto array = vector_of(VT_VARIANT, 0, 1);
    LONG index = 0;
    variant text(u"text");
    ASSERT_EQ(SafeArrayPutElement(array.get(), &index, static_cast<VARIANT*>(&text)), S_OK);
    VARIANT bad{};
    bad.vt = 15;
    EXPECT_EQ(SafeArrayPutElement(array.get(), &index, &bad), DISP_E_BADVARTYPE);
    EXPECT_EQ(SafeArrayPutElement(array.get(), &index, nullptr), E_INVALIDARG);
    EXPECT_EQ(describe(*static_cast<VARIANT*>(array->pvData)), "'text'");
}

TEST(SafeArray, ACopyIsDeepUnlockedAndKeepsItsBounds)
{
    const SAFEARRAYBOUND bounds[] = {{2, 1}, {2, 7}};
    const array_holder array(SafeArrayCreate(VT_VARIANT, 2, bounds));
    const LONG place[] = {2, 8};
    variant text(u"text");
    ASSERT_EQ(SafeArrayPutElement(array.get(), place, static_cast<VARIANT*>(&text)), S_OK);
    ASSERT_EQ(SafeArrayLock(array.get()), S_OK);
    SAFEARRAY* raw = nullptr;
    ASSERT_EQ(SafeArrayCopy(array.get(), &raw), S_OK);
    ASSERT_EQ(SafeArrayUnlock(array.get()), S_OK);
    const array_holder copy(raw);
    EXPECT_EQ(copy->cLocks, 0u);
    EXPECT_EQ(SafeArrayGetDim(copy.get()), 2u);
    LONG bound;
    EXPECT_EQ(SafeArrayGetLBound(copy.get(), 2, &bound), S_OK);
    EXPECT_EQ(bound, 7);
    variant element;
    ASSERT_EQ(SafeArrayGetElement(copy.get(), place, element.put()), S_OK);
    EXPECT_EQ(describe(element), "'text'");
    VARTYPE type;
    EXPECT_EQ(SafeArrayGetVartype(copy.get(), &type), S_OK);
    EXPECT_EQ(type, VT_VARIANT);
}

TEST(SafeArray, AFailedCopyFreesWhatItHad)
{
    counted_object object;
    auto array = vector_of(VT_VARIANT, 0, 2);
    auto* elements = static_cast<VARIANT*>(array->pvData);
    elements[0].vt = VT_DISPATCH;
    elements[0].pdispVal = &object;
    elements[1].vt = 15;
    SAFEARRAY* copy = array.get();
    EXPECT_EQ(SafeArrayCopy(array.get(), &copy), DISP_E_BADVARTYPE);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(object.references, 1u);
    elements[0].vt = elements[1].vt = VT_EMPTY;
}

TEST(SafeArray, NullIsTakenEverywhere)
{
    LONG number = 0;
    void* data = nullptr;
    VARTYPE type;
    SAFEARRAY* copy = reinterpret_cast<SAFEARRAY*>(&number);
    EXPECT_EQ(SafeArrayDestroy(nullptr), S_OK);
    EXPECT_EQ(SafeArrayGetDim(nullptr), 0u);
    EXPECT_EQ(SafeArrayGetElemsize(nullptr), 0u);
    EXPECT_EQ(SafeArrayCopy(nullptr, &copy), S_OK);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(SafeArrayCopy(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayGetVartype(nullptr, &type), E_INVALIDARG);
    EXPECT_EQ(SafeArrayGetLBound(nullptr, 1, &number), E_INVALIDARG);
    EXPECT_EQ(SafeArrayGetUBound(nullptr, 1, &number), E_INVALIDARG);
    EXPECT_EQ(SafeArrayLock(nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayUnlock(nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayAccessData(nullptr, &data), E_INVALIDARG);
    EXPECT_EQ(SafeArrayPtrOfIndex(nullptr, &number, &data), E_INVALIDARG);
    EXPECT_EQ(SafeArrayGetElement(nullptr, &number, &number), E_INVALIDARG);
    EXPECT_EQ(SafeArrayPutElement(nullptr, &number, &number), E_INVALIDARG);
    const auto array = vector_of(VT_I4, 0, 1);
    EXPECT_EQ(SafeArrayGetVartype(array.get(), nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayGetLBound(array.get(), 1, nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayAccessData(array.get(), nullptr), E_INVALIDARG);
    EXPECT_EQ(array->cLocks, 0u);
    EXPECT_EQ(SafeArrayPtrOfIndex(array.get(), nullptr, &data), E_INVALIDARG);
    EXPECT_EQ(SafeArrayGetElement(array.get(), &number, nullptr), E_INVALIDARG);
}

} // namespace

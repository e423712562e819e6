#include "automation/element_types.h"

#include <gtest/gtest.h>

#include <set>

using namespace cw::automation::detail;

namespace {

TEST(ElementTypes, StandInTheTableOnce)
{
    std::set<VARTYPE> seen;
    for (const element_type& row : element_types)
        EXPECT_TRUE(seen.insert(row.type).second) << row.type;
    EXPECT_EQ(seen.size(), 21u);
}

TEST(ElementTypes, HaveTheSizeOfTheirField)
{
    EXPECT_EQ(find_element_type(VT_I1)->size_in_bytes, sizeof(VARIANT::cVal));
    EXPECT_EQ(find_element_type(VT_BOOL)->size_in_bytes, sizeof(VARIANT::boolVal));
    EXPECT_EQ(find_element_type(VT_INT)->size_in_bytes, sizeof(VARIANT::intVal));
    EXPECT_EQ(find_element_type(VT_R8)->size_in_bytes, sizeof(VARIANT::dblVal));
    EXPECT_EQ(find_element_type(VT_BSTR)->size_in_bytes, sizeof(VARIANT::bstrVal));
    EXPECT_EQ(find_element_type(VT_DECIMAL)->size_in_bytes, 16);
    EXPECT_EQ(find_element_type(VT_VARIANT)->size_in_bytes, 24);
}

TEST(ElementTypes, TellWhatAVariantCanBe)
{
    for (const VARTYPE type :
         std::initializer_list<VARTYPE>{+VT_EMPTY, +VT_NULL, +VT_I2, +VT_DECIMAL, +VT_UINT, VT_ARRAY | VT_VARIANT,
                                        VT_BYREF | VT_VARIANT, VT_BYREF | VT_ARRAY | VT_BSTR})
        EXPECT_TRUE(is_variant_type(type)) << type;
    for (const VARTYPE type :
         std::initializer_list<VARTYPE>{+VT_VARIANT, 15, 24, 36, 0xFFF, VT_ARRAY | VT_EMPTY, VT_BYREF | VT_NULL,
                                        +VT_ARRAY, 0x1000 | VT_I4, 0x8000 | VT_I4, VT_ARRAY | 15})
        EXPECT_FALSE(is_variant_type(type)) << type;
}

} // namespace

#include "mediaforge_support.h"

#include "formats/media_format.h"

#include <limits>

namespace cw::mediaforge_tests {
namespace {

using authoring::typed_value;

class mediaforge_stored_values : public media_test {
protected:
    std::string header(const std::vector<typed_value>& values)
    {
        return make_header([&](media_writer& writer) {
            const auto feature = writer.add_feature(0, authoring::make_row(formats::feature_columns, {}));
            const auto set = writer.add_registry_set(authoring::make_row(formats::registry_set_columns, {}));
            const auto key = writer.add_registry_key(set, 2, authoring::make_row(formats::registry_key_columns, {}));
            for (const typed_value& value : values) {
                writer.add_feature_property(feature, "Property", value);
                if (!(value.type & VT_ARRAY))
                    writer.add_registry_value(key, value, authoring::make_row(formats::registry_value_columns, {}));
            }
        });
    }
    /// The property's value, or the failure.
    outcome property(IDispatch* media, int index)
    {
        const object feature = item(child(media, media::Features).get(), 1);
        const object all = child(feature.get(), media_feature::ObjectProperties);
        const object one = item(all.get(), index);
        EXPECT_EQ(text(one.get(), media_feature_property::Name), u"Property");
        return call(one.get(), media_feature_property::Value);
    }
    outcome data(IDispatch* media, int index)
    {
        const object set = item(child(media, media::RegistrySets).get(), 1);
        const object key = item(child(set.get(), media_registry_set::LocalMachineKeys).get(), 1);
        return call(item(child(key.get(), media_registry_key::Values).get(), index).get(), media_registry_value::Data);
    }
    static typed_value integer(VARTYPE type, std::int64_t value) { return {type, value, 0, {}}; }
    static typed_value real(VARTYPE type, double value) { return {type, value, 0, {}}; }
    static typed_value words(const char* value) { return {VT_BSTR, std::string(value), 0, {}}; }
};

TEST_F(mediaforge_stored_values, scalars_of_every_type_in_both_places)
{
    const object media = open(header({integer(VT_I1, -5),     integer(VT_UI1, 250),   integer(VT_I2, -300),
                                      integer(VT_UI2, 65000), integer(VT_I4, -70000), integer(VT_UI4, 4000000000),
                                      integer(VT_INT, 7),     integer(VT_UINT, 8),    integer(VT_I8, INT64_MIN),
                                      integer(VT_UI8, -1),    integer(VT_BOOL, -1),   integer(VT_BOOL, 0),
                                      integer(VT_CY, 12345),  real(VT_R4, 1.5),       real(VT_R8, -2.25),
                                      real(VT_DATE, 36925.5), words("Text Ω"),        {VT_BSTR, {}, 0, {}},
                                      {VT_EMPTY, {}, 0, {}},  {VT_NULL, {}, 0, {}},   integer(VT_ERROR, -2147467259)}));
    const auto check = [&](auto read) {
        int i = 0;
        const auto next = [&](VARTYPE type) {
            outcome answer = read(++i);
            EXPECT_EQ(answer.result, S_OK) << i << narrow(answer.description);
            EXPECT_EQ(answer.value.vt, type) << i;
            return answer;
        };
        EXPECT_EQ(next(VT_I1).value.cVal, -5);
        EXPECT_EQ(next(VT_UI1).value.bVal, 250);
        EXPECT_EQ(next(VT_I2).value.iVal, -300);
        EXPECT_EQ(next(VT_UI2).value.uiVal, 65000);
        EXPECT_EQ(next(VT_I4).value.lVal, -70000);
        EXPECT_EQ(next(VT_UI4).value.ulVal, 4000000000);
        EXPECT_EQ(next(VT_INT).value.intVal, 7);
        EXPECT_EQ(next(VT_UINT).value.uintVal, 8u);
        EXPECT_EQ(next(VT_I8).value.llVal, INT64_MIN);
        EXPECT_EQ(next(VT_UI8).value.ullVal, UINT64_MAX);
        EXPECT_EQ(next(VT_BOOL).value.boolVal, VARIANT_TRUE);
        EXPECT_EQ(next(VT_BOOL).value.boolVal, VARIANT_FALSE);
        EXPECT_EQ(next(VT_CY).value.cyVal.int64, 12345);
        EXPECT_EQ(next(VT_R4).value.fltVal, 1.5f);
        EXPECT_EQ(next(VT_R8).value.dblVal, -2.25);
        EXPECT_EQ(next(VT_DATE).value.date, 36925.5);
        EXPECT_EQ(next(VT_BSTR).text(), u"Text Ω");
        EXPECT_EQ(next(VT_BSTR).value.bstrVal, nullptr);
        next(VT_EMPTY);
        next(VT_NULL);
        EXPECT_EQ(next(VT_ERROR).value.scode, E_FAIL);
    };
    check([&](int i) { return property(media.get(), i); });
    check([&](int i) { return data(media.get(), i); });
}

TEST_F(mediaforge_stored_values, arrays_have_their_bounds_and_elements)
{
    const object media = open(header({{VT_ARRAY | VT_BSTR, {}, 0, {words("a"), {VT_BSTR, {}, 0, {}}, words("c")}},
                                      {VT_ARRAY | VT_I4, {}, -3, {integer(VT_I4, 10), integer(VT_I4, 20)}},
                                      {VT_ARRAY | VT_R8, {}, 1, {real(VT_R8, 0.5)}},
                                      {VT_ARRAY | VT_VARIANT, {}, 5, {integer(VT_I2, 3), words("v")}},
                                      {VT_ARRAY | VT_BOOL, {}, 0, {}}}));
    const auto bounds = [](const outcome& answer, VARTYPE type, LONG lower, LONG upper) {
        ASSERT_EQ(answer.result, S_OK);
        ASSERT_EQ(answer.value.vt, VT_ARRAY | type);
        LONG found = 0;
        EXPECT_EQ(SafeArrayGetDim(answer.value.parray), 1u);
        EXPECT_EQ(SafeArrayGetLBound(answer.value.parray, 1, &found), S_OK);
        EXPECT_EQ(found, lower);
        EXPECT_EQ(SafeArrayGetUBound(answer.value.parray, 1, &found), S_OK);
        EXPECT_EQ(found, upper);
    };
    outcome answer = property(media.get(), 1);
    bounds(answer, VT_BSTR, 0, 2);
    for (LONG i = 0; i < 3; ++i) {
        automation::bstr element;
        EXPECT_EQ(SafeArrayGetElement(answer.value.parray, &i, element.put()), S_OK);
        EXPECT_EQ(element.view(), i == 0 ? u"a" : i == 1 ? u"" : u"c");
    }
    answer = property(media.get(), 2);
    bounds(answer, VT_I4, -3, -2);
    LONG index = -2;
    LONG value = 0;
    EXPECT_EQ(SafeArrayGetElement(answer.value.parray, &index, &value), S_OK);
    EXPECT_EQ(value, 20);
    answer = property(media.get(), 3);
    bounds(answer, VT_R8, 1, 1);
    answer = property(media.get(), 4);
    bounds(answer, VT_VARIANT, 5, 6);
    index = 6;
    variant element;
    EXPECT_EQ(SafeArrayGetElement(answer.value.parray, &index, static_cast<VARIANT*>(&element)), S_OK);
    EXPECT_EQ(element.vt, VT_BSTR);
    EXPECT_EQ(std::u16string(element.bstrVal), u"v");
    bounds(property(media.get(), 5), VT_BOOL, 0, -1);
}

TEST_F(mediaforge_stored_values, what_is_not_of_its_type_fails)
{
    const std::vector<typed_value> wrong{words("x"),
                                         integer(VT_I2, 40000),
                                         integer(VT_UI1, -1),
                                         integer(VT_I4, 1ll << 40),
                                         real(VT_R4, 1e300),
                                         integer(VT_DISPATCH, 0),
                                         integer(VT_DECIMAL, 1),
                                         integer(VT_BYREF | VT_I4, 1),
                                         {VT_I4, std::string("12 men"), 0, {}},
                                         {VT_I4, {}, 0, {}},
                                         {VT_BSTR, std::int64_t{5}, 0, {}},
                                         {VT_R8, std::string("x"), 0, {}},
                                         real(VT_I4, 1.5)};
    const object media = open(header(wrong));
    for (int i = 2; i <= static_cast<int>(wrong.size()); ++i) {
        const outcome answer = property(media.get(), i);
        EXPECT_EQ(answer.result, failure(31)) << i;
        EXPECT_TRUE(answer.tells(u"feature_property")) << narrow(answer.description);
        EXPECT_EQ(data(media.get(), i).result, failure(31)) << i;
    }
    EXPECT_EQ(property(media.get(), 1).text(), u"x");
}

TEST_F(mediaforge_stored_values, arrays_that_contradict_themselves_fail)
{
    const std::string path =
        header({{VT_ARRAY | VT_I4, {}, 0, {integer(VT_I4, 1), integer(VT_I4, 2), integer(VT_I4, 3)}},
                {VT_ARRAY | VT_I4, {}, 0, {integer(VT_I4, 1), words("x")}},
                {VT_ARRAY | VT_I4, {}, 2147483647, {integer(VT_I4, 1), integer(VT_I4, 1)}},
                {VT_ARRAY | VT_EMPTY, {}, 0, {{VT_EMPTY, {}, 0, {}}}},
                {VT_ARRAY | VT_BYREF | VT_I4, {}, 0, {}}});
    alter(path, "DELETE FROM feature_property_element WHERE property = 0 AND position = 1");
    const object media = open(path);
    for (int i = 1; i <= 5; ++i)
        EXPECT_EQ(property(media.get(), i).result, failure(31)) << i;
}

} // namespace
} // namespace cw::mediaforge_tests

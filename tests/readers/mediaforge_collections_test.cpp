#include "mediaforge_support.h"

#include "formats/media_format.h"

#include <chrono>

namespace cw::mediaforge_tests {
namespace {

authoring::row named(std::span<const formats::member_column> columns, const std::string& name)
{
    return authoring::make_row(columns, {{u"Name", name}});
}

void add_file(media_writer& writer, std::int64_t component, const std::string& name, std::int32_t flags)
{
    authoring::file_row file;
    file.name = name;
    file.flags = flags;
    writer.add_file(component, file);
}

class mediaforge_collections : public media_test {
protected:
    object m_media;
    mediaforge_collections()
    {
        m_media = open(make_header([](media_writer& writer) {
            for (const char* name : {"Alpha", "beta", "Alpha", "Ünïcode", "", "7"})
                writer.add_component(named(formats::component_columns, name));
            for (const char* name : {"x", "y", "x", "Ω.txt", "1"})
                add_file(writer, 2, name, 0);
            add_file(writer, 3, "y", 33);
            writer.add_feature(0, named(formats::feature_columns, "F"));
        }));
    }
    object components() { return child(m_media.get(), media::Components); }
    object files(int component) { return child(item(components().get(), component).get(), media_component::Files); }
};

TEST_F(mediaforge_collections, count_and_index)
{
    EXPECT_EQ(count(components().get()), 6);
    EXPECT_EQ(names(components().get(), media_component::Name),
              (std::vector<std::u16string>{u"Alpha", u"beta", u"Alpha", u"Ünïcode", u"", u"7"}));
    EXPECT_EQ(number(files(2).get(), media_file_list::Count), 5);
    EXPECT_EQ(number(files(3).get(), media_file_list::Count), 1);
    EXPECT_EQ(number(files(1).get(), media_file_list::Count), 0);
}

TEST_F(mediaforge_collections, an_index_outside_fails_with_a_text)
{
    const object all = components();
    for (const int index : {0, -1, 7, INT32_MAX, INT32_MIN}) {
        const outcome answer = call(all.get(), media_collection::Item, index);
        EXPECT_EQ(answer.result, E_FAIL) << index;
        EXPECT_TRUE(answer.tells(u"There is no component number " + wide(std::to_string(index)) + u" among 6"));
    }
    EXPECT_EQ(call(files(1).get(), media_file_list::Item, 1).result, E_FAIL);
    EXPECT_EQ(call(child(m_media.get(), media::SetupTypes).get(), media_collection::Item, 1).result, E_FAIL);
}

TEST_F(mediaforge_collections, a_name_finds_the_first_of_its_exact_spelling)
{
    const auto find = [&](std::u16string_view name) { return call(components().get(), media_collection::Item, name); };
    EXPECT_EQ(text(find(u"Alpha").as_object().get(), media_component::Name), u"Alpha");
    EXPECT_EQ(text(find(u"Ünïcode").as_object().get(), media_component::Name), u"Ünïcode");
    EXPECT_EQ(text(find(u"").as_object().get(), media_component::Name), u"");
    // A text is a name, also one of digits.
    EXPECT_EQ(text(find(u"7").as_object().get(), media_component::Name), u"7");
    // The first of two: it has no files, the second one has.
    const object first = find(u"Alpha").as_object();
    EXPECT_EQ(number(child(first.get(), media_component::Files).get(), media_file_list::Count), 0);
    for (const std::u16string_view absent : {u"alpha", u"Alpha ", u"none", u"Alph"}) {
        const outcome answer = find(absent);
        EXPECT_EQ(answer.result, E_FAIL);
        EXPECT_TRUE(answer.tells(u"There is no component named \"" + std::u16string(absent) + u"\""));
    }
}

TEST_F(mediaforge_collections, a_file_name_is_found_in_its_component_alone)
{
    const auto find = [&](int component, std::u16string_view name) {
        return call(files(component).get(), media_file_list::Item, name);
    };
    EXPECT_EQ(number(find(2, u"y").as_object().get(), media_file::Flags), 0);
    EXPECT_EQ(number(find(3, u"y").as_object().get(), media_file::Flags), 33);
    EXPECT_EQ(text(find(2, u"Ω.txt").as_object().get(), media_file::Name), u"Ω.txt");
    EXPECT_EQ(text(find(2, u"1").as_object().get(), media_file::Name), u"1");
    EXPECT_EQ(find(3, u"x").result, E_FAIL);
    EXPECT_TRUE(find(3, u"x").tells(u"There is no file named \"x\""));
}

TEST_F(mediaforge_collections, files_around_a_gap_are_found_in_any_order)
{
    const std::string header = make_header(
        [](media_writer& writer) {
            writer.add_component(authoring::make_row(formats::component_columns, {}));
            for (const char* name : {"one", "two", "three", "four"}) {
                authoring::file_row file;
                file.name = name;
                writer.add_file(1, file);
            }
        },
        "gap");
    alter(header, "DELETE FROM file WHERE position = 1");
    const object media = open(header);
    const object list = child(item(child(media.get(), media::Components).get(), 1).get(), media_component::Files);
    for (const int index : {1, 2, 3, 4, 4, 3, 2, 1, 3, 2, 4, 1}) {
        const outcome answer = call(list.get(), media_file_list::Item, index);
        if (index == 2) {
            EXPECT_EQ(answer.result, failure(31));
            EXPECT_TRUE(answer.tells(u"a row is not there")) << narrow(answer.description);
        } else {
            ASSERT_EQ(answer.result, S_OK) << narrow(answer.description);
            EXPECT_EQ(text(answer.as_object().get(), media_file::Name), index == 1   ? u"one"
                                                                        : index == 3 ? u"three"
                                                                                     : u"four");
        }
    }
}

TEST_F(mediaforge_collections, other_collections_have_no_names)
{
    const object features = child(m_media.get(), media::Features);
    EXPECT_EQ(call(features.get(), media_collection::Item, std::u16string_view(u"F")).result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(call(features.get(), media_collection::Item, std::u16string_view(u"1")).result, DISP_E_TYPEMISMATCH);
}

TEST_F(mediaforge_collections, the_index_comes_in_any_integer_type_or_by_reference)
{
    const object all = components();
    const auto item_with = [&](VARIANT value) {
        std::vector<variant> arguments(1);
        static_cast<VARIANT&>(arguments[0]) = value;
        return call_with(all.get(), media_collection::Item, std::move(arguments));
    };
    VARIANT value{};
    value.vt = VT_I2;
    value.iVal = 2;
    EXPECT_EQ(text(item_with(value).as_object().get(), media_component::Name), u"beta");
    value.vt = VT_R8;
    value.dblVal = 2.0;
    EXPECT_EQ(text(item_with(value).as_object().get(), media_component::Name), u"beta");
    LONG two = 2;
    value.vt = VT_BYREF | VT_I4;
    value.byref = &two;
    EXPECT_EQ(text(item_with(value).as_object().get(), media_component::Name), u"beta");
    automation::bstr name(u"beta");
    BSTR raw = name.get();
    value.vt = VT_BYREF | VT_BSTR;
    value.byref = &raw;
    EXPECT_EQ(text(item_with(value).as_object().get(), media_component::Name), u"beta");
    variant inner(4);
    value.vt = VT_BYREF | VT_VARIANT;
    value.pvarVal = &inner;
    EXPECT_EQ(text(item_with(value).as_object().get(), media_component::Name), u"Ünïcode");
    value = {};
    EXPECT_NE(item_with(value).result, S_OK); // an empty variant is index 0
    value.vt = VT_BSTR;
    value.bstrVal = nullptr; // the empty name
    EXPECT_EQ(text(item_with(value).as_object().get(), media_component::Name), u"");
    EXPECT_EQ(call(all.get(), media_collection::Item).result, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(call(all.get(), media_collection::Item, 1, 2).result, DISP_E_BADPARAMCOUNT);
}

TEST_F(mediaforge_collections, objects_of_one_row_live_side_by_side)
{
    const object first = item(components().get(), 1);
    const object second = item(components().get(), 2);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(text(first.get(), media_component::Name), u"Alpha");
        EXPECT_EQ(text(second.get(), media_component::Name), u"beta");
    }
}

TEST_F(mediaforge_collections, twenty_thousand_components_are_walked_at_once)
{
    const object media = open(make_header(
        [](media_writer& writer) {
            for (int i = 0; i < 20000; ++i) {
                writer.add_component(named(formats::component_columns, "Component " + std::to_string(i)));
                add_file(writer, i + 1, "file", i);
            }
        },
        "many"));
    const object all = child(media.get(), media::Components);
    const auto start = std::chrono::steady_clock::now();
    for (int i = 1; i <= count(all.get()); ++i) {
        const object component = item(all.get(), i);
        ASSERT_EQ(text(component.get(), media_component::Name), u"Component " + wide(std::to_string(i - 1)));
        ASSERT_TRUE(child(component.get(), media_component::Files));
    }
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    // Far above what it takes, far below what a walk from the start each time would.
    EXPECT_LT(taken.count(), 5.0);
    EXPECT_EQ(number(file_of(media.get(), 20000, 1).get(), media_file::Flags), 19999);
}

} // namespace
} // namespace cw::mediaforge_tests

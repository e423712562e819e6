#include "mediaforge_walk.h"

#include "formats/media_format.h"
#include "tests/readers/object_members.h"

namespace cw::mediaforge_tests {
namespace {

class walker {
public:
    explicit walker(int most_items) : m_mostItems(most_items) {}

    void visit(IDispatch* target, std::u16string_view interface_name, int depth)
    {
        for (const media_member_row& member : reader_tests::members_of(interface_name))
            read(target, member, depth);
    }
    walk_result result;

private:
    static constexpr int deepest = 6;

    outcome counted(outcome answer)
    {
        ++result.calls;
        if (FAILED(answer.result))
            ++result.failures;
        return answer;
    }

    void read(IDispatch* target, const media_member_row& member, int depth)
    {
        if (member.kind != DISPATCH_PROPERTYGET || member.name == u"Item")
            return;
        const outcome answer = counted(call(target, member));
        if (member.type != VT_DISPATCH || FAILED(answer.result) || depth == deepest)
            return;
        const object found = answer.as_object();
        if (!found)
            return;
        if (member.collection)
            items(found.get(), media_collection::Count, media_collection::Item, member.object, depth);
        else if (member.object == media_file_list::interface_name)
            items(found.get(), media_file_list::Count, media_file_list::Item, media_file::interface_name, depth);
        else
            visit(found.get(), member.object, depth + 1);
    }

    void items(IDispatch* collection, const media_member_row& count_member, const media_member_row& item_member,
               std::u16string_view item_interface, int depth)
    {
        const outcome counted_items = counted(call(collection, count_member));
        if (FAILED(counted_items.result))
            return;
        for (int i = 1; i <= counted_items.value.lVal && i <= m_mostItems; ++i) {
            const outcome answer = counted(call(collection, item_member, i));
            if (SUCCEEDED(answer.result) && answer.as_object())
                visit(answer.as_object().get(), item_interface, depth + 1);
        }
    }

    int m_mostItems;
};

} // namespace

walk_result walk_media(IDispatch* media, int most_items)
{
    walker all(most_items);
    all.visit(media, media::interface_name, 0);
    return all.result;
}

void fill_every_table(media_writer& writer)
{
    const auto named = [](std::span<const formats::member_column> columns, const char* name) {
        return authoring::make_row(columns, {{u"Name", name}});
    };
    writer.add_old_version("1.0");
    const auto top = writer.add_feature(0, named(formats::feature_columns, "Top"));
    const auto below = writer.add_feature(top, named(formats::feature_columns, "Below"));
    writer.add_feature_requirement(below, top);
    const auto component = writer.add_component(named(formats::component_columns, "Component"));
    const auto other = writer.add_component(named(formats::component_columns, "Other"));
    writer.add_feature_component(top, component);
    writer.add_feature_component(top, other);
    writer.add_feature_property(top, "Scalar", {VT_I4, std::int64_t{7}, 0, {}});
    writer.add_feature_property(
        top, "Array",
        {VT_ARRAY | VT_BSTR, {}, 0, {{VT_BSTR, std::string("x"), 0, {}}, {VT_BSTR, std::string("y"), 0, {}}}});
    for (int i = 0; i < 3; ++i) {
        authoring::file_row file;
        file.name = "file" + std::to_string(i);
        file.size_in_bytes = 100;
        file.date = 36925.5;
        file.version = "1.0";
        file.md5 = formats::md5_digest{};
        file.parts.push_back({1, 0, 100});
        if (i == 2)
            file.parts.push_back({1, 1, 100});
        writer.add_file(component, file);
    }
    writer.add_volume(1, 1000, 1, 3);
    const auto type = writer.add_setup_type(named(formats::setup_type_columns, "Typical"));
    writer.add_setup_type_feature(type, top);
    writer.add_setup_type_feature(type, below);
    const auto folder = writer.add_shell_folder(0, named(formats::shell_folder_columns, "Programs"));
    const auto inner = writer.add_shell_folder(folder, named(formats::shell_folder_columns, "Inner"));
    writer.add_shortcut(inner, named(formats::shortcut_columns, "Shortcut"));
    const auto set = writer.add_registry_set(named(formats::registry_set_columns, "Set"));
    writer.add_registry_set_component(set, other);
    const auto key =
        writer.add_registry_key(set, 2, authoring::make_row(formats::registry_key_columns, {{u"Path", "Software"}}));
    writer.add_registry_value(key, {VT_BSTR, std::string("data"), 0, {}},
                              named(formats::registry_value_columns, "Value"));
}

} // namespace cw::mediaforge_tests

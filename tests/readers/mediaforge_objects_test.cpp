// Every member of every interface, by the tables of the contract.
#include "mediaforge_support.h"

#include "formats/media_format.h"

#include <set>

namespace cw::mediaforge_tests {
namespace {

using authoring::cell;
using authoring::row;
using formats::member_column;

/// A value for each column that no other column has.
row sample(std::span<const member_column> columns, int seed)
{
    row values;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const auto n = static_cast<std::int64_t>(i) + seed;
        if (columns[i].member.type == VT_BSTR)
            values.push_back("Text Ä " + std::to_string(n));
        else if (columns[i].member.type == VT_BOOL)
            values.push_back(std::int64_t{n % 2});
        else
            values.push_back(n * 7 - 30);
    }
    return values;
}

void expect_sample(IDispatch* target, std::span<const member_column> columns, int seed)
{
    const row expected = sample(columns, seed);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const media_member_row& member = columns[i].member;
        SCOPED_TRACE(std::string(columns[i].name));
        if (member.id == media::ProductGuid.id && columns.data() == formats::media_columns.data()) {
            EXPECT_EQ(call(target, member, 0).text(), wide(std::get<std::string>(expected[i])));
            EXPECT_EQ(call(target, member).text(), wide(std::get<std::string>(expected[i])));
        } else if (member.type == VT_BSTR) {
            EXPECT_EQ(text(target, member), wide(std::get<std::string>(expected[i])));
        } else if (member.type == VT_BOOL) {
            EXPECT_EQ(number(target, member), std::get<std::int64_t>(expected[i]) ? VARIANT_TRUE : VARIANT_FALSE);
        } else {
            EXPECT_EQ(number(target, member), std::get<std::int64_t>(expected[i]));
        }
    }
}

/// Every member of an interface answers with the type of the contract.
template <std::size_t Count>
void expect_types(IDispatch* target, const std::array<media_member_row, Count>& members)
{
    for (const media_member_row& member : members) {
        if (member.name == u"Item" || member.name == u"Extract" || member.name == u"OpenMedia")
            continue;
        SCOPED_TRACE(narrow(member.name));
        const outcome answer = call(target, member);
        EXPECT_EQ(answer.result, S_OK);
        if (member.type != VT_VARIANT) {
            EXPECT_EQ(answer.value.vt, member.type);
        }
    }
}

bool answers(IDispatch* target, REFIID iid)
{
    com_ptr<IUnknown> found = automation::query_interface<IUnknown>(target, iid);
    return static_cast<bool>(found);
}

void expect_only_iid(IDispatch* target, REFIID own)
{
    EXPECT_TRUE(answers(target, IID_IDispatch));
    for (const IID& iid : {IID_IMediaFactory, IID_IMediaFeature, IID_IMediaShellFolder, IID_IMediaShortcut,
                           IID_IMediaRegistrySet, IID_IMediaRegistryKey, IID_IMediaSettings})
        EXPECT_EQ(answers(target, iid), iid == own);
}

class mediaforge_objects : public media_test {
protected:
    object m_media;
    mediaforge_objects()
    {
        m_media = open(make_header([](media_writer& writer) {
            writer.set_media(sample(formats::media_columns, 1));
            writer.set_settings(sample(formats::media_settings_columns, 2));
            writer.set_arp_info(sample(formats::arp_info_columns, 3));
            writer.add_old_version("1.0");
            writer.add_old_version("2.0 Ω");
            const auto feature = writer.add_feature(0, sample(formats::feature_columns, 4));
            writer.add_feature(feature, sample(formats::feature_columns, 40));
            const auto second = writer.add_feature(0, sample(formats::feature_columns, 5));
            writer.add_feature_requirement(feature, second);
            const auto component = writer.add_component(sample(formats::component_columns, 6));
            writer.add_component(sample(formats::component_columns, 7));
            writer.add_feature_component(feature, 2);
            writer.add_feature_component(feature, component);
            authoring::file_row file;
            file.name = "a.txt";
            file.size_in_bytes = 5;
            file.compressed_size_in_bytes = 4;
            file.date = 36925.5;
            file.version = "1.2.3.4";
            file.md5 = formats::md5_digest{0x01, 0x23, 0xAB};
            file.flags = 0x10001;
            writer.add_file(component, file);
            file = {};
            file.name = "\\";
            writer.add_file(component, file);
            const auto type = writer.add_setup_type(sample(formats::setup_type_columns, 8));
            writer.add_setup_type_feature(type, feature);
            const auto folder = writer.add_shell_folder(0, sample(formats::shell_folder_columns, 9));
            writer.add_shell_folder(folder, sample(formats::shell_folder_columns, 10));
            writer.add_shortcut(folder, sample(formats::shortcut_columns, 11));
            writer.add_shortcut(folder, sample(formats::shortcut_columns, 12));
            const auto set = writer.add_registry_set(sample(formats::registry_set_columns, 13));
            writer.add_registry_set_component(set, 2);
            for (int hive = 0; hive < 5; ++hive)
                for (int i = 0; i <= hive; ++i) {
                    const auto key =
                        writer.add_registry_key(set, hive, sample(formats::registry_key_columns, 20 + hive));
                    writer.add_registry_value(key, {VT_BSTR, std::string("data"), 0, {}},
                                              sample(formats::registry_value_columns, 30 + i));
                }
        }));
    }
};

TEST_F(mediaforge_objects, media)
{
    expect_types(m_media.get(), media::all);
    expect_sample(m_media.get(), formats::media_columns, 1);
    expect_only_iid(m_media.get(), IID_NULL);
    const object report = child(m_media.get(), media::Report);
    expect_types(report.get(), media_report::all);
    expect_only_iid(report.get(), IID_NULL);
}

TEST_F(mediaforge_objects, settings)
{
    const object settings = child(m_media.get(), media::MediaSettings);
    expect_types(settings.get(), media_settings::all);
    expect_sample(settings.get(), formats::media_settings_columns, 2);
    expect_only_iid(settings.get(), IID_IMediaSettings);
    EXPECT_EQ(number(settings.get(), media_settings::OldVersionCount), 2);
    const outcome versions = call(settings.get(), media_settings::OldVersions);
    ASSERT_EQ(versions.value.vt, VT_ARRAY | VT_BSTR);
    LONG lower = -1;
    LONG upper = -1;
    EXPECT_EQ(SafeArrayGetDim(versions.value.parray), 1u);
    SafeArrayGetLBound(versions.value.parray, 1, &lower);
    SafeArrayGetUBound(versions.value.parray, 1, &upper);
    EXPECT_EQ(lower, 0);
    EXPECT_EQ(upper, 1);
    automation::bstr text;
    EXPECT_EQ(SafeArrayGetElement(versions.value.parray, &upper, text.put()), S_OK);
    EXPECT_EQ(text.view(), u"2.0 Ω");
}

TEST_F(mediaforge_objects, arp_info)
{
    const object arp = child(m_media.get(), media::ArpInfo);
    expect_types(arp.get(), media_arp_info::all);
    expect_sample(arp.get(), formats::arp_info_columns, 3);
    expect_only_iid(arp.get(), IID_NULL);
}

TEST_F(mediaforge_objects, features)
{
    const object features = child(m_media.get(), media::Features);
    ASSERT_EQ(count(features.get()), 2);
    const object first = item(features.get(), 1);
    expect_types(first.get(), media_feature::all);
    expect_sample(first.get(), formats::feature_columns, 4);
    expect_only_iid(first.get(), IID_IMediaFeature);
    expect_sample(item(features.get(), 2).get(), formats::feature_columns, 5);
    const object below = child(first.get(), media_feature::SubFeatures);
    ASSERT_EQ(count(below.get()), 1);
    expect_sample(item(below.get(), 1).get(), formats::feature_columns, 40);
    const object required = child(first.get(), media_feature::RequiredFeatures);
    ASSERT_EQ(count(required.get()), 1);
    expect_sample(item(required.get(), 1).get(), formats::feature_columns, 5);
    const object included = child(first.get(), media_feature::IncludedComponents);
    ASSERT_EQ(count(included.get()), 2);
    expect_sample(item(included.get(), 1).get(), formats::component_columns, 7);
    expect_sample(item(included.get(), 2).get(), formats::component_columns, 6);
}

TEST_F(mediaforge_objects, components)
{
    const object components = child(m_media.get(), media::Components);
    ASSERT_EQ(count(components.get()), 2);
    for (const int i : {1, 2}) {
        const object component = item(components.get(), i);
        expect_types(component.get(), media_component::all);
        expect_sample(component.get(), formats::component_columns, 5 + i);
        expect_only_iid(component.get(), IID_NULL);
    }
}

TEST_F(mediaforge_objects, files)
{
    const object file = file_of(m_media.get(), 1, 1);
    expect_types(file.get(), media_file::all);
    expect_only_iid(file.get(), IID_NULL);
    EXPECT_EQ(text(file.get(), media_file::Name), u"a.txt");
    EXPECT_EQ(text(file.get(), media_file::Version), u"1.2.3.4");
    EXPECT_EQ(number(file.get(), media_file::Size), 5);
    EXPECT_EQ(number(file.get(), media_file::CompressedSize), 4);
    EXPECT_EQ(call(file.get(), media_file::Date).value.date, 36925.5);
    EXPECT_EQ(text(file.get(), media_file::Md5Signature), u"0123ab00000000000000000000000000");
    EXPECT_EQ(number(file.get(), media_file::Flags), 0x10001);
    const object none = file_of(m_media.get(), 1, 2);
    expect_types(none.get(), media_file::all);
    EXPECT_EQ(text(none.get(), media_file::Name), u"\\");
    EXPECT_EQ(text(none.get(), media_file::Md5Signature), u"");
    EXPECT_EQ(text(none.get(), media_file::Version), u"");
}

TEST_F(mediaforge_objects, setup_types)
{
    const object types = child(m_media.get(), media::SetupTypes);
    ASSERT_EQ(count(types.get()), 1);
    const object type = item(types.get(), 1);
    expect_types(type.get(), media_setup_type::all);
    expect_sample(type.get(), formats::setup_type_columns, 8);
    const object features = child(type.get(), media_setup_type::Features);
    ASSERT_EQ(count(features.get()), 1);
    const object feature = item(features.get(), 1);
    expect_types(feature.get(), media_feature::all);
    expect_sample(feature.get(), formats::feature_columns, 4);
    expect_only_iid(feature.get(), IID_IMediaFeature);
}

TEST_F(mediaforge_objects, shell_folders_and_shortcuts)
{
    const object folders = child(m_media.get(), media::ShellFolders);
    ASSERT_EQ(count(folders.get()), 1);
    const object folder = item(folders.get(), 1);
    expect_types(folder.get(), media_shell_folder::all);
    expect_sample(folder.get(), formats::shell_folder_columns, 9);
    expect_only_iid(folder.get(), IID_IMediaShellFolder);
    const object below = child(folder.get(), media_shell_folder::SubFolders);
    ASSERT_EQ(count(below.get()), 1);
    expect_sample(item(below.get(), 1).get(), formats::shell_folder_columns, 10);
    const object shortcuts = child(folder.get(), media_shell_folder::Shortcuts);
    ASSERT_EQ(count(shortcuts.get()), 2);
    for (const int i : {1, 2}) {
        const object shortcut = item(shortcuts.get(), i);
        expect_types(shortcut.get(), media_shortcut::all);
        expect_sample(shortcut.get(), formats::shortcut_columns, 10 + i);
        expect_only_iid(shortcut.get(), IID_IMediaShortcut);
    }
}

TEST_F(mediaforge_objects, registry)
{
    const object sets = child(m_media.get(), media::RegistrySets);
    ASSERT_EQ(count(sets.get()), 1);
    const object set = item(sets.get(), 1);
    expect_types(set.get(), media_registry_set::all);
    expect_sample(set.get(), formats::registry_set_columns, 13);
    expect_only_iid(set.get(), IID_IMediaRegistrySet);
    const object components = child(set.get(), media_registry_set::Components);
    ASSERT_EQ(count(components.get()), 1);
    expect_sample(item(components.get(), 1).get(), formats::component_columns, 7);
    for (int hive = 0; hive < 5; ++hive) {
        const object keys = child(set.get(), formats::registry_hives[static_cast<std::size_t>(hive)]);
        ASSERT_EQ(count(keys.get()), hive + 1);
        const object key = item(keys.get(), hive + 1);
        expect_types(key.get(), media_registry_key::all);
        expect_sample(key.get(), formats::registry_key_columns, 20 + hive);
        expect_only_iid(key.get(), IID_IMediaRegistryKey);
        const object values = child(key.get(), media_registry_key::Values);
        ASSERT_EQ(count(values.get()), 1);
        const object value = item(values.get(), 1);
        expect_types(value.get(), media_registry_value::all);
        expect_sample(value.get(), formats::registry_value_columns, 30 + hive);
        expect_only_iid(value.get(), IID_NULL);
        EXPECT_EQ(call(value.get(), media_registry_value::Data).text(), u"data");
    }
}

TEST_F(mediaforge_objects, absent_members_are_empty)
{
    const object media = open(make_header(
        [](media_writer& writer) {
            writer.add_feature(0, authoring::make_row(formats::feature_columns, {}));
            writer.add_component(authoring::make_row(formats::component_columns, {}));
        },
        "bare"));
    const object feature = item(child(media.get(), media::Features).get(), 1);
    for (const media_member_row& member : media_feature::all) {
        if (member.type == VT_BSTR) {
            const outcome answer = call(feature.get(), member);
            EXPECT_EQ(answer.result, S_OK);
            EXPECT_EQ(answer.value.vt, VT_BSTR);
            EXPECT_EQ(answer.value.bstrVal, nullptr);
        } else if (member.type != VT_DISPATCH) {
            EXPECT_EQ(number(feature.get(), member), 0);
        }
    }
    const outcome properties = call(feature.get(), media_feature::ObjectProperties);
    EXPECT_EQ(properties.result, S_OK);
    EXPECT_EQ(properties.value.vt, VT_DISPATCH);
    EXPECT_EQ(properties.value.pdispVal, nullptr);
    const object settings = child(media.get(), media::MediaSettings);
    EXPECT_EQ(number(settings.get(), media_settings::OldVersionCount), 0);
    const outcome versions = call(settings.get(), media_settings::OldVersions);
    EXPECT_EQ(versions.value.vt, VT_ARRAY | VT_BSTR);
    for (const media_member_row& member : media::all) {
        if (!member.collection)
            continue;
        const bool filled = member.id == media::Features.id || member.id == media::Components.id;
        EXPECT_EQ(count(child(media.get(), member).get()), filled ? 1 : 0);
    }
}

TEST_F(mediaforge_objects, flag_words_keep_their_bits)
{
    const std::string header = make_header(
        [](media_writer& writer) {
            writer.set_media(
                authoring::make_row(formats::media_columns, {{u"EngineVersionHigh", std::int64_t{0x80010002}},
                                                             {u"EngineVersionLow", std::int64_t{-2}},
                                                             {u"FormatVersion", std::int64_t{0x1009500}}}));
        },
        "flags");
    const object media = open(header);
    EXPECT_EQ(number(media.get(), media::EngineVersionHigh), static_cast<std::int32_t>(0x80010002u));
    EXPECT_EQ(number(media.get(), media::EngineVersionLow), -2);
    EXPECT_EQ(number(media.get(), media::FormatVersion), 0x1009500);
}

TEST_F(mediaforge_objects, objects_outlive_factory_and_media)
{
    const object file = file_of(m_media.get(), 1, 1);
    m_media.reset();
    m_factory.reset();
    EXPECT_EQ(text(file.get(), media_file::Name), u"a.txt");
}

TEST_F(mediaforge_objects, a_header_that_goes_away_or_changes_does_no_harm)
{
    const object components = child(m_media.get(), media::Components);
    std::filesystem::remove(path_of("media.hdr"));
    EXPECT_EQ(count(components.get()), 2);
    expect_sample(item(components.get(), 2).get(), formats::component_columns, 7);

    std::string longer;
    const std::string path = make_header(
        [&](media_writer& writer) {
            for (int i = 0; i < 20000; ++i)
                writer.add_component(sample(formats::component_columns, i));
        },
        "cut");
    const object media = open(path);
    std::filesystem::resize_file(path, 8192);
    const object all = child(media.get(), media::Components);
    const outcome answer = call(all.get(), media_collection::Item, 15000);
    EXPECT_NE(answer.result, S_OK);
    EXPECT_FALSE(answer.description.empty());
}

} // namespace
} // namespace cw::mediaforge_tests

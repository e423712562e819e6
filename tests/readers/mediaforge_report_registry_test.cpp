// Registry sets, keys and values in a report.
#include "mediaforge_report.h"

#include "formats/media_format.h"

namespace cw::mediaforge_tests {
namespace {

using authoring::cell;
using authoring::make_row;
using authoring::typed_value;

class mediaforge_report_registry : public report_test {
protected:
    static authoring::row set_named(const char* name)
    {
        return make_row(formats::registry_set_columns, {{u"Name", name}});
    }
    static authoring::row key_at(const std::string& path)
    {
        return make_row(formats::registry_key_columns, {{u"Path", path}});
    }
    static typed_value text_value(std::string text) { return {VT_BSTR, std::move(text), 0, {}}; }
    std::string registry(const std::function<void(media_writer&)>& fill)
    {
        return section(report_of(fill), "Registry Entries");
    }
    /// What is written of values of one key.
    std::string values(const std::vector<std::pair<std::int64_t, typed_value>>& all)
    {
        const std::string whole = registry([&](media_writer& writer) {
            const auto key = writer.add_registry_key(writer.add_registry_set(set_named("S")), 0, key_at("K"));
            for (const auto& [type, data] : all)
                writer.add_registry_value(
                    key, data,
                    make_row(formats::registry_value_columns,
                             {{u"Name", "V"}, {u"ValueType", type}, {u"Uninstall", std::int64_t{1}}}));
        });
        const std::string key = "      K\n";
        return whole.substr(whole.find(key) + key.size());
    }
};

TEST_F(mediaforge_report_registry, sets_show_components_and_the_hives_that_have_keys)
{
    EXPECT_EQ(
        registry([](media_writer& writer) {
            writer.add_component(make_row(formats::component_columns, {{u"Name", "First"}}));
            writer.add_component(make_row(formats::component_columns, {{u"Name", "Second"}}));
            const auto set = writer.add_registry_set(set_named("Set"));
            writer.add_registry_set(set_named("Empty"));
            const auto third = writer.add_registry_set(set_named("Third"));
            writer.add_registry_set_component(set, 2);
            writer.add_registry_set_component(set, 1);
            // Not in the order that they are shown in.
            writer.add_registry_key(third, 1, key_at("T"));
            for (int hive = 4; hive >= 0; --hive)
                for (int i = 0; i < 2; ++i)
                    writer.add_registry_key(set, hive, key_at(std::to_string(hive) + "\\" + std::to_string(i)));
            const auto last = writer.add_registry_key(
                set, 2, make_row(formats::registry_key_columns, {{u"Path", "with"}, {u"DefaultValue", "default"}}));
            writer.add_registry_value(
                last, text_value("d"),
                make_row(formats::registry_value_columns, {{u"Name", "v"}, {u"ValueType", std::int64_t{1}}}));
            writer.add_registry_key(
                set, 2, make_row(formats::registry_key_columns, {{u"Path", "empty default"}, {u"DefaultValue", ""}}));
        }),
        "\n  Registry Set: Set\n"
        "    Component(s)              Second\n"
        "                              First\n\n"
        "    HKEY_CLASSES_ROOT             Type            Uninstall  Data\n"
        "      0\\0\n      0\\1\n\n"
        "    HKEY_CURRENT_USER             Type            Uninstall  Data\n"
        "      1\\0\n      1\\1\n\n"
        "    HKEY_LOCAL_MACHINE            Type            Uninstall  Data\n"
        "      2\\0\n      2\\1\n"
        "      with\n"
        "        (Default)                                            default\n"
        "        v                         REG_SZ          No         d\n"
        "      empty default\n"
        "        (Default)\n\n"
        "    HKEY_USERS                    Type            Uninstall  Data\n"
        "      3\\0\n      3\\1\n\n"
        "    HKEY_USER_SELECTABLE          Type            Uninstall  Data\n"
        "      4\\0\n      4\\1\n\n"
        "  Registry Set: Empty\n"
        "    Component(s)              (none)\n\n"
        "  Registry Set: Third\n"
        "    Component(s)              (none)\n\n"
        "    HKEY_CURRENT_USER             Type            Uninstall  Data\n"
        "      T\n");
}

TEST_F(mediaforge_report_registry, types_have_names)
{
    std::vector<std::pair<std::int64_t, typed_value>> all;
    for (const std::int64_t type : {0, 1, 2, 4, 5, 6, 8, 9, 10, 11, 12})
        all.emplace_back(type, text_value("x"));
    const std::string start = "        V                         ";
    std::string expected;
    for (const char* name : {"REG_NONE", "REG_SZ", "REG_EXPAND_SZ", "REG_DWORD"})
        expected += start + name + std::string(16 - std::string_view(name).size(), ' ') + "Yes        x\n";
    expected += start + "REG_DWORD_BIG_ENDIAN  Yes  x\n";
    expected += start + "REG_LINK        Yes        x\n";
    expected += start + "REG_RESOURCE_LIST  Yes     x\n";
    expected += start + "REG_FULL_RESOURCE_DESCRIPTOR  Yes  x\n";
    expected += start + "REG_RESOURCE_REQUIREMENTS_LIST  Yes  x\n";
    expected += start + "REG_QWORD       Yes        x\n";
    expected += start + "12              Yes        x\n";
    EXPECT_EQ(values(all), expected);
}

TEST_F(mediaforge_report_registry, binary_data_is_whole)
{
    const std::string start = "        V                         REG_BINARY      Yes        ";
    const std::string next(61, ' ');
    EXPECT_EQ(values({{3, text_value("01a2Ff")},
                      {3, text_value("123")},
                      {3, text_value("0x")},
                      {3, text_value("")},
                      {3, {VT_I4, std::int64_t{5}, 0, {}}}}),
              start + "01 a2 Ff\n" + start + "123\n" + start +
                  "0x\n        V                         REG_BINARY      Yes\n" + start + "5\n");
    std::string digits;
    std::string expected = start;
    for (int i = 0; i < 1000; ++i) {
        const std::string byte = {"0123456789abcdef"[i / 16 % 16], "0123456789abcdef"[i % 16]};
        digits += byte;
        expected += (i == 0 ? "" : i % 16 == 0 ? "\n" + next : " ") + byte;
    }
    EXPECT_EQ(values({{3, text_value(digits)}}), expected + "\n");
}

TEST_F(mediaforge_report_registry, lists_of_texts_have_a_line_each)
{
    const std::string start = "        V                         REG_MULTI_SZ    Yes        ";
    const std::string next(61, ' ');
    EXPECT_EQ(values({{7, text_value("00410042000000430000000000000000")}}), start + "AB\n" + next + "C\n");
    EXPECT_EQ(values({{7, text_value("041f00000000d83ddc1f0000")}}), start + "П\n\n" + next + "🐟\n");
    EXPECT_EQ(values({{7, text_value("00000000")}}), "        V                         REG_MULTI_SZ    Yes\n");
    // A lone half of a character, a line end within a text.
    EXPECT_EQ(values({{7, text_value("d83d0041000d000a00420000")}}), start + "\uFFFDA␍␊B\n");
    EXPECT_EQ(values({{7, text_value("004")}, {7, text_value("one, two")}}), start + "004\n" + start + "one, two\n");
}

TEST_F(mediaforge_report_registry, long_names_move_what_follows)
{
    const std::string name(40, 'n');
    const std::string all = registry([&](media_writer& writer) {
        const auto key = writer.add_registry_key(writer.add_registry_set(set_named("S")), 0, key_at("K"));
        writer.add_registry_value(
            key, text_value("d"),
            make_row(formats::registry_value_columns, {{u"Name", name}, {u"ValueType", std::int64_t{1}}}));
    });
    EXPECT_TRUE(all.ends_with("        " + name + "  REG_SZ  No  d\n")) << all;
}

} // namespace
} // namespace cw::mediaforge_tests

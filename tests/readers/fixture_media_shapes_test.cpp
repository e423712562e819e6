// Every interface and every member of the contract, by the tables of the contract.
#include "bridges/media_interface.h"

#include "tests/readers/fixture_support.h"

#include "readers/fixture/text.h"

#include <span>

using namespace cw;
using namespace cw::fixture_tests;

namespace {

// How to come from the media to an object of an interface. A collection's first item is taken.
struct place {
    std::u16string_view interface_name;
    std::span<const media_member_row> rows;
    const IID* id;
    std::vector<media_member_row> steps;
};

const std::vector<place>& places()
{
    static const std::vector<place> all{
        {media::interface_name, media::all, &IID_NULL, {}},
        {media_feature::interface_name, media_feature::all, &IID_IMediaFeature, {media::Features}},
        {media_feature_property::interface_name,
         media_feature_property::all,
         &IID_NULL,
         {media::Features, media_feature::ObjectProperties}},
        {media_component::interface_name, media_component::all, &IID_NULL, {media::Components}},
        {media_file::interface_name, media_file::all, &IID_NULL, {media::Components, media_component::Files}},
        {media_setup_type::interface_name, media_setup_type::all, &IID_NULL, {media::SetupTypes}},
        {media_shell_folder::interface_name, media_shell_folder::all, &IID_IMediaShellFolder, {media::ShellFolders}},
        {media_shortcut::interface_name,
         media_shortcut::all,
         &IID_IMediaShortcut,
         {media::ShellFolders, media_shell_folder::Shortcuts}},
        {media_registry_set::interface_name, media_registry_set::all, &IID_IMediaRegistrySet, {media::RegistrySets}},
        {media_registry_key::interface_name,
         media_registry_key::all,
         &IID_IMediaRegistryKey,
         {media::RegistrySets, media_registry_set::UserSelectableKeys}},
        {media_registry_value::interface_name,
         media_registry_value::all,
         &IID_NULL,
         {media::RegistrySets, media_registry_set::ClassesRootKeys, media_registry_key::Values}},
        {media_settings::interface_name, media_settings::all, &IID_IMediaSettings, {media::MediaSettings}},
        {media_arp_info::interface_name, media_arp_info::all, &IID_NULL, {media::ArpInfo}},
        {media_report::interface_name, media_report::all, &IID_NULL, {media::Report}},
    };
    return all;
}

bool is_file_list(const media_member_row& row)
{
    return row.object == media_file_list::interface_name;
}

bool is_collection(const media_member_row& row)
{
    return row.collection || is_file_list(row);
}

VARTYPE empty_type_of(const media_member_row& row)
{
    return row.type == VT_VARIANT ? VARTYPE{VT_EMPTY} : row.type;
}

std::string model_of(const place& at, std::string object)
{
    for (auto step = at.steps.rbegin(); step != at.steps.rend(); ++step) {
        const std::string key = "{\"" + fixture::to_utf8(step->name) + "\": ";
        object = key + (is_collection(*step) ? "[" + object + "]" : object) + "}";
    }
    return R"({"media": )" + object + "}";
}

std::string with_member(const media_member_row& row, std::string_view value)
{
    return "{\"" + fixture::to_utf8(row.name) + "\": " + std::string(value) + "}";
}

class FixtureMediaShapes : public fixture_test {
protected:
    // The object at a place of a model in which it is `object`.
    com_ptr<IDispatch> reach(const place& at, const std::string& object)
    {
        com_ptr<IDispatch> here = open(model_of(at, object));
        for (const media_member_row& step : at.steps) {
            here = call(here.get(), step).object();
            if (is_file_list(step))
                here = call(here.get(), media_file_list::Item, 1).object();
            else if (step.collection)
                here = item(here.get(), 1);
        }
        return here;
    }

    // The value of a member whose JSON value is `value`; absent where that is empty.
    outcome read(const place& at, const media_member_row& row, std::string_view value)
    {
        return call(reach(at, value.empty() ? "{}" : with_member(row, value)).get(), row);
    }

    // Runs `check` for every property of the contract.
    void for_each_property(const auto& check)
    {
        for (const place& at : places())
            for (const media_member_row& row : at.rows)
                if (row.kind == DISPATCH_PROPERTYGET) {
                    SCOPED_TRACE(fixture::to_utf8(at.interface_name) + "." + fixture::to_utf8(row.name));
                    check(at, row);
                }
    }
};

LONG count_of(const media_member_row& row, IDispatch* collection)
{
    const outcome count =
        is_file_list(row) ? call(collection, media_file_list::Count) : call(collection, media_collection::Count);
    EXPECT_EQ(count.result, S_OK);
    EXPECT_EQ(count.value.vt, VT_I4);
    return count.value.lVal;
}

TEST_F(FixtureMediaShapes, AbsentMembersAnswerTheZeroOfTheirType)
{
    for_each_property([&](const place& at, const media_member_row& row) {
        const outcome got = read(at, row, "");
        ASSERT_EQ(got.result, S_OK);
        ASSERT_EQ(got.value.vt, empty_type_of(row));
        if (row.type == VT_BSTR) {
            EXPECT_NE(got.value.bstrVal, nullptr) << "an empty text, not a null one";
            EXPECT_EQ(got.text(), u"");
        } else if (row.type == VT_DISPATCH) {
            EXPECT_EQ(got.value.pdispVal == nullptr, row.name == u"ObjectProperties");
            if (is_collection(row) && got.value.pdispVal) {
                EXPECT_EQ(count_of(row, got.value.pdispVal), 0);
            }
        } else {
            EXPECT_EQ(got.value.llVal, 0);
        }
    });
}

TEST_F(FixtureMediaShapes, AbsentObjectsHaveAbsentMembers)
{
    const auto media = open_media("");
    const auto report = call(media.get(), media::Report).object();
    EXPECT_EQ(call(report.get(), media_report::FirstPart).text(), u"");
    EXPECT_EQ(call(report.get(), media_report::SecondPart).text(), u"");
    const auto settings = call(media.get(), media::MediaSettings).object();
    for (const media_member_row& row : media_settings::all)
        EXPECT_EQ(call(settings.get(), row).result, S_OK);
    const auto arp_info = call(media.get(), media::ArpInfo).object();
    for (const media_member_row& row : media_arp_info::all)
        EXPECT_EQ(call(arp_info.get(), row).result, S_OK);
}

TEST_F(FixtureMediaShapes, MembersAnswerTheirValueInTheirType)
{
    for_each_property([&](const place& at, const media_member_row& row) {
        switch (row.type) {
        case VT_BSTR:
            EXPECT_EQ(read(at, row, R"("a\u00fc\ud83d\udce6\u0000z")").text(),
                      std::u16string(u"a\u00FC\U0001F4E6\0z", 6));
            break;
        case VT_I4: {
            const outcome got = read(at, row, "-5");
            EXPECT_EQ(got.value.vt, VT_I4);
            EXPECT_EQ(got.value.lVal, -5);
            break;
        }
        case VT_I2: {
            const outcome got = read(at, row, "-5");
            EXPECT_EQ(got.value.vt, VT_I2);
            EXPECT_EQ(got.value.iVal, -5);
            break;
        }
        case VT_BOOL: {
            const outcome got = read(at, row, "true");
            EXPECT_EQ(got.value.vt, VT_BOOL);
            EXPECT_EQ(got.value.boolVal, VARIANT_TRUE);
            EXPECT_EQ(read(at, row, "false").value.boolVal, VARIANT_FALSE);
            break;
        }
        case VT_DATE: {
            const outcome got = read(at, row, R"("2001-02-03T00:04:05")");
            EXPECT_EQ(got.value.vt, VT_DATE);
            EXPECT_NEAR(got.value.date, 36925 + (4 * 60 + 5) / 86400.0, 1e-9);
            EXPECT_EQ(read(at, row, "36925.5").value.date, 36925.5);
            break;
        }
        case VT_VARIANT: {
            const outcome got = read(at, row, R"({"vt": "VT_R8", "value": 1.5})");
            EXPECT_EQ(got.value.vt, VT_R8);
            EXPECT_EQ(got.value.dblVal, 1.5);
            break;
        }
        case VT_DISPATCH: {
            const outcome got = read(at, row, is_collection(row) ? "[{}, {}]" : "{}");
            ASSERT_NE(got.object().get(), nullptr);
            if (is_collection(row)) {
                EXPECT_EQ(count_of(row, got.value.pdispVal), 2);
            }
            break;
        }
        default:
            FAIL() << "a type without a check";
        }
    });
}

TEST_F(FixtureMediaShapes, NullAnswersByTheTypeOfTheMember)
{
    for_each_property([&](const place& at, const media_member_row& row) {
        const outcome got = read(at, row, "null");
        ASSERT_EQ(got.result, S_OK);
        ASSERT_EQ(got.value.vt, empty_type_of(row));
        // A null text, a null object and the zero of all other types have no bit set.
        EXPECT_EQ(got.value.llVal, 0);
    });
}

TEST_F(FixtureMediaShapes, EveryMemberFailsAsTold)
{
    for_each_property([&](const place& at, const media_member_row& row) {
        const outcome got = read(at, row, R"({"fail": "0x80070005"})");
        EXPECT_EQ(got.result, E_ACCESSDENIED);
        EXPECT_EQ(got.value.vt, VT_EMPTY);
        const std::u16string who = std::u16string(at.interface_name) + u" " + std::u16string(row.name);
        EXPECT_TRUE(got.description.starts_with(who)) << fixture::to_utf8(got.description);
    });
}

TEST_F(FixtureMediaShapes, ValuesOfAnotherKindAreATypeMismatch)
{
    const auto wrong = [](const media_member_row& row) -> std::vector<const char*> {
        switch (row.type) {
        case VT_BSTR:
            return {"5", "true", "1.5", "[]", "{}", R"({"vt": "VT_BSTR", "value": "x"})"};
        case VT_DATE:
            return {R"("yesterday")", "true", "[]", "{}"};
        case VT_VARIANT:
            return {"{}", "[1]", R"({"vt": 8})", R"({"vt": "VT_ARRAY|VT_BSTR", "value": 1})"};
        case VT_DISPATCH:
            if (is_collection(row))
                return {"5", R"("x")", "true", "1.5"};
            return {"5", R"("x")", "true", "1.5", "[]"};
        default:
            return {R"("5")", "1.5", "[]", "{}"};
        }
    };
    for_each_property([&](const place& at, const media_member_row& row) {
        for (const char* value : wrong(row))
            EXPECT_EQ(read(at, row, value).result, DISP_E_TYPEMISMATCH) << value;
    });
}

TEST_F(FixtureMediaShapes, ObjectsAnswerToTheirInterfaceAlone)
{
    for (const place& at : places()) {
        SCOPED_TRACE(fixture::to_utf8(at.interface_name));
        const auto object = reach(at, "{}");
        for (const IID* id : {&IID_IMediaFactory, &IID_IMediaFeature, &IID_IMediaShellFolder, &IID_IMediaShortcut,
                              &IID_IMediaRegistrySet, &IID_IMediaRegistryKey, &IID_IMediaSettings})
            EXPECT_EQ(bool(automation::query_interface<IDispatch>(object.get(), *id)), *id == *at.id);
    }
}

TEST_F(FixtureMediaShapes, NamesHaveTheirNumbers)
{
    auto check = [](IDispatch* object, std::span<const media_member_row> rows) {
        for (const media_member_row& row : rows) {
            std::u16string name(row.name);
            name[0] = static_cast<char16_t>(name[0] + 32);
            WCHAR* names[] = {name.data()};
            DISPID id = DISPID_UNKNOWN;
            EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names, 1, 0, &id), S_OK) << fixture::to_utf8(name);
            EXPECT_EQ(id, row.id);
        }
        std::u16string unknown(u"Unheard");
        WCHAR* names[] = {unknown.data()};
        DISPID id = 0;
        EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names, 1, 0, &id), DISP_E_UNKNOWNNAME);
        EXPECT_EQ(id, DISPID_UNKNOWN);
    };
    for (const place& at : places())
        check(reach(at, "{}").get(), at.rows);
    check(m_factory.get(), media_factory::all);
    check(call(m_factory.get(), media_factory::LastError).object().get(), media_error::all);
    const auto media = open_media(R"("Components": [{}])");
    const auto components = call(media.get(), media::Components).object();
    check(components.get(), media_collection::all);
    check(call(item(components.get(), 1).get(), media_component::Files).object().get(), media_file_list::all);
}

TEST_F(FixtureMediaShapes, NumbersThatStandInNoTableAreNotFound)
{
    for (const place& at : places()) {
        const auto object = reach(at, "{}");
        EXPECT_EQ(call(object.get(), media_member_row{99, u"", VT_EMPTY}).result, DISP_E_MEMBERNOTFOUND);
        media_member_row as_method = at.rows[0];
        as_method.kind = DISPATCH_METHOD;
        EXPECT_EQ(call(object.get(), as_method).result, DISP_E_MEMBERNOTFOUND) << "a property is no method";
    }
}

TEST_F(FixtureMediaShapes, MembersTakeTheirNumberOfArguments)
{
    for_each_property([&](const place& at, const media_member_row& row) {
        const HRESULT wanted = row.name == u"ProductGuid" ? S_OK : DISP_E_BADPARAMCOUNT;
        EXPECT_EQ(call(reach(at, "{}").get(), row, 0).result, wanted);
    });
    const auto media = open_media(R"("ProductGuid": "{5}", "Features": [{}])");
    EXPECT_EQ(call(media.get(), media::ProductGuid, 0).text(), u"{5}");
    EXPECT_EQ(call(media.get(), media::ProductGuid).text(), u"{5}");
    EXPECT_EQ(call(media.get(), media::ProductGuid, 0, 0).result, DISP_E_BADPARAMCOUNT);
    const auto features = call(media.get(), media::Features).object();
    EXPECT_EQ(call(features.get(), media_collection::Item).result, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(call(features.get(), media_collection::Item, 1, 1).result, DISP_E_BADPARAMCOUNT);
}

TEST_F(FixtureMediaShapes, TextsStandForObjectsInThreeLists)
{
    const auto named = [&](const place& at, const media_member_row& row) {
        return (at.interface_name == u"IMediaFeature" &&
                (row.name == u"RequiredFeatures" || row.name == u"IncludedComponents")) ||
               (at.interface_name == u"IMediaRegistrySet" && row.name == u"Components");
    };
    int lists = 0;
    for_each_property([&](const place& at, const media_member_row& row) {
        if (!row.collection)
            return;
        const auto collection = read(at, row, R"([{"Name": "One"}, "Two"])").object();
        const outcome found = call(collection.get(), media_collection::Item, 2);
        const outcome by_name = call(collection.get(), media_collection::Item, std::u16string_view(u"Two"));
        if (!named(at, row)) {
            EXPECT_EQ(found.result, DISP_E_TYPEMISMATCH);
            EXPECT_EQ(by_name.result, E_FAIL);
            return;
        }
        ++lists;
        const media_member_row& name = row.object == u"IMediaFeature"
                                           ? static_cast<const media_member_row&>(media_feature::Name)
                                           : media_component::Name;
        EXPECT_EQ(call(found.object().get(), name).text(), u"Two");
        EXPECT_EQ(call(by_name.object().get(), name).text(), u"Two");
    });
    EXPECT_EQ(lists, 3);
}

} // namespace

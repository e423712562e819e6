#include "tests/readers/fixture_support.h"

#include "readers/fixture/text.h"

using namespace cw;
using namespace cw::fixture_tests;

namespace {

class FixtureJsonObject : public fixture_test {
protected:
    com_ptr<IDispatch> features(std::string_view value, std::string_view settings = {})
    {
        const auto media = open("{" + std::string(settings) + R"("media": {"Features": )" + std::string(value) + "}}");
        return call(media.get(), media::Features).object();
    }
    static std::u16string name_at(IDispatch* collection, auto argument)
    {
        return call(item(collection, argument).get(), media_feature::Name).text();
    }
    std::size_t files_in_folder()
    {
        const auto folder = std::filesystem::directory_iterator(path_of(""));
        return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
    }
    outcome extract(std::string_view file_members, const std::string& target)
    {
        const std::u16string path = std::filesystem::path(target).u16string();
        return call(open_file(file_members).get(), media_file::Extract, std::u16string_view(path));
    }
};

TEST_F(FixtureJsonObject, ItemTakesIndicesFromOne)
{
    const auto list = features(R"([{"Name": "One"}, {"Name": "Two"}])");
    EXPECT_EQ(name_at(list.get(), 1), u"One");
    EXPECT_EQ(name_at(list.get(), 2), u"Two");
    for (const int index : {0, 3, -1, INT32_MIN, INT32_MAX})
        EXPECT_EQ(call(list.get(), media_collection::Item, index).result, E_FAIL) << index;
}

TEST_F(FixtureJsonObject, ItemTakesTheFirstOfAName)
{
    const auto list = features(R"([{"Name": "Main", "Description": "first"}, {"Name": "main"},
                                   {"Name": "Main", "Description": "second"}])");
    EXPECT_EQ(call(item(list.get(), u"Main").get(), media_feature::Description).text(), u"first");
    EXPECT_EQ(name_at(list.get(), std::u16string_view(u"main")), u"main");
    for (const char16_t* name : {u"MAIN", u"Main ", u"Mai", u"", u"1"})
        EXPECT_EQ(call(list.get(), media_collection::Item, std::u16string_view(name)).result, E_FAIL);
}

TEST_F(FixtureJsonObject, ItemsWithoutANameHaveTheEmptyOne)
{
    EXPECT_EQ(
        call(item(features(R"([{"Name": "x"}, {"Description": "none"}])").get(), u"").get(), media_feature::Description)
            .text(),
        u"none");
    EXPECT_TRUE(item(features(R"([{"Name": null}])").get(), u""));
    variant null_text;
    null_text.vt = VT_BSTR;
    EXPECT_EQ(call(features(R"([{}])").get(), media_collection::Item, std::move(null_text)).result, S_OK);
}

TEST_F(FixtureJsonObject, ItemOfANameSkipsWhatHasNoName)
{
    const auto list =
        features(R"([null, 5, {"fail": "0x80070005"}, {"Name": {"fail": "0x80070005"}}, {"Name": 7}, {"Name": "x"}])");
    EXPECT_EQ(name_at(list.get(), std::u16string_view(u"x")), u"x");
    EXPECT_EQ(call(list.get(), media_collection::Item, std::u16string_view(u"")).result, E_FAIL);
}

TEST_F(FixtureJsonObject, ItemConvertsOtherArgumentsToAnIndex)
{
    const auto list = features(R"([{"Name": "One"}, {"Name": "2"}, {"Name": "Three"}])");
    EXPECT_EQ(call(call(list.get(), media_collection::Item, 3.0).object().get(), media_feature::Name).text(), u"Three");
    variant small;
    small.vt = VT_I2;
    small.iVal = 2;
    EXPECT_EQ(
        call(call(list.get(), media_collection::Item, std::move(small)).object().get(), media_feature::Name).text(),
        u"2");
    VARIANT inner;
    VariantInit(&inner);
    inner.vt = VT_I4;
    inner.lVal = 1;
    variant by_reference;
    by_reference.vt = VT_BYREF | VT_VARIANT;
    by_reference.pvarVal = &inner;
    EXPECT_EQ(
        call(call(list.get(), media_collection::Item, std::move(by_reference)).object().get(), media_feature::Name)
            .text(),
        u"One");
    EXPECT_EQ(call(list.get(), media_collection::Item, variant()).result, E_FAIL) << "empty is the index 0";
    EXPECT_EQ(call(list.get(), media_collection::Item, true).result, E_FAIL) << "true is -1";
    variant no_index;
    no_index.vt = VT_NULL;
    EXPECT_EQ(call(list.get(), media_collection::Item, std::move(no_index)).result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(call(list.get(), media_collection::Item, 1e10).result, DISP_E_OVERFLOW);
}

TEST_F(FixtureJsonObject, MissingItemsFailOrAreNull)
{
    EXPECT_EQ(call(features("[]").get(), media_collection::Item, 1).result, make_hresult(0x80004005));
    EXPECT_EQ(call(features("[]", R"("missing": "fail", )").get(), media_collection::Item, 1).result, E_FAIL);
    const auto list = features(R"([{"Name": "x"}])", R"("missing": "null", )");
    for (const int index : {0, 2, -1}) {
        const outcome found = call(list.get(), media_collection::Item, index);
        EXPECT_EQ(found.result, S_OK);
        EXPECT_EQ(found.object().get(), nullptr);
    }
    const outcome by_name = call(list.get(), media_collection::Item, std::u16string_view(u"X"));
    EXPECT_EQ(by_name.result, S_OK);
    EXPECT_EQ(by_name.object().get(), nullptr);
    EXPECT_TRUE(item(list.get(), 1));
}

TEST_F(FixtureJsonObject, ItemsFailAndAreNullAsTold)
{
    const auto list = features(R"([{"fail": "0x8007000E"}, null, 5, {"Name": "x"}])");
    EXPECT_EQ(call(list.get(), media_collection::Count).value.lVal, 4);
    EXPECT_EQ(call(list.get(), media_collection::Item, 1).result, E_OUTOFMEMORY);
    const outcome null_item = call(list.get(), media_collection::Item, 2);
    EXPECT_EQ(null_item.result, S_OK);
    EXPECT_EQ(null_item.object().get(), nullptr);
    EXPECT_EQ(call(list.get(), media_collection::Item, 3).result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(name_at(list.get(), 4), u"x");
}

TEST_F(FixtureJsonObject, CountsAnswerSuccessiveReads)
{
    const auto list = features(R"({"items": [{"Name": "x"}], "counts": [3, 3, 2]})");
    for (const int count : {3, 3, 2, 2, 2})
        EXPECT_EQ(call(list.get(), media_collection::Count).value.lVal, count);
    EXPECT_EQ(name_at(list.get(), 1), u"x");
    EXPECT_EQ(call(list.get(), media_collection::Item, 2).result, E_FAIL) << "the items stay what they are";
}

TEST_F(FixtureJsonObject, EachReadOfACollectionCountsAnew)
{
    const auto media = open_media(R"("Features": {"items": [], "counts": [2, 1]})");
    for (int read = 0; read < 2; ++read) {
        const auto list = call(media.get(), media::Features).object();
        EXPECT_EQ(call(list.get(), media_collection::Count).value.lVal, 2);
        EXPECT_EQ(call(list.get(), media_collection::Count).value.lVal, 1);
    }
}

TEST_F(FixtureJsonObject, CountsMayFail)
{
    const auto list = features(R"({"items": [{}], "counts": [1, {"fail": "0x8000FFFF"}, -4, "x"]})");
    EXPECT_EQ(call(list.get(), media_collection::Count).value.lVal, 1);
    EXPECT_EQ(call(list.get(), media_collection::Count).result, E_UNEXPECTED);
    EXPECT_EQ(call(list.get(), media_collection::Count).value.lVal, -4);
    EXPECT_EQ(call(list.get(), media_collection::Count).result, DISP_E_TYPEMISMATCH);
    const auto always = features(R"({"items": [{}], "counts": {"fail": "0x8000FFFF"}})");
    EXPECT_EQ(call(always.get(), media_collection::Count).result, E_UNEXPECTED);
    EXPECT_TRUE(item(always.get(), 1));
}

TEST_F(FixtureJsonObject, CollectionsAsObjectsNeedNothing)
{
    EXPECT_EQ(call(features("{}").get(), media_collection::Count).value.lVal, 0);
    EXPECT_EQ(call(features(R"({"items": null})").get(), media_collection::Count).value.lVal, 0);
    EXPECT_EQ(call(features(R"({"items": [{}, {}]})").get(), media_collection::Count).value.lVal, 2);
    EXPECT_EQ(call(features(R"({"items": [{}], "counts": []})").get(), media_collection::Count).value.lVal, 1);
    EXPECT_EQ(call(features(R"({"counts": [5]})").get(), media_collection::Count).value.lVal, 5);
    EXPECT_EQ(call(features(R"({"items": 5})").get(), media_collection::Count).result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(call(features(R"({"items": 5})").get(), media_collection::Item, 1).result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(call(features(R"({"items": {"fail": "0x8000FFFF"}})").get(), media_collection::Item, 1).result,
              E_UNEXPECTED);
}

TEST_F(FixtureJsonObject, TheFileListHasItsOwnNumbers)
{
    const auto media = open(R"({"missing": "null", "media": {"Components": [{"Name": "Program", "Files":
        {"items": [{"Name": "a.txt", "Size": 5}, {"Name": "b.txt", "Size": 6}], "counts": [2, 1]}}]}})");
    const auto component = item(call(media.get(), media::Components).object().get(), u"Program");
    const auto files = call(component.get(), media_component::Files).object();
    EXPECT_EQ(call(files.get(), media_file_list::Count).value.lVal, 2);
    EXPECT_EQ(call(files.get(), media_file_list::Count).value.lVal, 1);
    EXPECT_EQ(call(call(files.get(), media_file_list::Item, 1).object().get(), media_file::Size).value.lVal, 5);
    const outcome by_name = call(files.get(), media_file_list::Item, std::u16string_view(u"b.txt"));
    EXPECT_EQ(call(by_name.object().get(), media_file::Size).value.lVal, 6);
    EXPECT_EQ(call(files.get(), media_file_list::Item, 3).object().get(), nullptr);
    EXPECT_EQ(call(files.get(), media_collection::Count).result, DISP_E_MEMBERNOTFOUND);
}

TEST_F(FixtureJsonObject, FeaturesNest)
{
    const auto help =
        item(call(open_feature(R"("SubFeatures": [{"Name": "Help", "SubFeatures": [{"Name": "Index"}]}])").get(),
                  media_feature::SubFeatures)
                 .object()
                 .get(),
             1);
    EXPECT_EQ(call(help.get(), media_feature::Name).text(), u"Help");
    EXPECT_EQ(name_at(call(help.get(), media_feature::SubFeatures).object().get(), 1), u"Index");
}

TEST_F(FixtureJsonObject, UnknownKeysAreLeftAlone)
{
    EXPECT_EQ(call(open_feature(R"("Name": "x", "Unheard": [1, {}])").get(), media_feature::Name).text(), u"x");
}

TEST_F(FixtureJsonObject, ExtractWritesTheContent)
{
    const std::string target = path_of("out.txt");
    EXPECT_EQ(extract(R"("Name": "a.txt", "Size": 99, "content": "h\u00e9llo \ud83d\udce6\r\n")", target).result, S_OK);
    EXPECT_EQ(read(target), "h\xC3\xA9llo \xF0\x9F\x93\xA6\r\n");
    EXPECT_EQ(extract(R"("content": "short")", target).result, S_OK);
    EXPECT_EQ(read(target), "short") << "an older file is replaced whole";
    EXPECT_EQ(extract(R"("Name": "a.txt")", target).result, S_OK);
    EXPECT_EQ(read(target), "") << "no content is an empty file";
    EXPECT_EQ(extract(R"("content": null)", path_of("null.txt")).result, S_OK);
    EXPECT_EQ(read(path_of("null.txt")), "");
}

TEST_F(FixtureJsonObject, ExtractFailsAsToldAndWritesNothing)
{
    const std::string target = path_of("out.txt");
    EXPECT_EQ(extract(R"("content": {"fail": "0x80070005"})", target).result, E_ACCESSDENIED);
    EXPECT_EQ(extract(R"("content": 5)", target).result, DISP_E_TYPEMISMATCH);
    EXPECT_FALSE(std::filesystem::exists(target));
}

TEST_F(FixtureJsonObject, ExtractTellsWhyItCannotWrite)
{
    const outcome no_folder = extract(R"("content": "x")", path_of("no/such.txt"));
    EXPECT_EQ(no_folder.result, E_FAIL);
    const std::string told = fixture::to_utf8(no_folder.description);
    EXPECT_NE(told.find(path_of("no/such.txt")), std::string::npos) << told;
    EXPECT_NE(told.find("No such file or directory"), std::string::npos) << told;
    EXPECT_EQ(extract(R"("content": "x")", path_of("")).result, E_FAIL) << "a folder";
    EXPECT_EQ(files_in_folder(), 1u) << "the model alone";
}

TEST_F(FixtureJsonObject, ExtractIsAMethodWithOneArgument)
{
    const auto file = open_file(R"("content": "x")");
    EXPECT_EQ(call(file.get(), media_file::Extract).result, DISP_E_BADPARAMCOUNT);
    media_member_row as_property = media_file::Extract;
    as_property.kind = DISPATCH_PROPERTYGET;
    EXPECT_EQ(call(file.get(), as_property, std::u16string_view(u"x")).result, DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(call(file.get(), media_file::Extract, std::u16string_view(u"")).result, E_FAIL);
}

TEST_F(FixtureJsonObject, ObjectsLiveOnWithoutTheirMedia)
{
    com_ptr<IDispatch> name_list;
    com_ptr<IDispatch> file;
    {
        file = open_file(R"("Name": "a.txt")");
        name_list =
            call(open_feature(R"("RequiredFeatures": ["Base"])").get(), media_feature::RequiredFeatures).object();
        m_factory.reset();
    }
    EXPECT_EQ(call(file.get(), media_file::Name).text(), u"a.txt");
    EXPECT_EQ(name_at(name_list.get(), 1), u"Base");
}

} // namespace

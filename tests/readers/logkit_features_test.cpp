#include "logkit_support.h"

#include <fstream>

namespace cw::logkit_tests {
namespace {

namespace fs = std::filesystem;
using logkit_features = log_test;

TEST_F(logkit_features, have_names_places_and_parents)
{
    const com_ptr<ILogDocument> document = open(write_log(rich_log()));
    const feature main = main_feature(document.get());
    EXPECT_EQ(name_of(main.get()), "Main");
    feature parent = main;
    EXPECT_EQ(main->Parent(parent.put()), S_OK);
    EXPECT_FALSE(parent);
    ASSERT_EQ(child_count(main.get()), 2);
    EXPECT_EQ(name_of(child(main.get(), 1).get()), "First");
    const feature second = child(main.get(), 2);
    EXPECT_EQ(name_of(second.get()), "Second");
    EXPECT_EQ(child_count(child(main.get(), 1).get()), 0);
    const feature deep = child(second.get(), 1);
    bstr id;
    EXPECT_EQ(deep->ID(id.put()), S_OK);
    EXPECT_EQ(id.view(), u"deep-id");
    EXPECT_EQ(deep->Parent(parent.put()), S_OK);
    EXPECT_EQ(parent, second);
}

TEST_F(logkit_features, a_name_that_is_not_there_is_empty)
{
    const feature main = open_main(write_log(empty_log() + "INSERT INTO feature VALUES (1, 0, 0, NULL, '');"));
    EXPECT_EQ(name_of(main.get()), "");
    bstr id;
    EXPECT_EQ(main->ID(id.put()), S_OK);
    EXPECT_EQ(id.view(), u"");
}

TEST_F(logkit_features, ill_formed_names_are_shown)
{
    const feature main =
        open_main(write_log(empty_log() + "INSERT INTO feature VALUES (1, 0, 0, CAST(x'41FF42' AS TEXT), 5);"));
    EXPECT_EQ(name_of(main.get()), "A\xEF\xBF\xBD"
                                   "B");
}

TEST_F(logkit_features, are_found_by_any_number_from_1)
{
    const com_ptr<ILogDocument> document = open(write_log(rich_log()));
    const feature main = main_feature(document.get());
    com_ptr<IFeatureLogCollection> features;
    ASSERT_EQ(main->SubFeatures(features.put()), S_OK);
    feature found;
    EXPECT_EQ(features->Item(variant(2.0), found.put()), S_OK);
    EXPECT_EQ(name_of(found.get()), "Second");
    EXPECT_EQ(features->Item(variant(std::u16string_view(u"1")), found.put()), S_OK);
    EXPECT_EQ(name_of(found.get()), "First");
    std::int32_t number = 2;
    VARIANT reference{};
    reference.vt = VT_BYREF | VT_I4;
    reference.byref = &number;
    EXPECT_EQ(features->Item(reference, found.put()), S_OK);
    EXPECT_EQ(name_of(found.get()), "Second");
    for (const LONG wrong : {0, -1, 3, INT32_MIN, INT32_MAX}) {
        IFeatureLog* none = main.get();
        EXPECT_EQ(features->Item(variant(wrong), &none), failure(60)) << wrong;
        EXPECT_EQ(none, nullptr);
        EXPECT_NE(last_error().find("sub-feature number " + std::to_string(wrong)), std::string::npos);
    }
    EXPECT_EQ(features->Item(variant(std::u16string_view(u"x")), found.put()), DISP_E_TYPEMISMATCH);
    EXPECT_NE(last_error(), "");
}

TEST_F(logkit_features, are_the_same_objects_while_they_live)
{
    const com_ptr<ILogDocument> document = open(write_log(rich_log()));
    IFeatureLog* first = nullptr;
    {
        const feature main = main_feature(document.get());
        first = child(main.get(), 1).get(); // released again, and kept by the document
        EXPECT_EQ(main, main_feature(document.get()));
        EXPECT_EQ(child(main.get(), 1).get(), first);
    }
    EXPECT_EQ(name_of(first), "First");
    EXPECT_EQ(child(main_feature(document.get()).get(), 1).get(), first);
}

/// How many of the process's descriptors are open on a file.
int descriptors_on(const std::string& path)
{
    int count = 0;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd"))
        count += fs::read_symlink(entry.path(), ignored) == path;
    return count;
}

TEST_F(logkit_features, outlive_document_and_loader)
{
    const std::string path = write_log(rich_log());
    com_ptr<ILogDocument> document = open(path);
    EXPECT_EQ(descriptors_on(path), 1);
    feature deep = child(child(main_feature(document.get()).get(), 2).get(), 1);
    com_ptr<IFeatureLogCollection> features;
    EXPECT_EQ(deep->SubFeatures(features.put()), S_OK);
    operations files = list(main_feature(document.get()).get(), log_operation_type::file);
    com_ptr<IOperationTypeCollection> types;
    EXPECT_EQ(document->OperationTypes(types.put()), S_OK);
    EXPECT_EQ(document.detach()->Release(), 0u);
    EXPECT_EQ(m_loader.detach()->Release(), 0u);

    feature parent;
    EXPECT_EQ(deep->Parent(parent.put()), S_OK);
    EXPECT_EQ(name_of(parent.get()), "Second");
    EXPECT_EQ(child(parent.get(), 1), deep);
    EXPECT_EQ(records(deep.get(), log_operation_type::file).size(), 1u);
    EXPECT_EQ(records(files.get()).size(), 2u);
    LONG count = 0;
    EXPECT_EQ(types->Count(&count), S_OK);
    EXPECT_EQ(count, 10);
    EXPECT_EQ(descriptors_on(path), 1);

    EXPECT_EQ(parent.detach()->Release(), 0u);
    EXPECT_EQ(deep.detach()->Release(), 0u);
    EXPECT_EQ(features.detach()->Release(), 0u);
    EXPECT_EQ(types.detach()->Release(), 0u);
    EXPECT_EQ(descriptors_on(path), 1);
    EXPECT_EQ(files.detach()->Release(), 0u);
    EXPECT_EQ(descriptors_on(path), 0);
}

TEST_F(logkit_features, all_goes_with_the_document)
{
    const std::string path = write_log(rich_log());
    com_ptr<ILogDocument> document = open(path);
    EXPECT_EQ(walk(document.get()).failures, 0);
    EXPECT_EQ(descriptors_on(path), 1);
    EXPECT_EQ(document.detach()->Release(), 0u);
    EXPECT_EQ(descriptors_on(path), 0);
}

TEST_F(logkit_features, many_below_one)
{
    const feature main = open_main(write_log(
        plain_log() + "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 9999) INSERT INTO "
                      "feature SELECT i + 2, 1, i, 'f' || i, 'id' || i FROM n;"));
    ASSERT_EQ(child_count(main.get()), 10'000);
    for (LONG i = 1; i <= 10'000; i += 99)
        EXPECT_EQ(name_of(child(main.get(), i).get()), "f" + std::to_string(i - 1));
}

TEST_F(logkit_features, know_the_types_of_operations)
{
    const com_ptr<ILogDocument> document = open(write_log(rich_log()));
    com_ptr<IOperationTypeCollection> types;
    ASSERT_EQ(document->OperationTypes(types.put()), S_OK);
    LONG count = 0;
    EXPECT_EQ(types->Count(&count), S_OK);
    std::vector<std::u16string> names;
    for (LONG i = 1; i <= count; ++i) {
        com_ptr<IOperationType> type;
        ASSERT_EQ(types->Item(variant(i), type.put()), S_OK);
        bstr name;
        EXPECT_EQ(type->Name(name.put()), S_OK);
        names.emplace_back(name.view());
    }
    std::vector<std::u16string> expected;
    for (const formats::operation_table& table : formats::operation_tables)
        expected.emplace_back(table.type);
    expected.emplace_back(u"OPTYPE_SERVICE");
    EXPECT_EQ(names, expected);
    for (const LONG wrong : {0, -1, 11, INT32_MAX}) {
        com_ptr<IOperationType> type;
        EXPECT_EQ(types->Item(variant(wrong), type.put()), failure(60));
        EXPECT_NE(last_error().find("operation type number"), std::string::npos);
    }
}

using logkit_properties = log_test;

TEST_F(logkit_properties, are_scalars_and_arrays_of_texts)
{
    const com_ptr<ILogDocument> document = open(write_log(rich_log()));
    const feature main = main_feature(document.get());
    EXPECT_EQ(property_names(main.get()), (std::vector<std::string>{"State", "Titles", "Values"}));
    const variant state = property(main.get(), u"State");
    EXPECT_EQ(shown(state), "i4:2");
    EXPECT_EQ(static_cast<WORD>(state.uiVal), log_state::installed);
    const variant titles = property(main.get(), u"Titles");
    ASSERT_EQ(titles.vt, VT_ARRAY | VT_BSTR);
    EXPECT_EQ(texts(titles.parray), (std::vector<std::string>{"Version", "Vendor"}));
    const variant again = property(main.get(), u"Titles");
    EXPECT_NE(again.parray, titles.parray);
    EXPECT_EQ(texts(property(main.get(), u"Values").parray), (std::vector<std::string>{"1.0"}));
    EXPECT_EQ(property_names(child(main.get(), 2).get()), std::vector<std::string>{});
}

TEST_F(logkit_properties, have_one_array_of_names)
{
    const com_ptr<ILogDocument> document = open(write_log(rich_log()));
    const feature main = main_feature(document.get());
    SAFEARRAY* first = nullptr;
    ASSERT_EQ(main->PropertyNames(&first), S_OK);
    void* data = nullptr;
    EXPECT_EQ(SafeArrayAccessData(first, &data), S_OK);
    for (int i = 0; i < 3; ++i) {
        SAFEARRAY* again = nullptr;
        EXPECT_EQ(main->PropertyNames(&again), S_OK);
        EXPECT_EQ(again, first);
    }
    EXPECT_EQ(SafeArrayUnaccessData(first), S_OK);
    SAFEARRAY* other = nullptr;
    ASSERT_EQ(child(main.get(), 1)->PropertyNames(&other), S_OK);
    EXPECT_NE(other, first);
}

TEST_F(logkit_properties, may_be_of_every_scalar_type)
{
    const feature main = open_main(
        write_log(plain_log() +
                  "INSERT INTO property VALUES (1, 0, 'empty', 0, NULL), (1, 1, 'i2', 2, -300), (1, 2, 'r8', 5, 1.5),"
                  "(1, 3, 'text', 8, 'Ω'), (1, 4, 'yes', 11, 1), (1, 5, 'i8', 20, 9007199254740993),"
                  "(1, 6, 'no text', 8, NULL), (1, 7, 'no elements', 8200, NULL), (1, 8, '', 3, 5);"));
    EXPECT_EQ(shown(property(main.get(), u"empty")), "empty");
    EXPECT_EQ(shown(property(main.get(), u"i2")), "i2:-300");
    EXPECT_EQ(shown(property(main.get(), u"r8")), "r8:1.500000");
    EXPECT_EQ(shown(property(main.get(), u"text")), "\"Ω\"");
    EXPECT_EQ(shown(property(main.get(), u"yes")), "yes");
    EXPECT_EQ(shown(property(main.get(), u"i8")), "i8:9007199254740993");
    EXPECT_EQ(shown(property(main.get(), u"no text")), "\"\"");
    EXPECT_EQ(texts(property(main.get(), u"no elements").parray), std::vector<std::string>{});
    EXPECT_EQ(shown(property(main.get(), u"")), "i4:5");
    variant null_name;
    null_name.vt = VT_BSTR;
    null_name.bstrVal = nullptr;
    variant value;
    EXPECT_EQ(main->PropertyValue(null_name, value.put()), S_OK);
    EXPECT_EQ(shown(value), "i4:5");
}

TEST_F(logkit_properties, texts_tell_no_state)
{
    std::string rows;
    for (int i = 0; i < 200; ++i)
        rows += "INSERT INTO property VALUES (1, " + std::to_string(i) + ", 'p" + std::to_string(i) + "', 8, " +
                (i % 3 == 0 ? "NULL" : "'" + std::string(static_cast<std::size_t>(i) * 7, 'x') + "'") + ");";
    const feature main = open_main(write_log(plain_log() + rows));
    std::vector<variant> held;
    for (int i = 0; i < 200; ++i) {
        held.push_back(property(main.get(), wide("p" + std::to_string(i))));
        EXPECT_EQ(held.back().vt, VT_BSTR);
        EXPECT_NE(held.back().bstrVal, nullptr);
        const WORD field = held.back().uiVal;
        EXPECT_NE(field, log_state::not_installed);
        EXPECT_NE(field, log_state::installed);
    }
}

TEST_F(logkit_properties, are_found_by_their_exact_names_alone)
{
    const feature main = open_main(write_log(
        plain_log() + "INSERT INTO property VALUES (1, 0, 'Name', 3, 1), (1, 1, CAST(x'FF' AS TEXT), 3, 2);"));
    for (const std::u16string_view wrong : {u"name", u"Name ", u"", u"Nam"}) {
        HRESULT result = S_OK;
        const variant value = property(main.get(), wrong, &result);
        EXPECT_EQ(result, failure(60));
        EXPECT_EQ(value.vt, VT_EMPTY);
        const std::string text = last_error();
        EXPECT_NE(text.find("no property \"" + narrow(wrong) + "\""), std::string::npos) << text;
        EXPECT_NE(text.find("setup.clg"), std::string::npos) << text;
    }
    // Whatever the list of names tells can be asked for.
    EXPECT_EQ(shown(property(main.get(), u"\xFFFD")), "i4:2");
    variant value(3);
    EXPECT_EQ(main->PropertyValue(variant(1), &value), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(value.vt, VT_EMPTY);
}

TEST_F(logkit_properties, contradictions_are_told)
{
    const feature main = open_main(
        write_log(plain_log() +
                  "INSERT INTO property VALUES (1, 0, 'byte', 17, 256), (1, 1, 'text', 8, 5), (1, 2, 'object', 9, 0),"
                  "(1, 3, 'gap', 8200, NULL), (1, 4, 'numbers', 8195, NULL), (1, 5, 'type', 'x', 1),"
                  "(1, 6, 'wide', 70000, 1), (1, 7, 'negative', -1, 1);"
                  "INSERT INTO property_element VALUES (1, 3, 0, 'a'), (1, 3, 2, 'c');"));
    for (const std::u16string_view name :
         {u"byte", u"text", u"object", u"gap", u"numbers", u"type", u"wide", u"negative"}) {
        HRESULT result = S_OK;
        (void)property(main.get(), name, &result);
        EXPECT_EQ(result, failure(31)) << narrow(name);
        EXPECT_NE(last_error().find("contradict each other: table property"), std::string::npos) << narrow(name);
    }
    const feature gap = open_main(write_log(plain_log() + "INSERT INTO property VALUES (1, 1, 'a', 3, 1);", "gap.clg"));
    SAFEARRAY* names = nullptr;
    EXPECT_EQ(gap->PropertyNames(&names), failure(31));
    EXPECT_EQ(names, nullptr);
}

TEST_F(logkit_properties, values_have_their_titles)
{
    const feature main = open_main(
        write_log(plain_log() +
                  "INSERT INTO property VALUES (1, 0, 'State', 3, 2), (1, 1, 'titles', 8200, NULL),"
                  "(1, 2, 'few', 8200, NULL), (1, 3, 'many', 8200, NULL), (1, 4, 'none', 8200, NULL);"
                  "INSERT INTO property_element VALUES (1, 1, 0, 'a'), (1, 1, 1, 'b'), (1, 2, 0, '1'), (1, 2, 1, '2'),"
                  "(1, 3, 0, '1'), (1, 3, 1, '2'), (1, 3, 2, '3');"));
    EXPECT_EQ(texts(property(main.get(), u"titles").parray), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(texts(property(main.get(), u"few").parray), (std::vector<std::string>{"1", "2"}));
    EXPECT_EQ(texts(property(main.get(), u"none").parray), std::vector<std::string>{});
    HRESULT result = S_OK;
    (void)property(main.get(), u"many", &result);
    EXPECT_EQ(result, failure(31));
    EXPECT_NE(last_error().find("longer than its titles"), std::string::npos);
}

} // namespace
} // namespace cw::logkit_tests

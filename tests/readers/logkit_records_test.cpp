#include "logkit_support.h"

#include <malloc.h>

#include <limits>

namespace cw::logkit_tests {
namespace {

using lines = std::vector<std::string>;
using logkit_records = log_test;

TEST_F(logkit_records, of_every_type)
{
    const com_ptr<ILogDocument> document = open(write_log(rich_log()));
    const feature main = main_feature(document.get());
    namespace types = log_operation_type;
    EXPECT_EQ(records(main.get(), types::file),
              (lines{R"("/opt/a" "a.bin" yes no no yes)", R"("/opt/b" "" no yes no yes "surplus" yes)"}));
    EXPECT_EQ(records(child(child(main.get(), 2).get(), 1).get(), types::file), lines{R"("/deep" "d" no no yes no)"});
    EXPECT_EQ(records(child(main.get(), 1).get(), types::shell), lines{R"("Programs" "Tool" yes no)"});
    EXPECT_EQ(records(main.get(), types::registry), lines{R"("Software\X" "Name" "" i2:2 yes no yes)"});
    EXPECT_EQ(records(main.get(), types::registry64), lines{R"("Software\Y" "" "far" i2:0 no yes no i4:512)"});
    EXPECT_EQ(records(main.get(), types::progman), lines{R"("Group" "Item" "run" yes)"});
    EXPECT_EQ(records(main.get(), types::ini), lines{R"("/etc/x.ini" "main" "key" "value" yes no)"});
    EXPECT_EQ(records(main.get(), types::filereg), lines{R"("/opt/a" "a.so" yes)"});
    EXPECT_EQ(records(main.get(), types::dotnet), lines{R"("/opt/a" "a.dll" i2:3 no yes)"});
    EXPECT_EQ(records(main.get(), types::general), (lines{R"("Restart" "later")", R"("Done" "")"}));
    EXPECT_EQ(records(main.get(), u"OPTYPE_SERVICE"), (lines{R"("service" i4:7)", ""}));
    EXPECT_EQ(records(main.get(), types::shell), lines{});
}

TEST_F(logkit_records, walk_of_the_whole_log_meets_all)
{
    const com_ptr<ILogDocument> document = open(write_log(rich_log()));
    const walked all = walk(document.get());
    EXPECT_EQ(all.failures, 0) << all.first_failure;
    EXPECT_EQ(all.features, 4);
    EXPECT_EQ(all.properties, 4);
    EXPECT_EQ(all.records, 2 * 12 + 2); // known types by their names and as listed ones
}

TEST_F(logkit_records, nothing_said_fills_the_documented_elements)
{
    std::string rows;
    for (const formats::operation_table& table : formats::operation_tables)
        rows += "INSERT INTO " + std::string(table.name) + " (feature, position) VALUES (1, 0);";
    const feature main = open_main(write_log(plain_log() + rows));
    namespace types = log_operation_type;
    EXPECT_EQ(records(main.get(), types::file), lines{"\"\" \"\" no no no no"});
    EXPECT_EQ(records(main.get(), types::shell), lines{"\"\" \"\" no no"});
    EXPECT_EQ(records(main.get(), types::registry), lines{"\"\" \"\" \"\" i2:-1 no no no"});
    EXPECT_EQ(records(main.get(), types::registry64), lines{"\"\" \"\" \"\" i2:-1 no no no \"\""});
    EXPECT_EQ(records(main.get(), types::progman), lines{"\"\" \"\" \"\" no"});
    EXPECT_EQ(records(main.get(), types::ini), lines{"\"\" \"\" \"\" \"\" no no"});
    EXPECT_EQ(records(main.get(), types::filereg), lines{"\"\" \"\" no"});
    EXPECT_EQ(records(main.get(), types::dotnet), lines{"\"\" \"\" i2:0 no no"});
    EXPECT_EQ(records(main.get(), types::general), lines{"\"\" \"\""});
}

TEST_F(logkit_records, flags_are_true_or_false_whatever_is_stored)
{
    const feature main = open_main(write_log(
        plain_log() + "INSERT INTO file_operation VALUES (1, 0, 'a', 'b', 2, -1, 65536, 9223372036854775807);"));
    EXPECT_EQ(records(main.get(), log_operation_type::file), lines{R"("a" "b" yes yes yes yes)"});
}

TEST_F(logkit_records, texts_are_shown_whatever_is_stored)
{
    const feature main = open_main(
        write_log(plain_log() + "INSERT INTO general_operation VALUES (1, 0, 5, 1.5), (1, 1, x'4142', x'41FF42'),"
                                "(1, 2, '', 'Ω 😀'), (1, 3, CAST(x'C328' AS TEXT), CAST(x'610062' AS TEXT));"));
    EXPECT_EQ(records(main.get(), log_operation_type::general),
              (lines{R"("5" "1.5")",
                     "\"AB\" \"A\xEF\xBF\xBD"
                     "B\"",
                     R"("" "Ω 😀")", "\"\xEF\xBF\xBD(\" \"a" + std::string(1, '\0') + "b\""}));
}

TEST_F(logkit_records, converted_texts_keep_what_they_are)
{
    const feature main = open_main(
        write_log(plain_log() + "INSERT INTO registry64_operation (feature, position, value_name, flags) VALUES"
                                "(1, 0, 'text', ''), (1, 1, 2147483647, -2147483648), (1, 2, 2147483648, -2147483649),"
                                "(1, 3, 1.25, 9223372036854775807), (1, 4, x'41', NULL);"));
    EXPECT_EQ(records(main.get(), log_operation_type::registry64),
              (lines{R"("" "text" "" i2:-1 no no no "")", "\"\" i4:2147483647 \"\" i2:-1 no no no i4:-2147483648",
                     "\"\" i8:2147483648 \"\" i2:-1 no no no i8:-2147483649",
                     "\"\" r8:1.250000 \"\" i2:-1 no no no i8:9223372036854775807", R"("" "A" "" i2:-1 no no no "")"}));
}

TEST_F(logkit_records, numbers_up_to_their_limits)
{
    const auto hive = [&](const std::string& number) {
        return open_main(write_log(
            plain_log() + "INSERT INTO registry_operation (feature, position, hive) VALUES (1, 0, " + number + ");"));
    };
    const auto assembly = [&](const std::string& number) {
        return open_main(write_log(plain_log() +
                                   "INSERT INTO dotnet_operation (feature, position, assembly_type) VALUES (1, 0, " +
                                   number + ");"));
    };
    namespace types = log_operation_type;
    for (const char* number : {"-32768", "-1", "0", "7", "32767"})
        EXPECT_EQ(records(hive(number).get(), types::registry),
                  lines{"\"\" \"\" \"\" i2:" + std::string(number) + " no no no"});
    for (const char* number : {"-999", "0", "9999"})
        EXPECT_EQ(records(assembly(number).get(), types::dotnet),
                  lines{"\"\" \"\" i2:" + std::string(number) + " no no"});
    const auto refuse = [](const feature& main, std::u16string_view type, std::string_view told) {
        const operations found = list(main.get(), type);
        LONG position = 0;
        SAFEARRAY* record = reinterpret_cast<SAFEARRAY*>(&position);
        EXPECT_EQ(found->Next(&position, &record), failure(31));
        EXPECT_EQ(record, nullptr);
        EXPECT_EQ(position, 0);
        const std::string text = last_error();
        EXPECT_NE(text.find(told), std::string::npos) << text;
    };
    for (const char* number : {"-32769", "32768", "4294967296"})
        refuse(hive(number), types::registry, "table registry_operation, the hive " + std::string(number));
    for (const char* number : {"-1000", "10000"})
        refuse(assembly(number), types::dotnet, "table dotnet_operation, the assembly_type " + std::string(number));
    refuse(hive("'x'"), types::registry, "a text stands where an integer belongs");
    refuse(hive("1.5"), types::registry, "a real stands where an integer belongs");
}

TEST_F(logkit_records, surplus_elements_have_any_scalar_type)
{
    const feature main = open_main(write_log(
        plain_log() +
        "INSERT INTO general_operation VALUES (1, 0, 'a', 'b'), (1, 1, 'c', 'd'), (1, 2, 'e', 'f');"
        "INSERT INTO operation_element VALUES (9, 1, 0, 0, 2, 7), (9, 1, 0, 1, 0, NULL), (9, 1, 2, 0, 8, NULL),"
        "(9, 1, 2, 1, 20, 5), (9, 1, 2, 2, 5, 0.5), (9, 2, 1, 0, 3, 1), (9, 1, 7, 0, 3, 1);"));
    EXPECT_EQ(records(main.get(), log_operation_type::general),
              (lines{R"("a" "b" i2:7 empty)", R"("c" "d")", R"("e" "f" null i8:5 r8:0.500000)"}));
}

TEST_F(logkit_records, contradictions_are_told_where_they_stand)
{
    const auto broken = [&](const std::string& rows, LONG good) {
        const feature main = open_main(write_log(plain_log() + rows));
        const operations found = list(main.get(), log_operation_type::general);
        LONG position = -1;
        ASSERT_EQ(found->First(0, &position), S_OK);
        SAFEARRAY* record = nullptr;
        for (LONG i = 0; i < good; ++i)
            ASSERT_EQ(found->Next(&position, &record), S_OK) << rows << last_error();
        EXPECT_EQ(found->Next(&position, &record), failure(31)) << rows;
        EXPECT_EQ(record, nullptr);
        EXPECT_EQ(position, good);
        EXPECT_NE(last_error().find("contradict each other: table "), std::string::npos);
        // The records before it can still be had.
        if (good > 0) {
            position = 0;
            EXPECT_EQ(found->Next(&position, &record), S_OK);
        }
    };
    const std::string three =
        "INSERT INTO general_operation VALUES (1, 0, 'a', 'b'), (1, 1, 'c', 'd'), (1, 2, 'e', 'f');";
    broken("INSERT INTO general_operation VALUES (1, 0, 'a', 'b'), (1, 2, 'e', 'f');", 1);
    broken("INSERT INTO general_operation VALUES (1, 1, 'a', 'b');", 0);
    broken(three + "INSERT INTO operation_element VALUES (9, 1, 1, 1, 3, 5);", 1);
    broken(three + "INSERT INTO operation_element VALUES (9, 1, 2, 0, 3, 'x');", 2);
    broken(three + "INSERT INTO operation_element VALUES (9, 1, 0, 0, 8200, NULL);", 0);
    broken(three + "INSERT INTO operation_element VALUES (9, 1, 2, 0, 13, 1);", 2);
}

TEST_F(logkit_records, positions_up_to_their_limit)
{
    const auto last_at = [&](const std::string& position) {
        return open_main(
            write_log(plain_log() + "INSERT INTO general_operation VALUES (1, " + position + ", 'a', 'b');"));
    };
    feature main = last_at("2147483646");
    operations found = list(main.get(), log_operation_type::general);
    EXPECT_EQ(count_of(found.get()), 2147483647);
    LONG position = 2147483646;
    SAFEARRAY* record = nullptr;
    EXPECT_EQ(found->Next(&position, &record), S_OK);
    EXPECT_EQ(shown(record), R"("a" "b")");
    EXPECT_EQ(position, 2147483647);
    EXPECT_EQ(found->Next(&position, &record), failure(60));
    for (const char* wrong : {"2147483647", "-1", "'x'"}) {
        main = last_at(wrong);
        found = list(main.get(), log_operation_type::general);
        LONG count = 5;
        EXPECT_EQ(found->Count(&count), failure(31)) << wrong;
        EXPECT_EQ(count, 0);
        EXPECT_EQ(found->First(0, &position), failure(31)) << wrong;
    }
}

using logkit_lists = log_test;

TEST_F(logkit_lists, there_is_one_for_every_name)
{
    const com_ptr<ILogDocument> document = open(write_log(rich_log()));
    const feature main = main_feature(document.get());
    for (const std::u16string_view type :
         {std::u16string_view(u"OPTYPE_NONE"), std::u16string_view(u"optype_file"), std::u16string_view(u"")}) {
        const operations found = list(main.get(), type);
        ASSERT_TRUE(found);
        EXPECT_EQ(count_of(found.get()), 0);
        LONG position = 0;
        EXPECT_EQ(found->First(0, &position), S_OK);
        EXPECT_LT(position, 0);
        bstr name;
        EXPECT_EQ(found->Name(name.put()), S_OK);
        EXPECT_EQ(name.view(), type);
    }
    operations found;
    EXPECT_EQ(main->Operations(nullptr, found.put()), S_OK);
    EXPECT_EQ(count_of(found.get()), 0);
}

TEST_F(logkit_lists, a_known_type_needs_no_entry_among_the_types)
{
    const feature main = open_main(write_log(rich_log() + "DELETE FROM operation_type;"));
    EXPECT_EQ(records(main.get(), log_operation_type::general), (lines{R"("Restart" "later")", R"("Done" "")"}));
    EXPECT_EQ(records(main.get(), log_operation_type::file)[1], R"("/opt/b" "" no yes no yes)");
    EXPECT_EQ(records(main.get(), u"OPTYPE_SERVICE"), lines{});
}

TEST_F(logkit_lists, begin_at_0_or_nowhere)
{
    const feature main = open_main(write_log(rich_log()));
    const operations files = list(main.get(), log_operation_type::file);
    LONG position = 7;
    EXPECT_EQ(files->First(0, &position), S_OK);
    EXPECT_EQ(position, 0);
    EXPECT_EQ(files->First(1, &position), E_INVALIDARG);
    EXPECT_EQ(position, 0);
    EXPECT_EQ(list(main.get(), log_operation_type::shell)->First(0, &position), S_OK);
    EXPECT_EQ(position, -1);
}

TEST_F(logkit_lists, a_log_may_tell_which_have_records)
{
    const feature main =
        open_main(write_log(plain_log() + "INSERT INTO operation_list VALUES (1, 1), (1, 2), (9, 6), (1, 77);"
                                          "INSERT INTO shell_operation VALUES (1, 0, 'Programs', 'Tool', 1, 0);"
                                          "INSERT INTO general_operation VALUES (1, 0, 'Done', NULL);"));
    const auto first = [&](std::u16string_view type) {
        LONG position = -7;
        EXPECT_EQ(list(main.get(), type)->First(0, &position), S_OK);
        return position;
    };
    EXPECT_EQ(first(log_operation_type::shell), 0);
    EXPECT_EQ(count_of(list(main.get(), log_operation_type::shell).get()), 1);
    // Not told, and there all the same.
    EXPECT_EQ(first(log_operation_type::general), 0);
    EXPECT_EQ(first(log_operation_type::ini), -1);
    // Told of, and not there.
    EXPECT_EQ(first(log_operation_type::file), 0);
    LONG count = -1;
    EXPECT_EQ(list(main.get(), log_operation_type::file)->Count(&count), failure(31));
    EXPECT_EQ(count, 0);
    EXPECT_NE(last_error().find("operations that the log tells of are not there"), std::string::npos);
}

TEST_F(logkit_lists, a_position_outside_is_an_error)
{
    const feature main = open_main(write_log(rich_log()));
    const operations files = list(main.get(), log_operation_type::file);
    for (const LONG wrong : {2, 3, INT32_MAX, -1, INT32_MIN}) {
        LONG position = wrong;
        SAFEARRAY* record = reinterpret_cast<SAFEARRAY*>(&position);
        EXPECT_EQ(files->Next(&position, &record), failure(60)) << wrong;
        EXPECT_EQ(record, nullptr);
        EXPECT_EQ(position, wrong);
        EXPECT_NE(last_error().find("no record at position " + std::to_string(wrong) + " of OPTYPE_FILE"),
                  std::string::npos);
    }
}

TEST_F(logkit_lists, can_be_asked_for_any_position)
{
    const feature main = open_main(
        write_log(plain_log() + "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 2999) "
                                "INSERT INTO general_operation SELECT 1, i, 'o' || i, i FROM n;"));
    const operations found = list(main.get(), log_operation_type::general);
    unsigned state = 1;
    for (int i = 0; i < 1000; ++i) {
        state = state * 1103515245 + 12345;
        LONG position = static_cast<LONG>(state >> 8) % 3000;
        const std::string expected = "\"o" + std::to_string(position) + "\"";
        for (int again = 0; again < 2; ++again) {
            LONG asked = position;
            SAFEARRAY* record = nullptr;
            ASSERT_EQ(found->Next(&asked, &record), S_OK);
            EXPECT_EQ(asked, position + 1);
            EXPECT_EQ(shown(record).substr(0, expected.size()), expected);
        }
    }
}

TEST_F(logkit_lists, fill_one_array_for_all_records)
{
    const feature main = open_main(write_log(rich_log()));
    const operations found = list(main.get(), log_operation_type::general);
    LONG position = 0;
    SAFEARRAY* first = nullptr;
    SAFEARRAY* second = nullptr;
    ASSERT_EQ(found->Next(&position, &first), S_OK);
    ASSERT_EQ(found->Next(&position, &second), S_OK);
    EXPECT_EQ(first, second);
    EXPECT_EQ(shown(second), R"("Done" "")");
}

TEST_F(logkit_lists, an_array_that_is_locked_is_left_alone)
{
    const feature main =
        open_main(write_log(plain_log() + "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 9) "
                                          "INSERT INTO general_operation SELECT 1, i, 'o' || i, NULL FROM n;"));
    const operations found = list(main.get(), log_operation_type::general);
    LONG position = 0;
    SAFEARRAY* held = nullptr;
    ASSERT_EQ(found->Next(&position, &held), S_OK);
    void* data = nullptr;
    ASSERT_EQ(SafeArrayAccessData(held, &data), S_OK);
    for (int i = 1; i < 10; ++i) {
        SAFEARRAY* record = nullptr;
        ASSERT_EQ(found->Next(&position, &record), S_OK);
        EXPECT_NE(record, held);
        EXPECT_EQ(shown(record), "\"o" + std::to_string(i) + "\" \"\"");
    }
    EXPECT_EQ(shown(*static_cast<VARIANT*>(data)), "\"o0\"");
    EXPECT_EQ(SafeArrayUnaccessData(held), S_OK);
    position = 4;
    SAFEARRAY* record = nullptr;
    EXPECT_EQ(found->Next(&position, &record), S_OK);
    EXPECT_EQ(shown(record), "\"o4\" \"\"");
}

TEST_F(logkit_lists, free_the_records_that_a_caller_left_locked)
{
    constexpr std::size_t length = 500'000;
    const feature main = open_main(write_log(plain_log() + "INSERT INTO general_operation SELECT 1, 0, '" +
                                             std::string(length, 'x') + "', NULL;"));
    const auto leave_locked = [&] {
        const operations found = list(main.get(), log_operation_type::general);
        LONG position = 0;
        SAFEARRAY* held = nullptr;
        void* data = nullptr;
        return found->Next(&position, &held) == S_OK && SafeArrayAccessData(held, &data) == S_OK;
    };
    ASSERT_TRUE(leave_locked());
    const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    for (int i = 0; i < 20; ++i)
        ASSERT_TRUE(leave_locked());
    EXPECT_LT(mallinfo2().uordblks + mallinfo2().hblkhd, before + 5 * length * sizeof(char16_t));
}

TEST_F(logkit_lists, of_one_feature_do_not_disturb_each_other)
{
    const feature main = open_main(write_log(
        plain_log() + "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 999) "
                      "INSERT INTO general_operation SELECT 1, i, 'o' || i, NULL FROM n;"
                      "INSERT INTO operation_element SELECT 9, 1, position, 0, 3, position FROM general_operation;"));
    const operations first = list(main.get(), log_operation_type::general);
    const operations second = list(main.get(), log_operation_type::general);
    EXPECT_NE(first, second);
    LONG ahead = 0;
    LONG behind = 0;
    for (LONG i = 0; i < 1000; ++i) {
        SAFEARRAY* one = nullptr;
        ASSERT_EQ(first->Next(&ahead, &one), S_OK);
        const std::string number = std::to_string(i);
        EXPECT_EQ(shown(one), "\"o" + number + "\" \"\" i4:" + number);
        if (i % 2 == 0)
            continue;
        SAFEARRAY* other = nullptr;
        ASSERT_EQ(second->Next(&behind, &other), S_OK);
        EXPECT_EQ(shown(other), "\"o" + std::to_string(i / 2) + "\" \"\" i4:" + std::to_string(i / 2));
    }
}

TEST_F(logkit_lists, many_records_twice)
{
    constexpr LONG count = 200'000;
    const feature main = open_main(write_log(
        plain_log() + "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < " +
        std::to_string(count - 1) +
        ") INSERT INTO file_operation SELECT 1, i, '/opt/' || (i / 100), 'file' || i, i % 2, 0, 0, 1 FROM n;"));
    const operations found = list(main.get(), log_operation_type::file);
    for (int pass = 0; pass < 2; ++pass) {
        LONG position = -1;
        ASSERT_EQ(found->First(0, &position), S_OK);
        std::size_t length = 0;
        LONG shared = 0;
        for (LONG i = 0; i < count_of(found.get()); ++i) {
            SAFEARRAY* record = nullptr;
            ASSERT_EQ(found->Next(&position, &record), S_OK);
            const auto* elements = static_cast<const VARIANT*>(record->pvData);
            length += SysStringLen(elements[1].bstrVal);
            shared += elements[2].boolVal == VARIANT_TRUE;
        }
        EXPECT_EQ(position, count);
        EXPECT_EQ(shared, count / 2);
        EXPECT_EQ(length, 4u * count + 10 + 180 + 2700 + 36'000 + 450'000 + 600'000);
    }
}

TEST_F(logkit_lists, large_records_come_whole)
{
    const feature main = open_main(write_log(
        plain_log() + "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 19999) "
                      "INSERT INTO operation_element SELECT 9, 1, i / 10000, i % 10000, 3, i FROM n;"
                      "INSERT INTO general_operation VALUES (1, 0, hex(zeroblob(2000000)), 'x'), (1, 1, 'a', 'b'),"
                      "(1, 2, 'c', 'd');"));
    const operations found = list(main.get(), log_operation_type::general);
    LONG position = 0;
    SAFEARRAY* record = nullptr;
    for (const ULONG expected : {10'002u, 10'002u, 2u}) {
        ASSERT_EQ(found->Next(&position, &record), S_OK);
        EXPECT_EQ(record->rgsabound[0].cElements, expected);
        if (position == 1) {
            EXPECT_EQ(SysStringLen(static_cast<VARIANT*>(record->pvData)[0].bstrVal), 4'000'000u);
        }
    }
}

} // namespace
} // namespace cw::logkit_tests

#include "authoring/stored_names.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace cw::authoring;

struct name_case {
    std::string component, file, stored;
};

TEST(stored_names, are_harmless_everywhere)
{
    for (const name_case& item : {
             name_case{"Program", "a.txt", "Program\\a.txt"},
             {"Program", "sub\\deep\\a.txt", "Program\\sub\\deep\\a.txt"},
             {"Program", "sub/a.txt", "Program\\sub\\a.txt"},
             {"", "a.txt", "a.txt"},
             // Absolute, climbing, drives, shares.
             {"P", "/etc/passwd", "P\\etc\\passwd"},
             {"P", "\\\\host\\share\\x", "P\\host\\share\\x"},
             {"P", "..\\..\\x", "P\\x"},
             {"P", "a/../../x", "P\\a\\x"},
             {"P", "./x", "P\\x"},
             {"P", "...", "P"},
             {"..", "x", "x"},
             {"", "..", "file"},
             {"C:", "x", "C_\\x"},
             {"P", "c:x", "P\\c_x"},
             {"P", "C:\\x", "P\\C_\\x"},
             {"a/b\\c", "x", "a_b_c\\x"},
             {"P", "\\", "P"},
             {"P", "a\\\\b", "P\\a\\b"},
             {"P", "a\\", "P\\a"},
             // Signs that one system or another refuses, ends that it drops.
             {"<Disk1>", "x?*|\"y", "_Disk1_\\x____y"},
             {"P", "x. . ", "P\\x"},
             {"P ", "x", "P\\x"},
             {"P", " x", "P\\ x"},
             {"P", ".hidden", "P\\.hidden"},
             // Control characters of all sorts, and bytes that are no text.
             {"P", std::string("a\0b\n\t\x1F\x7F", 7), "P\\a_b____"},
             {"P", "a\xC2\x85z", "P\\a_z"},
             {"P", "a\xE2\x80\xA8z", "P\\a_z"},
             {"P", "a\xFFz", "P\\a_z"},
             {"P", "a\xC0\xAFz", "P\\a__z"},
             {"P", "a\xED\xA0\x80z", "P\\a___z"},
             {"P", "a\xE2\x82", "P\\a__"},
             {"P", "\xF4\x90\x80\x80", "P\\____"},
             {"Прогулки", "中文/🐟.txt", "Прогулки\\中文\\🐟.txt"},
             {"", "", "file"},
         })
        EXPECT_EQ(stored_name(item.component, item.file), item.stored) << item.component << " and " << item.file;
}

TEST(stored_names, are_cut_at_a_code_point)
{
    const auto repeated = [](const std::string& text, int count) {
        std::string result;
        for (int i = 0; i < count; ++i)
            result += text;
        return result;
    };
    EXPECT_EQ(stored_name("", std::string(255, 'a')).size(), 255u);
    EXPECT_EQ(stored_name("", std::string(256, 'a')), std::string(255, 'a'));
    EXPECT_EQ(stored_name("", std::string(300, 'a') + ".txt"), std::string(251, 'a') + ".txt");
    EXPECT_EQ(stored_name("", repeated("я", 128)), repeated("я", 127));
    EXPECT_EQ(stored_name("", repeated("中", 100) + ".html"), repeated("中", 83) + ".html");
    EXPECT_EQ(stored_name("", "a" + repeated("🐟", 64)), "a" + repeated("🐟", 63));
    // A long extension is none.
    EXPECT_EQ(stored_name("", std::string(250, 'a') + "." + std::string(20, 'e')), std::string(250, 'a') + ".eeee");
    // The dot of a folder begins no extension.
    EXPECT_EQ(stored_name("", std::string(250, 'a') + ".b\\" + std::string(9, 'c')), std::string(250, 'a') + ".b\\cc");
    // What is cut ends in nothing that a system drops.
    EXPECT_EQ(stored_name("", "a" + std::string(300, ' ') + "b"), "a");
    EXPECT_EQ(stored_name("", std::string(300, ' ') + "b"), "file");
    EXPECT_EQ(stored_name(std::string(254, 'p'), "x"), std::string(254, 'p'));
    for (std::size_t i = 200; i < 300; ++i) {
        const std::string name = stored_name("я" + std::string(i, 'c'), repeated("🐟", 10));
        EXPECT_LE(name.size(), 255u);
        EXPECT_TRUE(is_utf8(name));
    }
}

TEST(stored_names, take_additions_before_the_extension)
{
    EXPECT_EQ(with_addition("a\\b.txt", "~2"), "a\\b~2.txt");
    EXPECT_EQ(with_addition("a.d\\b", "~2"), "a.d\\b~2");
    EXPECT_EQ(with_addition("a\\.hidden", "~2"), "a\\.hidden~2");
    EXPECT_EQ(with_addition(std::string(251, 'a') + ".txt", "~10"), std::string(248, 'a') + "~10.txt");
}

TEST(stored_name_set, keeps_names_apart)
{
    stored_name_set names;
    EXPECT_EQ(names.add("P\\a.txt"), "P\\a.txt");
    EXPECT_EQ(names.add("P\\a.txt"), "P\\a~2.txt");
    EXPECT_EQ(names.add("p\\A.TXT"), "p\\A~3.TXT");
    EXPECT_EQ(names.add("P\\a~4.txt"), "P\\a~4.txt");
    EXPECT_EQ(names.add("P\\a.txt"), "P\\a~5.txt");
    EXPECT_EQ(names.add("Q\\a.txt"), "Q\\a.txt");
    names.clear();
    EXPECT_EQ(names.add("P\\a.txt"), "P\\a.txt");
}

TEST(stored_name_set, never_has_a_file_that_is_a_folder)
{
    stored_name_set names;
    EXPECT_EQ(names.add("P\\x"), "P\\x");
    EXPECT_EQ(names.add("P\\x\\y.txt"), "P_x_y~2.txt");
    EXPECT_EQ(names.add("p\\X\\y.txt"), "p_X_y~3.txt");
    EXPECT_EQ(names.add("P\\d\\y"), "P\\d\\y");
    EXPECT_EQ(names.add("P\\D"), "P\\D~2");
    EXPECT_EQ(names.add("P"), "P~2");
}

TEST(stored_name_set, takes_many_of_one_name_quickly)
{
    stored_name_set names;
    std::string last;
    for (int i = 0; i < 60'000; ++i)
        last = names.add("P\\a.txt");
    EXPECT_EQ(last, "P\\a~60000.txt");
}

TEST(utf8, is_told_from_other_bytes)
{
    EXPECT_TRUE(is_utf8(""));
    EXPECT_TRUE(is_utf8("a\xC3\xA4\xE4\xB8\xAD\xF0\x9F\x90\x9F"));
    for (const char* text : {"\x80", "\xC3", "\xC1\xBF", "\xE0\x80\x80", "\xF0\x80\x80\x80", "\xED\xBF\xBF",
                             "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "a\xE4\xB8"})
        EXPECT_FALSE(is_utf8(text));
}

} // namespace

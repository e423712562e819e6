// Cabinets that have no header, by anybody's tool.
#include "mediaforge_cabinets.h"
#include "mediaforge_walk.h"

#include <sys/stat.h>

#include <cstdlib>
#include <random>

namespace cw::mediaforge_tests {
namespace {

namespace fs = std::filesystem;

class mediaforge_plain_cabinet : public media_test {
protected:
    std::string write(const cabinet_plan& plan, const std::string& name = "some.cab")
    {
        write_file(path_of(name), make_cabinet(plan));
        return path_of(name);
    }
    object files(IDispatch* media, int component = 1)
    {
        return child(item(child(media, media::Components).get(), component).get(), media_component::Files);
    }
    std::vector<std::u16string> file_names(IDispatch* media, int component = 1)
    {
        const object list = files(media, component);
        std::vector<std::u16string> all;
        for (int i = 1; i <= number(list.get(), media_file_list::Count); ++i)
            all.push_back(text(file_of(media, component, i).get(), media_file::Name));
        return all;
    }
    /// What an extraction writes, or its failure.
    std::string extracted(IDispatch* file)
    {
        const outcome answer = extract(file, path_of("out"));
        if (FAILED(answer.result)) {
            EXPECT_FALSE(fs::exists(path_of("out")));
            return "failed: " + narrow(answer.description);
        }
        const std::string content = read_file(path_of("out"));
        fs::remove(path_of("out"));
        return content;
    }
};

TEST_F(mediaforge_plain_cabinet, is_one_feature_and_a_component_for_each_folder)
{
    cabinet_plan plan;
    plan.folders = {packing::stored, packing::mszip, packing::stored};
    plan.files = {{"a.txt", "first", 0}, {"dir\\b.txt", "second", 1}, {"c.txt", "third", 0}};
    const object media = open(write(plan, "Some Name.cab"));
    const object features = child(media.get(), media::Features);
    ASSERT_EQ(count(features.get()), 1);
    const object feature = item(features.get(), 1);
    EXPECT_EQ(text(feature.get(), media_feature::Name), u"Some Name");
    EXPECT_EQ(text(feature.get(), media_feature::DisplayName), u"Some Name");
    EXPECT_EQ(number(feature.get(), media_feature::Visible), VARIANT_TRUE);
    EXPECT_EQ(count(child(feature.get(), media_feature::SubFeatures).get()), 0);
    const std::vector<std::u16string> folders{u"Folder 1", u"Folder 2", u"Folder 3"};
    const object components = child(media.get(), media::Components);
    EXPECT_EQ(names(components.get(), media_component::Name), folders);
    EXPECT_EQ(names(child(feature.get(), media_feature::IncludedComponents).get(), media_component::Name), folders);
    EXPECT_EQ(number(item(components.get(), 1).get(), media_component::Compressed), VARIANT_FALSE);
    EXPECT_EQ(number(item(components.get(), 2).get(), media_component::Compressed), VARIANT_TRUE);
    EXPECT_EQ(file_names(media.get(), 1), (std::vector<std::u16string>{u"a.txt", u"c.txt"}));
    EXPECT_EQ(file_names(media.get(), 2), std::vector<std::u16string>{u"dir\\b.txt"});
    EXPECT_TRUE(file_names(media.get(), 3).empty());
    const object file = file_of(media.get(), 2, 1);
    EXPECT_EQ(number(file.get(), media_file::Size), 6);
    EXPECT_EQ(number(file.get(), media_file::CompressedSize), 0);
    EXPECT_NEAR(call(file.get(), media_file::Date).value.date, 36925 + (4 * 3600 + 5 * 60 + 6) / 86400.0, 1e-9);
    EXPECT_EQ(text(file.get(), media_file::Md5Signature), u"");
    EXPECT_EQ(text(child(media.get(), media::MediaSettings).get(), media_settings::ProductName), u"Some Name");
    EXPECT_EQ(number(media.get(), media::FormatVersion), 0x4000000 + 103);
    for (const media_member_row& member : {media_member_row(media::SetupTypes), media_member_row(media::RegistrySets),
                                           media_member_row(media::ShellFolders)})
        EXPECT_EQ(count(child(media.get(), member).get()), 0);
    EXPECT_EQ(walk_media(media.get()).failures, 0u);
}

TEST_F(mediaforge_plain_cabinet, is_read_in_every_packing)
{
    const std::string big = noise(100001, 3) + std::string(70000, 'z') + noise(5, 4);
    for (const packing how : {packing::stored, packing::mszip, packing::lzx}) {
        cabinet_plan plan;
        plan.folders = {how};
        plan.files = {{"one", "short"}, {"two", big}, {"empty", ""}, {"three", "end"}};
        const object media = open(write(plan));
        SCOPED_TRACE(static_cast<int>(how));
        EXPECT_EQ(extracted(file_of(media.get(), 1, 2).get()), big);
        EXPECT_EQ(extracted(file_of(media.get(), 1, 4).get()), "end");
        EXPECT_EQ(extracted(file_of(media.get(), 1, 1).get()), "short"); // behind the place last read
        EXPECT_EQ(extracted(file_of(media.get(), 1, 3).get()), "");
        struct stat status;
        ASSERT_EQ(extract(file_of(media.get(), 1, 1).get(), path_of("out")).result, S_OK);
        ASSERT_EQ(::stat(path_of("out").c_str(), &status), 0);
        EXPECT_EQ(status.st_mtime, 981173106); // 2001-02-03 04:05:06 UTC
        fs::remove(path_of("out"));
    }
}

TEST_F(mediaforge_plain_cabinet, is_read_in_the_oldest_packing_too)
{
    cabinet_plan plan;
    plan.folders = {packing::quantum};
    plan.files = {{"one", "Quantum: A rose is a rose is a rose. \xFF\x80"}, {"two", "and another file, 0123456789"}};
    const object media = open(write(plan));
    EXPECT_EQ(extracted(file_of(media.get(), 1, 2).get()), plan.files[1].content);
    EXPECT_EQ(extracted(file_of(media.get(), 1, 1).get()), plan.files[0].content);
}

TEST_F(mediaforge_plain_cabinet, in_a_packing_that_cannot_be_unpacked_is_listed_all_the_same)
{
    cabinet_plan plan;
    plan.files = {{"one", noise(1000, 1)}};
    plan.folders = {packing::mszip};
    plan.blocks = pack(noise(1000, 1), packing::stored);
    const object media = open(write(plan));
    EXPECT_EQ(file_names(media.get()), std::vector<std::u16string>{u"one"});
    EXPECT_NE(extracted(file_of(media.get(), 1, 1).get()).find("damaged"), std::string::npos);
    plan.folders = {static_cast<packing>(9)};
    const object unknown = open(write(plan));
    EXPECT_NE(extracted(file_of(unknown.get(), 1, 1).get()).find("damaged"), std::string::npos);
}

TEST_F(mediaforge_plain_cabinet, of_another_tool_opens)
{
    if (std::system("gcab --version >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "the tool is not there";
    fs::create_directory(path_of("in"));
    const std::string content = noise(40000, 9) + std::string(90000, 'a');
    write_file(path_of("in/first.bin"), content);
    write_file(path_of("in/Ünïcode.txt"), "text");
    for (const char* option : {"", "-z"}) {
        const std::string command =
            "cd '" + path_of("in") + "' && gcab -c " + option + " ../made.cab first.bin 'Ünïcode.txt' >/dev/null 2>&1";
        ASSERT_EQ(std::system(command.c_str()), 0);
        const object media = open(path_of("made.cab"));
        EXPECT_EQ(file_names(media.get()), (std::vector<std::u16string>{u"first.bin", u"Ünïcode.txt"}));
        EXPECT_EQ(extracted(file_of(media.get(), 1, 1).get()), content);
        EXPECT_EQ(extracted(file_of(media.get(), 1, 2).get()), "text");
        fs::remove(path_of("made.cab"));
    }
}

struct name_row {
    std::string stored;
    std::uint16_t attributes;
    std::u16string shown;
};

TEST_F(mediaforge_plain_cabinet, shows_hostile_names_harmless)
{
    const std::vector<name_row> rows{
        {"plain.txt", 0, u"plain.txt"},
        {"..\\..\\etc\\passwd", 0, u"__\\__\\etc\\passwd"},
        {"../../etc/passwd2", 0, u"__\\__\\etc\\passwd2"},
        {"/etc/shadow", 0, u"etc\\shadow"},
        {"\\\\server\\share", 0, u"server\\share"},
        {"C:\\boot.ini", 0, u"C_\\boot.ini"},
        {"stream.txt:hidden", 0, u"stream.txt_hidden"},
        {"a\\.\\b", 0, u"a\\b"},
        {"..", 0, u"__"},
        {".", 0, u"_"},
        {"\\", 0, u"_ (2)"}, // the second of that name
        {"bell\x07\x1B[31m\n\x7F", 0, u"bell\xFFFD\xFFFD[31m\xFFFD\xFFFD"},
        {"\xE2\x80\xAEtxt.exe", utf8_name, u"\xFFFDtxt.exe"}, // turns the direction of writing
        {"\xC3\x9Cn\xC3\xAF", utf8_name, u"Ünï"},
        {"\xC3\x9Cn\xC3\xAF.2", 0, u"Ünï.2"}, // unmarked, but nothing else
        {"caf\xE9", 0, u"café"},
        {"bad\xFF\xC3(", utf8_name, u"bad\xFFFD\xFFFD("},
        {"plain.txt", 0, u"plain.txt (2)"},
        {"plain.txt", 0, u"plain.txt (3)"},
        {"plain.txt (2)", 0, u"plain.txt (2) (2)"},
        {std::string(255, 'n'), 0, std::u16string(255, u'n')},
    };
    cabinet_plan plan;
    for (std::size_t i = 0; i < rows.size(); ++i)
        plan.files.push_back({rows[i].stored, "content " + std::to_string(i), 0, rows[i].attributes});
    const object media = open(write(plan));
    const std::vector<std::u16string> shown = file_names(media.get());
    ASSERT_EQ(shown.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(shown[i], rows[i].shown) << i;
        // By the name that is shown, exactly this file is found.
        const outcome found = call(files(media.get()).get(), media_file_list::Item, std::u16string_view(shown[i]));
        ASSERT_EQ(found.result, S_OK) << i;
        EXPECT_EQ(extracted(found.as_object().get()), "content " + std::to_string(i));
    }
}

TEST_F(mediaforge_plain_cabinet, with_no_date_that_exists_has_none)
{
    cabinet_plan plan;
    plan.files = {{"a", "x", 0, 0x20, 0, 0}, {"b", "x", 0, 0x20, 0xFFFF, 0xFFFF}};
    const object media = open(write(plan));
    for (const int i : {1, 2})
        EXPECT_EQ(call(file_of(media.get(), 1, i).get(), media_file::Date).value.date, 0.0);
    EXPECT_EQ(extracted(file_of(media.get(), 1, 1).get()), "x");
}

TEST_F(mediaforge_plain_cabinet, with_a_mask_of_a_name_keeps_it_safe)
{
    cabinet_plan plan;
    plan.files = {{"a", "x"}};
    const object media = open(write(plan, "\x1B[31mred.cab"));
    EXPECT_EQ(text(item(child(media.get(), media::Features).get(), 1).get(), media_feature::Name), u"\xFFFD[31mred");
    write_file(path_of("noextension"), make_cabinet(plan));
    EXPECT_EQ(
        text(item(child(open(path_of("noextension")).get(), media::Features).get(), 1).get(), media_feature::Name),
        u"noextension");
}

TEST_F(mediaforge_plain_cabinet, that_is_cut_or_empty_is_refused)
{
    cabinet_plan plan;
    plan.files = {{"a", noise(5000, 1)}, {"b", noise(5000, 2)}};
    const std::string path = write(plan);
    const std::string whole = read_file(path);
    for (std::size_t size = 4; size < whole.size(); size += size < 150 ? 1 : 499) {
        write_file(path, std::string_view(whole).substr(0, size));
        EXPECT_EQ(open_path(path).result, failure(13)) << size;
    }
    plan.files.clear();
    EXPECT_EQ(open_path(write(plan)).result, failure(13));
    plan.files = {{"", "nameless"}};
    EXPECT_EQ(open_path(write(plan)).result, failure(13));
}

TEST_F(mediaforge_plain_cabinet, whose_file_lies_outside_its_folder_fails_at_the_extraction)
{
    cabinet_plan plan;
    plan.files = {{"a", "0123456789"}};
    plan.blocks = pack("01234", packing::stored);
    const object media = open(write(plan));
    EXPECT_NE(extracted(file_of(media.get(), 1, 1).get()).find("some.cab"), std::string::npos);
    EXPECT_EQ(listing(), std::vector<std::string>{"some.cab"});
    EXPECT_EQ(last_number(), 42);
}

TEST_F(mediaforge_plain_cabinet, that_was_exchanged_is_not_read_by_its_old_list)
{
    cabinet_plan plan;
    plan.files = {{"a", "first content"}, {"b", "other content"}};
    const object media = open(write(plan));
    EXPECT_EQ(extracted(file_of(media.get(), 1, 1).get()), "first content");
    std::swap(plan.files[0].content, plan.files[1].content);
    fs::remove(path_of("some.cab"));
    EXPECT_NE(extracted(file_of(media.get(), 1, 1).get()).find("failed"), std::string::npos);
    write(plan);
    fs::last_write_time(path_of("some.cab"), fs::file_time_type::clock::now() + std::chrono::hours(1));
    EXPECT_NE(extracted(file_of(media.get(), 1, 1).get()).find("changed"), std::string::npos);
    EXPECT_EQ(last_number(), 41);
}

class mediaforge_cabinet_set : public mediaforge_plain_cabinet {
protected:
    const std::string m_long = noise(50000, 5);

    /// "long" lies in both cabinets; a data block is divided between them.
    void write_set()
    {
        const std::string clear = m_long + "tail";
        const std::vector<cabinet_block> all = pack(clear, packing::stored);
        cabinet_plan first;
        first.files = {{"long", m_long, continued_to_next}};
        first.blocks = {all[0], {all[1].packed.substr(0, 9000), 0}};
        first.next = "Part2.CAB"; // the file on the disk is spelt otherwise
        write(first, "part1.cab");
        cabinet_plan second;
        second.files = {{"long", m_long, continued_from_previous}, {"tail", "tail", 0}};
        second.blocks = {{all[1].packed.substr(9000), all[1].clear_size_in_bytes}};
        second.previous = "part1.cab";
        second.index = 1;
        std::string bytes = make_cabinet(second);
        // The last file begins where the first one ends.
        const std::size_t entry = bytes.find(std::string("tail\0", 5)) - 16;
        for (int i = 0; i < 4; ++i)
            bytes[entry + 4 + static_cast<std::size_t>(i)] = static_cast<char>(m_long.size() >> (8 * i));
        write_file(path_of("part2.cab"), bytes);
    }
};

TEST_F(mediaforge_cabinet_set, is_joined_from_either_end)
{
    write_set();
    for (const char* name : {"part1.cab", "part2.cab"}) {
        SCOPED_TRACE(name);
        const object media = open(path_of(name));
        EXPECT_EQ(file_names(media.get()), (std::vector<std::u16string>{u"long", u"tail"}));
        EXPECT_EQ(extracted(file_of(media.get(), 1, 1).get()), m_long);
        EXPECT_EQ(extracted(file_of(media.get(), 1, 2).get()), "tail");
    }
}

TEST_F(mediaforge_cabinet_set, tells_which_neighbour_is_missing)
{
    write_set();
    fs::rename(path_of("part2.cab"), path_of("away"));
    const object first = open(path_of("part1.cab"));
    EXPECT_NE(extracted(file_of(first.get(), 1, 1).get()).find("\"Part2.CAB\" is not there"), std::string::npos);
    EXPECT_EQ(last_number(), 43);
    fs::rename(path_of("away"), path_of("part2.cab"));
    fs::remove(path_of("part1.cab"));
    const object second = open(path_of("part2.cab"));
    EXPECT_NE(extracted(file_of(second.get(), 1, 1).get()).find("\"part1.cab\" is not there"), std::string::npos);
    write_file(path_of("part1.cab"), "no cabinet");
    EXPECT_NE(extracted(file_of(open(path_of("part2.cab")).get(), 1, 1).get()).find("cannot be read"),
              std::string::npos);
}

TEST_F(mediaforge_cabinet_set, is_not_read_by_an_old_list_when_a_neighbour_changes)
{
    write_set();
    const std::string other = read_file(path_of("part2.cab"));
    const object whole = open(path_of("part1.cab"));
    EXPECT_EQ(extracted(file_of(whole.get(), 1, 2).get()), "tail");
    std::string changed = other;
    changed.replace(changed.size() - 4, 4, "fake");
    fs::remove(path_of("part2.cab"));
    write_file(path_of("part2.cab"), changed);
    fs::last_write_time(path_of("part2.cab"), fs::file_time_type::clock::now() + std::chrono::hours(1));
    EXPECT_NE(extracted(file_of(whole.get(), 1, 2).get()).find("changed"), std::string::npos);
    EXPECT_EQ(last_number(), 41);

    // One that comes later brings entries that the list does not have.
    cabinet_plan first;
    first.files = {{"one", "aaaa"}};
    first.next = "late2.cab";
    cabinet_plan second;
    second.files = {{"two", "bbbb"}};
    second.previous = "late1.cab";
    second.index = 1;
    write(second, "late2.cab");
    const object lone = open(path_of("late2.cab"));
    EXPECT_EQ(file_names(lone.get()), std::vector<std::u16string>{u"two"});
    EXPECT_EQ(extracted(file_of(lone.get(), 1, 1).get()), "bbbb");
    fs::rename(path_of("late2.cab"), path_of("away"));
    EXPECT_NE(extracted(file_of(lone.get(), 1, 1).get()).find("cannot be opened"), std::string::npos);
    fs::rename(path_of("away"), path_of("late2.cab"));
    EXPECT_EQ(extracted(file_of(lone.get(), 1, 1).get()), "bbbb");
    fs::rename(path_of("late2.cab"), path_of("away"));
    EXPECT_NE(extracted(file_of(lone.get(), 1, 1).get()).find("cannot be opened"), std::string::npos);
    fs::rename(path_of("away"), path_of("late2.cab"));
    write(first, "late1.cab");
    EXPECT_NE(extracted(file_of(lone.get(), 1, 1).get()).find("changed"), std::string::npos);
    EXPECT_EQ(file_names(open(path_of("late2.cab")).get(), 2), std::vector<std::u16string>{u"two"});
}

TEST_F(mediaforge_cabinet_set, takes_no_stranger_and_goes_in_no_circle)
{
    write_set();
    std::string other = read_file(path_of("part2.cab"));
    other[32] = 99;
    write_file(path_of("part2.cab"), other);
    EXPECT_NE(extracted(file_of(open(path_of("part1.cab")).get(), 1, 1).get()).find("does not continue"),
              std::string::npos);
    cabinet_plan plan;
    plan.files = {{"a", "x"}};
    plan.next = "self.cab";
    plan.previous = "self.cab";
    EXPECT_EQ(extracted(file_of(open(write(plan, "self.cab")).get(), 1, 1).get()), "x");
    plan.next = "../part1.cab";
    plan.previous.clear();
    EXPECT_EQ(file_names(open(write(plan, "climbing.cab")).get()), std::vector<std::u16string>{u"a"});
    plan.next = "two.cab";
    plan.previous = "two.cab";
    write(plan, "one.cab");
    plan.next = "one.cab";
    plan.previous = "one.cab";
    write(plan, "two.cab");
    EXPECT_TRUE(open(path_of("one.cab")));
}

TEST_F(mediaforge_plain_cabinet, random_damage_does_no_harm)
{
    for (const packing how : {packing::stored, packing::mszip, packing::lzx}) {
        cabinet_plan plan;
        plan.folders = {how, how};
        plan.files = {
            {"a", noise(600, 1) + std::string(500, 'a')}, {"b", std::string(700, 'b'), 1}, {"c", noise(900, 2)}};
        const std::string path = write(plan);
        const std::string whole = read_file(path);
        std::mt19937 random(static_cast<unsigned>(how));
        for (int round = 0; round < 200; ++round) {
            std::string damaged = whole;
            for (unsigned i = 0; i <= random() % 3; ++i)
                damaged[random() % (round % 2 ? 200 : damaged.size())] = static_cast<char>(random());
            write_file(path, damaged);
            const outcome answer = open_path(path);
            if (FAILED(answer.result))
                continue;
            const object media = answer.as_object();
            (void)walk_media(media.get());
            for (int component = 1; component <= std::min(count(child(media.get(), media::Components).get()), 5);
                 ++component)
                for (int i = 1; i <= number(files(media.get(), component).get(), media_file_list::Count) && i < 5; ++i)
                    (void)extracted(file_of(media.get(), component, i).get());
            EXPECT_EQ(listing(), std::vector<std::string>{"some.cab"});
        }
    }
}

} // namespace
} // namespace cw::mediaforge_tests

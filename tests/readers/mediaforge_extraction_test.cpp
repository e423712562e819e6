#include "mediaforge_support.h"

#include "formats/md5.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

namespace cw::mediaforge_tests {
namespace {

namespace fs = std::filesystem;

class mediaforge_extraction : public media_test {
protected:
    object file(const std::string& header, std::u16string_view name, std::u16string_view password = {})
    {
        const object media = open(header, password);
        const object list = child(item(child(media.get(), media::Components).get(), 1).get(), media_component::Files);
        const outcome answer = call(list.get(), media_file_list::Item, name);
        EXPECT_EQ(answer.result, S_OK) << narrow(answer.description);
        return answer.as_object();
    }
    /// Extracts into "out" and compares.
    void expect_content(IDispatch* source, const std::string& content)
    {
        const outcome answer = extract(source, path_of("out"));
        EXPECT_EQ(answer.result, S_OK) << narrow(answer.description);
        EXPECT_TRUE(read_file(path_of("out")) == content);
        fs::remove(path_of("out"));
    }
    void expect_failure(IDispatch* source, const std::string& target, int number, std::u16string_view told)
    {
        const std::vector<std::string> before = listing();
        const outcome answer = extract(source, target);
        EXPECT_EQ(answer.result, failure(number)) << narrow(answer.description);
        EXPECT_TRUE(answer.tells(told)) << narrow(answer.description);
        EXPECT_EQ(last_number(), number);
        EXPECT_EQ(last_text(media_error::Description), answer.description);
        EXPECT_EQ(listing(), before);
    }
};

TEST_F(mediaforge_extraction, writes_content_and_time)
{
    const std::string header = build_files({{"a.txt", "hello"}, {"empty", ""}});
    const object one = file(header, u"a.txt");
    EXPECT_EQ(extract(one.get(), path_of("target.txt")).result, S_OK);
    EXPECT_EQ(call(one.get(), media_file::Extract, std::u16string_view(wide(path_of("target.txt")))).value.vt,
              VT_EMPTY);
    EXPECT_EQ(read_file(path_of("target.txt")), "hello");
    struct stat status;
    ASSERT_EQ(::stat(path_of("target.txt").c_str(), &status), 0);
    EXPECT_EQ(status.st_mtime, 981173106); // 2001-02-03 04:05:06 UTC, whatever the zone of the process
    const mode_t mask = ::umask(0);
    ::umask(mask);
    EXPECT_EQ(status.st_mode & 07777, 0666 & ~mask);
    expect_content(file(header, u"empty").get(), "");
    EXPECT_EQ(listing(), (std::vector<std::string>{"media.hdr", "media1.cab", "target.txt"}));
    EXPECT_EQ(last_number(), 0);
    EXPECT_EQ(call(one.get(), media_file::Extract).result, DISP_E_BADPARAMCOUNT);
    // A method is no property.
    EXPECT_EQ(call(one.get(), media_member_row{9, u"Extract", VT_EMPTY}, 1).result, DISP_E_MEMBERNOTFOUND);
}

TEST_F(mediaforge_extraction, joins_what_lies_in_several_parts_and_volumes)
{
    const std::string big = noise(300000, 1);
    for (const char* password : {"", "secret"}) {
        SCOPED_TRACE(password);
        const std::string header =
            build_files({{"a", "before"}, {"big", big}, {"z", "behind"}}, password, 40000, 16384);
        ASSERT_TRUE(fs::exists(path_of("media5.cab")));
        expect_content(file(header, u"big", wide(password)).get(), big);
        expect_content(file(header, u"z", wide(password)).get(), "behind");
        expect_content(file(header, u"a", wide(password)).get(), "before");
        // All through one media, there and back.
        const object media = open(header, wide(password));
        for (const int i : {1, 2, 3, 2, 1, 3, 3})
            expect_content(file_of(media.get(), 1, i).get(), i == 1 ? "before" : i == 2 ? big : "behind");
    }
}

TEST_F(mediaforge_extraction, opens_what_is_sealed)
{
    const std::string text(100000, 't');
    const std::string header = build_files({{"a", text}, {"b", noise(70000, 2)}, {"empty", ""}}, "secret");
    EXPECT_EQ(read_file(path_of("media1.cab")).find("tttttttt"), std::string::npos);
    expect_content(file(header, u"a", u"secret").get(), text);
    expect_content(file(header, u"b", u"secret").get(), noise(70000, 2));
    expect_content(file(header, u"empty", u"secret").get(), "");
    EXPECT_EQ(listing(), (std::vector<std::string>{"media.hdr", "media1.cab"}));
}

TEST_F(mediaforge_extraction, many_files_in_any_order)
{
    std::map<std::string, std::string> files;
    for (int i = 0; i < 200; ++i)
        files["f" + std::to_string(1000 + i)] = noise(static_cast<std::size_t>(i) * 37, static_cast<unsigned>(i));
    const object media = open(build_files(files, "", 0, 32768));
    const object list = child(item(child(media.get(), media::Components).get(), 1).get(), media_component::Files);
    for (int step = 0; step < 200; ++step) {
        const std::string name = "f" + std::to_string(1000 + step * 67 % 200);
        const outcome found = call(list.get(), media_file_list::Item, std::u16string_view(wide(name)));
        ASSERT_EQ(found.result, S_OK);
        expect_content(found.as_object().get(), files[name]);
    }
}

TEST_F(mediaforge_extraction, works_after_the_process_has_moved)
{
    const std::string header = build_files({{"a", "content"}});
    const fs::path before = fs::current_path();
    fs::current_path(m_folder);
    const object media = open("media.hdr");
    fs::current_path("/");
    const object source = file_of(media.get(), 1, 1);
    expect_content(source.get(), "content");
    fs::current_path(m_folder);
    EXPECT_EQ(extract(source.get(), "relative.txt").result, S_OK);
    EXPECT_EQ(read_file(path_of("relative.txt")), "content");
    fs::current_path(before);
}

TEST_F(mediaforge_extraction, a_folder_that_is_gone_stops_nothing_that_has_a_full_path)
{
    const std::string header = build_files({{"a", "content"}});
    const fs::path before = fs::current_path();
    fs::create_directory(path_of("gone"));
    fs::current_path(path_of("gone"));
    fs::remove(path_of("gone"));
    expect_content(file_of(open(header).get(), 1, 1).get(), "content");
    expect_error("media.hdr", 2);
    fs::current_path(before);
}

TEST_F(mediaforge_extraction, replaces_a_file_and_a_link_but_never_writes_through_one)
{
    const object source = file(build_files({{"a", "new"}}), u"a");
    write_file(path_of("old"), "old and longer");
    EXPECT_EQ(extract(source.get(), path_of("old")).result, S_OK);
    EXPECT_EQ(read_file(path_of("old")), "new");
    write_file(path_of("elsewhere"), "kept");
    fs::create_symlink("elsewhere", path_of("link"));
    EXPECT_EQ(extract(source.get(), path_of("link")).result, S_OK);
    EXPECT_FALSE(fs::is_symlink(path_of("link")));
    EXPECT_EQ(read_file(path_of("link")), "new");
    EXPECT_EQ(read_file(path_of("elsewhere")), "kept");
    fs::create_symlink("nowhere", path_of("dangling"));
    EXPECT_EQ(extract(source.get(), path_of("dangling")).result, S_OK);
    EXPECT_EQ(read_file(path_of("dangling")), "new");
    fs::create_directory(path_of("folder"));
    fs::create_symlink("folder", path_of("to a folder"));
    EXPECT_EQ(extract(source.get(), path_of("to a folder")).result, S_OK);
    EXPECT_EQ(read_file(path_of("to a folder")), "new");
    EXPECT_TRUE(listing("folder").empty());
    fs::create_hard_link(path_of("elsewhere"), path_of("hard"));
    EXPECT_EQ(extract(source.get(), path_of("hard")).result, S_OK);
    EXPECT_EQ(read_file(path_of("elsewhere")), "kept");
}

TEST_F(mediaforge_extraction, refuses_targets_that_are_no_files)
{
    const object source = file(build_files({{"a", "content"}}), u"a");
    fs::create_directory(path_of("folder"));
    expect_failure(source.get(), path_of("folder"), 50, u"a folder stands there");
    expect_failure(source.get(), path_of("folder/"), 50, u"folder");
    expect_failure(source.get(), path_of("new/"), 50, u"folder");
    expect_failure(source.get(), path_of("none/target"), 50, u"no file can be made");
    EXPECT_FALSE(last_text(media_error::SystemText).empty());
    expect_failure(source.get(), path_of("media.hdr/x"), 50, u"no file can be made");
    expect_failure(source.get(), "", 50, u"not a path");
    expect_failure(source.get(), path_of(std::string("a\0b", 3)), 50, u"not a path");
    expect_failure(source.get(), path_of(std::string(300, 'n')), 50, u"cannot be");
    ASSERT_EQ(mkfifo(path_of("pipe").c_str(), 0600), 0);
    expect_failure(source.get(), path_of("pipe"), 50, u"a device or a pipe");
    expect_failure(source.get(), "/dev/null", 50, u"a device or a pipe");
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    expect_failure(source.get(), "/proc/target", 50, u"cannot be written");
}

TEST_F(mediaforge_extraction, refuses_a_folder_that_may_not_be_written)
{
    const object source = file(build_files({{"a", "content"}}), u"a");
    fs::create_directory(path_of("closed"));
    fs::permissions(path_of("closed"), fs::perms::owner_read | fs::perms::owner_exec);
    const as_nobody rights(m_folder);
    expect_failure(source.get(), path_of("closed/target"), 50, u"no file can be made");
    EXPECT_EQ(last_text(media_error::SystemText), wide(std::strerror(EACCES)));
}

TEST_F(mediaforge_extraction, leaves_nothing_where_there_is_no_room)
{
    const object source = file(build_files({{"a", noise(500000, 3)}}), u"a");
    write_file(path_of("target"), "kept");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit tight = before;
    tight.rlim_cur = 100000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    expect_failure(source.get(), path_of("target"), 50, u"writing failed");
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(read_file(path_of("target")), "kept");
    // The media goes on.
    expect_content(source.get(), noise(500000, 3));
}

TEST_F(mediaforge_extraction, of_what_has_no_content_fails)
{
    const std::string header = make_header([](media_writer& writer) {
        writer.add_component(authoring::make_row(formats::component_columns, {}));
        authoring::file_row row;
        row.name = "\\";
        writer.add_file(1, row);
        row.name = "bare";
        row.size_in_bytes = 10;
        writer.add_file(1, row);
    });
    expect_failure(file(header, u"\\").get(), path_of("out"), 45, u"no content");
    expect_failure(file(header, u"bare").get(), path_of("out"), 45, u"bare");
}

struct fault {
    const char* sql;
    int number;
    const char16_t* told;
};

TEST_F(mediaforge_extraction, never_writes_what_the_header_does_not_say)
{
    const fault faults[] = {
        {"UPDATE file SET size = 6", 44, u"longer"},
        {"UPDATE file SET size = 8", 44, u"shorter"},
        {"UPDATE file SET size = 0", 44, u"longer"},
        {"UPDATE file SET md5 = zeroblob(16)", 44, u"signatures"},
        {"UPDATE file SET md5 = x'00'", 31, u"16 bytes"},
        {"UPDATE file SET md5 = ''", 31, u"a text"},
        {"UPDATE file SET size = -1", 31, u"out of range"},
        {"UPDATE file SET date = 'x'", 31, u"a text"},
        {"UPDATE file SET volume = 0", 31, u"no volume 0"},
        {"UPDATE file SET volume = -1", 31, u"out of range"},
        {"UPDATE file SET volume = 2", 31, u"volume 2 is not listed"},
        {"UPDATE file SET volume = 99999999999", 31, u"no volume"},
        {"UPDATE file SET volume = 'one'", 31, u"a text"},
        {"UPDATE file SET entry = 1", 31, u"no entry 1"},
        {"UPDATE file SET entry = -1", 31, u"out of range"},
        {"UPDATE file SET entry = NULL", 31, u"nothing"},
        {"UPDATE file SET entry = 'first'", 31, u"a text"},
        {"UPDATE file SET volume = NULL", 45, u"no content"},
        {"UPDATE file SET volume = NULL; INSERT INTO file_part VALUES (1, 0, 1, 1, 0, 7)", 31, u"gap"},
        {"UPDATE file SET volume = NULL; INSERT INTO file_part VALUES (1, 0, 0, 1, 0, 6)", 44, u"another size"},
        {"UPDATE file SET volume = NULL; INSERT INTO file_part VALUES (1, 0, 0, 1, 0, -7)", 31, u"out of range"},
        {"UPDATE file SET volume = NULL; INSERT INTO file_part VALUES (1, 0, 0, 1, 0, 7), (1, 0, 1, 1, 0, 7)", 44,
         u"longer"},
        {"UPDATE volume SET number = 3", 31, u"volume 1 is not listed"},
        {"UPDATE volume SET size = 'big'", 31, u"a text"},
        {"UPDATE volume SET size = size + 1", 41, u"size"},
        {"UPDATE volume SET set_id = set_id - 1", 41, u"set"},
        {"UPDATE volume SET set_id = 70000", 31, u"out of range"},
        {"UPDATE volume SET entries = 2", 41, u"entries"},
    };
    for (const fault& one : faults) {
        SCOPED_TRACE(one.sql);
        const std::string header = build_files({{"a", "content"}});
        alter(header, one.sql);
        const object media = open(header);
        ASSERT_TRUE(media);
        expect_failure(file_of(media.get(), 1, 1).get(), path_of("out"), one.number, one.told);
        expect_failure(file_of(media.get(), 1, 1).get(), path_of("out"), one.number, one.told);
    }
    const std::string header = build_files({{"a", "content"}});
    alter(header, "UPDATE file SET volume = NULL; INSERT INTO file_part VALUES (1, 0, 0, 1, 0, 7)");
    expect_content(file(header, u"a").get(), "content");
    alter(header, "UPDATE file SET md5 = NULL");
    expect_content(file(header, u"a").get(), "content");
}

TEST_F(mediaforge_extraction, long_files_are_held_to_their_signature_too)
{
    const std::string content = noise(1'500'001, 5);
    const std::string header = build_files({{"a", content}, {"b", "behind"}}, "", 0, 512 * 1024);
    const object media = open(header);
    expect_content(file_of(media.get(), 1, 1).get(), content);
    alter(header, "UPDATE file SET md5 = zeroblob(16) WHERE position = 0");
    expect_failure(file(header, u"a").get(), path_of("out"), 44, u"signatures");
    alter(header, "UPDATE file SET size = size - 1 WHERE position = 0");
    expect_failure(file(header, u"a").get(), path_of("out"), 44, u"longer");
    expect_content(file(header, u"b").get(), "behind");
}

TEST_F(mediaforge_extraction, dates_of_all_sorts)
{
    const auto time_of = [&](const char* date) {
        const std::string header = build_files({{"a", "x"}});
        alter(header, std::string("UPDATE file SET date = ") + date);
        EXPECT_EQ(extract(file(header, u"a").get(), path_of("out")).result, S_OK);
        struct stat status {};
        EXPECT_EQ(::stat(path_of("out").c_str(), &status), 0);
        return status.st_mtime;
    };
    EXPECT_EQ(time_of("25569.0"), 0);
    EXPECT_EQ(time_of("25568.0"), -86400);
    EXPECT_EQ(time_of("36925.5"), 981201600);
    const std::time_t now = std::time(nullptr);
    EXPECT_NEAR(static_cast<double>(time_of("0.0")), static_cast<double>(now), 60); // none is stored
    EXPECT_NEAR(static_cast<double>(time_of("1e300")), static_cast<double>(now), 60);
}

} // namespace
} // namespace cw::mediaforge_tests

#include "mediaforge_walk.h"

#include "formats/sealed.h"

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <random>

namespace cw::mediaforge_tests {
namespace {

namespace fs = std::filesystem;
using mediaforge_opening = media_test;

TEST_F(mediaforge_opening, what_is_not_there)
{
    expect_error(path_of("none.hdr"), 2, u"cannot be found");
    EXPECT_EQ(last_text(media_error::SystemText), wide(std::strerror(ENOENT)));
    expect_error(path_of("none/none.hdr"), 2);
    write_file(path_of("file"), "x");
    expect_error(path_of("file/none.hdr"), 2);
    expect_error("", 2);
    expect_error("C:\\setup\\data.hdr", 2);
    expect_error(path_of(std::string(300, 'n') + ".hdr"), 2);
    fs::create_symlink(path_of("loop.hdr"), path_of("loop.hdr"));
    expect_error(path_of("loop.hdr"), 2);
    EXPECT_EQ(open_path(path_of("none.hdr") + std::string(1, '\0')).result, failure(2));
}

TEST_F(mediaforge_opening, what_is_no_file)
{
    expect_error(path_of("."), 21, u"is a folder");
    fs::create_directory(path_of("folder.hdr"));
    expect_error(path_of("folder.hdr"), 21);
    ASSERT_EQ(mkfifo(path_of("pipe.hdr").c_str(), 0600), 0);
    expect_error(path_of("pipe.hdr"), 22, u"pipe"); // and nobody waits for its other end
    expect_error("/dev/zero", 22);
    expect_error("/dev/null", 22);
}

TEST_F(mediaforge_opening, what_may_not_be_read)
{
    const std::string path = make_header([](media_writer&) {});
    fs::permissions(path, fs::perms::none);
    const as_nobody rights(m_folder);
    expect_error(path, 5, u"denied");
    EXPECT_EQ(last_text(media_error::SystemText), wide(std::strerror(EACCES)));
}

TEST_F(mediaforge_opening, what_is_no_media)
{
    const auto refuse = [&](std::string_view bytes, std::u16string_view told) {
        write_file(path_of("x.hdr"), bytes);
        expect_error(path_of("x.hdr"), 13, told);
    };
    refuse("", u"empty");
    refuse("x", u"neither a header nor a cabinet");
    refuse(std::string(4096, '\0'), u"neither");
    refuse("{\"media\": {}}", u"neither");
    refuse(noise(10000, 1), u"neither");
    refuse("SQLite format 3", u"neither"); // without its last byte
    refuse(std::string("SQLite format 3\0", 16), u"cut short");
    refuse(std::string("SQLite format 3\0", 16) + std::string(84, '\0'), u"another program");
    refuse("MSCF", u"ends too early");
    refuse("MSCF" + std::string(60, '\0'), u"");
    refuse("MSCF" + noise(5000, 2), u"");
    alter(path_of("y.hdr"), "CREATE TABLE t (a)");
    expect_error(path_of("y.hdr"), 13, u"another program");
}

TEST_F(mediaforge_opening, a_huge_file_is_refused_at_once)
{
    const auto start = std::chrono::steady_clock::now();
    const auto grow = [&](const std::string& bytes) {
        write_file(path_of("huge.hdr"), bytes);
        fs::resize_file(path_of("huge.hdr"), 10ull << 30);
    };
    grow("");
    expect_error(path_of("huge.hdr"), 13);
    std::string sealed(reinterpret_cast<const char*>(formats::envelope_magic.data()), 8);
    sealed += std::string("\1\0\0\0", 4);
    grow(sealed);
    EXPECT_EQ(open_path(path_of("huge.hdr"), u"secret").result, failure(32));
    grow("MSCF");
    expect_error(path_of("huge.hdr"), 13);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(mediaforge_opening, paths_of_all_kinds)
{
    const std::string header = make_header(fill_every_table);
    for (const char* name :
         {"a b.hdr", "100%25 ?#&=.hdr", "Ünïcode Ω 😀.hdr", "noextension", "x.CAB", ".hdr", "a\\b.hdr"}) {
        SCOPED_TRACE(name);
        fs::copy_file(header, path_of(name));
        EXPECT_TRUE(open(path_of(name)));
        fs::remove(path_of(name));
    }
    // A name that is no UTF-8: the byte 0xFF stands in the text as a lone surrogate.
    fs::copy_file(header, path_of("\xFF.hdr"));
    const std::u16string path = wide(path_of("")) + u"\xDCFF.hdr";
    EXPECT_EQ(call(m_factory.get(), media_factory::OpenMedia, std::u16string_view(path)).result, S_OK);
    fs::create_symlink(header, path_of("link.hdr"));
    EXPECT_TRUE(open(path_of("link.hdr")));
}

TEST_F(mediaforge_opening, a_path_that_the_database_library_has_no_room_for)
{
    const std::string folders =
        path_of(std::string(200, 'a') + "/" + std::string(200, 'b') + "/" + std::string(200, 'c'));
    fs::create_directories(folders);
    fs::copy_file(make_header(fill_every_table), folders + "/a.hdr");
    expect_error(folders + "/a.hdr", 23, u"cannot be read");
    EXPECT_EQ(last_text(media_error::SystemText), wide(std::strerror(ENAMETOOLONG)));
}

TEST_F(mediaforge_opening, leaves_the_header_alone)
{
    const std::string header = make_header(fill_every_table);
    const std::string bytes = read_file(header);
    const auto time = fs::last_write_time(header);
    {
        const object first = open(header);
        const object second = open(header);
        EXPECT_EQ(walk_media(first.get()).failures, 0u);
        EXPECT_EQ(walk_media(second.get()).failures, 0u);
        EXPECT_EQ(listing(), std::vector<std::string>{"media.hdr"});
    }
    EXPECT_EQ(read_file(header), bytes);
    EXPECT_EQ(fs::last_write_time(header), time);
    EXPECT_EQ(listing(), std::vector<std::string>{"media.hdr"});
}

TEST_F(mediaforge_opening, a_header_in_write_ahead_mode_makes_no_files)
{
    const std::string header = make_header(fill_every_table);
    alter(header, "PRAGMA journal_mode = WAL; UPDATE media SET format_version = 5");
    (void)open_path(header);
    EXPECT_EQ(listing(), std::vector<std::string>{"media.hdr"});
}

TEST_F(mediaforge_opening, opening_costs_the_same_for_few_and_many_files)
{
    const auto header = [&](int files) {
        return make_header(
            [&](media_writer& writer) {
                writer.add_component(authoring::make_row(formats::component_columns, {}));
                for (int i = 0; i < files; ++i) {
                    authoring::file_row file;
                    file.name = "file" + std::to_string(i);
                    writer.add_file(1, file);
                }
            },
            "files" + std::to_string(files));
    };
    const auto cost = [&](const std::string& path) {
        double best = 1e9;
        for (int i = 0; i < 10; ++i) {
            const auto start = std::chrono::steady_clock::now();
            const object media = open(path);
            const object list =
                child(item(child(media.get(), media::Components).get(), 1).get(), media_component::Files);
            EXPECT_GE(number(list.get(), media_file_list::Count), 10);
            best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
        return best;
    };
    const double few = cost(header(10));
    const double many = cost(header(200000));
    EXPECT_LT(many, few * 5 + 0.002);
}

class mediaforge_protected : public media_test {
protected:
    std::string sealed(const std::string& password = "secret")
    {
        return make_header(fill_every_table, "media", password);
    }
};

TEST_F(mediaforge_protected, opens_with_its_password_alone)
{
    const std::string header = sealed();
    expect_error(header, 142, u"Password required");
    EXPECT_EQ(last_text(media_error::SystemText), u"");
    expect_error(header, 142, u"", u"Secret");
    expect_error(header, 142, u"", u"secret ");
    const object media = open(header, u"secret");
    ASSERT_TRUE(media);
    EXPECT_EQ(last_number(), 0);
    EXPECT_EQ(walk_media(media.get()).failures, 0u);
    EXPECT_EQ(names(child(media.get(), media::Components).get(), media_component::Name),
              (std::vector<std::u16string>{u"Component", u"Other"}));
    EXPECT_EQ(listing(), std::vector<std::string>{"media.hdr"});
}

TEST_F(mediaforge_protected, passwords_are_any_text)
{
    EXPECT_TRUE(open(sealed("Ωmega 😀"), u"Ωmega 😀"));
    expect_error(path_of("media.hdr"), 142, u"", u"Ωmega");
    // An open header needs no password and takes any.
    EXPECT_TRUE(open(make_header([](media_writer&) {}, "clear"), u"whatever"));
}

TEST_F(mediaforge_protected, damage_is_told_from_a_wrong_password_where_it_can_be)
{
    const std::string header = sealed();
    const std::string whole = read_file(header);
    const auto result_of = [&](const std::string& bytes) {
        write_file(header, bytes);
        return open_path(header, u"secret").result;
    };
    for (const std::size_t size : {std::size_t{8}, std::size_t{79}, std::size_t{80}, whole.size() - 1})
        EXPECT_EQ(result_of(whole.substr(0, size)), failure(32)) << size;
    EXPECT_EQ(result_of(whole + "x"), failure(32));
    std::string changed = whole;
    changed[changed.size() - 1] = static_cast<char>(changed[changed.size() - 1] ^ 1);
    EXPECT_EQ(result_of(changed), failure(32));
    changed = whole;
    changed[100] = static_cast<char>(changed[100] ^ 1); // in the first chunk
    EXPECT_EQ(result_of(changed), failure(142));
    changed = whole;
    changed[8] = 2; // a later form of protection
    EXPECT_EQ(result_of(changed), failure(30));
    changed = whole;
    std::memset(changed.data() + 24, 0x7F, 8); // memory
    EXPECT_EQ(result_of(changed), failure(32));
    changed = whole;
    std::memset(changed.data() + 16, 0x7F, 8); // operations
    EXPECT_EQ(result_of(changed), failure(32));
}

TEST_F(mediaforge_protected, random_damage_does_no_harm)
{
    const std::string header = sealed();
    const std::string whole = read_file(header);
    std::mt19937 random(7);
    for (int round = 0; round < 100; ++round) {
        std::string damaged = whole;
        std::size_t place = random() % (round % 2 ? 80 : damaged.size());
        // Not into memory and operations: a forged cost within the limits is paid.
        if (place >= 16 && place < 32)
            place = 32;
        damaged[place] = static_cast<char>(damaged[place] ^ (1 + random() % 255));
        write_file(header, damaged);
        EXPECT_NE(open_path(header, u"secret").result, S_OK) << place;
        EXPECT_GT(last_number(), 0);
    }
}

TEST_F(mediaforge_protected, what_is_sealed_must_be_a_header)
{
    const auto seal = [&](std::string_view image) {
        const formats::bytes bytes = formats::seal_header(
            {reinterpret_cast<const std::uint8_t*>(image.data()), image.size()}, "secret", quick_cost);
        write_file(path_of("x.hdr"), {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        return open_path(path_of("x.hdr"), u"secret").result;
    };
    EXPECT_EQ(seal(""), failure(13));
    EXPECT_EQ(seal("something else"), failure(13));
    const std::string header = make_header(fill_every_table, "clear");
    EXPECT_EQ(seal(read_file(header)), S_OK);
    EXPECT_EQ(seal(read_file(header).substr(0, 8000)), failure(13));
    alter(header, "UPDATE feature SET parent = 2 WHERE id = 1");
    EXPECT_EQ(seal(read_file(header)), failure(31));
    alter(header, "PRAGMA user_version = 9");
    EXPECT_EQ(seal(read_file(header)), failure(30));
}

class mediaforge_cabinet_of_a_header : public media_test {
protected:
    std::vector<std::u16string> components(const std::string& path, std::u16string_view password = {})
    {
        const object media = open(path, password);
        return media ? names(child(media.get(), media::Components).get(), media_component::Name)
                     : std::vector<std::u16string>();
    }
    const std::vector<std::u16string> m_ofHeader{u"Program"};
    const std::vector<std::u16string> m_ofCabinet{u"Folder 1"};
};

TEST_F(mediaforge_cabinet_of_a_header, opens_the_header)
{
    build_files({{"a", "content"}});
    EXPECT_EQ(components(path_of("media1.cab")), m_ofHeader);
    EXPECT_EQ(read_file(path_of("media1.cab")).substr(0, 4), "MSCF");
}

TEST_F(mediaforge_cabinet_of_a_header, in_any_case_of_the_names)
{
    build_files({{"a", "content"}});
    fs::rename(path_of("media1.cab"), path_of("MEDIA1.CAB"));
    EXPECT_EQ(components(path_of("MEDIA1.CAB")), m_ofHeader);
    fs::rename(path_of("media.hdr"), path_of("Media.Hdr"));
    EXPECT_EQ(components(path_of("MEDIA1.CAB")), m_ofHeader);
}

TEST_F(mediaforge_cabinet_of_a_header, whose_name_ends_in_digits)
{
    build("{\"Components\": [{\"Name\": \"Program\", \"Files\": [{\"Name\": \"a\", \"content\": \"x\"}]}]}", "data1");
    EXPECT_EQ(listing(), (std::vector<std::string>{"data1.hdr", "data11.cab"}));
    EXPECT_EQ(components(path_of("data11.cab")), m_ofHeader);
    // A header "data" beside it has no volume 11.
    build("{\"Components\": [{\"Name\": \"Other\", \"Files\": [{\"Name\": \"a\", \"content\": \"x\"}]}]}", "data");
    EXPECT_EQ(components(path_of("data11.cab")), m_ofHeader);
    EXPECT_EQ(components(path_of("data1.cab")), std::vector<std::u16string>{u"Other"});
}

TEST_F(mediaforge_cabinet_of_a_header, but_not_of_a_stranger)
{
    build_files({{"a", "content"}});
    fs::copy_file(path_of("media1.cab"), path_of("media2.cab")); // not listed
    EXPECT_EQ(components(path_of("media2.cab")), m_ofCabinet);
    fs::copy_file(path_of("media1.cab"), path_of("media01.cab"));
    EXPECT_EQ(components(path_of("media01.cab")), m_ofCabinet);
    fs::copy_file(path_of("media1.cab"), path_of("media.cab"));
    EXPECT_EQ(components(path_of("media.cab")), m_ofCabinet);
    std::string other_set = read_file(path_of("media1.cab"));
    other_set[32] = static_cast<char>(other_set[32] ^ 0x55);
    write_file(path_of("media1.cab"), other_set);
    EXPECT_EQ(components(path_of("media1.cab")), m_ofCabinet);
}

TEST_F(mediaforge_cabinet_of_a_header, that_is_no_header_is_a_cabinet)
{
    build_files({{"a", "content"}});
    write_file(path_of("media.hdr"), "nothing of ours");
    EXPECT_EQ(components(path_of("media1.cab")), m_ofCabinet);
    fs::remove(path_of("media.hdr"));
    EXPECT_EQ(components(path_of("media1.cab")), m_ofCabinet);
    fs::create_directory(path_of("media.hdr"));
    EXPECT_EQ(components(path_of("media1.cab")), m_ofCabinet);
    fs::remove(path_of("media.hdr"));
    ASSERT_EQ(mkfifo(path_of("media.hdr").c_str(), 0600), 0);
    EXPECT_EQ(components(path_of("media1.cab")), m_ofCabinet);
}

TEST_F(mediaforge_cabinet_of_a_header, that_is_protected_asks_for_the_password)
{
    build_files({{"a", "content"}}, "secret");
    EXPECT_EQ(open_path(path_of("media1.cab")).result, failure(142));
    EXPECT_EQ(components(path_of("media1.cab"), u"secret"), m_ofHeader);
}

} // namespace
} // namespace cw::mediaforge_tests

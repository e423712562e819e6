// Volumes that are missing, foreign or damaged: an error that names the volume, never a wrong file.
#include "mediaforge_support.h"

#include <sys/stat.h>

#include <random>

namespace cw::mediaforge_tests {
namespace {

namespace fs = std::filesystem;

class mediaforge_volumes : public media_test {
protected:
    void expect_failure(IDispatch* source, int number, std::u16string_view told)
    {
        const std::vector<std::string> before = listing();
        const outcome answer = extract(source, path_of("out"));
        EXPECT_EQ(answer.result, failure(number)) << narrow(answer.description);
        EXPECT_TRUE(answer.tells(told)) << narrow(answer.description);
        EXPECT_TRUE(answer.tells(u"media1.cab")) << narrow(answer.description);
        EXPECT_EQ(listing(), before);
    }
};

TEST_F(mediaforge_volumes, that_are_missing_are_named)
{
    const object media = open(build_files({{"a", "content"}}));
    const object file = file_of(media.get(), 1, 1);
    fs::rename(path_of("media1.cab"), path_of("away"));
    expect_failure(file.get(), 40, u"missing");
    EXPECT_FALSE(last_text(media_error::SystemText).empty());
    EXPECT_EQ(last_number(), 40);
    // It is found when it is back, in any case of its name.
    fs::rename(path_of("away"), path_of("MEDIA1.Cab"));
    EXPECT_EQ(extract(file.get(), path_of("out")).result, S_OK);
    EXPECT_EQ(read_file(path_of("out")), "content");
}

TEST_F(mediaforge_volumes, that_are_no_files_are_refused)
{
    const object media = open(build_files({{"a", "content"}}));
    const object file = file_of(media.get(), 1, 1);
    fs::remove(path_of("media1.cab"));
    fs::create_directory(path_of("media1.cab"));
    expect_failure(file.get(), 42, u"damaged");
    fs::remove(path_of("media1.cab"));
    ASSERT_EQ(mkfifo(path_of("media1.cab").c_str(), 0600), 0);
    expect_failure(file.get(), 42, u"damaged");
    fs::remove(path_of("media1.cab"));
    write_file(path_of("media1.cab"), "");
    expect_failure(file.get(), 42, u"damaged");
    write_file(path_of("media1.cab"), "no cabinet at all, but long enough for a head");
    expect_failure(file.get(), 42, u"not a cabinet");
}

TEST_F(mediaforge_volumes, of_another_media_are_refused)
{
    build("{\"Components\": [{\"Name\": \"Program\", \"Files\": [{\"Name\": \"a\", \"content\": \"foreign\"}]}]}",
          "other");
    const object media = open(build_files({{"a", "content"}}));
    const object file = file_of(media.get(), 1, 1);
    fs::copy_file(path_of("other1.cab"), path_of("media1.cab"), fs::copy_options::overwrite_existing);
    expect_failure(file.get(), 41, u"does not belong");
}

TEST_F(mediaforge_volumes, that_are_exchanged_while_open_are_seen)
{
    const std::string header = build_files({{"a", "content"}, {"b", "another"}});
    const object media = open(header);
    EXPECT_EQ(extract(file_of(media.get(), 1, 1).get(), path_of("one")).result, S_OK);
    const std::string whole = read_file(path_of("media1.cab"));
    fs::remove(path_of("media1.cab"));
    expect_failure(file_of(media.get(), 1, 2).get(), 40, u"missing");
    write_file(path_of("media1.cab"), whole);
    EXPECT_EQ(extract(file_of(media.get(), 1, 2).get(), path_of("two")).result, S_OK);
    EXPECT_EQ(read_file(path_of("two")), "another");
}

TEST_F(mediaforge_volumes, every_truncation_is_refused)
{
    const object media = open(build_files({{"a", noise(3000, 1)}}));
    const object file = file_of(media.get(), 1, 1);
    const std::string whole = read_file(path_of("media1.cab"));
    for (std::size_t size = 0; size < whole.size(); size += size < 100 ? 1 : 97) {
        write_file(path_of("media1.cab"), std::string_view(whole).substr(0, size));
        expect_failure(file.get(), 42, u"damaged");
    }
    write_file(path_of("media1.cab"), whole + "more");
    expect_failure(file.get(), 41, u"size");
}

TEST_F(mediaforge_volumes, with_a_damaged_block_are_told_with_the_reason)
{
    const object media = open(build_files({{"a", "before"}, {"b", noise(100000, 1)}}));
    const std::string whole = read_file(path_of("media1.cab"));
    std::string damaged = whole;
    damaged[whole.size() - 5000] = static_cast<char>(damaged[whole.size() - 5000] ^ 1);
    write_file(path_of("media1.cab"), damaged);
    expect_failure(file_of(media.get(), 1, 2).get(), 42, u"a checksum does not match");
    EXPECT_EQ(last_number(), 42);
    EXPECT_EQ(extract(file_of(media.get(), 1, 1).get(), path_of("out")).result, S_OK);
    EXPECT_EQ(read_file(path_of("out")), "before");
}

TEST_F(mediaforge_volumes, damage_anywhere_gives_the_right_file_or_none)
{
    const std::map<std::string, std::string> files{
        {"a", noise(2000, 1)}, {"b", std::string(3000, 'b')}, {"c", noise(40000, 2)}, {"d", "end"}};
    for (const char* password : {"", "secret"}) {
        SCOPED_TRACE(password);
        const object media = open(build_files(files, password, 0, 16384), wide(password));
        const std::string whole = read_file(path_of("media1.cab"));
        std::mt19937 random(99);
        unsigned refused = 0;
        unsigned right = 0;
        for (int round = 0; round < 250; ++round) {
            std::string damaged = whole;
            const std::size_t place = random() % (round % 4 ? damaged.size() : 300);
            damaged[place] = static_cast<char>(damaged[place] ^ (1 + random() % 255));
            write_file(path_of("media1.cab"), damaged);
            int index = 0;
            for (const auto& [name, content] : files) {
                const outcome answer = extract(file_of(media.get(), 1, ++index).get(), path_of("out"));
                if (SUCCEEDED(answer.result)) {
                    ++right;
                    EXPECT_TRUE(read_file(path_of("out")) == content) << name << " after damage at " << place;
                    fs::remove(path_of("out"));
                } else {
                    ++refused;
                    EXPECT_FALSE(answer.description.empty());
                }
                ASSERT_EQ(listing(), (std::vector<std::string>{"media.hdr", "media1.cab"}));
            }
        }
        EXPECT_GT(refused, 200u);
        EXPECT_GT(right, 200u);
        write_file(path_of("media1.cab"), whole);
        EXPECT_EQ(extract(file_of(media.get(), 1, 3).get(), path_of("out")).result, S_OK);
        fs::remove(path_of("out"));
    }
}

TEST_F(mediaforge_volumes, a_missing_one_of_several_is_told_by_its_number)
{
    const object media = open(build_files({{"a", "x"}, {"big", noise(200000, 1)}}, "", 40000, 16384));
    fs::remove(path_of("media3.cab"));
    const outcome answer = extract(file_of(media.get(), 1, 2).get(), path_of("out"));
    EXPECT_EQ(answer.result, failure(40));
    EXPECT_TRUE(answer.tells(u"media3.cab"));
    EXPECT_FALSE(fs::exists(path_of("out")));
    EXPECT_EQ(extract(file_of(media.get(), 1, 1).get(), path_of("out")).result, S_OK);
    // Two volumes that change places.
    fs::rename(path_of("media1.cab"), path_of("x"));
    fs::rename(path_of("media2.cab"), path_of("media1.cab"));
    fs::rename(path_of("x"), path_of("media2.cab"));
    const outcome swapped = extract(file_of(media.get(), 1, 1).get(), path_of("out"));
    EXPECT_NE(swapped.result, S_OK);
    EXPECT_EQ(read_file(path_of("out")), "x"); // what was there still is
}

} // namespace
} // namespace cw::mediaforge_tests

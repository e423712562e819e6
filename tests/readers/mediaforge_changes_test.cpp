// Headers and volumes that become something else while a media is open: errors or right data.
#include "mediaforge_walk.h"

#include <sys/stat.h>

namespace cw::mediaforge_tests {
namespace {

namespace fs = std::filesystem;

/// Puts something in the place of a path.
struct change {
    const char* name;
    std::function<void(const std::string& path)> make;
};

const std::vector<change>& replacements()
{
    static const std::vector<change> all{
        {"nothing", [](const std::string&) {}},
        {"a folder", [](const std::string& path) { fs::create_directory(path); }},
        {"a pipe", [](const std::string& path) { EXPECT_EQ(mkfifo(path.c_str(), 0600), 0); }},
        {"a link to itself", [](const std::string& path) { fs::create_symlink(path, path); }},
        {"an empty file", [](const std::string& path) { write_file(path, ""); }},
        {"garbage", [](const std::string& path) { write_file(path, noise(50000, 8)); }},
    };
    return all;
}

class mediaforge_changes : public media_test {
protected:
    static constexpr int file_count = 20000; // more than is read when a media is opened

    static std::string file_name(int index, const std::string& stem) { return stem + std::to_string(100000 + index); }
    std::string make_long_header(const std::string& name, const std::string& stem)
    {
        return make_header(
            [&](media_writer& writer) {
                writer.add_component(authoring::make_row(formats::component_columns, {{u"Name", stem}}));
                for (int i = 1; i <= file_count; ++i) {
                    authoring::file_row file;
                    file.name = file_name(i, stem);
                    writer.add_file(1, file);
                }
            },
            name);
    }
    /// How many of the names that are looked at fail; those that do not must be right.
    int failures_among_names(IDispatch* files, const std::string& stem)
    {
        int failed = 0;
        for (int i = 1; i <= file_count; i += 97) {
            outcome answer = call(files, media_file_list::Item, i);
            if (SUCCEEDED(answer.result))
                answer = call(answer.as_object().get(), media_file::Name);
            if (FAILED(answer.result)) {
                ++failed;
                EXPECT_FALSE(answer.description.empty()) << i;
            } else {
                EXPECT_EQ(narrow(answer.text()), file_name(i, stem));
            }
        }
        return failed;
    }
    object files_of(IDispatch* media)
    {
        return child(item(child(media, media::Components).get(), 1).get(), media_component::Files);
    }
};

TEST_F(mediaforge_changes, a_header_that_another_one_replaced_is_read_to_its_end)
{
    const std::string header = make_long_header("media", "mine");
    const std::string other = make_long_header("other", "else");
    std::vector<change> all = replacements();
    all.push_back({"another header", [&](const std::string& path) { fs::copy_file(other, path); }});
    for (const change& one : all) {
        SCOPED_TRACE(one.name);
        const std::string path = path_of("open.hdr");
        fs::copy_file(header, path);
        const object media = open(path);
        const object files = files_of(media.get());
        fs::remove(path);
        one.make(path);
        EXPECT_EQ(failures_among_names(files.get(), "mine"), 0);
        EXPECT_EQ(walk_media(media.get()).failures, 0u);
        fs::remove(path);
    }
}

TEST_F(mediaforge_changes, a_header_that_is_overwritten_never_answers_something_wrong)
{
    const std::string whole = read_file(make_long_header("media", "mine"));
    const std::string other = read_file(make_long_header("other", "else"));
    const std::string path = path_of("media.hdr");
    const std::vector<std::pair<const char*, std::string>> contents{
        {"nothing", ""},
        {"its first page", whole.substr(0, 4096)},
        {"its first half", whole.substr(0, whole.size() / 2)},
        {"garbage", noise(whole.size(), 3)},
        {"zeros", std::string(whole.size(), '\0')},
        {"another header", other},
    };
    for (const auto& [name, content] : contents) {
        SCOPED_TRACE(name);
        const object media = open(path);
        const object files = files_of(media.get());
        const object first = file_of(media.get(), 1, 1);
        write_file(path, content);
        EXPECT_GT(failures_among_names(files.get(), "mine"), 0);
        EXPECT_GT(failures_among_names(files.get(), "mine"), 0);
        (void)walk_media(media.get());
        EXPECT_NE(extract(first.get(), path_of("out")).result, S_OK);
        write_file(path, whole);
        EXPECT_EQ(failures_among_names(files_of(open(path).get()).get(), "mine"), 0);
    }
    EXPECT_EQ(listing(), (std::vector<std::string>{"media.hdr", "other.hdr"}));
}

TEST_F(mediaforge_changes, files_come_out_of_a_media_whose_header_is_gone)
{
    const std::string header = build_files({{"a", "first"}, {"b", "second"}});
    const object media = open(header);
    const object first = file_of(media.get(), 1, 1);
    const object second = file_of(media.get(), 1, 2);
    fs::remove(header);
    EXPECT_EQ(extract(first.get(), path_of("out")).result, S_OK);
    EXPECT_EQ(read_file(path_of("out")), "first");
    fs::create_directory(header);
    EXPECT_EQ(extract(second.get(), path_of("out")).result, S_OK);
    EXPECT_EQ(read_file(path_of("out")), "second");
}

TEST_F(mediaforge_changes, an_open_volume_that_becomes_something_else_is_told)
{
    const std::string header = build_files({{"a", noise(100000, 1)}, {"b", "second"}});
    const std::string path = path_of("media1.cab");
    const std::string whole = read_file(path);
    std::vector<change> all = replacements();
    all.push_back(
        {"its first half", [&](const std::string& to) { write_file(to, whole.substr(0, whole.size() / 2)); }});
    for (const change& one : all) {
        SCOPED_TRACE(one.name);
        const object media = open(header);
        EXPECT_EQ(extract(file_of(media.get(), 1, 1).get(), path_of("out")).result, S_OK);
        fs::remove(path_of("out"));
        fs::remove(path);
        one.make(path);
        const outcome answer = extract(file_of(media.get(), 1, 2).get(), path_of("out"));
        EXPECT_TRUE(answer.result == failure(40) || answer.result == failure(42)) << narrow(answer.description);
        EXPECT_TRUE(answer.tells(u"media1.cab")) << narrow(answer.description);
        EXPECT_FALSE(fs::exists(path_of("out")));
        fs::remove(path);
        write_file(path, whole);
        EXPECT_EQ(extract(file_of(media.get(), 1, 2).get(), path_of("out")).result, S_OK);
        EXPECT_EQ(read_file(path_of("out")), "second");
        fs::remove(path_of("out"));
        write_file(path, noise(whole.size(), 2)); // the same file, and open
        EXPECT_EQ(extract(file_of(media.get(), 1, 1).get(), path_of("out")).result, failure(42));
        write_file(path, whole);
    }
    EXPECT_EQ(listing(), (std::vector<std::string>{"media.hdr", "media1.cab"}));
}

} // namespace
} // namespace cw::mediaforge_tests

#include "tests/log/log_support.h"

#include "app/menus.h"
#include "platform/last_error.h"
#include "platform/utf8.h"
#include "tests/support/scripted_readers.h"

#include <cstring>
#include <filesystem>
#include <regex>

namespace cw {
namespace {

using namespace test_support;
using paths = std::vector<std::u16string>;

/// Files whose n-th opening for writing, or n-th writing, fails.
struct failing_files final : forwarding_open_files_in_use {
    platform::file_handle create_file(const char16_t* path, std::uint32_t access, std::uint32_t share_mode,
                                      const void* security, std::uint32_t disposition, std::uint32_t flags,
                                      platform::file_handle file_template) noexcept override
    {
        if (creation_error == 0)
            return forwarding_open_files::create_file(path, access, share_mode, security, disposition, flags,
                                                      file_template);
        platform::set_last_error(creation_error);
        return platform::invalid_file_handle;
    }
    bool write(platform::file_handle file, const void* bytes, std::uint32_t size_in_bytes,
               std::uint32_t* written_in_bytes) noexcept override
    {
        if (++writes != failing_write)
            return forwarding_open_files::write(file, bytes, size_in_bytes, written_in_bytes);
        platform::set_last_error(platform::error_disk_full);
        return false;
    }

    std::uint32_t creation_error = 0;
    int failing_write = 0;
    int writes = 0;
};

constexpr const char* media_report = R"("Report": {"FirstPart": "a\u00e9\r\n", "SecondPart": "b"})";
const std::string media_bytes("\xFF\xFE"
                              "a\0\xE9\0\r\0\n\0b\0",
                              12);
constexpr const char* some_log = R"({"root": {"Name": "Main"}})";

class report_commands : public log_view_test {
protected:
    void report() { frame().RunCommand(ID_TOOLS_REPORT); }
    /// Runs Save with this reply to its question.
    void save(std::optional<std::string_view> file)
    {
        program.person.answer(question_kind::save,
                              file ? std::optional(program.folder.wide_file(*file)) : std::nullopt);
        frame().RunCommand(ID_FILE_SAVE);
        (void)program.person.take_questions();
    }
    std::u16string report_path() { return std::u16string(frame_access::report_path(frame()).view()); }
    std::string bytes_of(std::u16string_view path) const
    {
        return program.folder.read(std::filesystem::relative(path, program.folder.path()).native());
    }
    static bool is_there(std::u16string_view path) { return std::filesystem::exists(std::filesystem::path(path)); }
    paths opened() { return program.person.take_opened(); }
    static bool is_log_report(const std::string& bytes)
    {
        return bytes.starts_with(std::string("C\0r\0a\0t\0e\0w\0r\0i\0g\0h\0t\0 \0L\0o\0g\0", 30));
    }
};

TEST_F(report_commands, report_of_a_log_goes_to_a_temporary_file_and_to_the_desktop)
{
    program.open_log(some_log);
    report();
    const std::u16string path = report_path();
    EXPECT_TRUE(
        std::regex_match(platform::to_utf8(path), std::regex(program.folder.file("temp") + "/_cw[0-9A-F]+\\.txt")))
        << platform::to_utf8(path);
    EXPECT_EQ(opened(), paths{path});
    EXPECT_TRUE(is_log_report(bytes_of(path)));
    // The name was made sure of with a file that is gone again.
    const auto all = std::filesystem::directory_iterator(program.folder.path() / "temp");
    EXPECT_EQ(std::distance(begin(all), end(all)), 1);
}

TEST_F(report_commands, report_of_a_media_has_both_parts_behind_a_mark)
{
    program.open_media(media_report);
    (void)program.take_trace();
    report();
    EXPECT_EQ(bytes_of(report_path()), media_bytes);
    EXPECT_EQ(opened(), paths{report_path()});
    EXPECT_EQ(program.take_trace(), (lines{"IMedia Report", "IMediaReport FirstPart", "IMediaReport SecondPart"}));
    EXPECT_TRUE(platform::to_utf8(report_path()).ends_with(".txt"));
}

TEST_F(report_commands, report_of_a_media_that_says_nothing_is_a_mark)
{
    program.open_media(R"("Report": {})");
    report();
    EXPECT_EQ(bytes_of(report_path()), "\xFF\xFE");
    EXPECT_EQ(opened(), paths{report_path()});
}

TEST_F(report_commands, report_with_nothing_open_does_nothing)
{
    report(); // disabled
    frame().Guard([&] { frame().OnReport(ID_TOOLS_REPORT); });
    EXPECT_EQ(report_path(), u"");
    EXPECT_EQ(opened(), paths{});
    EXPECT_FALSE(std::filesystem::exists(program.folder.file("temp")));
}

TEST_F(report_commands, reports_share_one_name)
{
    program.open_log(R"({"root": {"Name": "A rather long name of the feature, longer than the next"}})");
    report();
    const std::u16string path = report_path();
    const std::string first = bytes_of(path);
    program.open_log(R"({"root": {"Name": "Short"}})");
    report();
    EXPECT_EQ(report_path(), path);
    EXPECT_LT(bytes_of(path).size(), first.size());
    EXPECT_TRUE(is_log_report(bytes_of(path)));
    program.open_media(media_report);
    report();
    EXPECT_EQ(bytes_of(path), media_bytes);
    EXPECT_EQ(opened(), (paths{path, path, path}));
}

TEST_F(report_commands, save_asks_for_a_text_file)
{
    program.open_log(some_log);
    frame().RunCommand(ID_FILE_SAVE);
    const auto questions = program.person.take_questions();
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].kind, question_kind::save);
    EXPECT_EQ(questions[0].name, u"LogReport");
    EXPECT_EQ(questions[0].filter, u"Text Files (*.txt)|*.txt||");
    EXPECT_EQ(questions[0].default_extension, u"txt");
    EXPECT_FALSE(questions[0].overwrite_prompt);
    program.open_media(media_report);
    frame().RunCommand(ID_FILE_SAVE);
    EXPECT_EQ(program.person.take_questions()[0].name, u"LogReport");
}

TEST_F(report_commands, save_of_a_log_writes_and_opens_nothing)
{
    program.open_log(some_log);
    save("saved.txt");
    EXPECT_TRUE(is_log_report(program.folder.read("saved.txt")));
    EXPECT_EQ(report_path(), u"");
    EXPECT_EQ(opened(), paths{});
    report();
    const std::u16string path = report_path();
    save("again.txt");
    EXPECT_EQ(report_path(), path);
    frame().Close();
    EXPECT_FALSE(is_there(path));
    EXPECT_TRUE(is_there(program.folder.wide_file("saved.txt")));
    EXPECT_TRUE(is_there(program.folder.wide_file("again.txt")));
}

TEST_F(report_commands, save_of_a_media_opens_it_and_the_close_deletes_it)
{
    program.open_media(media_report);
    save("saved.txt");
    const std::u16string path = program.folder.wide_file("saved.txt");
    EXPECT_EQ(report_path(), path);
    EXPECT_EQ(bytes_of(path), media_bytes);
    EXPECT_EQ(opened(), paths{path});
    std::filesystem::remove(path);
    report();
    EXPECT_EQ(bytes_of(path), media_bytes) << "reports go on to the chosen file";
    EXPECT_EQ(opened(), paths{path});
    frame().Close();
    EXPECT_FALSE(is_there(path));
}

TEST_F(report_commands, an_earlier_temporary_report_stays_where_a_media_is_saved)
{
    program.open_media(media_report);
    report();
    const std::u16string temporary = report_path();
    save("saved.txt");
    frame().Close();
    EXPECT_TRUE(is_there(temporary));
    EXPECT_FALSE(is_there(program.folder.wide_file("saved.txt")));
}

TEST_F(report_commands, save_of_a_media_makes_the_folders_of_its_path)
{
    program.open_media(media_report);
    save("new/deep/saved.txt");
    EXPECT_EQ(program.folder.read("new/deep/saved.txt"), media_bytes);
    program.open_log(some_log);
    save("other/saved.txt");
    EXPECT_FALSE(std::filesystem::exists(program.folder.file("other")));
}

TEST_F(report_commands, save_that_is_cancelled_writes_nothing)
{
    program.open_media(media_report);
    save(std::nullopt);
    EXPECT_EQ(report_path(), u"");
    EXPECT_EQ(opened(), paths{});
}

TEST_F(report_commands, save_with_nothing_open_asks_and_writes_nothing)
{
    program.person.answer(question_kind::save, program.folder.wide_file("saved.txt"));
    frame().RunCommand(ID_FILE_SAVE);
    EXPECT_EQ(program.person.take_questions().size(), 1u);
    EXPECT_FALSE(std::filesystem::exists(program.folder.file("saved.txt")));
    EXPECT_EQ(report_path(), u"");
}

TEST_F(report_commands, save_of_a_log_that_could_not_be_opened_writes_nothing)
{
    program.open_log(R"({"open_error": "0x80004005"})");
    save("saved.txt");
    EXPECT_FALSE(std::filesystem::exists(program.folder.file("saved.txt")));
    // Report goes by another member: it leaves a heading, hands over nothing and fails.
    report();
    EXPECT_EQ(take_error_codes(), lines{"0x80004003"});
    EXPECT_TRUE(is_log_report(bytes_of(report_path())));
    EXPECT_EQ(opened(), paths{});
}

TEST_F(report_commands, one_key_asks_twice_where_to_save)
{
    program.open_log(some_log);
    program.person.answer(question_kind::save, program.folder.wide_file("one.txt"));
    program.person.answer(question_kind::save, program.folder.wide_file("two.txt"));
    frame().KeyDown({.virtual_key = 0x53, .control = true});
    EXPECT_EQ(program.person.take_questions().size(), 2u);
    EXPECT_TRUE(is_log_report(program.folder.read("one.txt")));
    EXPECT_TRUE(is_log_report(program.folder.read("two.txt")));
}

TEST_F(report_commands, a_media_report_that_cannot_be_made_is_kept_quiet)
{
    program.open_media(media_report);
    for (const std::uint32_t error : {platform::error_access_denied, platform::error_path_not_found}) {
        failing_files files;
        files.creation_error = error;
        report();
        EXPECT_EQ(files.writes, 0);
        EXPECT_EQ(opened(), paths{});
        EXPECT_FALSE(is_there(report_path()));
    }
}

TEST_F(report_commands, a_log_report_that_cannot_be_made_is_handed_over_all_the_same)
{
    program.open_log(some_log);
    failing_files files;
    files.creation_error = platform::error_access_denied;
    report();
    EXPECT_EQ(opened(), paths{report_path()});
    EXPECT_FALSE(is_there(report_path()));
}

TEST_F(report_commands, a_media_report_that_cannot_be_written_raises)
{
    program.open_media(media_report);
    for (const int failing : {1, 2}) {
        failing_files files;
        files.failing_write = failing;
        report();
        const lines errors = program.take_unhandled();
        ASSERT_EQ(errors.size(), 1u);
        EXPECT_EQ(errors[0].find("cwcabview: unhandled error: file error 112, " + platform::to_utf8(report_path())), 0u)
            << errors[0];
        EXPECT_EQ(opened(), paths{});
        EXPECT_EQ(bytes_of(report_path()).size(), failing == 1 ? 0u : 2u);
    }
    // The window lives on.
    report();
    EXPECT_EQ(bytes_of(report_path()), media_bytes);
}

TEST_F(report_commands, a_log_report_that_cannot_be_written_is_handed_over_all_the_same)
{
    program.open_log(some_log);
    failing_files files;
    files.failing_write = 2;
    report();
    EXPECT_EQ(opened(), paths{report_path()});
}

TEST_F(report_commands, without_a_temporary_folder_nothing_is_written)
{
    // A file stands where the folder would be made.
    program.folder.write("temp", "");
    program.open_media(media_report);
    report();
    EXPECT_TRUE(platform::to_utf8(report_path()).starts_with(program.folder.file("temp/")));
    EXPECT_EQ(opened(), paths{});
    program.open_log(some_log);
    report();
    EXPECT_EQ(opened(), paths{report_path()});
    EXPECT_TRUE(std::filesystem::is_regular_file(program.folder.file("temp")));
    frame().Close();
    EXPECT_TRUE(std::filesystem::is_regular_file(program.folder.file("temp")));
}

TEST_F(report_commands, a_folder_as_target_is_kept_quiet)
{
    std::filesystem::create_directory(program.folder.file("folder"));
    program.open_media(media_report);
    save("folder");
    EXPECT_EQ(opened(), paths{});
    program.open_log(some_log);
    save("folder");
    EXPECT_TRUE(std::filesystem::is_directory(program.folder.file("folder")));
    frame().Close();
    EXPECT_TRUE(std::filesystem::is_directory(program.folder.file("folder")));
}

TEST_F(report_commands, raises_what_the_library_fails_with)
{
    program.open_media(R"("Report": null)");
    report();
    EXPECT_EQ(take_error_codes(), lines{"0x80004003"});
    EXPECT_EQ(report_path(), u"");
    for (const char* members : {R"("Report": {"fail": "0x80004005"})",
                                R"("Report": {"FirstPart": {"fail": "0x80004005"}, "SecondPart": "b"})",
                                R"("Report": {"FirstPart": "a", "SecondPart": {"fail": "0x80004005"}})"}) {
        program.open_media(members);
        report();
        EXPECT_EQ(take_error_codes(), lines{"0x80004005"}) << members;
        EXPECT_EQ(report_path(), u"") << members;
        EXPECT_EQ(opened(), paths{}) << members;
    }
}

TEST_F(report_commands, the_close_without_a_report_deletes_nothing)
{
    program.open_log(some_log);
    save("saved.txt");
    frame().Close();
    EXPECT_TRUE(is_there(program.folder.wide_file("saved.txt")));
}

} // namespace
} // namespace cw

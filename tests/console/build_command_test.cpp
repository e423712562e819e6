#include "tests/console/console_support.h"

#include <filesystem>
#include <random>

namespace cw {
namespace {

using namespace console_tests;

class build_command : public console_test {
protected:
    build_command()
    {
        write("hello", "a.txt");
        manifest = write(R"({"name": "tour", "Components": [{"Name": "Program", "Files": ["a.txt"]}],
                             "Features": [{"Name": "Main", "IncludedComponents": ["Program"]}]})",
                         "manifest.json");
    }
    [[nodiscard]] bool wrote(const std::string& name) const { return std::filesystem::exists(target + "/" + name); }
    /// Runs it and expects one line of error that holds `reason`, and nothing else.
    void expect_no_media(const std::vector<std::string>& arguments, int status, std::string_view reason)
    {
        expect_failure(run_program(arguments), reason, status);
        EXPECT_FALSE(wrote("tour.hdr")) << reason;
    }

    std::string manifest;
    std::string target = folder.file("out folder");
};

TEST_F(build_command, writes_a_media_and_tells_what)
{
    const outcome ran = run_program({"build", manifest, "-o", target});
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(ran.out, target + "/tour.hdr: 1 files in 1 volumes, 5 bytes\n");
    EXPECT_EQ(ran.error, "");
    EXPECT_TRUE(wrote("tour.hdr"));
    EXPECT_TRUE(wrote("tour1.cab"));
}

TEST_F(build_command, refuses_sizes_that_make_no_sense)
{
    for (const char* size : {"-5", "0", "abc", "1073741825", "99999999999999999999"})
        for (const char* option : {"--volume-size", "--folder-size"})
            expect_no_media({"build", manifest, "-o", target, option, size}, 2, option);
}

TEST_F(build_command, refuses_passwords_that_nobody_can_type)
{
    const std::string zero = write(std::string("se\0cret\n", 8), "zero");
    expect_no_media({"build", manifest, "-o", target, "--password-file", zero}, 1, "a zero");
}

TEST_F(build_command, takes_another_name_and_a_long_option)
{
    const outcome ran = run_program({"build", manifest, "--output", target, "--name", "other"});
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_TRUE(wrote("other.hdr"));
    EXPECT_FALSE(wrote("tour.hdr"));
}

TEST_F(build_command, cuts_volumes_and_folders_at_the_given_size)
{
    // Bytes that do not get smaller.
    std::minstd_rand numbers;
    for (const char* name : {"a.txt", "b.txt"}) {
        std::string noise(20'000, ' ');
        for (char& byte : noise)
            byte = static_cast<char>(numbers() >> 8);
        write(noise, name);
    }
    write(R"({"name": "tour", "Components": [{"Name": "Program", "Files": ["a.txt", "b.txt"]}]})", "manifest.json");
    const outcome ran =
        run_program({"build", manifest, "-o", target, "--volume-size", "25000", "--folder-size", "10000"});
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_NE(ran.out.find("2 files in 2 volumes, 40000 bytes"), std::string::npos) << ran.out;
    EXPECT_TRUE(wrote("tour2.cab"));
}

TEST_F(build_command, protects_the_media_with_the_first_line_of_a_file)
{
    ASSERT_EQ(run_program({"build", manifest, "-o", target}).status, 0);
    const std::string clear = folder.read("out folder/tour.hdr");
    for (const char* content : {"secret", "secret\n", "secret\r\nmore\n"}) {
        const std::string password_file = write(content, "password.txt");
        const outcome ran = run_program({"build", manifest, "-o", target, "--password-file", password_file});
        EXPECT_EQ(ran.status, 0) << ran.error;
        EXPECT_NE(folder.read("out folder/tour.hdr").substr(0, 15), clear.substr(0, 15));
        EXPECT_EQ(folder.read("out folder/tour.hdr").find("Program"), std::string::npos);
    }
    EXPECT_NE(clear.find("Program"), std::string::npos);
}

TEST_F(build_command, needs_a_password_in_the_file)
{
    for (const char* content : {"\n", "\r\n", "\nsecond line\n"})
        expect_no_media({"build", manifest, "-o", target, "--password-file", write(content, "password.txt")}, 1,
                        "the password is empty");
    expect_no_media({"build", manifest, "-o", target, "--password-file", write("", "password.txt")}, 1,
                    "no password can be read");
    expect_no_media({"build", manifest, "-o", target, "--password-file", folder.file("absent")}, 1,
                    "no password can be read");
    expect_no_media({"build", manifest, "-o", target, "--password-file", folder.path().native()}, 1,
                    "no password can be read");
}

TEST_F(build_command, tells_what_is_wrong_with_the_manifest)
{
    expect_no_media({"build", folder.file("absent.json"), "-o", target}, 1, "absent.json");
    expect_no_media({"build", write("{", "broken.json"), "-o", target}, 1, "not valid JSON");
    expect_no_media({"build", write(R"({"name": "tour", "Unknown": 1})", "unknown.json"), "-o", target}, 1, "Unknown");
    expect_no_media({"build",
                     write(R"({"name": "tour", "Components": [{"Name": "C", "Files": ["gone.txt"]}]})", "gone.json"),
                     "-o", target},
                    1, "gone.txt");
}

TEST_F(build_command, refuses_wrong_usage)
{
    expect_no_media({"build"}, 2, "MANIFEST");
    expect_no_media({"build", manifest}, 2, "output");
    expect_no_media({"build", manifest, "-o"}, 2, "output");
    for (const char* size : {"0", "-1", "many", "1.5"}) {
        expect_no_media({"build", manifest, "-o", target, "--volume-size", size}, 2, "volume-size");
        expect_no_media({"build", manifest, "-o", target, "--folder-size", size}, 2, "folder-size");
    }
}

} // namespace
} // namespace cw

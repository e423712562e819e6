#include "logkit_support.h"

#include <chrono>
#include <random>

namespace cw::logkit_tests {
namespace {

namespace fs = std::filesystem;

class logkit_damage : public log_test {
protected:
    /// Opens what may be damaged and walks it. Nothing is promised but that it ends.
    void try_log(std::string_view bytes) const
    {
        com_ptr<ILogDocument> document;
        if (FAILED(open_path(m_folder.write("x.clg", bytes), document))) {
            EXPECT_FALSE(document);
            EXPECT_NE(last_error(), "");
            return;
        }
        (void)walk(document.get());
    }
};

TEST_F(logkit_damage, cut_anywhere)
{
    write_log(rich_log());
    const std::string whole = m_folder.read("setup.clg");
    for (std::size_t size = 0; size < whole.size(); size += size < 200 ? 1 : 1021)
        expect_error(m_folder.write("x.clg", std::string_view(whole).substr(0, size)), 13,
                     size == 0   ? "empty"
                     : size < 16 ? "another kind"
                                 : "cut short");
}

TEST_F(logkit_damage, flipped_anywhere)
{
    write_log(rich_log());
    const std::string whole = m_folder.read("setup.clg");
    std::mt19937 random(11);
    for (int round = 0; round < 400; ++round) {
        std::string damaged = whole;
        for (unsigned flips = 1 + random() % 4; flips > 0; --flips) {
            const std::size_t place = random() % (round % 4 == 0 ? 100 : damaged.size());
            damaged[place] = static_cast<char>(damaged[place] ^ (1 + random() % 255));
        }
        SCOPED_TRACE(round);
        try_log(damaged);
    }
}

TEST_F(logkit_damage, pages_in_the_wrong_places)
{
    write_log(rich_log());
    const std::string whole = m_folder.read("setup.clg");
    constexpr std::size_t page = 4096;
    std::mt19937 random(12);
    for (int round = 0; round < 100; ++round) {
        std::string damaged = whole;
        const std::size_t from = random() % (whole.size() / page);
        const std::size_t to = random() % (whole.size() / page);
        damaged.replace(to * page, page, whole.substr(from * page, page));
        try_log(damaged);
    }
}

TEST_F(logkit_damage, texts_beyond_all_limits)
{
    const feature main =
        open_main(write_log(plain_log() + "INSERT INTO general_operation VALUES (1, 0, 'a', zeroblob(200000000));"));
    const operations found = list(main.get(), log_operation_type::general);
    LONG position = 0;
    SAFEARRAY* record = nullptr;
    EXPECT_LT(found->Next(&position, &record), 0);
    EXPECT_EQ(record, nullptr);
    EXPECT_NE(last_error(), "");
}

TEST_F(logkit_damage, triggers_and_views_do_not_run)
{
    const com_ptr<ILogDocument> document =
        open(write_log(rich_log() + "CREATE VIEW v AS SELECT load_extension('x'); CREATE TABLE t (a);"
                                    "CREATE TRIGGER g AFTER INSERT ON t BEGIN DELETE FROM feature; END;"));
    EXPECT_EQ(walk(document.get()).failures, 0);
}

TEST_F(logkit_damage, overwritten_while_open)
{
    const std::string other = write_log(empty_log() + "INSERT INTO feature VALUES (1, 0, 0, 'Other', 'other-id');"
                                                      "INSERT INTO general_operation VALUES (1, 0, 'other', 'x');",
                                        "other.clg");
    const std::string path = write_log(plain_log() + "INSERT INTO general_operation VALUES (1, 0, 'own', 'x');");
    const feature main = open_main(path);
    EXPECT_EQ(records(main.get(), log_operation_type::general), std::vector<std::string>{R"("own" "x")"});
    fs::copy_file(other, path, fs::copy_options::overwrite_existing);
    const operations found = list(main.get(), log_operation_type::general);
    LONG count = 3;
    EXPECT_EQ(found->Count(&count), failure(35));
    EXPECT_NE(last_error().find("overwritten while it was open"), std::string::npos);
    m_folder.write("setup.clg", "nothing of the kind");
    EXPECT_LT(found->Count(&count), 0);
    EXPECT_NE(last_error(), "");
    fs::resize_file(path, 0);
    EXPECT_LT(found->Count(&count), 0);
    EXPECT_NE(last_error(), "");
}

TEST_F(logkit_damage, replaced_while_open)
{
    const std::string path = write_log(rich_log());
    const feature main = open_main(path);
    const std::string other = write_log(plain_log(), "other.clg");
    fs::rename(other, path);
    // The log that was opened is still there for whoever has it.
    EXPECT_EQ(records(main.get(), log_operation_type::file).size(), 2u);
    fs::remove(path);
    EXPECT_EQ(records(main.get(), log_operation_type::file).size(), 2u);
}

} // namespace
} // namespace cw::logkit_tests

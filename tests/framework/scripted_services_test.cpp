#include "framework/scripted_services.h"

#include "framework/commands.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using ids = std::vector<std::uint32_t>;
using texts = std::vector<std::u16string>;

TEST(scripted_services, answers_each_kind_from_its_own_queue_in_order)
{
    scripted_frame_services services;
    services.answer(question_kind::open, u"/a.hdr");
    services.answer(question_kind::open, {});
    services.answer(question_kind::open, u"");
    services.answer(question_kind::password, u"secret");
    services.answer(question_kind::find, u"cancel");

    EXPECT_EQ(services.choose_file_to_open({u"f"}), u"/a.hdr");
    EXPECT_EQ(services.ask_password({u"p", u""}), u"secret");
    EXPECT_EQ(services.choose_file_to_open({u"f"}), std::nullopt);
    EXPECT_EQ(services.choose_file_to_open({u"f"}), u"");
    EXPECT_EQ(services.ask_find_text({u"t"}), u"cancel");
}

TEST(scripted_services, cancels_questions_without_a_reply)
{
    scripted_frame_services services;
    services.answer(question_kind::save, u"/x");
    EXPECT_EQ(services.choose_file_to_open({}), std::nullopt);
    EXPECT_EQ(services.ask_find_text({}), std::nullopt);
    EXPECT_EQ(services.ask_password({}), std::nullopt);
    EXPECT_TRUE(services.choose_file_to_save({}).has_value());
    EXPECT_FALSE(services.choose_file_to_save({}).has_value());
}

TEST(scripted_services, splits_a_chosen_path_by_its_own_separator)
{
    struct row {
        const char16_t* path;
        const char16_t* folder;
        const char16_t* file_name;
    };
    for (const row& expected : {row{u"/home/me/a.txt", u"/home/me", u"a.txt"}, row{u"/a.txt", u"/", u"a.txt"},
                                row{u"C:\\d\\a.txt", u"C:\\d", u"a.txt"}, row{u"C:\\a.txt", u"C:\\", u"a.txt"},
                                row{u"a.txt", u"", u"a.txt"}, row{u"d/a.txt", u"", u"d/a.txt"}, row{u"", u"", u""}}) {
        scripted_frame_services services;
        services.answer(question_kind::save, expected.path);
        const auto answer = services.choose_file_to_save({});
        ASSERT_TRUE(answer.has_value());
        EXPECT_EQ(answer->folder, expected.folder);
        EXPECT_EQ(answer->file_name, expected.file_name);
        EXPECT_EQ(answer->path, expected.path);
    }
}

TEST(scripted_services, records_the_questions_until_they_are_taken)
{
    scripted_frame_services services;
    (void)services.choose_file_to_open({u"All|*.a||"});
    (void)services.choose_file_to_save({u"report", u"txt", u"Text|*.txt||", true});
    (void)services.ask_find_text({u"before"});
    (void)services.ask_password({u"/m.hdr", u"wrong"});

    const auto asked = services.take_questions();
    ASSERT_EQ(asked.size(), 4u);
    EXPECT_EQ(asked[0].kind, question_kind::open);
    EXPECT_EQ(asked[0].name, u"");
    EXPECT_EQ(asked[0].filter, u"All|*.a||");
    EXPECT_EQ(asked[1].kind, question_kind::save);
    EXPECT_EQ(asked[1].name, u"report");
    EXPECT_EQ(asked[1].filter, u"Text|*.txt||");
    EXPECT_EQ(asked[1].default_extension, u"txt");
    EXPECT_TRUE(asked[1].overwrite_prompt);
    EXPECT_EQ(asked[2].kind, question_kind::find);
    EXPECT_EQ(asked[2].text, u"before");
    EXPECT_EQ(asked[3].kind, question_kind::password);
    EXPECT_EQ(asked[3].text, u"/m.hdr");
    EXPECT_EQ(asked[3].refusal, u"wrong");
    EXPECT_TRUE(services.take_questions().empty());
}

TEST(scripted_services, records_what_is_handed_out)
{
    scripted_frame_services services;
    EXPECT_EQ(services.clipboard(), std::nullopt);
    services.show_message(u"bad", message_icon::error);
    services.show_message(u"so", message_icon::none);
    services.open_with_desktop(u"/r.txt");
    services.show_help(u"/h");
    services.put_on_clipboard(u"first");
    services.put_on_clipboard(u"");
    services.show_about();
    const menu_item menu[] = {{u"&Copy", 32803}, {u"", 0}, {u"X", 2}};
    services.show_context_menu(menu);

    using message = scripted_frame_services::shown_message;
    EXPECT_EQ(services.take_messages(),
              (std::vector<message>{{u"bad", message_icon::error}, {u"so", message_icon::none}}));
    EXPECT_EQ(services.take_opened(), texts{u"/r.txt"});
    EXPECT_EQ(services.take_help_topics(), texts{u"/h"});
    EXPECT_EQ(services.clipboard(), u"");
    EXPECT_EQ(services.about_count(), 1);
    EXPECT_EQ(services.take_menus(), (std::vector<ids>{{32803, 0, 2}}));
    EXPECT_TRUE(services.take_messages().empty());
    EXPECT_TRUE(services.take_opened().empty());
    EXPECT_TRUE(services.take_help_topics().empty());
    EXPECT_TRUE(services.take_menus().empty());
    EXPECT_EQ(services.clipboard(), u"");
}

TEST(scripted_services, names_the_kinds)
{
    EXPECT_EQ(question_kind_name(question_kind::open), u"open");
    EXPECT_EQ(question_kind_name(question_kind::save), u"save");
    EXPECT_EQ(question_kind_name(question_kind::find), u"find");
    EXPECT_EQ(question_kind_name(question_kind::password), u"password");
    for (const auto kind : {question_kind::open, question_kind::save, question_kind::find, question_kind::password})
        EXPECT_EQ(question_kind_from_name(question_kind_name(kind)), kind);
    EXPECT_EQ(question_kind_from_name(u"Open"), std::nullopt);
    EXPECT_EQ(question_kind_from_name(u""), std::nullopt);
}

} // namespace
} // namespace cw

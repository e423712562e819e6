#include "app/password_prompt.h"

#include "framework/scripted_services.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

TEST(password_prompt, asks_for_the_media_and_keeps_what_was_typed)
{
    scripted_frame_services person;
    person.answer(question_kind::password, u"secret");
    const string path(u"C:\\a.hdr");
    CMediaPasswordDlg prompt(person, path);
    EXPECT_TRUE(prompt.DoModal());
    EXPECT_EQ(prompt.Password(), u"secret");
    const auto questions = person.take_questions();
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].kind, question_kind::password);
    EXPECT_EQ(questions[0].text, u"C:\\a.hdr");
    EXPECT_EQ(questions[0].refusal, u"");
}

TEST(password_prompt, tells_at_later_showings_that_the_password_was_refused)
{
    scripted_frame_services person;
    for (const char16_t* password : {u"a", u"b", u"c"})
        person.answer(question_kind::password, password);
    const string path(u"/a.hdr");
    CMediaPasswordDlg prompt(person, path);
    for (int showing = 0; showing < 3; ++showing)
        EXPECT_TRUE(prompt.DoModal());
    EXPECT_EQ(prompt.Password(), u"c");
    const auto questions = person.take_questions();
    ASSERT_EQ(questions.size(), 3u);
    EXPECT_EQ(questions[0].refusal, u"");
    EXPECT_EQ(questions[1].refusal, u"The password is not correct. Please try again.");
    EXPECT_EQ(questions[2].refusal, questions[1].refusal);
}

TEST(password_prompt, takes_an_empty_password_for_an_answer)
{
    scripted_frame_services person;
    person.answer(question_kind::password, u"");
    const string path(u"/a.hdr");
    CMediaPasswordDlg prompt(person, path);
    EXPECT_TRUE(prompt.DoModal());
    EXPECT_TRUE(prompt.Password().empty());
}

TEST(password_prompt, is_given_up)
{
    scripted_frame_services person;
    person.answer(question_kind::password, u"first");
    person.answer(question_kind::password, {});
    const string path(u"/a.hdr");
    CMediaPasswordDlg prompt(person, path);
    EXPECT_TRUE(prompt.DoModal());
    EXPECT_FALSE(prompt.DoModal());
}

} // namespace
} // namespace cw

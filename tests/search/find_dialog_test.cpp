#include "search/find_dialog.h"

#include "framework/scripted_services.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

TEST(find_dialog, asks_with_an_empty_field_and_keeps_what_was_typed)
{
    scripted_frame_services person;
    person.answer(question_kind::find, u"Some Text");
    CFindDlg dialog(person);
    EXPECT_EQ(dialog.Text(), u"");
    EXPECT_TRUE(dialog.DoModal());
    EXPECT_EQ(dialog.Text(), u"Some Text");

    // What was searched for before is not offered again.
    person.answer(question_kind::find, u"");
    EXPECT_TRUE(dialog.DoModal());
    EXPECT_EQ(dialog.Text(), u"");
    const auto questions = person.take_questions();
    ASSERT_EQ(questions.size(), 2u);
    for (const auto& question : questions) {
        EXPECT_EQ(question.kind, question_kind::find);
        EXPECT_EQ(question.text, u"");
    }
}

TEST(find_dialog, keeps_nothing_where_the_person_gives_up)
{
    scripted_frame_services person;
    person.answer(question_kind::find, std::nullopt);
    CFindDlg dialog(person);
    EXPECT_FALSE(dialog.DoModal());
    EXPECT_EQ(dialog.Text(), u"");
}

} // namespace
} // namespace cw

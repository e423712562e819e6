#include "bridges/search_report.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace cw {
namespace {

TEST(search_report, has_words_for_every_place_and_outcome)
{
    std::set<std::u16string_view> places;
    for (const auto place :
         {search_place::module_folder, search_place::module_system_folder, search_place::common_files_folder,
          search_place::common_files_demowright_folder, search_place::ancestor_x64_folder})
        places.insert(search_place_text(place));
    EXPECT_EQ(places.size(), 5u);
    EXPECT_FALSE(places.contains(u""));
    EXPECT_EQ(search_place_text(search_place::module_folder), u"beside the program");
    EXPECT_EQ(search_place_text(search_place::ancestor_x64_folder), u"in System/x64 of a folder above the program");

    std::set<std::u16string_view> outcomes;
    for (const auto outcome : {search_outcome::cached, search_outcome::given_path, search_outcome::no_module_name,
                               search_outcome::found, search_outcome::left_to_system})
        outcomes.insert(search_outcome_text(outcome));
    EXPECT_EQ(outcomes.size(), 5u);
    EXPECT_EQ(search_outcome_text(search_outcome::cached), u"loaded before");
    EXPECT_EQ(search_outcome_text(search_outcome::left_to_system), u"left to the system");
}

} // namespace
} // namespace cw

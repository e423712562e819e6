#include "media/column_sets.h"

#include "foundation/string.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace cw {
namespace {

using columns = std::vector<std::pair<std::u16string, int>>;

columns columns_of(node_kind kind)
{
    columns result;
    if (const ColumnSet* set = find_column_set(kind))
        for (const column_definition& column : set->columns) {
            string label;
            EXPECT_TRUE(label.load(column.label_id));
            result.emplace_back(label.view(), column.width_in_pixels);
        }
    return result;
}

TEST(column_sets, stand_in_the_order_in_which_they_are_searched)
{
    std::vector<node_kind> kinds;
    for (const ColumnSet& set : column_sets())
        kinds.push_back(set.kind);
    EXPECT_EQ(kinds, (std::vector<node_kind>{0, 1, 3, 5, 8, 9, 17, 2, 6, 7, 10, 11, 12, 13, 14, 15, 16}));
}

TEST(column_sets, have_the_labels_and_widths_of_their_kinds)
{
    const columns properties{{u"Property", 150}, {u"Value", 400}};
    for (const node_kind kind : {0, 1, 3, 5, 8, 9, 17})
        EXPECT_EQ(columns_of(kind), properties) << kind;
    EXPECT_EQ(columns_of(2), (columns{{u"Filename", 200},
                                      {u"Size", 200},
                                      {u"Compressed Size", 200},
                                      {u"Date", 200},
                                      {u"Version", 200},
                                      {u"MD5 Signature", 200},
                                      {u"Flags", 200}}));
    EXPECT_EQ(columns_of(6), (columns{{u"Name", 120}, {u"Data", 300}}));
    EXPECT_EQ(columns_of(7), (columns{{u"Name", 120}, {u"Data", 300}, {u"Uninstall", 100}}));
    EXPECT_EQ(columns_of(10), (columns{{u"Path", 300},
                                       {u"Filename", 120},
                                       {u"Shared", 80},
                                       {u"Directory", 80},
                                       {u"Potentially Locked", 120},
                                       {u"Permanent", 80},
                                       {u"Created Directory", 120}}));
    EXPECT_EQ(columns_of(11), (columns{{u"Path", 400}, {u"Filename", 120}, {u"Shared", 80}}));
    EXPECT_EQ(columns_of(12), (columns{{u"Key", 550},
                                       {u"Value Name", 120},
                                       {u"Remote Name", 100},
                                       {u"Hive", 160},
                                       {u"Permanent", 120},
                                       {u"Created Key", 80},
                                       {u"Remote", 80},
                                       {u"Shared", 80},
                                       {u"Flags", 60}}));
    EXPECT_EQ(columns_of(13), (columns{{u"Path", 600},
                                       {u"Section", 120},
                                       {u"Key", 80},
                                       {u"Value", 80},
                                       {u"Added Section", 120},
                                       {u"Created File", 80}}));
    EXPECT_EQ(columns_of(14),
              (columns{{u"Folder Name", 400}, {u"Shortcut", 120}, {u"Permanent", 80}, {u"Created Directory", 120}}));
    EXPECT_EQ(columns_of(15), (columns{{u"Operation", 200}, {u"Data", 120}}));
    EXPECT_EQ(
        columns_of(16),
        (columns{{u"Path", 300}, {u"Filename", 120}, {u"Assembly Type", 120}, {u"Shared", 80}, {u"Com Interop", 120}}));
}

TEST(column_sets, have_no_entry_for_a_setup_types_feature)
{
    EXPECT_EQ(find_column_set(NODEKIND_SETUP_TYPE_FEATURE), nullptr);
    EXPECT_EQ(find_column_set(18), nullptr);
    EXPECT_EQ(find_column_set(-1), nullptr);
}

} // namespace
} // namespace cw

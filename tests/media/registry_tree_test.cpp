#include "tests/media/media_support.h"

#include "bridges/media_interface.h"
#include "platform/utf8.h"
#include "tests/support/scripted_readers.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>
#include <memory>
#include <random>
#include <set>

namespace cw {
namespace {

using namespace test_support;
using nlohmann::json;

class registry_tree : public media_view_test {
protected:
    registry_tree() : media_view_test(u"RegistrySets") {}
    /// The roots of sets with these names, none of them with a key.
    lines sets_from(const lines& names, bool expert_mode)
    {
        json sets = json::array();
        for (const std::string& name : names)
            sets.push_back({{"Name", name}});
        frame_access::expert_mode(frame()) = expert_mode;
        EXPECT_TRUE(program.open_media("\"RegistrySets\": " + sets.dump()));
        lines shown;
        const CTreeCtrl& tree = frame().Tree();
        for (HTREEITEM item = tree.GetChildItem(tree.GetRootItem()); item; item = tree.GetNextSiblingItem(item))
            shown.push_back(platform::to_utf8(tree.GetItemText(item)));
        return shown;
    }
    /// What stands below the first hive of a set "S" for keys with these paths; the default value of
    /// each is its number.
    std::string hive_from(const lines& paths)
    {
        json keys = json::array();
        for (std::size_t place = 0; place < paths.size(); ++place)
            keys.push_back({{"Path", paths[place]}, {"DefaultValue", "key " + std::to_string(place)}});
        EXPECT_TRUE(program.open_media(R"("RegistrySets": [{"Name": "S", "ClassesRootKeys": )" + keys.dump() + "}]"));
        std::string tree = tree_of(frame());
        const std::string head = "Registry Entries\n  S\n    HKEY_CLASSES_ROOT\n";
        const std::string tail =
            "    HKEY_CURRENT_USERS\n    HKEY_LOCAL_MACHINE\n    HKEY_USERS\n    HKEY_USER_SELECTABLE\n";
        EXPECT_TRUE(tree.starts_with(head) && tree.ends_with(tail)) << tree;
        tree.erase(tree.size() - tail.size()).erase(0, head.size());
        return tree;
    }
    /// The item under a path of texts below that hive.
    std::string in_hive(std::string_view path) { return "Registry Entries/S/HKEY_CLASSES_ROOT/" + std::string(path); }
    /// Which key an item below that hive shows; empty where it shows none.
    std::string key_at(std::string_view path)
    {
        select(frame(), in_hive(path));
        const lines rows = rows_of(frame());
        constexpr std::size_t length = std::string_view("key 0").size();
        return rows.empty() ? "" : rows[0].substr(std::string_view("(Default) | ").size(), length);
    }
    HTREEITEM child(HTREEITEM item, int place)
    {
        item = frame().Tree().GetChildItem(item);
        for (; place > 0; --place)
            item = frame().Tree().GetNextSiblingItem(item);
        return item;
    }
};

TEST_F(registry_tree, root_stands_alone_over_no_sets)
{
    EXPECT_TRUE(program.open_media(""));
    EXPECT_EQ(detailed_tree_of(frame()), "Registry Entries (-; 5, 5)\n");
}

TEST_F(registry_tree, every_set_has_five_hives_each_with_its_keys)
{
    EXPECT_TRUE(program.open_media(R"("RegistrySets": [{"Name": "Default",
        "UserSelectableKeys": [{"Path": "e"}], "UsersKeys": [{"Path": "d"}], "LocalMachineKeys": [{"Path": "c\\C"}],
        "CurrentUserKeys": [{"Path": "b"}], "ClassesRootKeys": [{"Path": "a"}]}, {"Name": "Empty"}])"));
    EXPECT_EQ(detailed_tree_of(frame()), "Registry Entries (-; 5, 5) expanded\n"
                                         "  Default (6; 5, 5)\n"
                                         "    HKEY_CLASSES_ROOT (6; 1, 2)\n"
                                         "      a (6; 1, 2)\n"
                                         "    HKEY_CURRENT_USERS (6; 1, 2)\n"
                                         "      b (6; 1, 2)\n"
                                         "    HKEY_LOCAL_MACHINE (6; 1, 2)\n"
                                         "      c (6; 1, 2)\n"
                                         "        C (6; 1, 2)\n"
                                         "    HKEY_USERS (6; 1, 2)\n"
                                         "      d (6; 1, 2)\n"
                                         "    HKEY_USER_SELECTABLE (6; 1, 2)\n"
                                         "      e (6; 1, 2)\n"
                                         "  Empty (6; 5, 5)\n"
                                         "    HKEY_CLASSES_ROOT (6; 1, 2)\n"
                                         "    HKEY_CURRENT_USERS (6; 1, 2)\n"
                                         "    HKEY_LOCAL_MACHINE (6; 1, 2)\n"
                                         "    HKEY_USERS (6; 1, 2)\n"
                                         "    HKEY_USER_SELECTABLE (6; 1, 2)\n");
}

TEST_F(registry_tree, a_sets_name_is_cut_behind_its_first_colon)
{
    EXPECT_EQ(sets_from({"Default:Registry"}, false), lines{"Registry"});
    EXPECT_EQ(sets_from({"Registry"}, false), lines{"Registry"});
    EXPECT_EQ(sets_from({"a:b:c"}, false), lines{"b:c"});
    EXPECT_EQ(sets_from({":a"}, false), lines{"a"});
    EXPECT_EQ(sets_from({"a:"}, false), lines{""});
    EXPECT_EQ(sets_from({"a::"}, false), lines{":"});
    EXPECT_EQ(sets_from({":"}, false), lines{""});
    EXPECT_EQ(sets_from({""}, false), lines{""});
}

TEST_F(registry_tree, expert_mode_shows_a_sets_whole_name)
{
    for (const char* name : {"Default:Registry", "Registry", "a:b:c", ":a", "a:", ":", ""})
        EXPECT_EQ(sets_from({name}, true), lines{name});
}

TEST_F(registry_tree, icons_follow_the_text_that_is_shown)
{
    constexpr const char* members =
        R"("RegistrySets": [{"Name": "x:Desktop", "ClassesRootKeys": [{"Path": "start menu\\<Data>"}]}])";
    EXPECT_TRUE(program.open_media(members));
    const std::string tree = detailed_tree_of(frame());
    EXPECT_NE(tree.find("\n  Desktop (6; 14, 14)\n"), std::string::npos) << tree;
    EXPECT_NE(tree.find("\n      start menu (6; 15, 15)\n"), std::string::npos) << tree;
    EXPECT_NE(tree.find("\n        <Data> (6; 16, 16)\n"), std::string::npos) << tree;
    frame_access::expert_mode(frame()) = true;
    EXPECT_TRUE(program.open_media(members));
    EXPECT_NE(detailed_tree_of(frame()).find("\n  x:Desktop (6; 5, 5)\n"), std::string::npos);
}

TEST_F(registry_tree, sets_are_sorted_by_what_is_shown)
{
    EXPECT_EQ(sets_from({"b", "C", "a"}, false), (lines{"a", "b", "C"}));
    EXPECT_EQ(sets_from({"1:z", "2:a", "M"}, false), (lines{"a", "M", "z"}));
    EXPECT_EQ(sets_from({"M", "2:a", "1:z"}, true), (lines{"1:z", "2:a", "M"}));
    EXPECT_EQ(sets_from({"<Support>", "a"}, false).size(), 2u);
}

TEST_F(registry_tree, only_sets_are_sorted)
{
    EXPECT_EQ(hive_from({"z", "a\\y", "a\\b", "M"}), "      z\n"
                                                     "      a\n"
                                                     "        y\n"
                                                     "        b\n"
                                                     "      M\n");
}

TEST_F(registry_tree, sorting_keeps_a_sets_own_object)
{
    EXPECT_TRUE(program.open_media(R"("RegistrySets": [{"Name": "b", "Components": ["of b"]},
                                                       {"Name": "a", "Components": ["of a"]}])"));
    select(frame(), "Registry Entries/a");
    EXPECT_EQ(rows_of(frame()), lines{"Component(s) | of a"});
    select(frame(), "Registry Entries/b");
    EXPECT_EQ(rows_of(frame()), lines{"Component(s) | of b"});
}

TEST_F(registry_tree, keys_of_one_segment_share_its_node)
{
    EXPECT_EQ(hive_from({"Software\\A", "Software\\B"}), "      Software\n        A\n        B\n");
    EXPECT_EQ(key_at("Software/A"), "key 0");
    EXPECT_EQ(key_at("Software/B"), "key 1");
    EXPECT_FALSE(frame().NavNodes().at(item_at(frame(), in_hive("Software"))).object);
}

TEST_F(registry_tree, hives_and_segments_empty_the_list)
{
    hive_from({"Software\\A"});
    for (const std::string& path : {in_hive("Software"), std::string("Registry Entries/S/HKEY_CLASSES_ROOT"),
                                    std::string("Registry Entries/S/HKEY_USERS")}) {
        put_marked_row(frame());
        EXPECT_EQ(trace_of_selecting(path), lines{}) << path;
        EXPECT_EQ(rows_of(frame()), lines{}) << path;
        EXPECT_EQ(frame().List().GetSmallImages(), &frame().SpacerImages()) << path;
    }
}

TEST_F(registry_tree, a_key_takes_others_below_it)
{
    EXPECT_EQ(hive_from({"Software\\A", "Software\\A\\B"}), "      Software\n        A\n          B\n");
    EXPECT_EQ(key_at("Software/A"), "key 0");
    EXPECT_EQ(key_at("Software/A/B"), "key 1");
}

TEST_F(registry_tree, a_key_behind_its_sub_key_gets_a_node_that_goes_again)
{
    // The node that the path gave "A" is right before it.
    EXPECT_EQ(hive_from({"A\\B", "A"}), "      A\n        B\n");
    EXPECT_EQ(key_at("A"), "");
    // With another between them both stay, and what follows goes below the first.
    EXPECT_EQ(hive_from({"A\\B", "x", "A", "A\\C"}), "      A\n        B\n        C\n      x\n      A\n");
    EXPECT_EQ(key_at("A"), "");
    frame().Tree().SelectItem(child(item_at(frame(), "Registry Entries/S/HKEY_CLASSES_ROOT"), 2));
    EXPECT_EQ(rows_of(frame()), lines{"(Default) | key 2 | "});
}

TEST_F(registry_tree, segments_ignore_case_and_keep_the_first_spelling)
{
    EXPECT_EQ(hive_from({"SOFTWARE\\A", "Software\\B", "software\\a\\C", "\xC3\x84\\x", "\xC3\xA4\\y"}),
              "      SOFTWARE\n"
              "        A\n"
              "          C\n"
              "        B\n"
              "      \xC3\x84\n"
              "        x\n"
              "        y\n");
}

TEST_F(registry_tree, segments_compare_whole)
{
    EXPECT_EQ(hive_from({"ab\\x", "a\\x", "abc\\x"}),
              "      ab\n        x\n      a\n        x\n      abc\n        x\n");
}

TEST_F(registry_tree, a_path_twice_in_a_row_stays_once_with_the_first_object)
{
    EXPECT_EQ(hive_from({"A\\B", "A\\B", "a\\b"}), "      A\n        B\n");
    EXPECT_EQ(key_at("A/B"), "key 0");
    EXPECT_EQ(hive_from({"A", "A", "B", "b"}), "      A\n      B\n");
    EXPECT_EQ(key_at("B"), "key 2");
}

TEST_F(registry_tree, a_path_twice_with_another_between_stays_twice)
{
    EXPECT_EQ(hive_from({"A", "B", "a", "A"}), "      A\n      B\n      a\n");
    EXPECT_EQ(hive_from({"A", "B", "A", "B", "A\\C", "A"}), "      A\n        C\n      B\n      A\n      B\n      A\n");
    // What stands between may be elsewhere in the hive: the two leaves are neighbours all the same.
    EXPECT_EQ(hive_from({"X\\A", "B", "X\\A"}), "      X\n        A\n      B\n");
}

TEST_F(registry_tree, a_deleted_duplicate_stays_in_the_node_map)
{
    hive_from({"A", "a", "B"});
    std::size_t dead = 0;
    for (const auto& [item, node] : frame().NavNodes()) {
        if (frame().Tree().IsLive(item))
            continue;
        ++dead;
        EXPECT_EQ(node.kind, NODEKIND_REGISTRY_KEY);
        EXPECT_TRUE(node.object);
    }
    EXPECT_EQ(dead, 1u);
    // The set, five hives, three keys.
    EXPECT_EQ(frame().NavNodes().size(), 9u);
}

TEST_F(registry_tree, segments_may_be_empty)
{
    EXPECT_EQ(hive_from({"A\\"}), "      A\n        \n");
    EXPECT_EQ(key_at("A"), "");
    EXPECT_EQ(key_at("A/"), "key 0");
    EXPECT_EQ(hive_from({""}), "      \n");
    EXPECT_EQ(key_at(""), "key 0");
    EXPECT_EQ(hive_from({"\\"}), "      \n        \n");
    EXPECT_EQ(hive_from({"A\\\\B", "A\\\\C"}), "      A\n        \n          B\n          C\n");
    EXPECT_EQ(hive_from({"\\A", "", "\\B"}), "      \n        A\n        B\n");
    EXPECT_EQ(hive_from({"A\\", "A\\", "A"}), "      A\n        \n");
}

TEST_F(registry_tree, only_the_backslash_divides)
{
    EXPECT_EQ(hive_from({"a/b:c.d"}), "      a/b:c.d\n");
}

TEST_F(registry_tree, a_null_path_is_an_empty_text)
{
    EXPECT_TRUE(program.open_media(R"("RegistrySets": [{"Name": null, "UsersKeys": [{"Path": null}]}])"));
    EXPECT_NE(tree_of(frame()).find("    HKEY_USERS\n      \n"), std::string::npos);
}

TEST_F(registry_tree, hives_do_not_share_nodes)
{
    EXPECT_TRUE(program.open_media(R"("RegistrySets": [{"Name": "S", "LocalMachineKeys": [{"Path": "A\\x"}],
                                                        "UsersKeys": [{"Path": "A\\y"}]}])"));
    const std::string tree = tree_of(frame());
    EXPECT_NE(tree.find("    HKEY_LOCAL_MACHINE\n      A\n        x\n    HKEY_USERS\n      A\n        y\n"),
              std::string::npos)
        << tree;
}

TEST_F(registry_tree, reads_in_order)
{
    EXPECT_EQ(trace_of_opening(R"("RegistrySets": [{"Name": "S", "CurrentUserKeys": [{"Path": "A\\B"}]}])"),
              (lines{
                  "IMedia RegistrySets",
                  "IMediaCollection Count",
                  "IMediaCollection Item 1",
                  "IMediaRegistrySet Name",
                  "IMediaRegistrySet ClassesRootKeys",
                  "IMediaCollection Count",
                  "IMediaRegistrySet CurrentUserKeys",
                  "IMediaCollection Count",
                  "IMediaCollection Item 1",
                  "IMediaRegistryKey Path",
                  "IMediaCollection Count",
                  "IMediaRegistrySet LocalMachineKeys",
                  "IMediaCollection Count",
                  "IMediaRegistrySet UsersKeys",
                  "IMediaCollection Count",
                  "IMediaRegistrySet UserSelectableKeys",
                  "IMediaCollection Count",
                  "IMediaCollection Count",
              }));
}

TEST_F(registry_tree, reads_the_count_anew_after_each_item)
{
    EXPECT_TRUE(program.open_media(
        R"("RegistrySets": {"items": [{"Name": "A"}, {"Name": "B"}, {"Name": "C"}], "counts": [3, 3, 2]})"));
    EXPECT_EQ(child(frame().Tree().GetRootItem(), 2), HTREEITEM{});
    EXPECT_TRUE(child(frame().Tree().GetRootItem(), 1));
    EXPECT_TRUE(program.open_media(R"("RegistrySets": [{"Name": "S", "ClassesRootKeys":
        {"items": [{"Path": "a"}, {"Path": "b"}, {"Path": "c"}], "counts": [1, 2, 2]}}])"));
    const HTREEITEM hive = item_at(frame(), "Registry Entries/S/HKEY_CLASSES_ROOT");
    EXPECT_TRUE(child(hive, 1));
    EXPECT_FALSE(child(hive, 2));
}

TEST_F(registry_tree, stands_as_far_as_it_came_before_an_error)
{
    const std::string classes = "Registry Entries\n  S\n    HKEY_CLASSES_ROOT\n";
    const std::string users = classes + "      a\n    HKEY_CURRENT_USERS\n";
    for (const failing_media& media : {
             failing_media{R"("RegistrySets": null)", "Registry Entries\n", "0x80004003"},
             {R"("RegistrySets": {"fail": "0x80004005"})", "Registry Entries\n", "0x80004005"},
             {R"("RegistrySets": [null])", "Registry Entries\n", "0x80004003"},
             {R"("RegistrySets": [{"Name": {"fail": "0x8000ABCD"}}])", "Registry Entries\n", "0x8000ABCD"},
             {R"("RegistrySets": [{"Name": "S", "ClassesRootKeys": null}])", classes.c_str(), "0x80004003"},
             {R"("RegistrySets": [{"Name": "S", "ClassesRootKeys": {"fail": "0x8000ABCD"}}])", classes.c_str(),
              "0x8000ABCD"},
             {R"("RegistrySets": [{"Name": "S", "ClassesRootKeys": [{"Path": "a"}], "CurrentUserKeys": null}])",
              users.c_str(), "0x80004003"},
             {R"("RegistrySets": [{"Name": "S", "ClassesRootKeys": [{"Path": "a"}], "CurrentUserKeys": [null]}])",
              users.c_str(), "0x80004003"},
             {R"("RegistrySets": [{"Name": "S", "ClassesRootKeys": [{"Path": "a"}],
                 "CurrentUserKeys": [{"Path": {"fail": "0x8000ABCD"}}]}])",
              users.c_str(), "0x8000ABCD"},
         }) {
        program.open_media(media.members);
        EXPECT_EQ(take_error_codes(), lines{media.code}) << media.members;
        EXPECT_EQ(tree_of(frame()), media.tree) << media.members;
    }
    EXPECT_EQ(hive_from({"A"}), "      A\n");
}

TEST_F(registry_tree, sets_before_an_error_stand_unsorted)
{
    program.open_media(R"("RegistrySets": [{"Name": "b"}, {"Name": "a"}, null])");
    EXPECT_EQ(take_error_codes(), lines{"0x80004003"});
    EXPECT_EQ(frame().Tree().GetItemText(child(frame().Tree().GetRootItem(), 0)), u"b");
    EXPECT_EQ(frame().Tree().GetItemText(child(frame().Tree().GetRootItem(), 1)), u"a");
}

TEST_F(registry_tree, grows_deeper_than_a_call_stack)
{
    constexpr int depth = 30'000;
    std::string path;
    for (int level = 1; level < depth; ++level)
        path += "a\\";
    const json sets{{{"Name", "S"}, {"ClassesRootKeys", {{{"Path", path}}, {{"Path", path}}}}}};
    EXPECT_TRUE(program.open_media("\"RegistrySets\": " + sets.dump()));
    int levels = 0;
    for (HTREEITEM item = frame().Tree().GetRootItem(); item; item = frame().Tree().GetChildItem(item))
        ++levels;
    EXPECT_EQ(levels, depth + 3);
}

TEST_F(registry_tree, builds_nothing_without_a_media)
{
    frame().BuildRegistryTree();
    EXPECT_EQ(tree_of(frame()), "");
}

// A hive as it comes about step by step: a search from child to sibling for each segment, a leaf
// without a look, and a walk that takes neighbouring doubles away until it holds a dead item.

constexpr int no_key = -1;

struct hive_node {
    std::u16string text;
    int key = no_key;
    std::vector<std::unique_ptr<hive_node>> children;
};

bool same_but_for_case(std::u16string_view a, std::u16string_view b)
{
    const auto lower = [](char16_t c) {
        return (c >= u'A' && c <= u'Z') || c == u'\u00C4' ? static_cast<char16_t>(c + 0x20) : c;
    };
    return std::ranges::equal(a, b, {}, lower, lower);
}

struct grown_hive {
    hive_node root;
    /// Of all items that were ever inserted.
    std::size_t inserted = 0;

    hive_node* insert(hive_node* parent, std::u16string_view text, int key)
    {
        ++inserted;
        parent->children.push_back(std::make_unique<hive_node>(hive_node{std::u16string(text), key, {}}));
        return parent->children.back().get();
    }

    void add(std::u16string_view path, int key)
    {
        hive_node* parent = &root;
        std::size_t backslash = 0;
        while ((backslash = path.find(u'\\')) != path.npos) {
            const std::u16string_view segment = path.substr(0, backslash);
            hive_node* found = nullptr;
            for (const auto& child : parent->children)
                if (!found && child->text.size() == segment.size() && same_but_for_case(child->text, segment))
                    found = child.get();
            parent = found ? found : insert(parent, segment, no_key);
            path = path.substr(backslash + 1);
        }
        insert(parent, path, key);

        auto& children = parent->children;
        const hive_node* previous = nullptr;
        for (std::size_t place = 0; place < children.size(); ++place) {
            if (previous && same_but_for_case(children[place]->text, previous->text)) {
                children.erase(children.begin() + static_cast<std::ptrdiff_t>(place));
                return;
            }
            previous = children[place].get();
        }
    }
};

/// Keys with these paths, and the collection of them.
struct scripted_keys {
    explicit scripted_keys(const std::vector<std::u16string>& paths)
    {
        for (const std::u16string& path : paths)
            keys.push_back(scripted_object::make([&path](DISPID member, const VARIANT*, VARIANT& result) {
                if (member != media_registry_key::Path.id)
                    return E_FAIL;
                result.bstrVal = SysAllocStringLen(path.data(), static_cast<UINT>(path.size()));
                result.vt = VT_BSTR;
                return S_OK;
            }));
        collection = scripted_object::make([this](DISPID member, const VARIANT* argument, VARIANT& result) {
            if (member == media_collection::Item.id && argument->vt == VT_I4)
                return answer_object(result, keys.at(static_cast<std::size_t>(argument->lVal) - 1).get());
            result.lVal = static_cast<LONG>(keys.size());
            result.vt = VT_I4;
            return S_OK;
        });
    }

    std::vector<automation::com_ptr<scripted_object>> keys;
    automation::com_ptr<scripted_object> collection;
};

/// Draws key lists whose paths share, repeat and misspell each other's segments.
class path_generator {
public:
    explicit path_generator(std::uint32_t seed) : m_random(seed) {}

    std::vector<std::u16string> next(std::size_t most_keys, std::size_t most_segments)
    {
        std::vector<std::u16string> paths(1 + pick(most_keys));
        const std::size_t letters = 1 + pick(std::size(alphabet));
        for (std::size_t place = 0; place < paths.size(); ++place) {
            if (place > 0 && pick(4) == 0) {
                paths[place] = paths[pick(2) == 0 ? place - 1 : pick(place)];
                continue;
            }
            for (std::size_t segment = pick(most_segments);; --segment) {
                for (std::size_t length = pick(3); length > 0; --length)
                    paths[place] += alphabet[pick(letters)];
                if (segment == 0)
                    break;
                paths[place] += u'\\';
            }
        }
        return paths;
    }

private:
    static constexpr char16_t alphabet[] = {u'a', u'A', u'b', u'B', u'\u00C4', u'\u00E4'};
    std::size_t pick(std::size_t count) { return m_random() % count; }

    std::mt19937 m_random;
};

class random_hives : public registry_tree {
protected:
    /// Adds keys of these paths to a hive of its own and compares it with what a search among
    /// siblings makes of them.
    void expect_same(const std::vector<std::u16string>& paths)
    {
        CTreeCtrl& tree = frame().Tree();
        tree.DeleteAllItems();
        frame_access::nodes(frame()).clear();
        const HTREEITEM hive = tree.InsertItem(u"hive", {}, tree.InsertItem(u"set", {}, {}));
        const scripted_keys script(paths);
        frame().AddRegistryKeys(hive, script.collection.get());

        grown_hive expected;
        for (std::size_t place = 0; place < paths.size(); ++place)
            expected.add(paths[place], static_cast<int>(place));
        expect_children(hive, expected.root, script);
        EXPECT_EQ(frame().NavNodes().size(), expected.inserted);
        // A key is held by one node, its item alive or not.
        std::multiset<const IDispatch*> held;
        for (const auto& [item, node] : frame().NavNodes()) {
            EXPECT_EQ(node.kind, NODEKIND_REGISTRY_KEY);
            if (node.object)
                held.insert(node.object.get());
        }
        EXPECT_EQ(held.size(), script.keys.size());
        for (const auto& key : script.keys)
            EXPECT_EQ(held.count(key.get()), 1u);
        if (HasFailure()) {
            std::string list;
            for (const std::u16string& path : paths)
                list += "  \"" + platform::to_utf8(path) + "\"\n";
            ADD_FAILURE() << "for the paths\n" << list;
        }
    }

    void expect_children(HTREEITEM parent, const hive_node& expected, const scripted_keys& script)
    {
        const CTreeCtrl& tree = frame().Tree();
        HTREEITEM item = tree.GetChildItem(parent);
        for (const auto& node : expected.children) {
            ASSERT_TRUE(item) << "no " << platform::to_utf8(node->text);
            EXPECT_EQ(platform::to_utf8(tree.GetItemText(item)), platform::to_utf8(node->text));
            const IDispatch* const object =
                node->key == no_key ? nullptr : script.keys[static_cast<std::size_t>(node->key)].get();
            EXPECT_EQ(frame().NavNodes().at(item).object.get(), object) << platform::to_utf8(node->text);
            expect_children(item, *node, script);
            item = tree.GetNextSiblingItem(item);
        }
        EXPECT_FALSE(item) << "one more: " << platform::to_utf8(tree.GetItemText(item));
    }
};

TEST_F(random_hives, are_what_a_search_among_siblings_makes_of_them)
{
    path_generator generator(20'011'103);
    for (int round = 0; round < 20'000 && !HasFailure(); ++round)
        expect_same(generator.next(10, 4));
}

TEST_F(random_hives, are_it_when_they_are_flat_and_full_of_doubles)
{
    path_generator generator(5);
    for (int round = 0; round < 6000 && !HasFailure(); ++round)
        expect_same(generator.next(12, 1));
}

TEST_F(random_hives, are_it_when_they_are_large_and_deep)
{
    path_generator generator(77);
    for (int round = 0; round < 12 && !HasFailure(); ++round)
        expect_same(generator.next(400, 12));
}

TEST_F(random_hives, leave_nothing_behind)
{
    expect_same(path_generator(1).next(50, 3));
    EXPECT_GT(scripted_object::alive, 0);
    frame_access::nodes(frame()).clear();
    EXPECT_EQ(scripted_object::alive, 0);
}

} // namespace
} // namespace cw

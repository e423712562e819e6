// A second viewer of logs, for one purpose: what a search through a log must find. It reads the JSON
// that the fixture library answers from, forms tree and lists by itself, step by step and with nothing
// spared, and says what the window must show after each command. Whatever the real search does to be
// quick, it must come to the same.
#pragma once

#include <nlohmann/json.hpp>

#include <array>
#include <cstddef>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cw::test_support {

/// What one sees of a viewer after a command.
struct viewer_picture {
    std::string focus;                    // "tree", "list", or nothing
    std::optional<std::string> selection; // places from the root level on, such as "0/2/1"
    std::optional<std::size_t> row;
    std::vector<std::u16string> columns;
    std::vector<std::vector<std::u16string>> rows;
    std::vector<std::u16string> messages; // those of the command
    bool failed = false;                  // an error that nothing caught ended the command
    friend bool operator==(const viewer_picture&, const viewer_picture&) = default;
};
std::ostream& operator<<(std::ostream& out, const viewer_picture& picture);

class literal_search {
public:
    literal_search() = default;
    /// A viewer with nothing open that begins with the focus and the columns of another.
    explicit literal_search(const viewer_picture& start) : m_focus(start.focus), m_columns(start.columns) {}

    // Each forgets the message and the failure of the one before.
    /// Opens a log in place of the open one. The model must outlive the next open.
    void open(const nlohmann::json& model, std::u16string_view file_name);
    /// Find, answered with a text or refused.
    void find(const std::optional<std::u16string>& text);
    void find_next();
    /// The key of Find Next: it stands in the message filter and in the accelerator table.
    void find_next_key();
    /// The item at these places; none for no selection. A place that is not there changes nothing.
    void select(const std::optional<std::vector<std::size_t>>& places);
    /// A row that is not there changes nothing.
    void select_row(std::optional<std::size_t> row);
    void click_header(std::size_t column);
    /// A command that changes nothing here.
    void do_nothing() { begin(); }

    [[nodiscard]] viewer_picture picture() const;
    /// One line an item, indented by two blanks a level, each with a line end.
    [[nodiscard]] std::string tree() const;
    /// The places of every item, parents before what is below them.
    [[nodiscard]] std::vector<std::vector<std::size_t>> all_places() const;

private:
    enum class node_sort { none, feature, file, filereg, registry, ini, shell, general, dotnet };
    struct node {
        std::u16string text;
        node_sort sort = node_sort::none; // none: no feature stands behind it
        const nlohmann::json* feature = nullptr;
        node* parent = nullptr;
        std::vector<std::unique_ptr<node>> children;
    };
    /// An error of the library, or one of the program that nothing catches.
    struct failure {};
    /// A value of a property or an element of a record, by the three ways of reading it.
    struct value {
        std::u16string converted;
        std::u16string text_field;
        unsigned low_bits = 0;
        bool is_array = false;
        std::vector<std::u16string> array;
    };
    using record = std::vector<value>;

    void begin();
    template <class Work>
    void guarded(Work work);

    // ---- the log ----
    static value value_of(const nlohmann::json& part);
    static record record_of(const nlohmann::json& part);
    static std::u16string name_of(const nlohmann::json& feature, const char* member);
    static const nlohmann::json& sub_features_of(const nlohmann::json& feature);
    static const nlohmann::json& properties_of(const nlohmann::json& feature);
    static value property_value(const nlohmann::json& feature, const std::u16string& name);
    /// Null for a null list.
    static const nlohmann::json* operations_of(const nlohmann::json& feature, const std::string& type);

    // ---- the tree ----
    void populate();
    void add_sub_features(node& parent, const nlohmann::json& feature);
    void add_operation_groups(node& parent);
    static node& insert(node& parent, std::u16string text, node_sort sort, const nlohmann::json* feature);
    [[nodiscard]] node* item_at(const std::vector<std::size_t>& places) const;
    static std::size_t place_of(const node& item);
    static void print(const node& item, std::size_t depth, std::string& text);
    static void collect(const node& item, std::vector<std::size_t> places, std::vector<std::vector<std::size_t>>& all);

    // ---- the list ----
    void select_item(node* item);
    void dispatch();
    void set_columns(node_sort sort);
    void insert_row(std::size_t at, std::vector<std::u16string> cells);
    void show_properties(const nlohmann::json& feature);
    void show_operations(node_sort sort, const nlohmann::json& feature);
    void show_registry(const nlohmann::json& feature, const std::string& type);
    static std::vector<std::u16string> cells_of(node_sort sort, const record& read, bool is_wide_registry);

    // ---- the search ----
    bool contains(const std::u16string& candidate);
    void search_from_here();
    bool search_node(node* item);
    bool search_properties(const nlohmann::json& feature);
    bool search_records(const nlohmann::json& records);
    bool search_following(node* item);
    /// Selects the first row from `first` on that has the text in its first `columns` cells.
    bool match_row(std::size_t first, std::size_t columns);

    const nlohmann::json* m_model = nullptr;
    std::unique_ptr<node> m_top;
    node* m_selected = nullptr;
    node* m_anchor = nullptr;
    std::u16string m_findText;
    std::string m_focus;
    std::vector<std::u16string> m_columns;
    std::vector<std::vector<std::u16string>> m_rows;
    std::optional<std::size_t> m_row;
    bool m_descending = false;
    std::vector<std::u16string> m_messages;
    bool m_failed = false;
};

} // namespace cw::test_support

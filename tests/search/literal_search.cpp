#include "tests/search/literal_search.h"

#include "platform/utf8.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <ostream>
#include <utility>

namespace cw::test_support {
namespace {

using nlohmann::json;
using platform::from_utf8;
using platform::to_utf8;

/// A text stands at an address that looks like no flag and no state.
constexpr unsigned low_bits_of_an_address = 8;
constexpr unsigned low_bits_mask = 0xFFFF;

const json* member(const json& object, const char* name)
{
    const auto found = object.find(name);
    return found == object.end() ? nullptr : &*found;
}

bool is_failure(const json& part)
{
    return part.is_object() && part.contains("fail");
}

/// Capitals of the words that random logs are made of; nothing else about letters is known here.
char16_t lower(char16_t unit)
{
    constexpr std::u16string_view capitals = u"ABCDEFGHIJKLMNOPQRSTUVWXYZÄÖÜÉΩЖ";
    constexpr std::u16string_view smalls = u"abcdefghijklmnopqrstuvwxyzäöüéωж";
    static_assert(capitals.size() == smalls.size());
    const std::size_t at = capitals.find(unit);
    return at == capitals.npos ? unit : smalls[at];
}

std::u16string lower(std::u16string text)
{
    for (char16_t& unit : text)
        unit = lower(unit);
    return text;
}

std::u16string decimal(long long number)
{
    return from_utf8(std::to_string(number));
}

std::u16string truth(unsigned low_bits)
{
    return low_bits != 0 ? u"True" : u"False";
}

std::u16string hive(unsigned low_bits)
{
    switch (low_bits) {
    case 0:
        return u"HKEY_CLASSES_ROOT";
    case 1:
        return u"HKEY_CURRENT_USER";
    case 2:
        return u"HKEY_LOCAL_MACHINE";
    case 4:
        return u"HKEY_PERFORMANCE_DATA";
    case 5:
        return u"HKEY_CURRENT_CONFIG";
    case 6:
        return u"HKEY_DYN_DATA";
    default:
        return u"";
    }
}

} // namespace

std::ostream& operator<<(std::ostream& out, const viewer_picture& picture)
{
    const auto joined = [](const std::vector<std::u16string>& texts) {
        std::string line;
        for (const std::u16string& text : texts)
            line += (line.empty() ? "" : " | ") + ('"' + to_utf8(text) + '"');
        return line;
    };
    out << "focus \"" << picture.focus << "\" selection " << picture.selection.value_or("none") << " row "
        << (picture.row ? std::to_string(*picture.row) : "none") << (picture.failed ? " failed" : "") << " messages ["
        << joined(picture.messages) << "]\n  columns " << joined(picture.columns) << '\n';
    for (const auto& row : picture.rows)
        out << "    " << joined(row) << '\n';
    return out;
}

void literal_search::begin()
{
    m_messages.clear();
    m_failed = false;
}

template <class Work>
void literal_search::guarded(Work work)
{
    begin();
    try {
        work();
    } catch (const failure&) {
        m_failed = true;
    }
}

// ---- the log ------------------------------------------------------------------------------------

literal_search::value literal_search::value_of(const json& part)
{
    if (is_failure(part))
        throw failure();
    value read;
    if (part.is_string()) {
        read.converted = read.text_field = from_utf8(part.get<std::string>());
        read.low_bits = low_bits_of_an_address;
    } else if (part.is_boolean()) {
        read.converted = part.get<bool>() ? u"-1" : u"0";
        read.low_bits = part.get<bool>() ? low_bits_mask : 0;
    } else if (part.is_number_float()) {
        std::array<char, 32> digits{};
        std::snprintf(digits.data(), digits.size(), "%.15g", part.get<double>());
        read.converted = from_utf8(digits.data());
        read.low_bits = static_cast<unsigned>(std::bit_cast<std::uint64_t>(part.get<double>()) & low_bits_mask);
    } else if (part.is_number()) {
        read.converted = decimal(part.get<std::int64_t>());
        read.low_bits = static_cast<unsigned>(static_cast<std::uint64_t>(part.get<std::int64_t>()) & low_bits_mask);
    } else if (const json* texts = part.is_object() ? member(part, "array") : nullptr) {
        read.is_array = true;
        for (const json& text : *texts)
            read.array.push_back(text.is_null() ? u"" : from_utf8(text.get<std::string>()));
    } else if (part.is_object()) {
        // A typed value, whose type adds nothing here: a null text and a null are both empty.
        return value_of(part.at("value"));
    }
    return read;
}

literal_search::record literal_search::record_of(const json& part)
{
    if (is_failure(part))
        throw failure();
    record read;
    for (const json& element : part.is_object() ? part.at("value") : part)
        read.push_back(value_of(element));
    return read;
}

std::u16string literal_search::name_of(const json& feature, const char* name)
{
    const json* const told = member(feature, name);
    return told ? value_of(*told).converted : u"";
}

const json& literal_search::sub_features_of(const json& feature)
{
    static const json none = json::array();
    const json* const told = member(feature, "features");
    if (told && is_failure(*told))
        throw failure();
    return told ? *told : none;
}

const json& literal_search::properties_of(const json& feature)
{
    static const json none = json::array();
    const json* const told = member(feature, "properties");
    if (told && is_failure(*told))
        throw failure();
    return told ? *told : none;
}

literal_search::value literal_search::property_value(const json& feature, const std::u16string& name)
{
    for (const json& pair : properties_of(feature))
        if (value_of(pair[0]).converted == name)
            return value_of(pair[1]);
    throw failure();
}

const json* literal_search::operations_of(const json& feature, const std::string& type)
{
    static const json none = json::array();
    const json* const types = member(feature, "operations");
    if (!types)
        return &none;
    if (is_failure(*types))
        throw failure();
    const json* const list = member(*types, type.c_str());
    if (!list)
        return &none;
    if (is_failure(*list))
        throw failure();
    return list->is_null() ? nullptr : list;
}

// ---- the tree -----------------------------------------------------------------------------------

void literal_search::open(const json& model, std::u16string_view file_name)
{
    guarded([&] {
        m_findText.clear();
        m_model = &model;
        m_selected = nullptr;
        m_rows.clear();
        m_row.reset();
        m_top = std::make_unique<node>();
        m_top->text = file_name;
        if (!model.contains("open_error") && !model.contains("root_error"))
            populate();
    });
}

void literal_search::populate()
{
    const json& root = m_model->at("root");
    const std::u16string name = name_of(root, "Name");
    const std::u16string id = name_of(root, "ID");
    node& main = insert(*m_top, name.empty() ? id : name, node_sort::feature, &root);
    add_sub_features(main, root);
}

void literal_search::add_sub_features(node& parent, const json& feature)
{
    for (const json& below : sub_features_of(feature)) {
        if (is_failure(below) || below.is_null())
            throw failure();
        node& item = insert(parent, name_of(below, "Name"), node_sort::feature, &below);
        add_operation_groups(item);
        add_sub_features(item, below);
    }
}

void literal_search::add_operation_groups(node& parent)
{
    struct group {
        std::string_view type;
        std::u16string_view label;
        node_sort sort;
    };
    constexpr std::array groups{
        group{"OPTYPE_FILE", u"File Operations", node_sort::file},
        group{"OPTYPE_SHELL", u"Explorer Shell Operations", node_sort::shell},
        group{"OPTYPE_REGISTRY", u"Registry Operations", node_sort::registry},
        group{"OPTYPE_REGISTRY64", u"Registry Operations", node_sort::registry},
        group{"OPTYPE_PROGMAN", u"Progman Operations", node_sort::file},
        group{"OPTYPE_INI", u"INI File Operations", node_sort::ini},
        group{"OPTYPE_FILEREG", u"Self-Registration Operations", node_sort::filereg},
        group{"OPTYPE_DOTNET", u".NET Operations", node_sort::dotnet},
    };
    const json* const types = member(*m_model, "types");
    if (!types)
        return;
    if (is_failure(*types))
        throw failure();
    bool has_registry_group = false;
    for (const json& entry : *types) {
        if (is_failure(entry) || entry.is_null())
            throw failure();
        const auto type = entry.get<std::string>();
        const json* const list = operations_of(*parent.feature, type);
        if (!list)
            throw failure();
        if (list->empty())
            continue;
        std::u16string label = from_utf8(type);
        node_sort sort = node_sort::general;
        for (const group& known : groups) {
            if (type == known.type) {
                label = known.label;
                sort = known.sort;
            }
        }
        if (type == "OPTYPE_REGISTRY64" && has_registry_group)
            continue;
        if (type == "OPTYPE_REGISTRY" || type == "OPTYPE_REGISTRY64")
            has_registry_group = true;
        insert(parent, label, sort, parent.feature);
    }
}

literal_search::node& literal_search::insert(node& parent, std::u16string text, node_sort sort, const json* feature)
{
    parent.children.push_back(std::make_unique<node>());
    node& item = *parent.children.back();
    item.text = std::move(text);
    item.sort = sort;
    item.feature = feature;
    item.parent = &parent;
    return item;
}

literal_search::node* literal_search::item_at(const std::vector<std::size_t>& places) const
{
    node* item = m_top.get();
    for (std::size_t depth = 0; depth < places.size() && item; ++depth) {
        if (depth == 0)
            item = places[0] == 0 ? item : nullptr;
        else
            item = places[depth] < item->children.size() ? item->children[places[depth]].get() : nullptr;
    }
    return places.empty() ? nullptr : item;
}

std::size_t literal_search::place_of(const node& item)
{
    std::size_t place = 0;
    if (item.parent)
        while (item.parent->children[place].get() != &item)
            ++place;
    return place;
}

void literal_search::print(const node& item, std::size_t depth, std::string& text)
{
    text.append(2 * depth, ' ').append(to_utf8(item.text)).append("\n");
    for (const auto& below : item.children)
        print(*below, depth + 1, text);
}

std::string literal_search::tree() const
{
    std::string text;
    if (m_top)
        print(*m_top, 0, text);
    return text;
}

void literal_search::collect(const node& item, std::vector<std::size_t> places,
                             std::vector<std::vector<std::size_t>>& all)
{
    places.push_back(place_of(item));
    all.push_back(places);
    for (const auto& below : item.children)
        collect(*below, places, all);
}

std::vector<std::vector<std::size_t>> literal_search::all_places() const
{
    std::vector<std::vector<std::size_t>> all;
    if (m_top)
        collect(*m_top, {}, all);
    return all;
}

// ---- the list -----------------------------------------------------------------------------------

void literal_search::select(const std::optional<std::vector<std::size_t>>& places)
{
    guarded([&] {
        node* const item = places ? item_at(*places) : nullptr;
        if (item || !places)
            select_item(item);
    });
}

void literal_search::select_row(std::optional<std::size_t> row)
{
    begin();
    if (!row || *row < m_rows.size())
        m_row = row;
}

void literal_search::click_header(std::size_t column)
{
    begin();
    const auto before = [&](std::size_t a, std::size_t b) {
        const std::u16string& first = m_rows[a][column];
        const std::u16string& second = m_rows[b][column];
        return m_descending ? second < first : first < second;
    };
    std::vector<std::size_t> order(m_rows.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), before);
    std::vector<std::vector<std::u16string>> sorted;
    std::optional<std::size_t> row;
    for (const std::size_t old : order) {
        if (m_row == old)
            row = sorted.size();
        sorted.push_back(m_rows[old]);
    }
    m_rows = std::move(sorted);
    m_row = row;
    m_descending = !m_descending;
}

void literal_search::select_item(node* item)
{
    if (item == m_selected)
        return;
    m_selected = item;
    dispatch();
}

void literal_search::dispatch()
{
    if (!m_selected || m_selected->sort == node_sort::none) {
        set_columns(node_sort::feature);
    } else if (m_selected->sort == node_sort::feature) {
        show_properties(*m_selected->feature);
    } else if (m_selected->sort == node_sort::registry) {
        set_columns(node_sort::registry);
        show_registry(*m_selected->feature, "OPTYPE_REGISTRY");
        show_registry(*m_selected->feature, "OPTYPE_REGISTRY64");
    } else {
        show_operations(m_selected->sort, *m_selected->feature);
    }
}

void literal_search::set_columns(node_sort sort)
{
    m_rows.clear();
    m_row.reset();
    switch (sort) {
    case node_sort::none:
    case node_sort::feature:
        m_columns = {u"Property", u"Value"};
        break;
    case node_sort::file:
        m_columns = {u"Path",      u"Filename",         u"Shared", u"Directory", u"Potentially Locked",
                     u"Permanent", u"Created Directory"};
        break;
    case node_sort::filereg:
        m_columns = {u"Path", u"Filename", u"Shared"};
        break;
    case node_sort::registry:
        m_columns = {u"Key",         u"Value Name", u"Remote Name", u"Hive", u"Permanent",
                     u"Created Key", u"Remote",     u"Shared",      u"Flags"};
        break;
    case node_sort::ini:
        m_columns = {u"Path", u"Section", u"Key", u"Value", u"Added Section", u"Created File"};
        break;
    case node_sort::shell:
        m_columns = {u"Folder Name", u"Shortcut", u"Permanent", u"Created Directory"};
        break;
    case node_sort::general:
        m_columns = {u"Operation", u"Data"};
        break;
    case node_sort::dotnet:
        m_columns = {u"Path", u"Filename", u"Assembly Type", u"Shared", u"Com Interop"};
        break;
    }
}

void literal_search::insert_row(std::size_t at, std::vector<std::u16string> cells)
{
    at = std::min(at, m_rows.size());
    m_rows.insert(m_rows.begin() + static_cast<std::ptrdiff_t>(at), std::move(cells));
}

void literal_search::show_properties(const json& feature)
{
    set_columns(node_sort::feature);
    std::vector<std::u16string> titles;
    const json& properties = properties_of(feature);
    for (std::size_t i = 0; i < properties.size(); ++i) {
        const std::u16string name = value_of(properties[i][0]).converted;
        const value read = property_value(feature, name);
        if (!read.is_array) {
            std::u16string text = read.converted;
            if (read.low_bits == 0)
                text = u"Not Installed";
            if (read.low_bits == 2)
                text = u"Installed";
            insert_row(i, {name, text});
        } else if (titles.empty()) {
            titles = read.array;
        } else {
            for (std::size_t j = 0; j < read.array.size(); ++j) {
                if (j >= titles.size())
                    throw failure();
                insert_row(j, {titles[j], read.array[j]});
            }
        }
    }
    if (properties.empty())
        insert_row(0, {u"State", u"Not Installed"});
}

void literal_search::show_operations(node_sort sort, const json& feature)
{
    const char* const type = sort == node_sort::file      ? "OPTYPE_FILE"
                             : sort == node_sort::filereg ? "OPTYPE_FILEREG"
                             : sort == node_sort::ini     ? "OPTYPE_INI"
                             : sort == node_sort::shell   ? "OPTYPE_SHELL"
                             : sort == node_sort::dotnet  ? "OPTYPE_DOTNET"
                                                          : "OPTYPE_GENERAL";
    const json* const records = operations_of(feature, type);
    set_columns(sort);
    if (!records)
        throw failure();
    for (std::size_t i = 0; i < records->size(); ++i)
        insert_row(i, cells_of(sort, record_of((*records)[i]), false));
}

void literal_search::show_registry(const json& feature, const std::string& type)
{
    const json* records = nullptr;
    try {
        records = operations_of(feature, type);
    } catch (const failure&) {
        return;
    }
    if (!records)
        return;
    for (std::size_t i = 0; i < records->size(); ++i)
        insert_row(i, cells_of(node_sort::registry, record_of((*records)[i]), type == "OPTYPE_REGISTRY64"));
}

std::vector<std::u16string> literal_search::cells_of(node_sort sort, const record& read, bool is_wide_registry)
{
    constexpr std::size_t longest_layout = 8;
    record e = read;
    e.resize(std::max(e.size(), longest_layout));
    const auto text = [&](std::size_t i) { return e[i].text_field; };
    const auto flag = [&](std::size_t i) { return truth(e[i].low_bits); };
    switch (sort) {
    case node_sort::file:
        if (e[3].low_bits != 0)
            return {text(0), text(1), flag(2), u"True", u"-", u"-", flag(5)};
        return {text(0), text(1), flag(2), u"False", flag(4), flag(5), u"-"};
    case node_sort::filereg:
        return {text(0), text(1), flag(2)};
    case node_sort::registry: {
        const bool has_name = !e[1].converted.empty();
        return {text(0),
                e[1].converted,
                text(2),
                hive(e[3].low_bits),
                has_name ? flag(4) : u"",
                has_name ? u"" : flag(4),
                flag(5),
                flag(6),
                is_wide_registry ? e[7].converted : u""};
    }
    case node_sort::ini:
        return {text(0), text(1), text(2), text(3), flag(4), flag(5)};
    case node_sort::shell:
        return {text(0), text(1), flag(2), flag(3)};
    case node_sort::dotnet:
        return {text(0), text(1), decimal(static_cast<std::int16_t>(e[2].low_bits)), flag(3), flag(4)};
    default:
        return {text(0), text(1)};
    }
}

// ---- the search ---------------------------------------------------------------------------------

void literal_search::find(const std::optional<std::u16string>& text)
{
    guarded([&] {
        if (!text)
            return;
        m_findText = *text;
        if (!m_top)
            return;
        m_anchor = m_top->children.empty() ? nullptr : m_top->children.front().get();
        select_item(m_anchor);
        search_from_here();
    });
}

void literal_search::find_next()
{
    guarded([&] { search_from_here(); });
}

void literal_search::find_next_key()
{
    guarded([&] {
        search_from_here();
        search_from_here();
    });
}

bool literal_search::contains(const std::u16string& candidate)
{
    m_findText = lower(m_findText);
    return lower(candidate).find(m_findText) != std::u16string::npos;
}

void literal_search::search_from_here()
{
    if (m_findText.empty())
        return;
    node* const current = m_selected ? m_selected : m_anchor;
    if (match_row(m_row ? *m_row + 1 : 0, m_columns.size()))
        return;
    if (current && current->sort != node_sort::none)
        for (const auto& below : current->children)
            if (search_node(below.get()))
                return;
    if (search_following(current))
        m_anchor = m_selected;
    else
        m_messages.push_back(u"Search item not found");
}

bool literal_search::match_row(std::size_t first, std::size_t columns)
{
    for (std::size_t row = first; row < m_rows.size(); ++row) {
        for (std::size_t column = 0; column < columns; ++column) {
            if (contains(m_rows[row][column])) {
                m_row = row;
                m_focus = "list";
                return true;
            }
        }
    }
    return false;
}

bool literal_search::search_following(node* item)
{
    if (!item)
        return false;
    while (true) {
        node* const parent = item->parent;
        node* const grandparent = parent ? parent->parent : nullptr;
        if (!parent)
            return false; // the top item has no siblings
        for (std::size_t i = place_of(*item) + 1; i < parent->children.size(); ++i)
            if (search_node(parent->children[i].get()))
                return true;
        if (!grandparent)
            return false; // the parent is the top item
        for (std::size_t i = place_of(*parent) + 1; i < grandparent->children.size(); ++i)
            if (search_node(grandparent->children[i].get()))
                return true;
        item = grandparent;
    }
}

bool literal_search::search_node(node* item)
{
    constexpr std::size_t property_columns = 2;
    if (!item || item->sort == node_sort::none)
        return false;
    if (contains(item->text)) {
        select_item(item);
        m_focus = "tree";
        return true;
    }
    if (search_properties(*item->feature)) {
        select_item(item);
        if (!match_row(0, property_columns))
            m_focus = "tree";
        return true;
    }
    const char* const type = item->sort == node_sort::file       ? "OPTYPE_FILE"
                             : item->sort == node_sort::shell    ? "OPTYPE_SHELL"
                             : item->sort == node_sort::ini      ? "OPTYPE_INI"
                             : item->sort == node_sort::dotnet   ? "OPTYPE_DOTNET"
                             : item->sort == node_sort::filereg  ? "OPTYPE_REGISTRY"
                             : item->sort == node_sort::registry ? "OPTYPE_REGISTRY"
                                                                 : "OPTYPE_GENERAL";
    const json* const records = operations_of(*item->feature, type);
    if (!records)
        throw failure();
    if (!search_records(*records)) {
        for (const auto& below : item->children)
            if (search_node(below.get()))
                return true;
        return false;
    }
    if (type != std::string_view("OPTYPE_GENERAL")) {
        select_item(item);
    } else {
        for (const auto& below : item->children) {
            if (below->text == u"OPTYPE_GENERAL") {
                select_item(below.get());
                break;
            }
        }
    }
    if (!match_row(0, m_columns.size()))
        m_focus = "tree";
    return true;
}

bool literal_search::search_properties(const json& feature)
{
    std::vector<std::u16string> titles;
    const json& properties = properties_of(feature);
    for (const json& pair : properties) {
        const std::u16string name = value_of(pair[0]).converted;
        const value read = property_value(feature, name);
        if (!read.is_array) {
            if (contains(name))
                return true;
            if (contains(read.converted))
                return true;
            if (read.low_bits == 0 && m_findText == u"not installed")
                return true;
            if (read.low_bits == 2 && m_findText == u"installed")
                return true;
        } else if (titles.empty()) {
            titles = read.array;
        } else {
            for (std::size_t j = 0; j < read.array.size(); ++j) {
                if (j >= titles.size())
                    throw failure();
                if (contains(titles[j]))
                    return true;
                if (contains(read.array[j]))
                    return true;
            }
        }
    }
    return properties.empty() && m_findText == u"not installed";
}

bool literal_search::search_records(const json& records)
{
    for (const json& part : records) {
        for (const value& element : record_of(part)) {
            std::u16string text = element.converted;
            if (element.low_bits == 0)
                text = u"False";
            if (element.low_bits == low_bits_mask)
                text = u"True";
            if (!text.empty() && contains(text))
                return true;
        }
    }
    return false;
}

// ---- what is seen -------------------------------------------------------------------------------

viewer_picture literal_search::picture() const
{
    viewer_picture seen;
    seen.focus = m_focus;
    if (m_selected) {
        std::string path = std::to_string(place_of(*m_selected));
        for (const node* item = m_selected->parent; item; item = item->parent)
            path = std::to_string(place_of(*item)) + '/' + path;
        seen.selection = path;
    }
    seen.row = m_row;
    seen.columns = m_columns;
    seen.rows = m_rows;
    seen.messages = m_messages;
    seen.failed = m_failed;
    return seen;
}

} // namespace cw::test_support

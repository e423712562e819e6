// Features with all that is told of each, and setup types, which choose among them.

#include "readers/mediaforge/report_sections.h"
#include "readers/storage/stored_value.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace cw::mediaforge {
namespace {

constexpr unsigned own_columns = 1;

constexpr unsigned of_feature(const media_member_row& member)
{
    return column_of(formats::feature_columns, member, own_columns);
}

constexpr auto named_needs =
    std::to_array<value_name>({{1, u"Critical"}, {2, u"Highly Recommended"}, {4, u"Standard"}});
constexpr value_names file_needs{named_needs};

constexpr auto feature_lines = std::to_array<member_line>({
    {u"Display Name", of_feature(media_feature::DisplayName), write_text},
    {u"Description", of_feature(media_feature::Description), write_text},
    {u"Status Text", of_feature(media_feature::StatusText), write_text},
    {u"GUID", of_feature(media_feature::Guid), write_text},
    {u"Object", of_feature(media_feature::ObjectName), write_text},
    {u"Object Version", of_feature(media_feature::ObjectVersion), write_text},
    {u"Visible", of_feature(media_feature::Visible), write_yes_no},
    {u"File Need", of_feature(media_feature::FileNeed), write_named<file_needs>},
    {u"CD-ROM Folder", of_feature(media_feature::CdRomFolder), write_text},
    {u"FTP Location", of_feature(media_feature::FtpLocation), write_text},
    {u"HTTP Location", of_feature(media_feature::HttpLocation), write_text},
    {u"Miscellaneous", of_feature(media_feature::Miscellaneous), write_text},
    {u"OnInstalling Function", of_feature(media_feature::OnInstalling), write_text},
    {u"OnInstalled Function", of_feature(media_feature::OnInstalled), write_text},
    {u"OnUninstalling Function", of_feature(media_feature::OnUninstalling), write_text},
    {u"OnUninstalled Function", of_feature(media_feature::OnUninstalled), write_text},
    {u"Image Index", of_feature(media_feature::ImageIndex), write_short_but_zero},
    {u"Flags", of_feature(media_feature::Flags), write_other_flags<0>},
});
constexpr std::int64_t object_flags = 3;
constexpr std::uint32_t password_flag = 1;
constexpr auto feature_words = std::to_array<member_word>({
    {u"Object Feature", of_feature(media_feature::Flags), object_flags},
    {u"Data as files", of_feature(media_feature::DataAsFiles)},
    {u"Encryption", of_feature(media_feature::Encryption)},
    {u"Password Protected", of_feature(media_feature::PasswordFlags), password_flag},
    {u"Volatile", of_feature(media_feature::Volatile)},
    {u"Split Before", of_feature(media_feature::SplitBefore)},
    {u"Split After", of_feature(media_feature::SplitAfter)},
    {u"Split Not Allowed", of_feature(media_feature::SplitNotAllowed)},
    {u"Split Before Not Allowed", of_feature(media_feature::SplitBeforeNotAllowed)},
});
constexpr auto feature_rest = std::to_array<member_line>({
    {u"Other Password Flags", of_feature(media_feature::PasswordFlags), write_other_flags<password_flag>},
});

/// The properties of object features, arrays with their elements.
class property_rows {
public:
    explicit property_rows(storage::database& source)
        : m_properties(source, "feature_property",
                       "SELECT feature, position, name, type, lower_bound, value FROM feature_property "
                       "ORDER BY feature, position"),
          m_elements(source, "feature_property_element",
                     "SELECT feature, property, position, type, value FROM feature_property_element "
                     "ORDER BY feature, property, position",
                     {.parents = 2})
    {
    }
    void add(report_text& text, std::size_t indent, std::int64_t feature)
    {
        for (bool first = true; m_properties.next(feature); first = false) {
            if (first) {
                text.add_blanks(indent);
                text.add(u"Properties");
                text.end_line();
            }
            const auto type = static_cast<VARTYPE>(m_properties.natural(type_column, UINT16_MAX));
            if (type & VT_ARRAY) {
                add_elements(text, indent, feature, type);
                continue;
            }
            add_name(text, indent, whole);
            text.pad_to(indent + label_width);
            add_value(text, m_properties, type, value_column);
            text.end_line();
        }
    }
    void finish()
    {
        m_properties.finish();
        m_elements.finish();
    }

private:
    static constexpr std::size_t whole = std::numeric_limits<std::size_t>::max();
    static constexpr unsigned position_column = 1, name_column = 2, type_column = 3, lower_bound_column = 4,
                              value_column = 5;
    static constexpr unsigned element_type_column = 3, element_value_column = 4;

    void add_name(report_text& text, std::size_t indent, std::size_t longest)
    {
        text.add_blanks(indent + indent_a_level);
        text.add_shown(m_properties.text(name_column), longest);
    }
    /// "Layers(0)" and so on, a line for each element.
    void add_elements(report_text& text, std::size_t indent, std::int64_t feature, VARTYPE type)
    {
        const auto element_type = static_cast<VARTYPE>(type & VT_TYPEMASK);
        if (type != (VT_ARRAY | element_type))
            storage::refuse_type(m_properties, type);
        std::int64_t index = m_properties.integer(lower_bound_column);
        bool any = false;
        for (; m_elements.next(feature, m_properties.integer(position_column)); ++index, any = true) {
            if (index < std::numeric_limits<LONG>::min() || index >= std::numeric_limits<LONG>::max())
                m_properties.contradict(u"the bounds of an array are out of range");
            const auto own_type = static_cast<VARTYPE>(m_elements.natural(element_type_column, UINT16_MAX));
            if (own_type != element_type && element_type != VT_VARIANT)
                m_elements.contradict(u"an element is not of its array's type");
            add_name(text, indent, any ? longest_reference : whole);
            text.add(u"(");
            text.add_number(index);
            text.add(u")");
            text.pad_to(indent + label_width);
            add_value(text, m_elements, own_type, element_value_column);
            text.end_line();
        }
        if (any)
            return;
        add_name(text, indent, whole);
        text.pad_to(indent + label_width);
        text.add(u"(none)");
        text.end_line();
    }

    child_rows m_properties;
    child_rows m_elements;
};

/// The features of one setup type after the other, by the ranks that they have among all.
class chosen_features {
public:
    explicit chosen_features(media_store& media)
        : m_order(media.feature_order()), m_places(places_by_id(m_order)), m_isChosen(m_order.size(), false)
    {
    }
    [[nodiscard]] std::span<const tree_place> places() const noexcept { return m_places; }
    /// False where there is no feature of that number.
    bool add(std::int64_t id)
    {
        const std::size_t rank = rank_of(id);
        if (rank == m_order.size())
            return false;
        // A table without its key may name one twice, which would double all that is below.
        if (m_isChosen[rank])
            return true;
        m_ranks.push_back(rank);
        m_isChosen[rank] = true;
        return true;
    }
    /// Calls with the rank of each feature and its level within the type, and forgets them. What is
    /// not below another one stands at the top.
    template <class Visit>
    void visit(Visit visit)
    {
        // Rows of a tree are numbered from 1.
        std::vector<ordered_row> rows;
        for (const std::size_t rank : m_ranks) {
            const std::size_t parent = rank_of(m_order[rank].parent);
            const bool is_below = parent < m_order.size() && m_isChosen[parent];
            rows.push_back({static_cast<std::int64_t>(rank) + 1, is_below ? static_cast<std::int64_t>(parent) + 1 : 0});
        }
        std::ranges::sort(rows, {}, [](const ordered_row& row) { return std::pair(row.parent, row.id); });
        const std::vector<ordered_row> order = tree_order(rows);
        const std::vector<unsigned> levels = levels_of(order);
        for (std::size_t i = 0; i < order.size(); ++i)
            visit(static_cast<std::size_t>(order[i].id - 1), levels[i]);
        for (const std::size_t rank : m_ranks)
            m_isChosen[rank] = false;
        m_ranks.clear();
    }

private:
    /// The count of all where there is none of that number.
    [[nodiscard]] std::size_t rank_of(std::int64_t id) const
    {
        const auto found = std::ranges::lower_bound(m_places, id, {}, &tree_place::id);
        return found != m_places.end() && found->id == id ? found->rank : m_order.size();
    }

    std::span<const ordered_row> m_order;
    std::vector<tree_place> m_places;
    std::vector<std::size_t> m_ranks;
    std::vector<bool> m_isChosen;
};

} // namespace

void compose_features(report_text& text, media_store& media)
{
    storage::database& source = media.source();
    storage::typed_row feature(source, "feature",
                               "SELECT id" + formats::member_column_list(formats::feature_columns) +
                                   " FROM feature ORDER BY id");
    child_rows required(source, "feature_requirement",
                        "SELECT link.feature, link.position, feature.id, feature.name FROM feature_requirement AS link "
                        "LEFT JOIN feature ON feature.id = link.required ORDER BY link.feature, link.position");
    child_rows included(
        source, "feature_component",
        "SELECT link.feature, link.position, component.id, component.name FROM feature_component AS link "
        "LEFT JOIN component ON component.id = link.component ORDER BY link.feature, link.position");
    property_rows properties(source);

    const ranked_blocks blocks =
        compose_blocks(feature, places_by_id(media.feature_order()), [&](report_text& block, const tree_place& place) {
            const std::size_t indent = indent_of(place.level) + indent_a_level;
            add_heading(block, place.level, u"Feature", feature.text(of_feature(media_feature::Name)));
            add_lines(block, indent, feature, feature_lines);
            add_words(block, indent, u"Options", feature, feature_words);
            add_lines(block, indent, feature, feature_rest);
            add_references(block, indent, u"Required Features", required, place.id);
            add_references(block, indent, u"Included Components", included, place.id);
            properties.add(block, indent, place.id);
        });
    required.finish();
    included.finish();
    properties.finish();
    for (std::size_t rank = 0; rank < blocks.count(); ++rank)
        text.add(blocks[rank]);
}

void compose_setup_types(report_text& text, media_store& media)
{
    storage::database& source = media.source();
    chosen_features chosen(media);
    storage::typed_row feature(source, "feature", "SELECT id, name FROM feature ORDER BY id");
    const ranked_blocks names = compose_blocks(feature, chosen.places(), [&](report_text& name, const tree_place&) {
        name.add_shown(feature.text(1), longest_reference);
    });
    storage::typed_row type(source, "setup_type",
                            "SELECT id" + formats::member_column_list(formats::setup_type_columns) +
                                " FROM setup_type ORDER BY id");
    constexpr unsigned name_column = column_of(formats::setup_type_columns, media_setup_type::Name, own_columns);
    child_rows belonging(source, "setup_type_feature",
                         "SELECT setup_type, feature FROM setup_type_feature ORDER BY setup_type, feature",
                         {.has_position = false});
    while (type.step()) {
        add_heading(text, 1, u"Setup Type", type.text(name_column));
        while (belonging.next(type.integer(0)))
            if (!chosen.add(belonging.integer(1)))
                belonging.contradict(u"a setup type names features that are not there");
        bool any = false;
        chosen.visit([&](std::size_t rank, unsigned level) {
            begin_line(text, level, 1);
            text.add(names[rank]);
            text.end_line();
            any = true;
        });
        if (!any) {
            begin_line(text, 2);
            text.add(u"(none)");
            text.end_line();
        }
    }
    belonging.finish();
}

} // namespace cw::mediaforge

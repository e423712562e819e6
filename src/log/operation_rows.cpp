// What the list shows for a group of operations: one row a record. Which operations those are follows
// from the node's kind alone, never from the type that the group was made for.

#include "app/main_frame.h"
#include "bridges/log_objects.h"
#include "bridges/text_value.h"
#include "foundation/bounded_decimal.h"

#include <array>
#include <span>

namespace cw {
namespace {

constexpr std::uint32_t word_true = 155;
constexpr std::uint32_t word_false = 156;
constexpr std::u16string_view not_applicable = u"-";

/// The words of flags. Files and self-registrations have English ones whatever the language is.
struct truth_words {
    string when_true = u"True";
    string when_false = u"False";

    [[nodiscard]] static truth_words translated()
    {
        truth_words words;
        words.when_true.load(word_true);
        words.when_false.load(word_false);
        return words;
    }
    [[nodiscard]] std::u16string_view of(bool flag) const noexcept { return flag ? when_true : when_false; }
};

/// What a cell is formed from, and room for a text that is formed.
struct cell_source {
    const operation_record& record;
    const truth_words& words;
    string& formed;
};

using cell_text = std::u16string_view (*)(const cell_source&);

/// An element as its form has it.
template <const log_element& Element>
std::u16string_view shown(const cell_source& source)
{
    static_assert(Element.form != log_element_form::number, "numbers have a look of their own");
    if constexpr (Element.form == log_element_form::flag)
        return source.words.of(source.record.flag(Element));
    else if constexpr (Element.form == log_element_form::converted_text)
        return source.record.converted_text(Element, source.formed);
    else
        return source.record.text(Element);
}

/// An element that files have.
template <const log_element& Element>
std::u16string_view of_file(const cell_source& source)
{
    return source.record.flag(log_file_record::is_directory) ? not_applicable : shown<Element>(source);
}

/// An element that directories have.
template <const log_element& Element>
std::u16string_view of_directory(const cell_source& source)
{
    return source.record.flag(log_file_record::is_directory) ? shown<Element>(source) : not_applicable;
}

bool has_value_name(const cell_source& source)
{
    return !shown<log_registry_record::value_name>(source).empty();
}

/// An element that operations on values have.
template <const log_element& Element>
std::u16string_view of_value(const cell_source& source)
{
    return has_value_name(source) ? shown<Element>(source) : std::u16string_view();
}

/// An element that operations on keys have.
template <const log_element& Element>
std::u16string_view of_key(const cell_source& source)
{
    return has_value_name(source) ? std::u16string_view() : shown<Element>(source);
}

std::u16string_view hive(const cell_source& source)
{
    return hive_name(source.record.number(log_registry_record::hive));
}

std::u16string_view no_flags(const cell_source&)
{
    return {};
}

/// Four characters are all there is room for.
std::u16string_view assembly_type(const cell_source& source)
{
    std::array<char, 5> digits;
    write_decimal(source.record.number(log_dotnet_record::assembly_type), digits);
    source.formed = string(digits.data());
    return source.formed;
}

// A table lists its cells as the column set of the kind lists its columns.
constexpr auto file_cells = std::to_array<cell_text>({
    shown<log_file_record::folder>,
    shown<log_file_record::file_name>,
    shown<log_file_record::shared>,
    shown<log_file_record::is_directory>,
    of_file<log_file_record::potentially_locked>,
    of_file<log_file_record::permanent_or_created>,
    of_directory<log_file_record::permanent_or_created>,
});
constexpr auto self_registration_cells = std::to_array<cell_text>({
    shown<log_filereg_record::folder>,
    shown<log_filereg_record::file_name>,
    shown<log_filereg_record::shared>,
});
constexpr auto registry64_cells = std::to_array<cell_text>({
    shown<log_registry_record::key>,
    shown<log_registry_record::value_name>,
    shown<log_registry_record::remote_name>,
    hive,
    of_value<log_registry_record::permanent_or_created>,
    of_key<log_registry_record::permanent_or_created>,
    shown<log_registry_record::remote>,
    shown<log_registry_record::shared>,
    shown<log_registry_record::flags>,
});
constexpr auto registry_cells = [] {
    auto cells = registry64_cells;
    cells.back() = no_flags;
    return cells;
}();
constexpr auto ini_cells = std::to_array<cell_text>({
    shown<log_ini_record::path>,
    shown<log_ini_record::section>,
    shown<log_ini_record::key>,
    shown<log_ini_record::value>,
    shown<log_ini_record::added_section>,
    shown<log_ini_record::created_file>,
});
constexpr auto shell_cells = std::to_array<cell_text>({
    shown<log_shell_record::folder_name>,
    shown<log_shell_record::shortcut>,
    shown<log_shell_record::permanent>,
    shown<log_shell_record::created_directory>,
});
constexpr auto general_cells = std::to_array<cell_text>({
    shown<log_general_record::operation>,
    shown<log_general_record::data>,
});
constexpr auto dotnet_cells = std::to_array<cell_text>({
    shown<log_dotnet_record::folder>,
    shown<log_dotnet_record::file_name>,
    assembly_type,
    shown<log_dotnet_record::shared>,
    shown<log_dotnet_record::com_interop>,
});

/// Inserts the rows of a list from row 0 on, above those that are there.
void add_operation_rows(CListCtrl& list, IOperationList* operations, std::span<const cell_text> cells,
                        const truth_words& words)
{
    string formed;
    for_each_record(operations, [&](std::size_t row, const operation_record& record) {
        const cell_source source{record, words, formed};
        list.InsertItem(row, cells.front()(source));
        for (std::size_t column = 1; column < cells.size(); ++column)
            list.SetItemText(row, column, cells[column](source));
    });
}

/// Shows the operations of a type in the columns of a kind. The list keeps what it shows until they are
/// there.
void show_operations(CMainFrame& frame, IFeatureLog* feature, std::u16string_view type, node_kind columns,
                     std::span<const cell_text> cells, const truth_words& words)
{
    const automation::com_ptr<IOperationList> operations = operations_of(feature, type);
    frame.SetListColumns(columns);
    add_operation_rows(frame.List(), operations.get(), cells, words);
}

/// Whether a type name is that of the registry's wide side, in any case of its letters.
bool is_registry64(std::u16string_view type_name)
{
    return type_name.size() == log_operation_type::registry64.size() &&
           string(type_name).equals_no_case(string(log_operation_type::registry64));
}

} // namespace

automation::com_ptr<IFeatureLog> CMainFrame::FeatureLogOf(HTREEITEM item)
{
    automation::com_ptr<IFeatureLog> feature = feature_log_of(m_navNodes[item].object.get());
    if (!feature)
        raise_com_error(E_POINTER);
    return feature;
}

void CMainFrame::ShowFileOperations(HTREEITEM item)
{
    show_operations(*this, FeatureLogOf(item).get(), log_operation_type::file, NODEKIND_LOG_FILE, file_cells, {});
}

void CMainFrame::ShowSelfRegistrationOperations(HTREEITEM item)
{
    show_operations(*this, FeatureLogOf(item).get(), log_operation_type::filereg, NODEKIND_LOG_FILEREG,
                    self_registration_cells, {});
}

void CMainFrame::ShowBothRegistryOperations(HTREEITEM item)
{
    SetListColumns(NODEKIND_LOG_REGISTRY);
    ShowRegistryOperations(log_operation_type::registry, item);
    ShowRegistryOperations(log_operation_type::registry64, item);
}

void CMainFrame::ShowRegistryOperations(std::u16string_view type_name, HTREEITEM item)
{
    const automation::com_ptr<IFeatureLog> feature = FeatureLogOf(item);
    const automation::variant name = text_value(type_name);
    automation::com_ptr<IOperationList> operations;
    // A library that has no such list, or fails to say so, has no such operations.
    if (FAILED(feature->Operations(name.bstrVal, operations.put())) || !operations)
        return;
    const std::span<const cell_text> cells = is_registry64(type_name) ? registry64_cells : registry_cells;
    add_operation_rows(m_listCtrl, operations.get(), cells, truth_words::translated());
}

void CMainFrame::ShowIniOperations(HTREEITEM item)
{
    show_operations(*this, FeatureLogOf(item).get(), log_operation_type::ini, NODEKIND_LOG_INI, ini_cells,
                    truth_words::translated());
}

void CMainFrame::ShowShellOperations(HTREEITEM item)
{
    show_operations(*this, FeatureLogOf(item).get(), log_operation_type::shell, NODEKIND_LOG_SHELL, shell_cells,
                    truth_words::translated());
}

void CMainFrame::ShowGeneralOperations(HTREEITEM item)
{
    show_operations(*this, FeatureLogOf(item).get(), log_operation_type::general, NODEKIND_LOG_GENERAL, general_cells,
                    {});
}

void CMainFrame::ShowDotNetOperations(HTREEITEM item)
{
    show_operations(*this, FeatureLogOf(item).get(), log_operation_type::dotnet, NODEKIND_LOG_DOTNET, dotnet_cells,
                    truth_words::translated());
}

} // namespace cw

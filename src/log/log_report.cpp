// The report of a log: a heading, then a section for each feature, parents before what is below them.
// One section is held in memory and goes out in one piece; the report never is.

#include "app/main_frame.h"
#include "bridges/log_objects.h"
#include "bridges/text_value.h"
#include "fileio/write_bytes.h"
#include "foundation/resource_text.h"
#include "log/feature_log_walk.h"
#include "log/operation_groups.h"
#include "media/nested_collections.h"

namespace cw {
namespace {

constexpr std::uint32_t text_title = 271;
constexpr std::uint32_t text_main_feature = 272;
constexpr std::uint32_t label_name = 273;
constexpr std::uint32_t label_id = 274;
constexpr std::uint32_t label_parent = 275;
constexpr std::uint32_t label_sub_features = 276;
constexpr std::uint32_t label_properties = 277;

constexpr std::u16string_view line_end = u"\r\n";
constexpr std::u16string_view between_elements = u", ";
constexpr std::u16string_view custom_feature = u"Custom";

void append_line(string& text, std::u16string_view line)
{
    text += line;
    text += line_end;
}

/// A line that begins with the text of a string resource.
void append_line(string& text, std::uint32_t resource_id, std::u16string_view value)
{
    text += resource_text(resource_id);
    append_line(text, value);
}

/// Nobody is told of a file that was not opened or is not written.
void write(platform::file_handle file, std::u16string_view text)
{
    (void)write_bytes(file, {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)});
}

/// The members of a feature's collection of sub-features, which is asked for anew each time.
automation::com_ptr<IFeatureLogCollection> sub_features(IFeatureLog* feature)
{
    return object_of(feature, &IFeatureLog::SubFeatures);
}

void append_sub_feature_ids(IFeatureLog* feature, string& text)
{
    if (collection_count(sub_features(feature).get()) > 0)
        append_line(text, label_sub_features, {});
    for (std::int64_t index = 1; index <= collection_count(sub_features(feature).get()); ++index) {
        const auto below = collection_item(sub_features(feature).get(), static_cast<std::int32_t>(index));
        append_line(text, text_of(below.get(), &IFeatureLog::ID).view());
    }
}

/// `converted` holds what had to be converted.
std::u16string_view element_text(const operation_record& record, std::size_t index, bool is_registry, string& converted)
{
    if (is_registry && index == static_cast<std::size_t>(log_registry_record::hive.index))
        if (const std::u16string_view hive = hive_name(record.number(log_registry_record::hive)); !hive.empty())
            return hive;
    return record.plain_text(index, converted);
}

bool is_registry_type(std::u16string_view name)
{
    return name == log_operation_type::registry || name == log_operation_type::registry64;
}

} // namespace

void CMainFrame::WriteLogReport(const string& path)
{
    if (m_openPath.equals_no_case(u""))
        return;
    string heading;
    append_line(heading, text_title, {});
    append_line(heading, m_openPath);
    heading += line_end;
    append_line(heading, text_main_feature, {});

    platform::open_files& files = *platform::current().open;
    const platform::file_handle file =
        files.create_file(path.c_str(), platform::generic_write, platform::file_share_none, nullptr,
                          platform::create_always, platform::file_attribute_normal, 0);
    write(file, heading);
    WriteFeatureSection(m_rootFeatureLog.get(), string(), file);
    files.close(file);
}

void CMainFrame::WriteFeatureSection(IFeatureLog* feature, const string& parent_name, platform::file_handle file)
{
    using level = level_of<IFeatureLogCollection, string>;
    const auto write_section = [this, file](const string& above, IFeatureLog* section) {
        WriteSectionOf(section, above, file);
        string name(text_of(section, &IFeatureLog::Name).view());
        return level{std::move(name), sub_features(section)};
    };
    walk_nested(write_section(parent_name, feature),
                [&](const string& above, const automation::com_ptr<IFeatureLog>& below) -> std::optional<level> {
                    return write_section(above, below.get());
                });
}

void CMainFrame::WriteSectionOf(IFeatureLog* feature, const string& parent_name, platform::file_handle file)
{
    const automation::bstr name = text_of(feature, &IFeatureLog::Name);
    // A feature of this name tells its parent's identifier, which decides nothing; but a log that cannot
    // tell it has no report.
    if (name.view() == custom_feature)
        if (const auto parent = object_of(feature, &IFeatureLog::Parent))
            (void)text_of(parent.get(), &IFeatureLog::ID);

    string text(line_end);
    append_line(text, label_name, name.view());
    append_line(text, label_id, text_of(feature, &IFeatureLog::ID).view());
    append_line(text, label_parent, parent_name);
    append_sub_feature_ids(feature, text);
    append_line(text, label_properties, {});
    AppendFeatureProperties(feature, text);
    AppendFeatureOperations(feature, text);
    write(file, text);
}

void CMainFrame::AppendFeatureProperties(IFeatureLog* feature, string& text)
{
    const auto line_with = [&text](std::u16string_view between) {
        return [&text, between](std::size_t, std::u16string_view label, std::u16string_view value) {
            text += label;
            text += between;
            append_line(text, value);
        };
    };
    walk_feature_properties(feature, line_with(u":"), line_with(u" "));
}

void CMainFrame::AppendFeatureOperations(IFeatureLog* feature, string& text)
{
    const auto types = [this] { return object_of(m_logDocument.get(), &ILogDocument::OperationTypes); };
    const auto all_types = types();
    for (std::int64_t index = 1; index <= collection_count(types().get()); ++index) {
        const auto type = collection_item(all_types.get(), static_cast<std::int32_t>(index));
        const automation::bstr type_name = text_of(type.get(), &IOperationType::Name);
        const auto operations = operations_of(feature, type_name.view());
        if (first_position(operations.get()) < 0)
            continue;
        // The wide side of the registry stands with the narrow one, and nowhere without it.
        if (type_name.view() == log_operation_type::registry64)
            continue;
        text += line_end;
        text += text_of(feature, &IFeatureLog::Name).view();
        text += u" ";
        append_line(text, group_of(type_name.view()).label);
        AppendOperationRows(operations.get(), text);
        if (type_name.view() != log_operation_type::registry)
            continue;
        automation::com_ptr<IOperationList> wide_side;
        const automation::variant wide_name = text_value(log_operation_type::registry64);
        // A library that fails to answer has no such operations.
        feature->Operations(wide_name.bstrVal, wide_side.put());
        if (wide_side)
            AppendOperationRows(wide_side.get(), text);
    }
}

void CMainFrame::AppendOperationRows(IOperationList* operations, string& text)
{
    const bool is_registry = is_registry_type(text_of(operations, &IOperationList::Name).view());
    string converted;
    for_each_record(operations, [&](std::size_t, const operation_record& record) {
        for (std::size_t index = 0; index < record.size(); ++index) {
            if (index > 0)
                text += between_elements;
            text += element_text(record, index, is_registry, converted);
        }
        text += line_end;
    });
}

} // namespace cw

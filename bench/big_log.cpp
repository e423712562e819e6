#include "bench/big_log.h"

#include "authoring/log_recorder.h"
#include "formats/log_format.h"
#include "platform/utf8.h"

#include <string>
#include <vector>

namespace cw::bench {
namespace {

using authoring::typed_value;
using elements = std::vector<typed_value>;

constexpr int operations_per_commit = 10'000;

typed_value text(std::string value)
{
    return {VT_BSTR, std::move(value), 0, {}};
}

typed_value flag(bool value)
{
    return {VT_BOOL, std::int64_t{value ? -1 : 0}, 0, {}};
}

typed_value number(std::int64_t value)
{
    return {VT_I4, value, 0, {}};
}

std::string folder_name(int i)
{
    return "/opt/harbour-tour/section " + std::to_string(i % 97) + "/part " + std::to_string(i % 1009);
}

elements file_operation(int i)
{
    return {text(folder_name(i)), text("file " + std::to_string(i) + ".dat"),
            flag(i % 3 == 0),     flag(i % 10 == 0),
            flag(i % 7 == 0),     flag(i % 5 == 0)};
}

elements registry_operation(int i)
{
    return {text("Software\\Harbour Tour\\Section " + std::to_string(i % 97) + "\\Key " + std::to_string(i)),
            text(i % 4 == 0 ? "" : "Value " + std::to_string(i)),
            text(""),
            number(i % 3),
            flag(i % 5 == 0),
            flag(false),
            flag(i % 2 == 0)};
}

elements ini_operation(int i)
{
    return {text(folder_name(i) + "/tour.ini"),
            text("Section " + std::to_string(i % 13)),
            text("Key " + std::to_string(i)),
            text("Value"),
            flag(i % 13 == 0),
            flag(false)};
}

elements general_operation(int i)
{
    return {text("Run step " + std::to_string(i)), text("done")};
}

struct operation_maker {
    std::u16string_view type;
    elements (*make)(int number);
};
constexpr operation_maker makers[] = {
    {log_operation_type::file, file_operation},
    {log_operation_type::registry, registry_operation},
    {log_operation_type::ini, ini_operation},
    {log_operation_type::general, general_operation},
    {log_operation_type::filereg,
     [](int i) {
         return elements{text(folder_name(i)), text("module"), flag(true)};
     }},
};

/// Writes the log under another name first, so that a run that is stopped leaves no half of one.
template <class Record>
std::filesystem::path make_log(const std::filesystem::path& folder, const std::string& name, Record record)
{
    const std::filesystem::path log = folder / (name + ".clg");
    if (std::filesystem::exists(log))
        return log;
    std::filesystem::create_directories(folder);
    const std::filesystem::path unfinished = folder / (name + ".clg.unfinished");
    std::filesystem::remove(unfinished);
    {
        authoring::log_recorder recorder(unfinished);
        recorder.add_feature("MAIN", "Harbour Tour", {});
        record(recorder);
        recorder.close();
    }
    std::filesystem::rename(unfinished, log);
    return log;
}

} // namespace

std::filesystem::path make_big_log(const std::filesystem::path& folder, const log_size& size)
{
    const std::string name = "log-" + std::to_string(size.features) + "-" + std::to_string(size.operations);
    return make_log(folder, name, [&](authoring::log_recorder& recorder) {
        std::vector<std::string> features;
        for (int i = 0; i < size.features; ++i) {
            const std::string id = "F" + std::to_string(i);
            const bool is_top = i % 10 == 0;
            recorder.add_feature(id, "Feature " + std::to_string(i),
                                 is_top ? "MAIN" : features[features.size() - static_cast<std::size_t>(i % 10)]);
            recorder.set_property(id, "State", number(2));
            recorder.set_property(id, "Version", text("1.0." + std::to_string(i)));
            features.push_back(id);
        }
        for (int i = 0; i < size.operations; ++i) {
            const operation_maker& maker = makers[static_cast<std::size_t>(i) / features.size() % std::size(makers)];
            recorder.add_operation(platform::to_utf8(maker.type),
                                   features[static_cast<std::size_t>(i) % features.size()], maker.make(i));
            if (i % operations_per_commit == 0)
                recorder.commit();
        }
    });
}

std::filesystem::path make_long_log(const std::filesystem::path& folder, long_list list, int operations)
{
    const bool is_files = list == long_list::files;
    const std::string name = std::string(is_files ? "files-" : "registries-") + std::to_string(operations);
    return make_log(folder, name, [&](authoring::log_recorder& recorder) {
        recorder.add_feature("SUB", "Sub", "MAIN");
        for (int i = 0; i < operations; ++i) {
            const std::u16string_view type = is_files ? log_operation_type::file
                                             : i % 2  ? log_operation_type::registry64
                                                      : log_operation_type::registry;
            elements record = is_files ? file_operation(i) : registry_operation(i);
            if (type == log_operation_type::registry64)
                record.push_back(number(i));
            recorder.add_operation(platform::to_utf8(type), "SUB", record);
            if (i % operations_per_commit == 0)
                recorder.commit();
        }
    });
}

std::string select_long_list(std::u16string_view type)
{
    const formats::operation_table& table = *formats::find_operation_table(type);
    return "SELECT " + formats::column_list(table.columns) + " FROM " + std::string(table.name) +
           " WHERE feature = 2 ORDER BY position";
}

} // namespace cw::bench

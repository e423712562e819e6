// `cwcab readers`: where the reader libraries are looked for, what was found, and what came of it.

#include "bridges/activation.h"
#include "bridges/media_interface.h"
#include "console/commands.h"
#include "console/safe_text.h"
#include "foundation/exceptions.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <iostream>
#include <memory>
#include <vector>

namespace cw::console {
namespace {

using json = nlohmann::ordered_json;

struct tried_reader {
    std::u16string_view name;
    search_report report;
    HRESULT result; // of the whole way to the reader's first object
};

std::vector<tried_reader> try_readers()
{
    // What was loaded before would not be searched again.
    forget_loaded_libraries();
    std::vector<tried_reader> readers{{media_library_name, {}, S_OK}, {log_library_name, {}, S_OK}};
    automation::com_ptr<IDispatch> media_factory;
    automation::com_ptr<ILogLoader> log_loader;
    readers[0].result = activate_media_factory(media_factory, &readers[0].report);
    readers[1].result = activate_log_loader(log_loader, &readers[1].report);
    return readers;
}

std::u16string result_text(HRESULT result)
{
    return std::u16string(describe_exception(std::make_exception_ptr(_com_error(result, nullptr))).view());
}

/// What came of it, in words.
std::u16string verdict(const tried_reader& reader)
{
    const search_report& report = reader.report;
    const std::u16string path(report.loaded_path.view());
    if (!report.loaded)
        return u"not loaded: " + (report.refusal.empty() ? path : std::u16string(report.refusal.view()));
    if (!report.has_entry_point)
        return u"loaded, but it is no reader (it exports no DllGetClassObject): " + path;
    if (FAILED(reader.result))
        return u"loaded, but it gives no object (" + result_text(reader.result) + u"): " + path;
    return u"loaded: " + path;
}

void print(std::ostream& out, const tried_reader& reader)
{
    out << terminal_text(reader.name) << '\n';
    for (const search_report::attempt& attempt : reader.report.attempts)
        out << "  " << terminal_text(search_place_text(attempt.place)) << ": " << terminal_text(attempt.path.view())
            << (attempt.present ? ": there\n" : ": not there\n");
    out << "  " << terminal_text(search_outcome_text(reader.report.outcome)) << "\n  " << terminal_text(verdict(reader))
        << '\n';
}

json fields(const tried_reader& reader)
{
    json places = json::array();
    for (const search_report::attempt& attempt : reader.report.attempts)
        places.push_back({{"place", json_text(search_place_text(attempt.place))},
                          {"path", json_text(attempt.path.view())},
                          {"present", attempt.present}});
    string result;
    result.format(u"0x%08X", static_cast<unsigned>(reader.result));
    return {{"name", json_text(reader.name)},
            {"places", std::move(places)},
            {"outcome", json_text(search_outcome_text(reader.report.outcome))},
            {"loaded_path", json_text(reader.report.loaded_path.view())},
            {"loaded", reader.report.loaded},
            {"refusal", json_text(reader.report.refusal.view())},
            {"result", json_text(result.view())}};
}

int show_readers(bool as_json)
{
    const std::vector<tried_reader> readers = try_readers();
    json list = json::array();
    std::string unusable;
    for (const tried_reader& reader : readers) {
        if (as_json)
            list.push_back(fields(reader));
        else
            print(std::cout, reader);
        if (FAILED(reader.result))
            unusable += (unusable.empty() ? "" : ", ") + terminal_text(reader.name);
    }
    if (as_json)
        std::cout << json{{"readers", std::move(list)}}.dump() << '\n';
    if (unusable.empty())
        return exit_done;
    std::cout.flush();
    std::cerr << "cwcab: not usable: " + unusable + "\n";
    return exit_failed;
}

} // namespace

void add_readers_command(CLI::App& app, action& chosen)
{
    auto as_json = std::make_shared<bool>(false);
    CLI::App* command = app.add_subcommand("readers", "Tell where the readers are looked for and what was found");
    command->add_flag("--json", *as_json, "Print one line of JSON");
    command->callback([as_json, &chosen] { chosen = [as_json] { return show_readers(*as_json); }; });
}

} // namespace cw::console

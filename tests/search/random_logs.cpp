#include "tests/search/random_logs.h"

#include "platform/utf8.h"

#include <algorithm>
#include <utility>

namespace cw::test_support {
namespace {

using nlohmann::json;

constexpr const char* known_types[] = {"OPTYPE_FILE",       "OPTYPE_SHELL",   "OPTYPE_REGISTRY",
                                       "OPTYPE_REGISTRY64", "OPTYPE_PROGMAN", "OPTYPE_INI",
                                       "OPTYPE_FILEREG",    "OPTYPE_DOTNET",  "OPTYPE_GENERAL"};
constexpr const char* unknown_types[] = {"MY_TYPE", "optype_file", "Beta"};

constexpr const char* words_of_logs[] = {"Alpha", "alpine", "BETA",      "beta-Max", "Gamma",        "Äpfel", "äPFEL",
                                         "ЖΩ",    "State",  "Installed", "False",    "true",         "Setup", "C:\\app",
                                         "a.exe", "delta",  "",          "0",        "Not Installed"};

json failing()
{
    return {{"fail", "0x80004005"}};
}

} // namespace

std::string random_log::word()
{
    return words_of_logs[below(std::size(words_of_logs))];
}

std::string random_log::search_text()
{
    switch (below(8)) {
    case 0:
        return any_of({"not installed", "NOT INSTALLED", "not inst", "installed", "Installed", "INSTALL"});
    case 1:
        return any_of({"false", "FALSE", "True", "hkey_local_machine", "HKEY", "-", "-1", "0", "2", "65536"});
    case 2:
        return any_of({"optype_general", "OPTYPE_GENERAL", "operations", "Registry", "shell", "state", "OPTYPE"});
    case 3:
        return any_of({"äpfel", "ÄPFEL", "жω", "Ж", "nowhere", "1.5", "0.1", "my_type", " ", ".", "\\"});
    default:
        break;
    }
    // Mostly a piece of a word, its letters sometimes made large.
    std::u16string whole;
    while (whole.empty() && !one_in(10))
        whole = platform::from_utf8(word());
    if (whole.empty())
        return {};
    const std::size_t begin = one_in(2) ? 0 : below(whole.size());
    std::u16string piece = whole.substr(begin, 1 + below(whole.size() - begin));
    if (one_in(3))
        for (char16_t& unit : piece)
            if (unit >= u'a' && unit <= u'z')
                unit = static_cast<char16_t>(unit - u'a' + u'A');
    return platform::to_utf8(piece);
}

json random_log::model()
{
    m_mayFail = one_in(4);
    m_featuresLeft = 1 + below(12);
    constexpr std::size_t deepest = 5;
    if (one_in(60))
        return {{any_of({"open_error", "root_error"}), "0x80004005"}, {"root", json::object()}};
    json result{{"root", feature(deepest)}};
    if (!one_in(12))
        result["types"] = types();
    return result;
}

json random_log::types()
{
    if (fails_here())
        return failing();
    json all = json::array();
    for (const char* type : known_types)
        if (!one_in(3))
            all.push_back(type);
    for (const char* type : unknown_types)
        if (one_in(2))
            all.push_back(type);
    // Shuffled by hand: the library's way differs from library to library.
    for (std::size_t i = all.size(); i > 1; --i)
        std::swap(all[i - 1], all[below(i)]);
    if (!all.empty() && one_in(5))
        all.push_back(all[below(all.size())]);
    if (fails_here())
        all.push_back(one_in(2) ? failing() : json(nullptr));
    return all;
}

json random_log::feature(std::size_t deepest)
{
    if (m_featuresLeft > 0)
        --m_featuresLeft;
    json result = json::object();
    if (fails_here())
        result["Name"] = failing();
    else if (one_in(4))
        result["Name"] =
            any_of({"File Operations", "OPTYPE_GENERAL", "optype_general", "Registry Operations", "Desktop"});
    else if (!one_in(10))
        result["Name"] = word();
    if (one_in(2))
        result["ID"] = word();
    if (!one_in(3))
        result["properties"] = properties();
    if (!one_in(4))
        result["operations"] = operations();
    if (fails_here()) {
        result["features"] = failing();
    } else if (deepest > 0 && !one_in(5)) {
        json below_it = json::array();
        for (std::size_t left = 1 + below(4); left > 0 && m_featuresLeft > 0; --left)
            below_it.push_back(fails_here() ? one_in(2) ? failing() : json(nullptr) : feature(deepest - 1));
        result["features"] = std::move(below_it);
    }
    return result;
}

json random_log::words(std::size_t count)
{
    json all = json::array();
    for (; count > 0; --count)
        all.push_back(one_in(15) ? json(nullptr) : json(word()));
    return {{"array", all}};
}

json random_log::property_value()
{
    if (fails_here())
        return failing();
    switch (below(10)) {
    case 0:
        return 0;
    case 1:
        return 2;
    case 2:
        return any_of({-1, 1, 65536, 65538, 65535, 131072, 12345});
    case 3:
        return one_in(2);
    case 4:
        return any_of<json>(
            {json(nullptr), {{"vt", "VT_BSTR"}, {"value", nullptr}}, {{"vt", "VT_NULL"}, {"value", nullptr}}});
    case 5:
        // The first has no low bits, the second has.
        return {{"vt", "VT_R8"}, {"value", any_of({1.5, 0.1})}};
    case 6:
        return {{"vt", "VT_I2"}, {"value", any_of({0, 2, -1, 7})}};
    default:
        return word();
    }
}

json random_log::properties()
{
    if (fails_here())
        return failing();
    json all = json::array();
    const bool has_arrays = one_in(3);
    const std::size_t titles = below(4);
    for (std::size_t left = below(4); left > 0; --left)
        all.push_back({word(), property_value()});
    if (!has_arrays)
        return all;
    all.push_back({"Titles", words(titles)});
    for (std::size_t left = below(3); left > 0; --left) {
        // Now and then longer than the titles.
        const std::size_t length = one_in(8) ? titles + 1 : below(titles + 1);
        all.push_back({one_in(6) ? word() : "Values" + std::to_string(left), words(length)});
        if (one_in(3))
            all.push_back({word(), property_value()});
    }
    return all;
}

json random_log::operations()
{
    if (fails_here())
        return failing();
    json all = json::object();
    const auto add = [&](const std::string& type) {
        if (!one_in(3))
            return;
        if (fails_here()) {
            all[type] = one_in(2) ? failing() : json(nullptr);
            return;
        }
        json records = json::array();
        for (std::size_t left = one_in(8) ? 0 : 1 + below(4); left > 0; --left)
            records.push_back(fails_here() ? failing() : record(type));
        all[type] = std::move(records);
    };
    for (const char* type : known_types)
        add(type);
    for (const char* type : unknown_types)
        add(type);
    return all;
}

json random_log::text()
{
    // What has no text in its text field reads as empty, whatever its type.
    return one_in(12) ? any_of<json>({json(nullptr), {{"vt", "VT_BSTR"}, {"value", nullptr}}, json(false), json(0)})
                      : json(word());
}

json random_log::flag()
{
    return one_in(3) ? any_of<json>({0, -1, 1, 65536, 65537, nullptr}) : json(one_in(2));
}

json random_log::small_number()
{
    return any_of<json>({0, 1, 2, 3, 4, 5, 6, 7, -1, 999, -999, 9999, 65536, 65538, true, nullptr});
}

json random_log::anything()
{
    return one_in(2) ? json(word()) : one_in(2) ? flag() : small_number();
}

json random_log::record(const std::string& type)
{
    json all = json::array();
    const auto add = [&](std::initializer_list<json> elements) {
        for (const json& element : elements)
            all.push_back(element);
    };
    if (type == "OPTYPE_FILE")
        add({text(), text(), flag(), flag(), flag(), flag()});
    else if (type == "OPTYPE_FILEREG")
        add({text(), text(), flag()});
    else if (type == "OPTYPE_REGISTRY" || type == "OPTYPE_REGISTRY64")
        add({text(), one_in(3) ? anything() : json(word()), text(), small_number(), flag(), flag(), flag()});
    else if (type == "OPTYPE_INI")
        add({text(), text(), text(), text(), flag(), flag()});
    else if (type == "OPTYPE_SHELL")
        add({text(), text(), flag(), flag()});
    else if (type == "OPTYPE_DOTNET")
        add({text(), text(), small_number(), flag(), flag()});
    else if (type == "OPTYPE_GENERAL")
        add({text(), text()});
    else
        add({anything(), anything()});
    if (type == "OPTYPE_REGISTRY64")
        all.push_back(anything());
    // Some records are longer than their layout, and few are shorter; some do not count from 0.
    if (one_in(6))
        all.push_back(anything());
    if (one_in(25))
        all.erase(all.begin() + static_cast<std::ptrdiff_t>(below(all.size())), all.end());
    if (fails_here())
        all.push_back(failing());
    if (one_in(20))
        return {{"vt", "VT_ARRAY|VT_VARIANT"}, {"lower", any_of({1, -2, 5})}, {"value", all}};
    return all;
}

} // namespace cw::test_support

#include "authoring/typed_values.h"

#include "authoring/dates.h"
#include "automation/variant.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace cw::authoring {
namespace {

enum class form { nothing, integer, unsigned_64, error_code, real_32, real_64, currency, date, text, boolean, variant };

struct type_row {
    std::string_view name;
    VARTYPE type;
    form written_as;
    std::int64_t lowest = 0;
    std::int64_t highest = 0;
};

template <typename Number>
constexpr type_row integer_type(std::string_view name, VARTYPE type)
{
    return {name, type, form::integer, std::numeric_limits<Number>::min(), std::numeric_limits<Number>::max()};
}

constexpr auto types = std::to_array<type_row>({
    {"VT_EMPTY", VT_EMPTY, form::nothing},
    {"VT_NULL", VT_NULL, form::nothing},
    integer_type<std::int16_t>("VT_I2", VT_I2),
    integer_type<std::int32_t>("VT_I4", VT_I4),
    {"VT_R4", VT_R4, form::real_32},
    {"VT_R8", VT_R8, form::real_64},
    {"VT_CY", VT_CY, form::currency},
    {"VT_DATE", VT_DATE, form::date},
    {"VT_BSTR", VT_BSTR, form::text},
    {"VT_ERROR", VT_ERROR, form::error_code},
    {"VT_BOOL", VT_BOOL, form::boolean},
    {"VT_VARIANT", VT_VARIANT, form::variant},
    integer_type<std::int8_t>("VT_I1", VT_I1),
    integer_type<std::uint8_t>("VT_UI1", VT_UI1),
    integer_type<std::uint16_t>("VT_UI2", VT_UI2),
    integer_type<std::uint32_t>("VT_UI4", VT_UI4),
    integer_type<std::int64_t>("VT_I8", VT_I8),
    {"VT_UI8", VT_UI8, form::unsigned_64},
    integer_type<std::int32_t>("VT_INT", VT_INT),
    integer_type<std::uint32_t>("VT_UINT", VT_UINT),
});

const type_row& find_type(const json_node& node, std::string_view name)
{
    const auto found =
        std::find_if(types.begin(), types.end(), [&](const type_row& item) { return item.name == name; });
    if (found == types.end())
        node.fail("no type that can be stored: " + node.text());
    return *found;
}

std::int64_t read_currency(const json_node& node)
{
    constexpr std::int64_t steps = 10'000;
    constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max() / steps;
    if (node.is_integer())
        return node.integer(-highest, highest) * steps;
    const double value = node.number() * static_cast<double>(steps);
    if (!(std::abs(value) < 9.2e18))
        node.fail("too big for a currency value");
    return std::llround(value);
}

std::int64_t read_error_code(const json_node& node)
{
    if (!node.is_string())
        return node.integer(std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max());
    const std::string& text = node.text();
    const bool hexadecimal = text.size() > 2 && text.size() <= 10 && text.starts_with("0x") &&
                             text.find_first_not_of("0123456789abcdefABCDEF", 2) == std::string::npos;
    if (!hexadecimal)
        node.fail("expected an integer or a text like \"0x80004005\"");
    return static_cast<std::int32_t>(std::stoul(text, nullptr, 16));
}

typed_value read_object(const json_node& node);

typed_value read_plain(const json_node& node)
{
    if (node.is_object())
        return read_object(node);
    if (node.is_null())
        return {};
    if (node.is_boolean())
        return {VT_BOOL, std::int64_t{node.boolean() ? VARIANT_TRUE : VARIANT_FALSE}, 0, {}};
    if (node.is_string())
        return {VT_BSTR, node.text(), 0, {}};
    return {
        VT_I4, node.integer(std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()), 0, {}};
}

typed_value read_scalar(const json_node& node, const type_row& type)
{
    typed_value result;
    result.type = type.type;
    switch (type.written_as) {
    case form::nothing:
        if (!node.is_null())
            node.fail("expected null");
        break;
    case form::integer:
        result.value = node.integer(type.lowest, type.highest);
        break;
    case form::unsigned_64:
        // The column holds 64 bits with a sign; a reader takes them back as they are.
        result.value = static_cast<std::int64_t>(node.unsigned_integer(std::numeric_limits<std::uint64_t>::max()));
        break;
    case form::error_code:
        result.value = read_error_code(node);
        break;
    case form::real_32:
        if (std::abs(node.number()) > static_cast<double>(std::numeric_limits<float>::max()))
            node.fail("too big for a real of 32 bits");
        result.value = static_cast<double>(static_cast<float>(node.number()));
        break;
    case form::real_64:
        result.value = node.number();
        break;
    case form::currency:
        result.value = read_currency(node);
        break;
    case form::date:
        result.value = read_date(node);
        break;
    case form::text:
        if (!node.is_null())
            result.value = node.text();
        break;
    case form::boolean:
        result.value = std::int64_t{node.boolean() ? VARIANT_TRUE : VARIANT_FALSE};
        break;
    case form::variant:
        result = read_plain(node);
        if ((result.type & VT_ARRAY) != 0)
            node.fail("an array cannot be an element of an array");
        break;
    }
    return result;
}

typed_value read_array(const json_node& items, const type_row& type, std::int32_t lower_bound)
{
    typed_value result;
    result.type = static_cast<VARTYPE>(VT_ARRAY | type.type);
    result.lower_bound = lower_bound;
    if (type.written_as == form::nothing)
        items.fail("an array has no elements of this type");
    items.for_each_item([&](const json_node& item) { result.elements.push_back(read_scalar(item, type)); });
    if (std::int64_t{lower_bound} + static_cast<std::int64_t>(result.elements.size()) - 1 >
        std::numeric_limits<std::int32_t>::max())
        items.fail("the upper bound does not fit 32 bits");
    return result;
}

typed_value read_object(const json_node& node)
{
    node.for_each_key([&](std::string_view key, const json_node& value) {
        if (key != "vt" && key != "value" && key != "lower" && key != "dims")
            value.fail("unknown key");
        if (key == "dims" && value.integer(1, 60) != 1)
            value.fail("only arrays of one dimension can be stored");
    });
    if (!node.has("vt"))
        node.fail("vt is missing");
    const json_node type_node = node["vt"];
    std::string_view name = type_node.text();
    const std::size_t bar = name.find('|');
    const bool is_array = bar != std::string_view::npos && name.substr(0, bar) == "VT_ARRAY";
    const type_row& type = find_type(type_node, is_array ? name.substr(bar + 1) : name);
    if (!is_array) {
        for (const char* key : {"lower", "dims"}) {
            if (node.has(key))
                node[key].fail("only an array has this");
        }
        if (type.written_as == form::variant)
            type_node.fail("only an array has elements of this type");
        if (!node.has("value")) {
            if (type.written_as != form::nothing)
                node.fail("value is missing");
            return {type.type, {}, 0, {}};
        }
        return read_scalar(node["value"], type);
    }
    if (!node.has("value"))
        node.fail("value is missing");
    const std::int64_t lower = node.has("lower") ? node["lower"].integer(std::numeric_limits<std::int32_t>::min(),
                                                                         std::numeric_limits<std::int32_t>::max())
                                                 : 0;
    return read_array(node["value"], type, static_cast<std::int32_t>(lower));
}

} // namespace

typed_value read_typed_value(const json_node& node)
{
    if (node.is_array())
        return read_array(
            node, *std::find_if(types.begin(), types.end(), [](const type_row& item) { return item.type == VT_BSTR; }),
            0);
    return read_plain(node);
}

double read_date(const json_node& node)
{
    if (node.is_string()) {
        const std::optional<double> date = date_from_text(node.text());
        if (!date)
            node.fail("no date like \"2001-02-03T00:04:05\": " + node.text());
        return *date;
    }
    const double date = node.number();
    if (!is_date(date))
        node.fail("no date between the years 100 and 9999");
    return date;
}

} // namespace cw::authoring

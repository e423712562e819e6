#include "desktop/tool_drag.h"

#include <QMimeData>

namespace cw {
namespace {

/// Such data never leaves the program, so it holds the thing itself.
class tool_data final : public QMimeData {
public:
    std::optional<tool_item> item;
    std::optional<tool_place> place;
};

// Window systems carry no drag without a format; nobody else knows this one.
constexpr QLatin1String format("application/x-cwcabview-tool");

std::unique_ptr<tool_data> made(std::optional<tool_item> item, std::optional<tool_place> place)
{
    auto data = std::make_unique<tool_data>();
    data->item = std::move(item);
    data->place = place;
    data->setData(format, "tool");
    return data;
}

} // namespace

std::unique_ptr<QMimeData> drag_of(const tool_item& item)
{
    return made(item, std::nullopt);
}

std::unique_ptr<QMimeData> drag_from(const tool_place& place)
{
    return made(std::nullopt, place);
}

std::optional<tool_item> dragged_item(const QMimeData& data)
{
    const auto* own = dynamic_cast<const tool_data*>(&data);
    return own ? own->item : std::nullopt;
}

std::optional<tool_place> dragged_place(const QMimeData& data)
{
    const auto* own = dynamic_cast<const tool_data*>(&data);
    return own ? own->place : std::nullopt;
}

} // namespace cw

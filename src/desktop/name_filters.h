// The logic's file filters as the file dialog writes them.
#pragma once

#include <QStringList>

#include <string_view>

namespace cw {

/// "Label|*.a; *.b||" as "Label (*.a *.b)". A label that ends with its own patterns in brackets does
/// not get them twice.
[[nodiscard]] QStringList name_filters(std::u16string_view filter);

} // namespace cw

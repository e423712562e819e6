// Texts as values that are passed to a reader library.
#pragma once

#include "automation/variant.h"
#include "foundation/exceptions.h"
#include "platform/services.h"

#include <string_view>

namespace cw {

/// A VT_BSTR of a text, which the empty text is too. E_OUTOFMEMORY where it cannot be allocated.
[[nodiscard]] inline automation::variant text_value(std::u16string_view text)
{
    automation::variant value;
    value.bstrVal =
        platform::current().memory->allocate(text.data() ? text.data() : u"", static_cast<UINT>(text.size()));
    if (!value.bstrVal)
        raise_com_error(E_OUTOFMEMORY);
    value.vt = VT_BSTR;
    return value;
}

} // namespace cw

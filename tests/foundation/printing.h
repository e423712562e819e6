// How test failures show texts.
#pragma once

#include "foundation/string.h"
#include "platform/utf8.h"

#include <ostream>

namespace cw {

inline void PrintTo(const string& text, std::ostream* stream)
{
    *stream << '"' << platform::to_utf8(text.view()) << '"';
}

} // namespace cw

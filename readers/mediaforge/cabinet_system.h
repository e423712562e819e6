// What libmspack stands on here: buffered input from regular files, output into a sink, nothing
// printed. No exception passes through the C code: what a sink throws waits in `failure`.
#pragma once

#include "readers/mediaforge/cabinet.h"

#include <exception>

namespace cw::mediaforge {

struct cabinet_system : mspack_system {
    cabinet_system() noexcept;

    const byte_sink* sink = nullptr;
    std::exception_ptr failure;
    int system_error = 0;
};

} // namespace cw::mediaforge

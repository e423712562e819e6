// The error of everything that writes media: one line for a person, with the place it comes from.
#pragma once

#include <stdexcept>

namespace cw::authoring {

class error : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace cw::authoring

// A log told line by line, one JSON object a line: what `cwcab record` takes from an installer, and what
// docs/log-format.md describes.
#pragma once

#include "authoring/log_recorder.h"

#include <cstdint>
#include <string_view>

namespace cw::authoring {

class log_lines {
public:
    struct counts {
        std::uint64_t features = 0;
        std::uint64_t properties = 0;
        std::uint64_t operations = 0;
    };

    /// `recorder` is borrowed.
    explicit log_lines(log_recorder& recorder) noexcept : m_recorder(recorder) {}

    /// Records what a line tells, which stands without its line end. Throws `error` with why it cannot be;
    /// nothing of the line is recorded then.
    void take(std::string_view line);
    /// What was told so far, what was told again included.
    [[nodiscard]] const counts& told() const noexcept { return m_told; }

private:
    log_recorder& m_recorder;
    counts m_told;
};

} // namespace cw::authoring

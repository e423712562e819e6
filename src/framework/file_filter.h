// The filter texts of file dialogs, taken apart: window and companion show them in their own way.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cw {

struct file_filter {
    std::u16string label;
    std::vector<std::u16string> patterns; // "*.hdr", at least one

    friend bool operator==(const file_filter&, const file_filter&) = default;
};

/// Takes "Label|*.a; *.b|Label|*.c||" apart. The list ends at an empty label; a label without
/// patterns is left out.
[[nodiscard]] std::vector<file_filter> parse_file_filter(std::u16string_view text);

} // namespace cw

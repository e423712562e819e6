// Runs the companion, as a program of its own and within the test, and keeps what it wrote.
#pragma once

#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace cw::console_tests {

struct outcome {
    int status = -1; // negative: ended by a signal
    std::string out;
    std::string error;
};

inline constexpr const char* fixture_program = CW_TEST_BUILD_DIR "/fixture/cwcab";
inline constexpr const char* real_program = CW_TEST_BUILD_DIR "/bin/cwcab";

/// Runs the companion that stands beside the fixture readers, or another, in `directory` and without
/// a terminal. `out` names a file that standard output goes to instead of being kept.
outcome run_program(const std::vector<std::string>& arguments, const std::string& directory = {},
                    const std::string& out = {}, const char* program = fixture_program);

/// Runs it within the test.
outcome run_here(const std::vector<std::string>& arguments);

/// Whether a text is one line: one line end, at its end.
bool is_one_line(std::string_view text);

/// A folder for the files of one test.
class console_test : public testing::Test {
protected:
    /// That a command told why it failed in one line, and nothing else.
    static void expect_failure(const outcome& ran, std::string_view reason, int status = 1);
    std::string write(std::string_view model, std::string_view name = "media.hdr") const
    {
        return folder.write(name, model);
    }
    test_support::temporary_folder folder;
};

} // namespace cw::console_tests

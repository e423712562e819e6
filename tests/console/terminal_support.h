// Runs something at a terminal of its own, with somebody who answers.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace cw::console_tests {

/// What the person waits to read, and then types.
struct terminal_turn {
    std::string wait_for;
    std::string typed;
};

struct terminal_outcome {
    int status = -1;       // negative: ended by a signal
    std::string screen;    // everything that stood on the terminal
    bool echoes = false;   // afterwards
    bool finished = false; // all turns came, and the end
};

/// Runs `work` in a process of its own and answers its exit status.
terminal_outcome run_at_terminal(const std::function<int()>& work, const std::vector<terminal_turn>& turns);

/// The same with a program.
terminal_outcome run_program_at_terminal(const char* program, const std::vector<std::string>& arguments,
                                         const std::vector<terminal_turn>& turns);

} // namespace cw::console_tests

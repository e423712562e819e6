// The command line as the class library splits it: a shell command and a file name.
#pragma once

#include "framework/cstring.h"

#include <span>
#include <string>

namespace cw {

enum class shell_command { file_new = 0, file_open = 1, file_print = 2, file_print_to = 3, file_dde = 4 };

struct CCommandLineInfo {
    shell_command m_nShellCommand = shell_command::file_new;
    CString m_strFileName;
};

/// Reads the arguments behind the program's name. The first that is no option is the file, made
/// absolute; options name another command ("-p" prints, "-pt" prints to a printer, "-dde" serves).
void ParseCommandLine(std::span<const std::u16string> arguments, CCommandLineInfo& info);

} // namespace cw

// The POSIX side of the platform: what the program runs on. Programs rarely name these; they come
// through `current()`. Tests make their own where the outcome depends on the user's surroundings.
#pragma once

#include "platform/services.h"

#include <memory>
#include <string>

namespace cw::platform {

/// Charset and collation that the environment asks for, and the settings file named by
/// CW_MACHINE_SETTINGS, are read once, at the first call.
[[nodiscard]] const services& posix_services();

[[nodiscard]] std::unique_ptr<text_memory> make_posix_text_memory();
/// `charset` is what code pages 0 and 3 stand for.
[[nodiscard]] std::unique_ptr<code_pages> make_icu_code_pages(const std::string& charset);
/// `locale` is an ICU locale name; empty for the order that fits all languages best.
[[nodiscard]] std::unique_ptr<text_rules> make_icu_text_rules(const std::string& locale);
[[nodiscard]] std::unique_ptr<system_messages> make_posix_system_messages();
[[nodiscard]] std::unique_ptr<loader> make_posix_loader();
[[nodiscard]] std::unique_ptr<file_system> make_posix_file_system();
/// Share modes, attributes and templates have no meaning here. Directly inside the folder for temporary
/// files new files are the user's alone, and neither links nor files of others are opened for writing.
[[nodiscard]] std::unique_ptr<open_files> make_posix_open_files();
[[nodiscard]] std::unique_ptr<system_information> make_posix_system_information();
/// GUIDs of version 4.
[[nodiscard]] std::unique_ptr<unique_ids> make_random_unique_ids();
/// HTTP and HTTPS through libcurl. `certificates` is a file of the authorities that are trusted; empty for
/// those of the system.
[[nodiscard]] std::unique_ptr<transfers> make_curl_transfers(const std::string& certificates);
/// Events of a process without a window.
[[nodiscard]] std::unique_ptr<thread_waits> make_posix_thread_waits();
[[nodiscard]] std::unique_ptr<clocks> make_posix_clocks();
/// `file` is an INI file, its sections named like keys; one that is not there counts as empty.
/// `common_files_folder` is what the installation's own entry says where the file does not.
[[nodiscard]] std::unique_ptr<machine_settings> make_ini_machine_settings(const std::string& file,
                                                                          const std::u16string& common_files_folder);
/// No class is registered on this system.
[[nodiscard]] std::unique_ptr<class_registry> make_empty_class_registry();
/// An invalid parameter aborts the process, with a line on standard error.
[[nodiscard]] std::unique_ptr<runtime_contract> make_aborting_runtime();

} // namespace cw::platform

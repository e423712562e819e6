#include "platform/posix_services.h"

#include "platform/locale_names.h"
#include "platform/memory_user_settings.h"
#include "platform/utf8.h"

#include <cstdlib>
#include <filesystem>

namespace cw::platform {

namespace {

/// `lib` beside the folder of the running program, so an installation can be moved whole.
std::u16string installed_library_folder()
{
    std::error_code failure;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failure);
    if (failure)
        return {};
    return path_from_bytes((program.parent_path() / ".." / "lib").lexically_normal().native());
}

std::string machine_settings_file()
{
    const char* named = std::getenv("CW_MACHINE_SETTINGS");
    return named && *named ? named : "/etc/cratewright/machine.ini";
}

/// As other programs take it from the environment; empty for what the system trusts.
std::string trusted_certificates()
{
    const char* named = std::getenv("SSL_CERT_FILE");
    return named ? named : "";
}

struct posix_set {
    std::unique_ptr<text_memory> memory = make_posix_text_memory();
    std::unique_ptr<code_pages> pages = make_icu_code_pages(charset_of_environment());
    std::unique_ptr<text_rules> rules = make_icu_text_rules(collation_of_environment());
    std::unique_ptr<system_messages> messages = make_posix_system_messages();
    std::unique_ptr<loader> libraries = make_posix_loader();
    std::unique_ptr<file_system> files = make_posix_file_system();
    std::unique_ptr<open_files> open = make_posix_open_files();
    std::unique_ptr<system_information> system = make_posix_system_information();
    std::unique_ptr<unique_ids> ids = make_random_unique_ids();
    std::unique_ptr<transfers> network = make_curl_transfers(trusted_certificates());
    std::unique_ptr<thread_waits> waits = make_posix_thread_waits();
    std::unique_ptr<clocks> time = make_posix_clocks();
    std::unique_ptr<machine_settings> machine =
        make_ini_machine_settings(machine_settings_file(), installed_library_folder());
    std::unique_ptr<machine_settings> user_keys = make_ini_machine_settings({}, {});
    memory_user_settings user;
    std::unique_ptr<class_registry> classes = make_empty_class_registry();
    std::unique_ptr<runtime_contract> runtime = make_aborting_runtime();
    services all{memory.get(),  pages.get(),     rules.get(), messages.get(), libraries.get(), files.get(),
                 open.get(),    system.get(),    ids.get(),   network.get(),  waits.get(),     time.get(),
                 machine.get(), user_keys.get(), &user,       classes.get(),  runtime.get()};
};

} // namespace

const services& posix_services()
{
    // Never destroyed: texts with static lifetime are freed through it after everything else is gone.
    static const posix_set& set = *new posix_set;
    return set.all;
}

} // namespace cw::platform

// `cwcab report`: the report that the window's Report and Save write.

#include "console/commands.h"
#include "console/extract_folder.h"
#include "console/headless_application.h"
#include "console/open_input.h"
#include "console/reader_reason.h"
#include "console/report_files.h"
#include "console/report_target.h"
#include "console/safe_text.h"
#include "console/stop_guard.h"
#include "fileio/file.h"
#include "fileio/text_file.h"
#include "foundation/exceptions.h"
#include "platform/utf8.h"

#include <CLI/CLI.hpp>

#include <array>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

#include <unistd.h>

namespace cw::console {
namespace {

struct report_arguments {
    std::string file;
    std::string target;
    std::string password_file;
};

platform::services services_with(platform::open_files& files)
{
    platform::services set = platform::current();
    set.open = &files;
    return set;
}

[[noreturn]] void fail(const std::string& path, std::u16string_view why)
{
    throw std::runtime_error(path + ": " + platform::to_utf8(why));
}

void print(CMainFrame& frame)
{
    const bool is_terminal = ::isatty(STDOUT_FILENO) == 1;
    if (frame.HasMedia()) {
        std::cout << report_bytes(frame.MediaReport(), is_terminal);
        return;
    }
    files_to_stream files(std::cout, is_terminal);
    const platform::scoped_services in_use(services_with(files));
    frame.WriteLogReport(u"standard output");
}

/// Writes the same bytes as the window, to whatever `files` opens for the path.
void write(CMainFrame& frame, const std::string& path, watched_files& files)
{
    const platform::scoped_services in_use(services_with(files));
    const string name(platform::path_from_bytes(path));
    std::uint32_t error = platform::error_success;
    try {
        if (frame.HasMedia())
            error = write_text_file(name, frame.MediaReport(), code_page_utf16_little_endian, true);
        else
            frame.WriteLogReport(name);
    } catch (const file_exception& failure) {
        error = failure.code;
    }
    // What went wrong first tells more than what it led to.
    if (files.first_error() != platform::error_success)
        error = files.first_error();
    if (error != platform::error_success)
        throw std::runtime_error(platform::to_utf8(watched_files::text_of(error)));
}

void write(CMainFrame& frame, const std::string& path)
{
    watched_files files;
    write(frame, path, files);
}

/// Puts the report in place when it is whole.
void write_file(CMainFrame& frame, const std::string& place, bool replaces)
{
    std::error_code failure;
    // The file behind a link is meant, and not the link.
    const std::filesystem::path target =
        replaces ? std::filesystem::canonical(place, failure) : std::filesystem::path(place);
    const std::string name = target.filename().string();
    if (name.empty() || name == "." || name == "..")
        throw std::runtime_error("that is not the name of a file");
    const stop_guard signals;
    extract_folder folder(target.has_parent_path() ? target.parent_path().string() : ".");
    folder.put({name}, true, [&] {
        write(frame, folder.working_path());
        if (replaces)
            take_over_permissions(folder.working_path(), target.string());
        if (stop_guard::is_asked())
            throw std::runtime_error(stopped_by_signal);
    });
}

void write_target(CMainFrame& frame, const report_arguments& arguments)
{
    if (const std::optional<int> descriptor = descriptor_named(arguments.target)) {
        files_to_descriptor files(*descriptor);
        write(frame, arguments.target, files);
        return;
    }
    const target_kind kind = kind_of_target(arguments.target);
    if (kind == target_kind::stream) {
        write(frame, arguments.target);
        return;
    }
    if (kind == target_kind::file)
        refuse_inputs(arguments.target, std::array{arguments.file, arguments.password_file});
    write_file(frame, arguments.target, kind == target_kind::file);
}

int report(const report_arguments& arguments)
{
    headless_application viewer;
    CMainFrame& frame = viewer.frame();
    const std::string file = terminal_text(platform::from_utf8(arguments.file));
    // A tree that cannot be built is no reason: the report is asked of the input itself.
    const auto failure = open_input(viewer, arguments.file, arguments.password_file);
    if (failure && !frame.HasMedia() && !frame.HasLog())
        fail(file, *failure);
    try {
        if (arguments.target.empty())
            print(frame);
        else
            write_target(frame, arguments);
    } catch (const std::runtime_error& error) {
        const std::string target = terminal_text(platform::from_utf8(arguments.target));
        fail(target.empty() ? file : target, platform::from_utf8(error.what()));
    } catch (...) {
        std::cout.flush();
        fail(file, reader_reason(std::current_exception()));
    }
    return exit_done;
}

} // namespace

void add_report_command(CLI::App& app, action& chosen)
{
    auto arguments = std::make_shared<report_arguments>();
    CLI::App* command = app.add_subcommand("report", "Write the report of a setup media or an installation log");
    command->add_option("FILE", arguments->file, "A setup media (.hdr, .cab) or an installation log (.clg)")
        ->required();
    CLI::Option* target =
        command
            ->add_option("-o,--output", arguments->target,
                         "The file to write, as the window does, in UTF-16; without it the report is printed")
            ->option_text("TARGET");
    add_password_option(*command, arguments->password_file);
    command->callback([arguments, target, &chosen] {
        if (target->count() != 0 && arguments->target.empty())
            throw CLI::ValidationError("--output", "the name of the file is empty");
        chosen = [arguments] { return report(*arguments); };
    });
}

} // namespace cw::console

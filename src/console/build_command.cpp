// `cwcab build`: writes a setup media from a manifest and files.

#include "authoring/build_media.h"
#include "console/commands.h"
#include "console/password_input.h"
#include "console/progress_line.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

namespace cw::console {
namespace {

constexpr std::uint64_t largest_size_in_bytes = 1ull << 30;

struct build_arguments {
    std::string manifest;
    std::string folder;
    std::string password_file;
    std::string name;
    std::uint64_t volume_size_in_bytes = 0;
    std::uint64_t folder_size_in_bytes = 0;
};

int build(const build_arguments& arguments)
{
    authoring::build_options options;
    if (!arguments.name.empty())
        options.name = arguments.name;
    if (!arguments.password_file.empty())
        options.password = read_password(arguments.password_file);
    if (arguments.volume_size_in_bytes != 0)
        options.volume_size_in_bytes = arguments.volume_size_in_bytes;
    if (arguments.folder_size_in_bytes != 0)
        options.folder_size_in_bytes = arguments.folder_size_in_bytes;

    progress_line progress;
    const authoring::build_result result = authoring::build_media(
        arguments.manifest, arguments.folder, options,
        [&](std::uint64_t done, std::uint64_t total, const std::string& file) { progress.show(done, total, file); });
    progress.clear();
    wipe(options.password);
    std::cout << result.header.string() << ": " << result.files << " files in " << result.volumes << " volumes, "
              << result.payload_size_in_bytes << " bytes\n";
    return exit_done;
}

} // namespace

void add_build_command(CLI::App& app, action& chosen)
{
    auto arguments = std::make_shared<build_arguments>();
    CLI::App* command = app.add_subcommand("build", "Write a setup media from a manifest and files");
    command->add_option("MANIFEST", arguments->manifest, "What the media holds, in JSON")->required();
    command->add_option("-o,--output", arguments->folder, "The folder to write header and volumes into")->required();
    command->add_option("--name", arguments->name, "Name of header and volumes, in place of the manifest's");
    command->add_option("--password-file", arguments->password_file,
                        "Protect the media with the password in the first line of this file");
    command->add_option("--volume-size", arguments->volume_size_in_bytes, "Largest size of a volume in bytes")
        ->check(CLI::Range(std::uint64_t{1}, largest_size_in_bytes));
    command->add_option("--folder-size", arguments->folder_size_in_bytes, "Largest unpacked size of a folder in bytes")
        ->check(CLI::Range(std::uint64_t{1}, largest_size_in_bytes));
    command->callback([arguments, &chosen] { chosen = [arguments] { return build(*arguments); }; });
}

} // namespace cw::console

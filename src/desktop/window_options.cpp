#include "desktop/window_options.h"

#include "platform/utf8.h"

#include <string_view>

namespace cw {
namespace {

constexpr std::string_view picture_option = "--screenshot";

} // namespace

window_options parse_window_options(std::span<const char* const> arguments)
{
    window_options options;
    bool options_ended = false;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string_view argument = arguments[index];
        if (options_ended || !argument.starts_with('-')) {
            options.arguments.push_back(platform::path_from_bytes(argument));
        } else if (argument == "--") {
            options_ended = true;
            options.arguments.push_back(u"--");
        } else if (argument == "--help" || argument == "-h") {
            options.show_help = true;
        } else if (argument == "--version" || argument == "-v") {
            options.show_version = true;
        } else if (argument == picture_option && index + 1 < arguments.size()) {
            options.picture_path = platform::path_from_bytes(arguments[++index]);
        } else if (argument.starts_with(picture_option) && argument.size() > picture_option.size() + 1 &&
                   argument[picture_option.size()] == '=') {
            options.picture_path = platform::path_from_bytes(argument.substr(picture_option.size() + 1));
        } else if (argument.starts_with(picture_option)) {
            options.error = "--screenshot needs the name of the picture to write";
        } else if (argument.starts_with("--")) {
            options.error = "unknown option " + std::string(argument);
        } else {
            options.arguments.push_back(platform::path_from_bytes(argument));
        }
    }
    return options;
}

const char* window_help_text() noexcept
{
    return "Usage: cwcabview [options] [FILE]\n"
           "Shows what a setup media (.hdr, .cab) or an installation log (.clg) holds.\n"
           "\n"
           "  --screenshot PICTURE  draw the window with FILE open into a picture and exit;\n"
           "                        needs no display\n"
           "  -h, --help            show this text and exit\n"
           "  -v, --version         show the version and exit\n";
}

} // namespace cw

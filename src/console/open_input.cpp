#include "console/open_input.h"

#include "bridges/media_objects.h"
#include "console/password_input.h"
#include "console/safe_text.h"
#include "platform/utf8.h"

#include <CLI/CLI.hpp>

namespace cw::console {
namespace {

constexpr std::int32_t error_password_needed = 142;
constexpr int most_attempts = 3;
/// What the viewer tells of an open that ended at a question, also where the reply was right and
/// something else failed.
constexpr std::u16string_view question_asked = u"a password is needed to open it";

struct open_error {
    std::int32_t number = 0;
    std::u16string description;
};

/// What the reader told of the last open; nothing where there is no reader or it fails to tell.
open_error last_error(CMainFrame& frame)
try {
    if (!frame.MediaFactory())
        return {};
    const automation::com_ptr<IDispatch> error = get(frame.MediaFactory(), media_factory::LastError);
    return {get(error.get(), media_error::Number), std::u16string(get(error.get(), media_error::Description).view())};
} catch (const _com_error&) {
    return {};
}

/// Opens with a password, if one is asked for. A failure for another reason than the password is told
/// in the reader's words: to the frame it is one more refused password.
std::optional<std::u16string> open_with(headless_application& viewer, const std::u16string& path, std::string& password)
{
    viewer.person().answer(question_kind::password, platform::from_utf8(password));
    wipe(password);
    std::optional<std::u16string> failure = viewer.open(path);
    // A file that asks for none leaves the reply waiting, where the next one would get it.
    if (std::optional<std::u16string> unused = viewer.person().ask_password({path, u""})) {
        wipe(*unused);
        (void)viewer.person().take_questions();
        return failure;
    }
    (void)viewer.person().take_questions();
    if (!failure)
        return {};
    const open_error error = last_error(viewer.frame());
    if (error.number == error_password_needed)
        return u"the password is not correct";
    if (failure != question_asked)
        return failure;
    return error.description.empty() ? failure : error.description;
}

} // namespace

void add_password_option(CLI::App& command, std::string& password_file)
{
    command.add_option("--password-file", password_file,
                       "Open a protected media with the password in the first line of this file");
}

std::optional<std::u16string> open_input(headless_application& viewer, const std::string& file,
                                         const std::string& password_file)
{
    const std::u16string path = absolute_path(file);
    if (!password_file.empty()) {
        std::string password = read_password(password_file);
        return open_with(viewer, path, password);
    }
    std::optional<std::u16string> failure = viewer.open(path);
    const std::string question = "Password for " + terminal_text(platform::from_utf8(file)) + ": ";
    std::string prompt = question;
    for (int attempt = 0; failure && last_error(viewer.frame()).number == error_password_needed; ++attempt) {
        if (attempt == most_attempts)
            return u"the password is not correct";
        std::optional<std::string> password = ask_password(prompt);
        if (!password)
            return u"a password is needed to open it, at the terminal or in a file (--password-file)";
        failure = open_with(viewer, path, *password);
        prompt = "The password is not correct.\n" + question;
    }
    return failure;
}

} // namespace cw::console

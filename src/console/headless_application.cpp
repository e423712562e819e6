#include "console/headless_application.h"

#include "bridges/log_objects.h"
#include "bridges/media_interface.h"
#include "platform/utf8.h"

#include <filesystem>
#include <stdexcept>
#include <utility>

namespace cw::console {
namespace {

std::u16string library_missing(std::u16string_view library_name)
{
    return u"no reader library " + std::u16string(library_name) + u" could be activated";
}

/// What the reader says of a log that did not open. The frame drops it, so the reader is asked again.
std::u16string why_unreadable(ILogLoader* loader, std::u16string_view path)
{
    std::u16string reason = u"the log cannot be read";
    try {
        const automation::bstr full_path(path);
        automation::com_ptr<ILogDocument> document;
        call(loader, &ILogLoader::Open, full_path.get(), document.put());
        (void)object_of(document.get(), &ILogDocument::RootFeature);
    } catch (const _com_error& error) {
        if (const string told = error.Description(); !told.empty())
            reason = told.view();
    }
    return reason;
}

} // namespace

headless_application::headless_application() : m_application(*this)
{
    if (!m_application.InitInstance() || !frame().HasWindow())
        throw std::runtime_error("the frame could not be made");
    frame().SetUnhandledSink([this](std::u16string_view line) {
        // The line names the window's program; the companion names itself.
        const std::size_t colon = line.find(u": ");
        m_unhandled.emplace_back(colon == line.npos ? line : line.substr(colon + 2));
    });
}

headless_application::~headless_application()
{
    frame().Close();
    m_application.ExitInstance();
}

std::optional<std::u16string> headless_application::open(std::u16string_view absolute_path)
{
    (void)m_services.take_messages();
    (void)m_services.take_questions();
    m_unhandled.clear();
    bool opened = false;
    frame().Guard([&] { opened = frame().OpenFile(string(absolute_path)); });

    const auto messages = m_services.take_messages();
    const auto questions = m_services.take_questions();
    if (!m_unhandled.empty())
        return m_unhandled.front();
    if (!messages.empty())
        return messages.front().text;
    if (!opened && !questions.empty())
        return u"a password is needed to open it";
    // What stays silent in the window is told here, where there is no window to show it.
    if (!opened)
        return frame().HasMediaFactory() ? u"the reader gave neither a media nor an error"
                                         : library_missing(media_library_name);
    if (!frame().HasMedia() && !frame().HasLog())
        return frame().HasLogLoader() ? why_unreadable(frame().LogLoader(), absolute_path)
                                      : library_missing(log_library_name);
    return {};
}

std::optional<std::u16string> headless_application::run_command(std::uint32_t id)
{
    m_unhandled.clear();
    frame().RunCommand(id);
    if (m_unhandled.empty())
        return {};
    return m_unhandled.front();
}

std::optional<std::u16string> headless_application::select(HTREEITEM item)
{
    m_unhandled.clear();
    frame().Guard([&] { frame().Tree().SelectItem(item); });
    if (m_unhandled.empty())
        return {};
    return m_unhandled.front();
}

std::optional<std::u16string> headless_application::take_unhandled()
{
    if (m_unhandled.empty())
        return {};
    constexpr std::u16string_view heading = u"unhandled error: ";
    std::u16string line = std::exchange(m_unhandled, {}).front();
    if (line.starts_with(heading))
        line.erase(0, heading.size());
    return line;
}

std::u16string absolute_path(const std::string& argument)
{
    if (argument.empty())
        throw std::runtime_error("the name of the file is empty");
    // Not made shorter: "link/.." need not be the folder of the link.
    std::error_code failure;
    const std::filesystem::path path = std::filesystem::absolute(argument, failure);
    if (failure)
        throw std::runtime_error(argument + ": the current folder is not there any more");
    return platform::path_from_bytes(path.string());
}

} // namespace cw::console

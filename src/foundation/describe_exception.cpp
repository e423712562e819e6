#include "foundation/exceptions.h"

#include "platform/services.h"

namespace cw {

namespace {

/// The system's text of a code, empty where there is none.
string system_text(std::uint32_t code)
{
    auto& messages = *platform::current().messages;
    char16_t* text = messages.format_message(code);
    const string result(text);
    if (text)
        messages.release(text);
    return result;
}

/// On one line: line ends and other control characters become blanks, those at the end go.
string on_one_line(const string& text)
{
    std::u16string line(text.view());
    for (char16_t& character : line) {
        if (character < 0x20 || character == 0x7F)
            character = u' ';
    }
    const std::size_t last = line.find_last_not_of(u' ');
    return string(std::u16string_view(line).substr(0, last == std::u16string::npos ? 0 : last + 1));
}

/// `head` alone where there is nothing more to say.
string with_text(const string& head, const string& text)
{
    const string line = on_one_line(text);
    return line.empty() ? head : head + u": " + line;
}

string describe_result(HRESULT result, const string& description)
{
    string head;
    head.format(u"0x%08X", static_cast<unsigned>(result));
    return with_text(head, description.empty() ? system_text(static_cast<std::uint32_t>(result)) : description);
}

string describe_system_error(const char16_t* kind, const win32_exception& error, const string* path)
{
    string head;
    head.format(u"%s %u", kind, error.code);
    if (path)
        head += std::u16string(u", ") + std::u16string(on_one_line(*path).view());
    // Not its `what`: a text formed in this copy would be given up when another copy is the last to go.
    return with_text(head, error.code ? system_text(error.code) : string());
}

} // namespace

string describe_exception(std::exception_ptr exception)
{
    if (!exception)
        return string(u"no exception");
    try {
        std::rethrow_exception(exception);
    } catch (const internet_file_exception& error) {
        return describe_system_error(u"network file error", error, &error.path);
    } catch (const file_exception& error) {
        return describe_system_error(u"file error", error, &error.path);
    } catch (const internet_exception& error) {
        return describe_system_error(u"network error", error, nullptr);
    } catch (const win32_exception& error) {
        return describe_system_error(u"system error", error, nullptr);
    } catch (const _com_error& error) {
        return describe_result(error.Error(), error.Description());
    } catch (const com_exception& error) {
        return describe_result(error.hresult, error.description);
    } catch (const ole_exception& error) {
        return describe_result(error.hresult, string());
    } catch (const std::exception& error) {
        string text;
        text.assign_bytes(error.what(), -1, 65001);
        return on_one_line(text);
    } catch (std::int32_t result) {
        return describe_result(result, string());
    } catch (...) {
        return string(u"unknown exception");
    }
}

} // namespace cw

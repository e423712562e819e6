#include "readers/mediaforge/factory.h"

#include "readers/mediaforge/media_objects.h"
#include "readers/mediaforge/opening.h"
#include "readers/storage/text.h"

#include <new>

namespace cw::mediaforge {
namespace {

/// A password in UTF-8; none given is the empty one.
std::string password_text(const VARIANT* password)
{
    if (!password || password->vt == VT_EMPTY || password->vt == VT_NULL)
        return {};
    automation::variant text;
    if (const HRESULT result = VariantCopyInd(&text, password); FAILED(result))
        throw automation::automation_error(result);
    if (const HRESULT result = VariantChangeType(&text, &text, 0, VT_BSTR); FAILED(result))
        throw automation::automation_error(result, u"A password is a text.");
    return storage::to_utf8({text.bstrVal ? text.bstrVal : u"", SysStringLen(text.bstrVal)});
}

} // namespace

com_ptr<IDispatch> factory_object::open_media(const std::u16string& path, const VARIANT* password)
{
    const std::string native_path = storage::to_native_path(path);
    try {
        media_handle media = mediaforge::open_media(native_path, password_text(password), m_lastError);
        *m_lastError = {};
        return make_object<media_object>(std::move(media));
    } catch (const media_failure& failure) {
        m_lastError->remember(failure);
        throw;
    } catch (const std::bad_alloc&) {
        const media_failure failure(error_number::out_of_memory, native_path, {}, ENOMEM);
        m_lastError->remember(failure);
        throw failure;
    } catch (const std::exception&) {
        // Callers learn from the last error alone whether an open failed.
        m_lastError->remember(media_failure(error_number::read_failed, native_path));
        throw;
    }
}

com_ptr<IDispatch> factory_object::last_error()
{
    return make_object<error_object>(*m_lastError);
}

} // namespace cw::mediaforge

// The entry object of the library, and its last error.
#pragma once

#include "readers/mediaforge/row_object.h"

#include <memory>
#include <string>

namespace cw::mediaforge {

/// `IMediaFactory`
class factory_object final : public automation::dispatch_object<factory_object> {
public:
    factory_object() : m_lastError(std::make_shared<error_record>()) {}
    /// A failure is kept as the last error; a success clears it.
    com_ptr<IDispatch> open_media(const std::u16string& path, const VARIANT* password);
    com_ptr<IDispatch> last_error();

    static constexpr IID iid = IID_IMediaFactory;
    static constexpr std::u16string_view name = media_factory::interface_name;
    static constexpr std::array members{answers<&factory_object::open_media>(media_factory::OpenMedia),
                                        answers<&factory_object::last_error>(media_factory::LastError)};

private:
    std::shared_ptr<error_record> m_lastError;
};

/// `IMediaError`: the error as it was when it was asked for.
class error_object final : public automation::dispatch_object<error_object> {
public:
    explicit error_object(error_record record) : m_record(std::move(record)) {}
    std::u16string description() { return m_record.description; }
    std::int32_t number() { return static_cast<std::int32_t>(m_record.number); }
    std::u16string system_text() { return m_record.system_text; }

    static constexpr IID iid = IID_NULL;
    static constexpr std::u16string_view name = media_error::interface_name;
    static constexpr std::array members{answers<&error_object::description>(media_error::Description),
                                        answers<&error_object::number>(media_error::Number),
                                        answers<&error_object::system_text>(media_error::SystemText)};

private:
    error_record m_record;
};

} // namespace cw::mediaforge

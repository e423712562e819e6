// Components and their files.
#pragma once

#include "readers/mediaforge/collections.h"

namespace cw::mediaforge {

/// `IMediaComponent`
class component_object final : public row_object<component_object> {
public:
    component_object(media_handle media, std::int64_t id) noexcept : row_object(std::move(media), {id}) {}
    com_ptr<IDispatch> files();

    static constexpr rows source = rows::component;
    static constexpr IID iid = IID_NULL;
    static constexpr std::u16string_view name = media_component::interface_name;
    static constexpr std::array members = members_of<component_object, formats::component_columns>(
        answers<&component_object::files>(media_component::Files));
};

/// `IMediaFile`
class file_object final : public row_object<file_object> {
public:
    file_object(media_handle media, std::int64_t component, std::int32_t position) noexcept
        : row_object(std::move(media), {component, position})
    {
    }
    automation::bstr file_name();
    automation::bstr version();
    std::int32_t size();
    std::int32_t compressed_size();
    automation::date_value date();
    /// 32 lower-case hexadecimal digits; empty where the media has no signature.
    automation::bstr md5_signature();
    std::int32_t flags();
    void extract(const std::u16string& target);

    static constexpr rows source = rows::file;
    static constexpr IID iid = IID_NULL;
    static constexpr std::u16string_view name = media_file::interface_name;
    static constexpr std::array members{answers<&file_object::file_name>(media_file::Name),
                                        answers<&file_object::version>(media_file::Version),
                                        answers<&file_object::size>(media_file::Size),
                                        answers<&file_object::compressed_size>(media_file::CompressedSize),
                                        answers<&file_object::date>(media_file::Date),
                                        answers<&file_object::md5_signature>(media_file::Md5Signature),
                                        answers<&file_object::extract>(media_file::Extract),
                                        answers<&file_object::flags>(media_file::Flags)};
};

} // namespace cw::mediaforge

// The media itself and the objects that it has one of: settings, Add/Remove Programs data, report.
#pragma once

#include "readers/mediaforge/collections.h"

namespace cw::mediaforge {

/// `IMedia`
class media_object final : public row_object<media_object> {
public:
    explicit media_object(media_handle media) noexcept : row_object(std::move(media), {}) {}
    /// A collection of the whole media.
    template <const collection_sort& Sort>
    com_ptr<IDispatch> all()
    {
        return make_object<collection_object>(m_media, Sort);
    }
    /// A media has one product: its argument says nothing and may be left out.
    automation::bstr product_guid(const VARIANT* which);
    com_ptr<IDispatch> settings();
    com_ptr<IDispatch> arp_info();
    com_ptr<IDispatch> report();

    static constexpr rows source = rows::media;
    static constexpr IID iid = IID_NULL;
    static constexpr std::u16string_view name = media::interface_name;
    // `ProductGuid` is a column too; here it takes its argument.
    static constexpr std::array members = members_of<media_object, formats::media_columns>(
        answers<&media_object::product_guid>(media::ProductGuid),
        answers<&media_object::all<sorts::features>>(media::Features),
        answers<&media_object::all<sorts::components>>(media::Components),
        answers<&media_object::all<sorts::setup_types>>(media::SetupTypes),
        answers<&media_object::all<sorts::registry_sets>>(media::RegistrySets),
        answers<&media_object::all<sorts::shell_folders>>(media::ShellFolders),
        answers<&media_object::settings>(media::MediaSettings), answers<&media_object::arp_info>(media::ArpInfo),
        answers<&media_object::report>(media::Report));
};

/// `IMediaSettings`
class settings_object final : public row_object<settings_object> {
public:
    explicit settings_object(media_handle media) noexcept : row_object(std::move(media), {}) {}
    std::int32_t old_version_count();
    /// An array of texts from 0.
    automation::variant old_versions();

    static constexpr rows source = rows::media_settings;
    static constexpr IID iid = IID_IMediaSettings;
    static constexpr std::u16string_view name = media_settings::interface_name;
    static constexpr std::array members = members_of<settings_object, formats::media_settings_columns>(
        answers<&settings_object::old_version_count>(media_settings::OldVersionCount),
        answers<&settings_object::old_versions>(media_settings::OldVersions));
};

/// `IMediaArpInfo`
class arp_info_object final : public row_object<arp_info_object> {
public:
    explicit arp_info_object(media_handle media) noexcept : row_object(std::move(media), {}) {}

    static constexpr rows source = rows::arp_info;
    static constexpr IID iid = IID_NULL;
    static constexpr std::u16string_view name = media_arp_info::interface_name;
    static constexpr std::array members = members_of<arp_info_object, formats::arp_info_columns>();
};

/// `IMediaReport`
class report_object final : public automation::dispatch_object<report_object> {
public:
    explicit report_object(media_handle media) noexcept : m_media(std::move(media)) {}
    automation::bstr first_part();
    automation::bstr second_part();

    static constexpr IID iid = IID_NULL;
    static constexpr std::u16string_view name = media_report::interface_name;
    static constexpr std::array members{answers<&report_object::first_part>(media_report::FirstPart),
                                        answers<&report_object::second_part>(media_report::SecondPart)};

private:
    media_handle m_media;
};

} // namespace cw::mediaforge

// Shell folders and shortcuts.
#pragma once

#include "readers/mediaforge/collections.h"

namespace cw::mediaforge {

/// `IMediaShellFolder`
class shell_folder_object final : public row_object<shell_folder_object> {
public:
    shell_folder_object(media_handle media, std::int64_t id) noexcept : row_object(std::move(media), {id}) {}
    com_ptr<IDispatch> sub_folders();
    com_ptr<IDispatch> shortcuts();

    static constexpr rows source = rows::shell_folder;
    static constexpr IID iid = IID_IMediaShellFolder;
    static constexpr std::u16string_view name = media_shell_folder::interface_name;
    static constexpr std::array members = members_of<shell_folder_object, formats::shell_folder_columns>(
        answers<&shell_folder_object::sub_folders>(media_shell_folder::SubFolders),
        answers<&shell_folder_object::shortcuts>(media_shell_folder::Shortcuts));
};

/// `IMediaShortcut`
class shortcut_object final : public row_object<shortcut_object> {
public:
    shortcut_object(media_handle media, std::int64_t folder, std::int32_t position) noexcept
        : row_object(std::move(media), {folder, position})
    {
    }

    static constexpr rows source = rows::shortcut;
    static constexpr IID iid = IID_IMediaShortcut;
    static constexpr std::u16string_view name = media_shortcut::interface_name;
    static constexpr std::array members = members_of<shortcut_object, formats::shortcut_columns>();
};

} // namespace cw::mediaforge

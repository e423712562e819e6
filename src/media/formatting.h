// Turning values of the media library into the words of the list.
#pragma once

#include "automation/dispatch.h"
#include "automation/variant.h"
#include "foundation/string.h"

#include <cstdint>

namespace cw {

/// Names of a collection of features, or of components, joined with ", ".
[[nodiscard]] string JoinFeatureNames(IDispatch* features);
[[nodiscard]] string JoinComponentNames(IDispatch* components);

/// Keywords of a component's overwrite flags, version part before date part.
[[nodiscard]] string FormatOverwrite(std::int32_t flags);
/// "Critical", "Highly Recommended", "Standard", or empty.
[[nodiscard]] string FormatFileNeed(std::int32_t file_need);
/// A language number in hexadecimal text as decimal text; "n/a" for zero or no number.
[[nodiscard]] string FormatLanguage(const string& language);

/// "Personal" or "Common", by bit 0.
[[nodiscard]] string FormatFolderType(std::int32_t folder_type);
/// How a shortcut's window opens; empty for a command without a name.
[[nodiscard]] string FormatShowCommand(std::int32_t show_command);

/// The text of a registry value that holds many strings, from four hexadecimal digits a character;
/// digits that make no whole character are dropped. Zeros become blanks.
[[nodiscard]] string DecodeMultiString(const string& digits);

/// "ver70" and the like for the formats with a name, otherwise a number and the text kind.
[[nodiscard]] string FormatCabinetVersion(std::int32_t format_version);
/// Four numbers joined by dots. The first and the third keep the sign of their words, the others do
/// not.
[[nodiscard]] string FormatEngineVersion(std::int32_t high, std::int32_t low);
/// "Static" or "Dynamic".
[[nodiscard]] string FormatEngineBinding(std::int32_t binding);
/// Empty for a mode without a name.
[[nodiscard]] string FormatMaintenance(std::int32_t mode);
[[nodiscard]] string FormatUpdateMode(std::int32_t mode);
/// Whether the media updates an earlier version, in full or by differences.
[[nodiscard]] bool IsUpdate(std::int32_t update_mode) noexcept;
/// The texts of an array joined with "; ". Raises `safe_array_exception` for a value that is no array
/// of one dimension, and the bare result code of an array operation that fails.
[[nodiscard]] string JoinOldVersions(const VARIANT& old_versions);

} // namespace cw

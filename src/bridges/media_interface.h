// The contract with the media library: every object that the viewer reads, every member that it
// calls, by number. Readers and callers include this; the numbers are the contract, the names are
// ours. The member numbers that stand in no table here are never called.
#pragma once

#include "automation/dispatch.h"

#include <array>
#include <string_view>

namespace cw {

/// File name and class of the library's entry object.
inline constexpr std::u16string_view media_library_name = u"MediaForge40.dll";
inline constexpr CLSID CLSID_MediaFactory = automation::guid_from_literal("471340C5-6A34-4191-9A18-EE68A1A9169B");

inline constexpr IID IID_IMediaFactory = automation::guid_from_literal("EB8813D2-9D62-4338-8977-0DCA01E1DA4F");
inline constexpr IID IID_IMediaFeature = automation::guid_from_literal("DAF73EA4-E3EF-4106-94BC-2142B7F05845");
inline constexpr IID IID_IMediaShellFolder = automation::guid_from_literal("8D4D5C6E-E692-4575-9706-B2A1908C67E1");
inline constexpr IID IID_IMediaShortcut = automation::guid_from_literal("7ABF8F14-5E30-4ADD-A0D1-3C5C2B72A4B3");
inline constexpr IID IID_IMediaRegistrySet = automation::guid_from_literal("95A1077B-206E-41EA-8260-E3094EAD339B");
inline constexpr IID IID_IMediaRegistryKey = automation::guid_from_literal("346D6DE0-15D5-40F5-8392-9D8D561BAA51");
inline constexpr IID IID_IMediaSettings = automation::guid_from_literal("C0EC85B2-43DA-4825-AB27-067ECF356CF3");

/// A member of an object of the media library. `type` is the type asked for as the result, VT_EMPTY
/// where a method has none.
struct media_member_row {
    DISPID id;
    std::u16string_view name;
    VARTYPE type;
    WORD kind = DISPATCH_PROPERTYGET;
    /// For VT_DISPATCH: the interface that comes back, or that of the items of the collection that
    /// comes back.
    std::u16string_view object = {};
    bool collection = false;
};

/// The same with its result type in its own type, so that a typed read needs no further word.
template <VARTYPE Type>
struct media_member : media_member_row {
    constexpr media_member(DISPID number, std::u16string_view member_name, std::u16string_view result_object = {},
                           bool is_collection = false, WORD call_kind = DISPATCH_PROPERTYGET)
        : media_member_row{number, member_name, Type, call_kind, result_object, is_collection}
    {
    }
};

// `IMediaFactory`: entry object of the library; lives as long as the frame.
namespace media_factory {
inline constexpr std::u16string_view interface_name = u"IMediaFactory";
inline constexpr media_member<VT_DISPATCH> OpenMedia{2001, u"OpenMedia", u"IMedia", false, DISPATCH_METHOD};
inline constexpr media_member<VT_DISPATCH> LastError{3, u"LastError", u"IMediaError"};
inline constexpr auto all = std::to_array<media_member_row>({OpenMedia, LastError});
} // namespace media_factory

// `IMediaError`: the factory's last error.
namespace media_error {
inline constexpr std::u16string_view interface_name = u"IMediaError";
inline constexpr media_member<VT_BSTR> Description{0, u"Description"};
inline constexpr media_member<VT_I4> Number{1, u"Number"};
inline constexpr media_member<VT_BSTR> SystemText{5, u"SystemText"};
inline constexpr auto all = std::to_array<media_member_row>({Description, Number, SystemText});
} // namespace media_error

// `IMedia`: one open media.
namespace media {
inline constexpr std::u16string_view interface_name = u"IMedia";
inline constexpr media_member<VT_DISPATCH> Features{0, u"Features", u"IMediaFeature", true};
inline constexpr media_member<VT_DISPATCH> Components{2, u"Components", u"IMediaComponent", true};
inline constexpr media_member<VT_DISPATCH> SetupTypes{5, u"SetupTypes", u"IMediaSetupType", true};
inline constexpr media_member<VT_DISPATCH> RegistrySets{7, u"RegistrySets", u"IMediaRegistrySet", true};
inline constexpr media_member<VT_DISPATCH> ShellFolders{8, u"ShellFolders", u"IMediaShellFolder", true};
inline constexpr media_member<VT_I4> FormatVersion{11, u"FormatVersion"};
inline constexpr media_member<VT_DISPATCH> Report{12, u"Report", u"IMediaReport"};
inline constexpr media_member<VT_BSTR> ProductGuid{16, u"ProductGuid"};
inline constexpr media_member<VT_I4> EngineVersionHigh{18, u"EngineVersionHigh"};
inline constexpr media_member<VT_I4> EngineVersionLow{19, u"EngineVersionLow"};
inline constexpr media_member<VT_DISPATCH> MediaSettings{21, u"MediaSettings", u"IMediaSettings"};
inline constexpr media_member<VT_I4> EngineBinding{22, u"EngineBinding"};
inline constexpr media_member<VT_DISPATCH> ArpInfo{23, u"ArpInfo", u"IMediaArpInfo"};
inline constexpr auto all = std::to_array<media_member_row>(
    {Features, Components, SetupTypes, RegistrySets, ShellFolders, FormatVersion, Report, ProductGuid,
     EngineVersionHigh, EngineVersionLow, MediaSettings, EngineBinding, ArpInfo});
} // namespace media

// `IMediaCollection`: a collection, its indices from 1.
namespace media_collection {
inline constexpr std::u16string_view interface_name = u"IMediaCollection";
inline constexpr media_member<VT_I4> Count{1003, u"Count"};
inline constexpr media_member<VT_DISPATCH> Item{0, u"Item"};
inline constexpr auto all = std::to_array<media_member_row>({Count, Item});
} // namespace media_collection

// `IMediaFeature`: a feature.
namespace media_feature {
inline constexpr std::u16string_view interface_name = u"IMediaFeature";
inline constexpr media_member<VT_DISPATCH> SubFeatures{0, u"SubFeatures", u"IMediaFeature", true};
inline constexpr media_member<VT_BSTR> Description{1, u"Description"};
inline constexpr media_member<VT_BSTR> StatusText{2, u"StatusText"};
inline constexpr media_member<VT_BSTR> Miscellaneous{3, u"Miscellaneous"};
inline constexpr media_member<VT_BSTR> DisplayName{4, u"DisplayName"};
inline constexpr media_member<VT_BSTR> FtpLocation{5, u"FtpLocation"};
inline constexpr media_member<VT_BSTR> HttpLocation{6, u"HttpLocation"};
inline constexpr media_member<VT_BSTR> CdRomFolder{7, u"CdRomFolder"};
inline constexpr media_member<VT_BOOL> Visible{9, u"Visible"};
inline constexpr media_member<VT_I4> FileNeed{11, u"FileNeed"};
inline constexpr media_member<VT_DISPATCH> IncludedComponents{12, u"IncludedComponents", u"IMediaComponent", true};
inline constexpr media_member<VT_BSTR> Name{13, u"Name"};
inline constexpr media_member<VT_DISPATCH> RequiredFeatures{14, u"RequiredFeatures", u"IMediaFeature", true};
inline constexpr media_member<VT_BOOL> DataAsFiles{17, u"DataAsFiles"};
inline constexpr media_member<VT_BOOL> Encryption{18, u"Encryption"};
inline constexpr media_member<VT_I4> PasswordFlags{19, u"PasswordFlags"};
inline constexpr media_member<VT_BOOL> Volatile{21, u"Volatile"};
inline constexpr media_member<VT_BSTR> ObjectName{22, u"ObjectName"};
inline constexpr media_member<VT_DISPATCH> ObjectProperties{23, u"ObjectProperties", u"IMediaFeatureProperty", true};
inline constexpr media_member<VT_BSTR> Guid{24, u"Guid"};
inline constexpr media_member<VT_I4> Flags{25, u"Flags"};
inline constexpr media_member<VT_BSTR> OnInstalling{27, u"OnInstalling"};
inline constexpr media_member<VT_BSTR> OnInstalled{28, u"OnInstalled"};
inline constexpr media_member<VT_BSTR> OnUninstalling{29, u"OnUninstalling"};
inline constexpr media_member<VT_BSTR> OnUninstalled{30, u"OnUninstalled"};
inline constexpr media_member<VT_BOOL> SplitBefore{31, u"SplitBefore"};
inline constexpr media_member<VT_BOOL> SplitAfter{32, u"SplitAfter"};
inline constexpr media_member<VT_BOOL> SplitNotAllowed{33, u"SplitNotAllowed"};
inline constexpr media_member<VT_BOOL> SplitBeforeNotAllowed{34, u"SplitBeforeNotAllowed"};
inline constexpr media_member<VT_BSTR> ObjectVersion{35, u"ObjectVersion"};
inline constexpr media_member<VT_I2> ImageIndex{36, u"ImageIndex"};
inline constexpr auto all = std::to_array<media_member_row>({SubFeatures,
                                                             Description,
                                                             StatusText,
                                                             Miscellaneous,
                                                             DisplayName,
                                                             FtpLocation,
                                                             HttpLocation,
                                                             CdRomFolder,
                                                             Visible,
                                                             FileNeed,
                                                             IncludedComponents,
                                                             Name,
                                                             RequiredFeatures,
                                                             DataAsFiles,
                                                             Encryption,
                                                             PasswordFlags,
                                                             Volatile,
                                                             ObjectName,
                                                             ObjectProperties,
                                                             Guid,
                                                             Flags,
                                                             OnInstalling,
                                                             OnInstalled,
                                                             OnUninstalling,
                                                             OnUninstalled,
                                                             SplitBefore,
                                                             SplitAfter,
                                                             SplitNotAllowed,
                                                             SplitBeforeNotAllowed,
                                                             ObjectVersion,
                                                             ImageIndex});
} // namespace media_feature

// `IMediaFeatureProperty`: a named value of an object feature.
namespace media_feature_property {
inline constexpr std::u16string_view interface_name = u"IMediaFeatureProperty";
inline constexpr media_member<VT_VARIANT> Value{0, u"Value"};
inline constexpr media_member<VT_BSTR> Name{1, u"Name"};
inline constexpr auto all = std::to_array<media_member_row>({Value, Name});
} // namespace media_feature_property

// `IMediaComponent`: a component.
namespace media_component {
inline constexpr std::u16string_view interface_name = u"IMediaComponent";
inline constexpr media_member<VT_DISPATCH> Files{0, u"Files", u"IMediaFileList"};
inline constexpr media_member<VT_BSTR> OperatingSystems{1, u"OperatingSystems"};
inline constexpr media_member<VT_BSTR> Language{2, u"Language"};
inline constexpr media_member<VT_BSTR> FtpLocation{3, u"FtpLocation"};
inline constexpr media_member<VT_BSTR> HttpLocation{4, u"HttpLocation"};
inline constexpr media_member<VT_BSTR> Miscellaneous{5, u"Miscellaneous"};
inline constexpr media_member<VT_BOOL> PotentiallyLocked{6, u"PotentiallyLocked"};
inline constexpr media_member<VT_BOOL> SelfRegistering{7, u"SelfRegistering"};
inline constexpr media_member<VT_BOOL> Shared{8, u"Shared"};
inline constexpr media_member<VT_BSTR> Name{10, u"Name"};
inline constexpr media_member<VT_BOOL> Compressed{13, u"Compressed"};
inline constexpr media_member<VT_I4> StorageFlags{14, u"StorageFlags"};
inline constexpr media_member<VT_BSTR> Destination{15, u"Destination"};
inline constexpr media_member<VT_I4> Overwrite{16, u"Overwrite"};
inline constexpr media_member<VT_BOOL> Uninstall{19, u"Uninstall"};
inline constexpr media_member<VT_I4> DotNetAssembly{21, u"DotNetAssembly"};
inline constexpr media_member<VT_I4> PlatformSuites{22, u"PlatformSuites"};
inline constexpr media_member<VT_BOOL> SixtyFourBit{23, u"SixtyFourBit"};
inline constexpr auto all =
    std::to_array<media_member_row>({Files, OperatingSystems, Language, FtpLocation, HttpLocation, Miscellaneous,
                                     PotentiallyLocked, SelfRegistering, Shared, Name, Compressed, StorageFlags,
                                     Destination, Overwrite, Uninstall, DotNetAssembly, PlatformSuites, SixtyFourBit});
} // namespace media_component

// `IMediaFileList`: a component's files; its numbers differ from those of the other collections.
namespace media_file_list {
inline constexpr std::u16string_view interface_name = u"IMediaFileList";
inline constexpr media_member<VT_I4> Count{1, u"Count"};
inline constexpr media_member<VT_DISPATCH> Item{5, u"Item", u"IMediaFile"};
inline constexpr auto all = std::to_array<media_member_row>({Count, Item});
} // namespace media_file_list

// `IMediaFile`: one file.
namespace media_file {
inline constexpr std::u16string_view interface_name = u"IMediaFile";
inline constexpr media_member<VT_BSTR> Name{0, u"Name"};
inline constexpr media_member<VT_BSTR> Version{3, u"Version"};
inline constexpr media_member<VT_I4> Size{5, u"Size"};
inline constexpr media_member<VT_I4> CompressedSize{6, u"CompressedSize"};
inline constexpr media_member<VT_DATE> Date{7, u"Date"};
inline constexpr media_member<VT_BSTR> Md5Signature{8, u"Md5Signature"};
inline constexpr media_member<VT_EMPTY> Extract{9, u"Extract", {}, false, DISPATCH_METHOD};
inline constexpr media_member<VT_I4> Flags{16, u"Flags"};
inline constexpr auto all =
    std::to_array<media_member_row>({Name, Version, Size, CompressedSize, Date, Md5Signature, Extract, Flags});
} // namespace media_file

// `IMediaSetupType`: a setup type.
namespace media_setup_type {
inline constexpr std::u16string_view interface_name = u"IMediaSetupType";
inline constexpr media_member<VT_DISPATCH> Features{0, u"Features", u"IMediaFeature", true};
inline constexpr media_member<VT_BSTR> Name{3, u"Name"};
inline constexpr auto all = std::to_array<media_member_row>({Features, Name});
} // namespace media_setup_type

// `IMediaShellFolder`: a shell folder.
namespace media_shell_folder {
inline constexpr std::u16string_view interface_name = u"IMediaShellFolder";
inline constexpr media_member<VT_BSTR> Name{0, u"Name"};
inline constexpr media_member<VT_BSTR> DisplayName{1, u"DisplayName"};
inline constexpr media_member<VT_DISPATCH> SubFolders{2, u"SubFolders", u"IMediaShellFolder", true};
inline constexpr media_member<VT_DISPATCH> Shortcuts{3, u"Shortcuts", u"IMediaShortcut", true};
inline constexpr media_member<VT_BOOL> Shared{4, u"Shared"};
inline constexpr auto all = std::to_array<media_member_row>({Name, DisplayName, SubFolders, Shortcuts, Shared});
} // namespace media_shell_folder

// `IMediaShortcut`: a shortcut in a shell folder.
namespace media_shortcut {
inline constexpr std::u16string_view interface_name = u"IMediaShortcut";
inline constexpr media_member<VT_BSTR> Name{0, u"Name"};
inline constexpr media_member<VT_BSTR> ShortcutText{1, u"ShortcutText"};
inline constexpr media_member<VT_I4> ShortcutFlags{2, u"ShortcutFlags"};
inline constexpr media_member<VT_BSTR> Target{3, u"Target"};
inline constexpr media_member<VT_BSTR> Parameters{5, u"Parameters"};
inline constexpr media_member<VT_BSTR> StartIn{6, u"StartIn"};
inline constexpr media_member<VT_BSTR> ShortcutKey{7, u"ShortcutKey"};
inline constexpr media_member<VT_I4> ShowCommand{8, u"ShowCommand"};
inline constexpr media_member<VT_BSTR> IconFile{9, u"IconFile"};
inline constexpr media_member<VT_I4> IconIndex{10, u"IconIndex"};
inline constexpr media_member<VT_BOOL> ReplaceExisting{11, u"ReplaceExisting"};
inline constexpr media_member<VT_I4> FolderType{13, u"FolderType"};
inline constexpr media_member<VT_BOOL> Uninstall{14, u"Uninstall"};
inline constexpr media_member<VT_BOOL> PreventPinning{15, u"PreventPinning"};
inline constexpr media_member<VT_BOOL> NoHighlightOnInstall{16, u"NoHighlightOnInstall"};
inline constexpr media_member<VT_BOOL> NoPinToStart{17, u"NoPinToStart"};
inline constexpr media_member<VT_BOOL> RunAsAdministrator{18, u"RunAsAdministrator"};
inline constexpr auto all = std::to_array<media_member_row>(
    {Name, ShortcutText, ShortcutFlags, Target, Parameters, StartIn, ShortcutKey, ShowCommand, IconFile, IconIndex,
     ReplaceExisting, FolderType, Uninstall, PreventPinning, NoHighlightOnInstall, NoPinToStart, RunAsAdministrator});
} // namespace media_shortcut

// `IMediaRegistrySet`: a registry set.
namespace media_registry_set {
inline constexpr std::u16string_view interface_name = u"IMediaRegistrySet";
inline constexpr media_member<VT_BSTR> Name{0, u"Name"};
inline constexpr media_member<VT_DISPATCH> Components{1, u"Components", u"IMediaComponent", true};
inline constexpr media_member<VT_DISPATCH> ClassesRootKeys{2, u"ClassesRootKeys", u"IMediaRegistryKey", true};
inline constexpr media_member<VT_DISPATCH> CurrentUserKeys{3, u"CurrentUserKeys", u"IMediaRegistryKey", true};
inline constexpr media_member<VT_DISPATCH> LocalMachineKeys{4, u"LocalMachineKeys", u"IMediaRegistryKey", true};
inline constexpr media_member<VT_DISPATCH> UsersKeys{5, u"UsersKeys", u"IMediaRegistryKey", true};
inline constexpr media_member<VT_DISPATCH> UserSelectableKeys{6, u"UserSelectableKeys", u"IMediaRegistryKey", true};
inline constexpr auto all = std::to_array<media_member_row>(
    {Name, Components, ClassesRootKeys, CurrentUserKeys, LocalMachineKeys, UsersKeys, UserSelectableKeys});
} // namespace media_registry_set

// `IMediaRegistryKey`: a registry key.
namespace media_registry_key {
inline constexpr std::u16string_view interface_name = u"IMediaRegistryKey";
inline constexpr media_member<VT_BSTR> DefaultValue{0, u"DefaultValue"};
inline constexpr media_member<VT_BSTR> Path{1, u"Path"};
inline constexpr media_member<VT_DISPATCH> Values{2, u"Values", u"IMediaRegistryValue", true};
inline constexpr auto all = std::to_array<media_member_row>({DefaultValue, Path, Values});
} // namespace media_registry_key

// `IMediaRegistryValue`: a value of a registry key.
namespace media_registry_value {
inline constexpr std::u16string_view interface_name = u"IMediaRegistryValue";
inline constexpr media_member<VT_VARIANT> Data{0, u"Data"};
inline constexpr media_member<VT_I4> ValueType{1, u"ValueType"};
inline constexpr media_member<VT_BSTR> Name{2, u"Name"};
inline constexpr media_member<VT_BOOL> Uninstall{3, u"Uninstall"};
inline constexpr auto all = std::to_array<media_member_row>({Data, ValueType, Name, Uninstall});
} // namespace media_registry_value

// `IMediaSettings`: media settings.
namespace media_settings {
inline constexpr std::u16string_view interface_name = u"IMediaSettings";
inline constexpr media_member<VT_I4> UpdateMode{0, u"UpdateMode"};
inline constexpr media_member<VT_I4> MaintenanceMode{1, u"MaintenanceMode"};
inline constexpr media_member<VT_BSTR> ProductVersion{3, u"ProductVersion"};
inline constexpr media_member<VT_BSTR> ProductName{4, u"ProductName"};
inline constexpr media_member<VT_BSTR> CompanyName{5, u"CompanyName"};
inline constexpr media_member<VT_BSTR> ExecutableFile{6, u"ExecutableFile"};
inline constexpr media_member<VT_I4> OldVersionCount{7, u"OldVersionCount"};
inline constexpr media_member<VT_VARIANT> OldVersions{8, u"OldVersions"};
inline constexpr media_member<VT_BSTR> TargetDir{11, u"TargetDir"};
inline constexpr auto all =
    std::to_array<media_member_row>({UpdateMode, MaintenanceMode, ProductVersion, ProductName, CompanyName,
                                     ExecutableFile, OldVersionCount, OldVersions, TargetDir});
} // namespace media_settings

// `IMediaArpInfo`: Add/Remove Programs data.
namespace media_arp_info {
inline constexpr std::u16string_view interface_name = u"IMediaArpInfo";
inline constexpr media_member<VT_BSTR> PublisherUrl{1, u"PublisherUrl"};
inline constexpr media_member<VT_BSTR> SupportContact{2, u"SupportContact"};
inline constexpr media_member<VT_BSTR> SupportUrl{3, u"SupportUrl"};
inline constexpr media_member<VT_BSTR> SupportPhone{4, u"SupportPhone"};
inline constexpr media_member<VT_BSTR> ReadMe{5, u"ReadMe"};
inline constexpr media_member<VT_BSTR> ProductUpdateUrl{6, u"ProductUpdateUrl"};
inline constexpr media_member<VT_BSTR> Comments{7, u"Comments"};
inline constexpr media_member<VT_BSTR> DisplayIcon{8, u"DisplayIcon"};
inline constexpr media_member<VT_BOOL> DisableChangeButton{9, u"DisableChangeButton"};
inline constexpr media_member<VT_BOOL> DisableRemoveButton{10, u"DisableRemoveButton"};
inline constexpr media_member<VT_BOOL> CombinedButtons{11, u"CombinedButtons"};
inline constexpr auto all =
    std::to_array<media_member_row>({PublisherUrl, SupportContact, SupportUrl, SupportPhone, ReadMe, ProductUpdateUrl,
                                     Comments, DisplayIcon, DisableChangeButton, DisableRemoveButton, CombinedButtons});
} // namespace media_arp_info

// `IMediaReport`: the media's text report.
namespace media_report {
inline constexpr std::u16string_view interface_name = u"IMediaReport";
inline constexpr media_member<VT_BSTR> SecondPart{0, u"SecondPart"};
inline constexpr media_member<VT_BSTR> FirstPart{1, u"FirstPart"};
inline constexpr auto all = std::to_array<media_member_row>({SecondPart, FirstPart});
} // namespace media_report

} // namespace cw

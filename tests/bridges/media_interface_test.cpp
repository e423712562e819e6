#include "bridges/media_interface.h"

#include <gtest/gtest.h>

#include <set>
#include <span>
#include <string>

namespace cw {
namespace {

std::string type_name(VARTYPE type)
{
    switch (type) {
    case VT_EMPTY:
        return "none";
    case VT_I2:
        return "I2";
    case VT_I4:
        return "I4";
    case VT_BSTR:
        return "BSTR";
    case VT_BOOL:
        return "BOOL";
    case VT_DATE:
        return "DATE";
    case VT_VARIANT:
        return "VARIANT";
    case VT_DISPATCH:
        return "DISPATCH";
    default:
        return "?";
    }
}

/// "0 Features DISPATCH, …", a method with "()" behind its name.
std::string drawn(std::span<const media_member_row> members)
{
    std::string result;
    for (const media_member_row& member : members) {
        if (!result.empty())
            result += ", ";
        result += std::to_string(member.id) + " " + std::string(member.name.begin(), member.name.end()) +
                  (member.kind == DISPATCH_METHOD ? "()" : "") + " " + type_name(member.type);
    }
    return result;
}

struct table {
    std::u16string_view interface_name;
    std::span<const media_member_row> members;
    std::u16string_view expected_name;
    const char* expected;
};

// The numbers are the contract with libraries that were built elsewhere.
const table tables[] = {
    {media_factory::interface_name, media_factory::all, u"IMediaFactory",
     "2001 OpenMedia() DISPATCH, 3 LastError DISPATCH"},
    {media_error::interface_name, media_error::all, u"IMediaError",
     "0 Description BSTR, 1 Number I4, 5 SystemText BSTR"},
    {media::interface_name, media::all, u"IMedia",
     "0 Features DISPATCH, 2 Components DISPATCH, 5 SetupTypes DISPATCH, 7 RegistrySets DISPATCH, 8 ShellFolders "
     "DISPATCH, 11 FormatVersion I4, 12 Report DISPATCH, 16 ProductGuid BSTR, 18 EngineVersionHigh I4, 19 "
     "EngineVersionLow I4, 21 MediaSettings DISPATCH, 22 EngineBinding I4, 23 ArpInfo DISPATCH"},
    {media_collection::interface_name, media_collection::all, u"IMediaCollection", "1003 Count I4, 0 Item DISPATCH"},
    {media_feature::interface_name, media_feature::all, u"IMediaFeature",
     "0 SubFeatures DISPATCH, 1 Description BSTR, 2 StatusText BSTR, 3 Miscellaneous BSTR, 4 DisplayName BSTR, 5 "
     "FtpLocation BSTR, 6 HttpLocation BSTR, 7 CdRomFolder BSTR, 9 Visible BOOL, 11 FileNeed I4, 12 IncludedComponents "
     "DISPATCH, 13 Name BSTR, 14 RequiredFeatures DISPATCH, 17 DataAsFiles BOOL, 18 Encryption BOOL, 19 PasswordFlags "
     "I4, 21 Volatile BOOL, 22 ObjectName BSTR, 23 ObjectProperties DISPATCH, 24 Guid BSTR, 25 Flags I4, 27 "
     "OnInstalling BSTR, 28 OnInstalled BSTR, 29 OnUninstalling BSTR, 30 OnUninstalled BSTR, 31 SplitBefore BOOL, 32 "
     "SplitAfter BOOL, 33 SplitNotAllowed BOOL, 34 SplitBeforeNotAllowed BOOL, 35 ObjectVersion BSTR, 36 ImageIndex "
     "I2"},
    {media_feature_property::interface_name, media_feature_property::all, u"IMediaFeatureProperty",
     "0 Value VARIANT, 1 Name BSTR"},
    {media_component::interface_name, media_component::all, u"IMediaComponent",
     "0 Files DISPATCH, 1 OperatingSystems BSTR, 2 Language BSTR, 3 FtpLocation BSTR, 4 HttpLocation BSTR, 5 "
     "Miscellaneous BSTR, 6 PotentiallyLocked BOOL, 7 SelfRegistering BOOL, 8 Shared BOOL, 10 Name BSTR, 13 Compressed "
     "BOOL, 14 StorageFlags I4, 15 Destination BSTR, 16 Overwrite I4, 19 Uninstall BOOL, 21 DotNetAssembly I4, 22 "
     "PlatformSuites I4, 23 SixtyFourBit BOOL"},
    {media_file_list::interface_name, media_file_list::all, u"IMediaFileList", "1 Count I4, 5 Item DISPATCH"},
    {media_file::interface_name, media_file::all, u"IMediaFile",
     "0 Name BSTR, 3 Version BSTR, 5 Size I4, 6 CompressedSize I4, 7 Date DATE, 8 Md5Signature BSTR, 9 Extract() none, "
     "16 Flags I4"},
    {media_setup_type::interface_name, media_setup_type::all, u"IMediaSetupType", "0 Features DISPATCH, 3 Name BSTR"},
    {media_shell_folder::interface_name, media_shell_folder::all, u"IMediaShellFolder",
     "0 Name BSTR, 1 DisplayName BSTR, 2 SubFolders DISPATCH, 3 Shortcuts DISPATCH, 4 Shared BOOL"},
    {media_shortcut::interface_name, media_shortcut::all, u"IMediaShortcut",
     "0 Name BSTR, 1 ShortcutText BSTR, 2 ShortcutFlags I4, 3 Target BSTR, 5 Parameters BSTR, 6 StartIn BSTR, 7 "
     "ShortcutKey BSTR, 8 ShowCommand I4, 9 IconFile BSTR, 10 IconIndex I4, 11 ReplaceExisting BOOL, 13 FolderType I4, "
     "14 Uninstall BOOL, 15 PreventPinning BOOL, 16 NoHighlightOnInstall BOOL, 17 NoPinToStart BOOL, 18 "
     "RunAsAdministrator BOOL"},
    {media_registry_set::interface_name, media_registry_set::all, u"IMediaRegistrySet",
     "0 Name BSTR, 1 Components DISPATCH, 2 ClassesRootKeys DISPATCH, 3 CurrentUserKeys DISPATCH, 4 LocalMachineKeys "
     "DISPATCH, 5 UsersKeys DISPATCH, 6 UserSelectableKeys DISPATCH"},
    {media_registry_key::interface_name, media_registry_key::all, u"IMediaRegistryKey",
     "0 DefaultValue BSTR, 1 Path BSTR, 2 Values DISPATCH"},
    {media_registry_value::interface_name, media_registry_value::all, u"IMediaRegistryValue",
     "0 Data VARIANT, 1 ValueType I4, 2 Name BSTR, 3 Uninstall BOOL"},
    {media_settings::interface_name, media_settings::all, u"IMediaSettings",
     "0 UpdateMode I4, 1 MaintenanceMode I4, 3 ProductVersion BSTR, 4 ProductName BSTR, 5 CompanyName BSTR, 6 "
     "ExecutableFile BSTR, 7 OldVersionCount I4, 8 OldVersions VARIANT, 11 TargetDir BSTR"},
    {media_arp_info::interface_name, media_arp_info::all, u"IMediaArpInfo",
     "1 PublisherUrl BSTR, 2 SupportContact BSTR, 3 SupportUrl BSTR, 4 SupportPhone BSTR, 5 ReadMe BSTR, 6 "
     "ProductUpdateUrl BSTR, 7 Comments BSTR, 8 DisplayIcon BSTR, 9 DisableChangeButton BOOL, 10 DisableRemoveButton "
     "BOOL, 11 CombinedButtons BOOL"},
    {media_report::interface_name, media_report::all, u"IMediaReport", "0 SecondPart BSTR, 1 FirstPart BSTR"},
};

TEST(media_interface, has_the_members_of_every_object)
{
    for (const table& each : tables) {
        EXPECT_EQ(each.interface_name, each.expected_name);
        EXPECT_EQ(drawn(each.members), each.expected);
        std::set<DISPID> numbers;
        for (const media_member_row& member : each.members)
            EXPECT_TRUE(numbers.insert(member.id).second) << member.id;
    }
    EXPECT_EQ(std::size(tables), 18u);
}

TEST(media_interface, names_an_object_for_every_reference)
{
    std::set<std::u16string_view> interfaces;
    for (const table& each : tables)
        interfaces.insert(each.interface_name);
    for (const table& each : tables)
        for (const media_member_row& member : each.members)
            EXPECT_TRUE(member.type != VT_DISPATCH || interfaces.contains(member.object) ||
                        each.interface_name == media_collection::interface_name)
                << std::string(member.name.begin(), member.name.end());
}

std::u16string text_of(const GUID& guid)
{
    char16_t text[39];
    StringFromGUID2(guid, text, 39);
    return text;
}

TEST(media_interface, has_its_identifiers)
{
    EXPECT_EQ(media_library_name, u"MediaForge40.dll");
    EXPECT_EQ(text_of(CLSID_MediaFactory), u"{471340C5-6A34-4191-9A18-EE68A1A9169B}");
    EXPECT_EQ(text_of(IID_IMediaFactory), u"{EB8813D2-9D62-4338-8977-0DCA01E1DA4F}");
    EXPECT_EQ(text_of(IID_IMediaFeature), u"{DAF73EA4-E3EF-4106-94BC-2142B7F05845}");
    EXPECT_EQ(text_of(IID_IMediaShellFolder), u"{8D4D5C6E-E692-4575-9706-B2A1908C67E1}");
    EXPECT_EQ(text_of(IID_IMediaShortcut), u"{7ABF8F14-5E30-4ADD-A0D1-3C5C2B72A4B3}");
    EXPECT_EQ(text_of(IID_IMediaRegistrySet), u"{95A1077B-206E-41EA-8260-E3094EAD339B}");
    EXPECT_EQ(text_of(IID_IMediaRegistryKey), u"{346D6DE0-15D5-40F5-8392-9D8D561BAA51}");
    EXPECT_EQ(text_of(IID_IMediaSettings), u"{C0EC85B2-43DA-4825-AB27-067ECF356CF3}");
}

} // namespace
} // namespace cw

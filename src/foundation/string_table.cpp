#include "foundation/string_table.h"

#include <algorithm>
#include <array>
#include <atomic>

namespace cw {

namespace {

// 2001 to 2034 are the lines of a crash report, kept for translators; nothing loads them.
constexpr std::array resources{
    string_resource{128, u"Cratewright Cabinet and Log File Viewer"},
    string_resource{129, u"Property"},
    string_resource{130, u"Value"},
    string_resource{131, u"Filename"},
    string_resource{132, u"Size"},
    string_resource{133, u"Compressed Size"},
    string_resource{134, u"Date"},
    string_resource{135, u"Version"},
    string_resource{136, u"MD5 Signature"},
    string_resource{137, u"Flags"},
    string_resource{138, u"Name"},
    string_resource{139, u"Data"},
    string_resource{140, u"Uninstall"},
    string_resource{141, u"The password is not correct. Please try again."},
    string_resource{142, u"All Supported Types|*.hdr; *.cab; *.clg|Cratewright Header Files (*.hdr)|*.hdr|Cratewright "
                         u"CAB Files (*.cab)|*.cab|Cratewright Log Files (*.clg)|*.clg||"},
    string_resource{143, u"Features"},
    string_resource{144, u"Components"},
    string_resource{145, u"Files"},
    string_resource{146, u"Explorer Shell"},
    string_resource{147, u"Media Settings"},
    string_resource{148, u"Registry Entries"},
    string_resource{149, u"Setup Types"},
    string_resource{150, u"Yes"},
    string_resource{151, u"No"},
    string_resource{152, u"GUID"},
    string_resource{153, u"Object"},
    string_resource{154, u"Object Version"},
    string_resource{155, u"True"},
    string_resource{156, u"False"},
    string_resource{157, u"Name"},
    string_resource{158, u"Description"},
    string_resource{159, u"Status Text"},
    string_resource{160, u"Display Name"},
    string_resource{161, u"Visible"},
    string_resource{162, u"Data as files"},
    string_resource{163, u"Critical"},
    string_resource{164, u"Highly Recommended"},
    string_resource{165, u"Standard"},
    string_resource{166, u"File Need"},
    string_resource{167, u"Encryption"},
    string_resource{168, u"CD-ROM Folder"},
    string_resource{169, u"FTP Location"},
    string_resource{170, u"HTTP Location"},
    string_resource{171, u"Miscellaneous"},
    string_resource{172, u"Required Features"},
    string_resource{173, u"Included Components"},
    string_resource{174, u"Password Protected"},
    string_resource{175, u"OnInstalling Function"},
    string_resource{176, u"OnInstalled Function"},
    string_resource{177, u"OnUninstalling Function"},
    string_resource{178, u"OnUninstalled Function"},
    string_resource{179, u"Volatile"},
    string_resource{180, u"Split Before"},
    string_resource{181, u"Split After"},
    string_resource{182, u"Split Not Allowed"},
    string_resource{183, u"Split Before Not Allowed"},
    string_resource{184, u"Image Index"},
    string_resource{185, u"Shared"},
    string_resource{186, u"Uninstall"},
    string_resource{187, u"Self-Registering"},
    string_resource{188, u"Potentially Locked"},
    string_resource{189, u"Compressed"},
    string_resource{190, u"Encrypted"},
    string_resource{191, u".NET Assembly"},
    string_resource{192, u"Operating System(s)"},
    string_resource{193, u"Platform Suites"},
    string_resource{194, u"Language"},
    string_resource{195, u"Overwrite"},
    string_resource{196, u"Destination"},
    string_resource{197, u"Shared"},
    string_resource{198, u"Shortcut Text"},
    string_resource{199, u"Internet Shortcut"},
    string_resource{200, u"Target"},
    string_resource{201, u"Parameters"},
    string_resource{202, u"Start In"},
    string_resource{203, u"Folder Type"},
    string_resource{204, u"Shortcut Key"},
    string_resource{205, u"Personal"},
    string_resource{206, u"Common"},
    string_resource{207, u"Maximized Window"},
    string_resource{208, u"Minimized Window"},
    string_resource{209, u"Normal Window"},
    string_resource{210, u"Run"},
    string_resource{211, u"Icon File"},
    string_resource{212, u"Icon Index"},
    string_resource{213, u"Uninstall"},
    string_resource{214, u"Replace Existing"},
    string_resource{215, u"Component(s)"},
    string_resource{216, u"Product Name"},
    string_resource{217, u"Product Version"},
    string_resource{218, u"Company Name"},
    string_resource{219, u"Product GUID"},
    string_resource{220, u"CAB Format Version"},
    string_resource{221, u"Engine Version"},
    string_resource{222, u"Engine Binding"},
    string_resource{223, u"Static"},
    string_resource{224, u"Dynamic"},
    string_resource{225, u"Standard"},
    string_resource{226, u"Cumulative"},
    string_resource{227, u"Multi-Instance"},
    string_resource{228, u"No Uninstall or Maintenance"},
    string_resource{229, u"Maintenance"},
    string_resource{230, u"Update - Full Media"},
    string_resource{231, u"Update - Differential Media"},
    string_resource{232, u"Update Not Supported"},
    string_resource{233, u"Update Mode"},
    string_resource{234, u"Old Versions to Update"},
    string_resource{235, u"<TARGETDIR>"},
    string_resource{236, u"Executable File"},
    string_resource{237, u"ARP Publisher/Product URL"},
    string_resource{238, u"ARP Support Contact"},
    string_resource{239, u"ARP Support URL"},
    string_resource{240, u"ARP Support Phone Number"},
    string_resource{241, u"ARP Read Me"},
    string_resource{242, u"ARP Product Update URL"},
    string_resource{243, u"ARP Comments"},
    string_resource{244, u"ARP Display Icon"},
    string_resource{245, u"ARP Disable Remove Button"},
    string_resource{246, u"ARP Disable Change Button"},
    string_resource{247, u"ARP Combined Buttons"},
    string_resource{248, u"n/a"},
    string_resource{249, u"Path"},
    string_resource{250, u"Shared"},
    string_resource{251, u"Directory"},
    string_resource{252, u"Potentially Locked"},
    string_resource{253, u"Permanent"},
    string_resource{254, u"Key"},
    string_resource{255, u"Value Name"},
    string_resource{256, u"Remote Name"},
    string_resource{257, u"Hive"},
    string_resource{258, u"Remote"},
    string_resource{259, u"Section"},
    string_resource{260, u"Added Section"},
    string_resource{261, u"Created File"},
    string_resource{262, u"Created Directory"},
    string_resource{263, u"Created Key"},
    string_resource{264, u"Folder Name"},
    string_resource{265, u"Shortcut"},
    string_resource{266, u"Operation"},
    string_resource{267, u"Assembly Type"},
    string_resource{268, u"Com Interop"},
    string_resource{269, u"Text Files (*.txt)|*.txt||"},
    string_resource{270, u"LogReport"},
    string_resource{271, u"Cratewright Log File Report"},
    string_resource{272, u"Main Feature Log"},
    string_resource{273, u"Feature Name: "},
    string_resource{274, u"Feature ID: "},
    string_resource{275, u"Parent Feature: "},
    string_resource{276, u"Sub Features "},
    string_resource{277, u"Feature Properties"},
    string_resource{278, u"Search item not found"},
    string_resource{279, u"Desktop"},
    string_resource{280, u"Start Menu"},
    string_resource{281, u"HelpLib.chm::/helplibrary/CwCabView.htm"},
    string_resource{282, u"Cwlogvu.chm"},
    string_resource{283, u"64-Bit"},
    string_resource{284, u"Prevent Pinning"},
    string_resource{285, u"Do not highlight on new install"},
    string_resource{286, u"Do not pin to Start screen"},
    string_resource{287, u"Run As Administrator"},
    string_resource{2001, u"Exception ACCESS_VIOLATION (0x%.8x)\r\n at address 0x%.8x trying to %s address 0x%.8x."},
    string_resource{2002, u"Exception DATATYPE_MISALIGNMENT (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2003, u"Exception BREAKPOINT (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2004, u"Exception SINGLE_STEP (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2005, u"Exception ARRAY_BOUNDS_EXCEEDED (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2006, u"Exception FLT_DENORMAL_OPERAND (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2007, u"Exception FLT_DIVIDE_BY_ZERO (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2008, u"Exception FLT_INEXACT_RESULT (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2009, u"Exception FLT_INVALID_OPERATION (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2010, u"Exception FLT_OVERFLOW (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2011, u"Exception FLT_STACK_CHECK (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2012, u"Exception FLT_UNDERFLOW (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2013, u"Exception INT_DIVIDE_BY_ZERO (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2014, u"Exception INT_OVERFLOW (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2015, u"Exception PRIV_INSTRUCTION (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2016, u"Exception IN_PAGE_ERROR (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2017, u"Exception ILLEGAL_INSTRUCTION (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2018, u"Exception NONCONTINUABLE_EXCEPTION (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2019, u"Exception STACK_OVERFLOW (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2020, u"Exception INVALID_DISPOSITION (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2021, u"Exception GUARD_PAGE (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2022, u"Exception INVALID_HANDLE (0x%.8x)\r\n at address 0x%.8x."},
    string_resource{2023, u"Unknown exception."},
    string_resource{2024, u"Registers:"},
    string_resource{2025, u"EAX=%.8x  EBX=%.8x  ECX=%.8x  EDX=%.8x"},
    string_resource{2026, u"ESI=%.8x  EDI=%.8x  EBP=%.8x  ESP=%.8x"},
    string_resource{2027, u"EIP=%.8x  FLG=%.8x"},
    string_resource{2028, u"CS=%.4x  DS=%.4x  SS=%.4x  ES=%.4x  FS=%.4x  GS=%.4x"},
    string_resource{2029, u"Stack:"},
    string_resource{2030, u"0x%.8x: %.8x %.8x %.8x %.8x"},
    string_resource{2031, u"Frame 0x%.8x, return address 0x%.8x"},
    string_resource{2032, u"write"},
    string_resource{2033, u"read"},
    string_resource{2034, u"NA"},
    string_resource{4000, u"Options"},
    string_resource{4001, u"Properties"},
    string_resource{9162, u"New Menu"},
    string_resource{9169, u"All Commands"},
    string_resource{9174, u"Built-in Menus"},
    string_resource{35001, u"Customize application appearance, toolbars, and menus\n&Customize..."},
    string_resource{57344, u"Cratewright Cabinet and Log File Viewer"},
    string_resource{57345, u"Ready"},
};

static_assert(std::ranges::adjacent_find(resources, std::ranges::greater_equal(), &string_resource::id) ==
              resources.end());

std::atomic<string_loader> loader_in_use = &load_string;

} // namespace

std::span<const string_resource> string_table() noexcept
{
    return resources;
}

int load_string(std::uint32_t id, char16_t* target, int room_in_code_units) noexcept
{
    if (room_in_code_units <= 0)
        return 0;
    const auto found = std::ranges::lower_bound(resources, id, {}, &string_resource::id);
    std::size_t count = 0;
    if (found != resources.end() && found->id == id)
        count = found->text.copy(target, static_cast<std::size_t>(room_in_code_units) - 1);
    target[count] = 0;
    return static_cast<int>(count);
}

string_loader set_string_loader(string_loader loader) noexcept
{
    return loader_in_use.exchange(loader ? loader : &load_string);
}

string_loader current_string_loader() noexcept
{
    return loader_in_use;
}

} // namespace cw

#include "foundation/string_table.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using cw::string_resource;

constexpr string_resource expected[] = {
    {128, u"Cratewright Cabinet and Log File Viewer"},
    {129, u"Property"},
    {130, u"Value"},
    {131, u"Filename"},
    {132, u"Size"},
    {133, u"Compressed Size"},
    {134, u"Date"},
    {135, u"Version"},
    {136, u"MD5 Signature"},
    {137, u"Flags"},
    {138, u"Name"},
    {139, u"Data"},
    {140, u"Uninstall"},
    {141, u"The password is not correct. Please try again."},
    {142, u"All Supported Types|*.hdr; *.cab; *.clg|Cratewright Header Files (*.hdr)|*.hdr|Cratewright CAB Files "
          u"(*.cab)|*.cab|Cratewright Log Files (*.clg)|*.clg||"},
    {143, u"Features"},
    {144, u"Components"},
    {145, u"Files"},
    {146, u"Explorer Shell"},
    {147, u"Media Settings"},
    {148, u"Registry Entries"},
    {149, u"Setup Types"},
    {150, u"Yes"},
    {151, u"No"},
    {152, u"GUID"},
    {153, u"Object"},
    {154, u"Object Version"},
    {155, u"True"},
    {156, u"False"},
    {157, u"Name"},
    {158, u"Description"},
    {159, u"Status Text"},
    {160, u"Display Name"},
    {161, u"Visible"},
    {162, u"Data as files"},
    {163, u"Critical"},
    {164, u"Highly Recommended"},
    {165, u"Standard"},
    {166, u"File Need"},
    {167, u"Encryption"},
    {168, u"CD-ROM Folder"},
    {169, u"FTP Location"},
    {170, u"HTTP Location"},
    {171, u"Miscellaneous"},
    {172, u"Required Features"},
    {173, u"Included Components"},
    {174, u"Password Protected"},
    {175, u"OnInstalling Function"},
    {176, u"OnInstalled Function"},
    {177, u"OnUninstalling Function"},
    {178, u"OnUninstalled Function"},
    {179, u"Volatile"},
    {180, u"Split Before"},
    {181, u"Split After"},
    {182, u"Split Not Allowed"},
    {183, u"Split Before Not Allowed"},
    {184, u"Image Index"},
    {185, u"Shared"},
    {186, u"Uninstall"},
    {187, u"Self-Registering"},
    {188, u"Potentially Locked"},
    {189, u"Compressed"},
    {190, u"Encrypted"},
    {191, u".NET Assembly"},
    {192, u"Operating System(s)"},
    {193, u"Platform Suites"},
    {194, u"Language"},
    {195, u"Overwrite"},
    {196, u"Destination"},
    {197, u"Shared"},
    {198, u"Shortcut Text"},
    {199, u"Internet Shortcut"},
    {200, u"Target"},
    {201, u"Parameters"},
    {202, u"Start In"},
    {203, u"Folder Type"},
    {204, u"Shortcut Key"},
    {205, u"Personal"},
    {206, u"Common"},
    {207, u"Maximized Window"},
    {208, u"Minimized Window"},
    {209, u"Normal Window"},
    {210, u"Run"},
    {211, u"Icon File"},
    {212, u"Icon Index"},
    {213, u"Uninstall"},
    {214, u"Replace Existing"},
    {215, u"Component(s)"},
    {216, u"Product Name"},
    {217, u"Product Version"},
    {218, u"Company Name"},
    {219, u"Product GUID"},
    {220, u"CAB Format Version"},
    {221, u"Engine Version"},
    {222, u"Engine Binding"},
    {223, u"Static"},
    {224, u"Dynamic"},
    {225, u"Standard"},
    {226, u"Cumulative"},
    {227, u"Multi-Instance"},
    {228, u"No Uninstall or Maintenance"},
    {229, u"Maintenance"},
    {230, u"Update - Full Media"},
    {231, u"Update - Differential Media"},
    {232, u"Update Not Supported"},
    {233, u"Update Mode"},
    {234, u"Old Versions to Update"},
    {235, u"<TARGETDIR>"},
    {236, u"Executable File"},
    {237, u"ARP Publisher/Product URL"},
    {238, u"ARP Support Contact"},
    {239, u"ARP Support URL"},
    {240, u"ARP Support Phone Number"},
    {241, u"ARP Read Me"},
    {242, u"ARP Product Update URL"},
    {243, u"ARP Comments"},
    {244, u"ARP Display Icon"},
    {245, u"ARP Disable Remove Button"},
    {246, u"ARP Disable Change Button"},
    {247, u"ARP Combined Buttons"},
    {248, u"n/a"},
    {249, u"Path"},
    {250, u"Shared"},
    {251, u"Directory"},
    {252, u"Potentially Locked"},
    {253, u"Permanent"},
    {254, u"Key"},
    {255, u"Value Name"},
    {256, u"Remote Name"},
    {257, u"Hive"},
    {258, u"Remote"},
    {259, u"Section"},
    {260, u"Added Section"},
    {261, u"Created File"},
    {262, u"Created Directory"},
    {263, u"Created Key"},
    {264, u"Folder Name"},
    {265, u"Shortcut"},
    {266, u"Operation"},
    {267, u"Assembly Type"},
    {268, u"Com Interop"},
    {269, u"Text Files (*.txt)|*.txt||"},
    {270, u"LogReport"},
    {271, u"Cratewright Log File Report"},
    {272, u"Main Feature Log"},
    {273, u"Feature Name: "},
    {274, u"Feature ID: "},
    {275, u"Parent Feature: "},
    {276, u"Sub Features "},
    {277, u"Feature Properties"},
    {278, u"Search item not found"},
    {279, u"Desktop"},
    {280, u"Start Menu"},
    {281, u"HelpLib.chm::/helplibrary/CwCabView.htm"},
    {282, u"Cwlogvu.chm"},
    {283, u"64-Bit"},
    {284, u"Prevent Pinning"},
    {285, u"Do not highlight on new install"},
    {286, u"Do not pin to Start screen"},
    {287, u"Run As Administrator"},
    {2001, u"Exception ACCESS_VIOLATION (0x%.8x)\r\n at address 0x%.8x trying to %s address 0x%.8x."},
    {2002, u"Exception DATATYPE_MISALIGNMENT (0x%.8x)\r\n at address 0x%.8x."},
    {2003, u"Exception BREAKPOINT (0x%.8x)\r\n at address 0x%.8x."},
    {2004, u"Exception SINGLE_STEP (0x%.8x)\r\n at address 0x%.8x."},
    {2005, u"Exception ARRAY_BOUNDS_EXCEEDED (0x%.8x)\r\n at address 0x%.8x."},
    {2006, u"Exception FLT_DENORMAL_OPERAND (0x%.8x)\r\n at address 0x%.8x."},
    {2007, u"Exception FLT_DIVIDE_BY_ZERO (0x%.8x)\r\n at address 0x%.8x."},
    {2008, u"Exception FLT_INEXACT_RESULT (0x%.8x)\r\n at address 0x%.8x."},
    {2009, u"Exception FLT_INVALID_OPERATION (0x%.8x)\r\n at address 0x%.8x."},
    {2010, u"Exception FLT_OVERFLOW (0x%.8x)\r\n at address 0x%.8x."},
    {2011, u"Exception FLT_STACK_CHECK (0x%.8x)\r\n at address 0x%.8x."},
    {2012, u"Exception FLT_UNDERFLOW (0x%.8x)\r\n at address 0x%.8x."},
    {2013, u"Exception INT_DIVIDE_BY_ZERO (0x%.8x)\r\n at address 0x%.8x."},
    {2014, u"Exception INT_OVERFLOW (0x%.8x)\r\n at address 0x%.8x."},
    {2015, u"Exception PRIV_INSTRUCTION (0x%.8x)\r\n at address 0x%.8x."},
    {2016, u"Exception IN_PAGE_ERROR (0x%.8x)\r\n at address 0x%.8x."},
    {2017, u"Exception ILLEGAL_INSTRUCTION (0x%.8x)\r\n at address 0x%.8x."},
    {2018, u"Exception NONCONTINUABLE_EXCEPTION (0x%.8x)\r\n at address 0x%.8x."},
    {2019, u"Exception STACK_OVERFLOW (0x%.8x)\r\n at address 0x%.8x."},
    {2020, u"Exception INVALID_DISPOSITION (0x%.8x)\r\n at address 0x%.8x."},
    {2021, u"Exception GUARD_PAGE (0x%.8x)\r\n at address 0x%.8x."},
    {2022, u"Exception INVALID_HANDLE (0x%.8x)\r\n at address 0x%.8x."},
    {2023, u"Unknown exception."},
    {2024, u"Registers:"},
    {2025, u"EAX=%.8x  EBX=%.8x  ECX=%.8x  EDX=%.8x"},
    {2026, u"ESI=%.8x  EDI=%.8x  EBP=%.8x  ESP=%.8x"},
    {2027, u"EIP=%.8x  FLG=%.8x"},
    {2028, u"CS=%.4x  DS=%.4x  SS=%.4x  ES=%.4x  FS=%.4x  GS=%.4x"},
    {2029, u"Stack:"},
    {2030, u"0x%.8x: %.8x %.8x %.8x %.8x"},
    {2031, u"Frame 0x%.8x, return address 0x%.8x"},
    {2032, u"write"},
    {2033, u"read"},
    {2034, u"NA"},
    {4000, u"Options"},
    {4001, u"Properties"},
    {9162, u"New Menu"},
    {9169, u"All Commands"},
    {9174, u"Built-in Menus"},
    {35001, u"Customize application appearance, toolbars, and menus\n&Customize..."},
    {57344, u"Cratewright Cabinet and Log File Viewer"},
    {57345, u"Ready"},
};

TEST(string_table, holds_every_text_under_its_number)
{
    const auto table = cw::string_table();
    ASSERT_EQ(table.size(), std::size(expected));
    for (std::size_t i = 0; i < table.size(); ++i) {
        EXPECT_EQ(table[i].id, expected[i].id);
        EXPECT_EQ(table[i].text, expected[i].text) << expected[i].id;
    }
}

TEST(string_table, is_in_ascending_order_without_duplicates)
{
    const auto table = cw::string_table();
    EXPECT_EQ(std::ranges::adjacent_find(table, std::ranges::greater_equal(), &string_resource::id), table.end());
}

TEST(string_table, loads_with_terminator)
{
    char16_t target[16] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(cw::load_string(151, target, 16), 2);
    EXPECT_EQ(std::u16string_view(target, 4), std::u16string_view(u"No\0\1", 4));
}

TEST(string_table, cuts_to_the_room)
{
    char16_t target[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(cw::load_string(143, target, 5), 4);
    EXPECT_EQ(std::u16string_view(target, 6), std::u16string_view(u"Feat\0\1", 6));
    EXPECT_EQ(cw::load_string(143, target, 1), 0);
    EXPECT_EQ(target[0], u'\0');
}

TEST(string_table, a_missing_number_gives_an_empty_text)
{
    for (const std::uint32_t id : {0u, 127u, 288u, 2000u, 2035u, 0xFFFFFFFFu}) {
        char16_t target[4] = u"abc";
        EXPECT_EQ(cw::load_string(id, target, 4), 0);
        EXPECT_EQ(target[0], u'\0');
    }
}

TEST(string_table, writes_nothing_without_room)
{
    char16_t target[4] = u"abc";
    EXPECT_EQ(cw::load_string(143, target, 0), 0);
    EXPECT_EQ(cw::load_string(143, target, -1), 0);
    EXPECT_EQ(target[0], u'a');
}

int no_strings(std::uint32_t, char16_t* target, int) noexcept
{
    *target = 0;
    return 0;
}

TEST(string_table, the_source_can_be_replaced_and_restored)
{
    EXPECT_EQ(cw::set_string_loader(&no_strings), &cw::load_string);
    EXPECT_EQ(cw::current_string_loader(), &no_strings);
    EXPECT_EQ(cw::set_string_loader(nullptr), &no_strings);
    EXPECT_EQ(cw::current_string_loader(), &cw::load_string);
}

} // namespace

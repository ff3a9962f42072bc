// Foreign configurations against the simulator: a scan with none, the
// whole session on the foreign preset (unlocking a locked drive, the
// display, reading with import verdicts and the drives that cannot be
// imported, the preview, the import that needs a lock key, the summary and
// drive report after it), a wrong key, importing everything at once with
// the enhanced index, an index past the list, and the firmware's refusal of
// too many logical drives.
#include <string>
#include <vector>

#include "security_support.h"

namespace {

using namespace ctrltest;
using sectest::kKeyPrompt;

constexpr int kConfigMenu = 6;
// Megabytes a 1144641 MB drive keeps after the 512 MB metadata area and
// the Korvane default coercion to whole gigabytes.
constexpr int kCoercedMB = (1144641 - 512) / 1024 * 1024;

std::string ForeignMenu() {
    return F("%45s\n", "...FOREIGN CONFIGURATION MENU...") + F("%45s\n", "--------------------------------") +
           "(1) ReadForeignConfiguration       (2) ReadForeignConfigAfterImport\n"
           "(3) ImportForeignConfig            (4) ClearForeignConfig\n"
           "\n0 TO QUIT. Invalid option to return to Previous Menu\n"
           "Currently selected controller = 0\nPlease enter choice :";
}

std::string GuidList(int count) {
    std::string s = F("\n%-45s %d\n", "Number of Foreign Guids", count) + F("%45s\n", "...Printing GUID List... ") +
                    F("%45s\n", "-------------------------");
    for (int i = 0; i < count; ++i) s += F("%-45s %d\n", "GUID index", i);
    return s + "\n";
}

const char kEnhancedIndex[] = "Enter GUID Index from the GUID List or \nEnter 255 to merge foreign configurations to "
                              "the native configuration\n\tDefault = 255\n";

std::string SummaryLd(int target, int level, long mb) {
    return F("%-20d%-20d%-21s%-s\n", target, level, std::to_string(mb).c_str(), "OPTIMAL");
}

TEST(Foreign, NoForeignConfigurationOffersNoMenu) {
    RunResult r = sectest::RunMenu(sectest::Preset("default"), kConfigMenu, "5\n\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {"\n# of drives in the system : ", "NO FOREIGN CONFIGS FOUND\n\nPress ENTER"}));
    EXPECT_EQ(CountOf(r.out, "FOREIGN CONFIGURATION MENU"), 0);
    std::vector<std::string> scans = TraceFor(r, 4, 3);
    ASSERT_EQ(scans.size(), 1u);
    EXPECT_EQ(TraceField(scans[0], "size"), "196");
}

TEST(Foreign, UnlockReadPreviewAndImportWithTheControllersKey) {
    RunResult r = sectest::RunMenu(sectest::Preset("foreign"), kConfigMenu,
                                   "5\nOrigin#Key42\n1\n0\n\n\n\n1\n2\n\n\n\n2\n2\n\n3\n1\n\n99\n"
                                   "12\n1\n0\nMy#Secret9\nPass#Phrase7\n\n\n99\n"
                                   "6\n5\n3\n1\n\n2\n\n99\n4\n1\n14\n");
    const std::string displayHead = F("\n%45s\n\n", "...SCANNED FOREIGN CONFIG INFORMATION...") + "\n" +
                                    F("%-45s %d\n", "Number of Foreign Guids", 3) + "\n";
    const std::string ldHeader = F("%-20s%-20s%-21s%-s\n", "Target ID", "RAID Level", "Size(MB)", "State");
    EXPECT_TRUE(ContainsInOrder(
        r.out,
        {"\nSetting PD State....SetPDState : ProcessLibCommandCall successful\nDone\n",
         "\nDevice locked. Trying to unlock device id : 14\nKey ID : ORIGIN-B-KEY\nEnter the Security key for the "
         "keyid above\n" + std::string(kKeyPrompt),
         displayHead, F("%45s %d\n", "Printing Config for GUID index", 0), ldHeader, SummaryLd(0, 1, kCoercedMB),
         SummaryLd(1, 0, 2L * kCoercedMB), F("%-20d%-20d%-21s%-s\n", 255, 0, std::to_string(2L * kCoercedMB).c_str(), "OFFLINE"),
         F("%45s\n", "Printing GUID List... (See above for more info)"), ForeignMenu(), GuidList(3),
         "Enter GUID Index from the GUID List\n",
         // ORIGIN-A: its array, its logical drive (importable), its spare
         // and the foreign drives of the other configurations.
         F("\n%-25s : %d\n", "Array Count", 1), F("%-25s : %d\n", "Device ID", 12), "MOVED_R1",
         F("%-35s : 0x%X\n", "Physical Device Device ID", 17), "\nPhysical disks (not importable):\n",
         "Physical Disk Info:\nDevice ID = 14\nsize = 1144641 MB\n \n", "Device ID = 16\n",
         "Non-importable drive list count = 3\n\nPhysical drives listed above can not be imported",
         // ORIGIN-C misses a drive: its logical drive cannot be imported.
         F("%-25s\n", "PD missing"), "\nThis Logical Drive can not be imported.\nOne or more drives are missing.",
         kEnhancedIndex + std::string("ReadConfigAfterImport : Incomplete foreign configuration found.\n"),
         kEnhancedIndex + std::string("ImportForeignConfig : ProcessLibCommandCall failed ; rval = 0x47\n"),
         "Key Identifier being used", kEnhancedIndex + std::string("\nPress ENTER to continue"),
         ldHeader, SummaryLd(0, 1, kCoercedMB), SummaryLd(1, 0, 2L * kCoercedMB),
         F("%-35s\n", "This drive security is enabled."), F("%-35s\n", "This drive is unlocked."),
         F("%-35s\n", "This drive is not secured by a foreign lock key.")}));
    // The size of the preview is learnt with the foreign read, for GUID index 2.
    std::vector<std::string> config = TraceFor(r, 4, 4), preview = TraceFor(r, 4, 5), imports = TraceFor(r, 4, 6);
    ASSERT_EQ(preview.size(), 1u);
    bool sizeQuery = false;
    for (const std::string& line : config)
        sizeQuery = sizeQuery || (TraceField(line, "ref") == "0200000000000000" && TraceField(line, "size") == "616");
    EXPECT_TRUE(sizeQuery);
    EXPECT_EQ(TraceField(preview[0], "ref"), "0200000000000000");
    ASSERT_EQ(imports.size(), 2u);
    EXPECT_EQ(TraceField(imports[1], "ref") + TraceField(imports[1], "size") + TraceField(imports[1], "status"),
              "01000000000000000" "0x0");
    EXPECT_TRUE(sectest::NowhereIn(r, {"Origin#Key42", "My#Secret9", "Pass#Phrase7"}));
}

TEST(Foreign, WrongKeyEndsThePreparationBeforeAnyScan) {
    RunResult r = sectest::RunMenu(sectest::Preset("foreign"), kConfigMenu, "5\nWrong#Key1\n\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {kKeyPrompt, "\n  KeyFromEscrow :\tEscrow lock key could not be used \n\nPress ENTER"}));
    EXPECT_TRUE(TraceFor(r, 4, 3).empty());
}

TEST(Foreign, EnhancedIndexImportsEveryConfigurationWithNewIds) {
    std::string scenario = sectest::Preset("foreign") +
                           "\n[korvane.controllers.key_management]\nkey = \"Ctrl#Key11\"\npass_phrase = \"Ctrl#Phrase1\"\n";
    RunResult r = sectest::RunMenu(scenario, kConfigMenu, "5\nOrigin#Key42\n4\n2\n\n5\n3\n\n\n2\n\n");
    // ORIGIN-A's array 0 and target id 0 clash with the native ones; ORIGIN-B's
    // target id 1 then clashes with ORIGIN-A's new one.
    EXPECT_TRUE(ContainsInOrder(
        r.out, {F("%-45s %d\n", "Number of Foreign Guids", 3), F("%-45s %d\n", "Number of Foreign Guids", 2),
                kEnhancedIndex + std::string("\nPress ENTER to continue"),
                F("%-20s%-21s%-21s\n", "Array ID", "Used Space (MB)", "Free Space (MB)"),
                F("%-20d%-21s", 2, std::to_string(2L * kCoercedMB).c_str()), SummaryLd(0, 1, kCoercedMB),
                SummaryLd(1, 1, kCoercedMB), SummaryLd(2, 0, 2L * kCoercedMB)}));
    EXPECT_TRUE(ContainsInOrder(r.out, {F("%-20d%-20d%-21s%-s\n", 7, 17, std::to_string(kCoercedMB).c_str(), "HOTSPARE")}));
    std::vector<std::string> clears = TraceFor(r, 4, 7), imports = TraceFor(r, 4, 6);
    ASSERT_EQ(clears.size(), 1u);
    ASSERT_EQ(imports.size(), 1u);
    EXPECT_EQ(TraceField(clears[0], "ref"), "0200000000000000");
    EXPECT_EQ(TraceField(imports[0], "ref"), "FF00000000000000");
}

TEST(Foreign, IndexOutOfRangeAndImportBeyondTheLogicalDriveLimit) {
    std::string scenario = sectest::Preset("foreign");
    scenario.replace(scenario.find("max_lds = 16"), 12, "max_lds = 1");
    RunResult r = sectest::RunMenu(scenario, kConfigMenu, "5\nOrigin#Key42\n1\n7\n\n3\n0\n\n");
    EXPECT_TRUE(ContainsInOrder(
        r.out, {"Enter GUID Index from the GUID List\nGetForeignConfigSize (READ_FOREIGN_CONFIG): Invalid parameter\n"
                "\nPress ENTER to continue",
                kEnhancedIndex + std::string("ImportForeignConfig : ProcessLibCommandCall failed ; rval = 0x1A\n")}));
}

}  // namespace

// The key-management menu against the simulator: creating the lock key
// locally (with weak entries and the fifth weak key sent), every create and
// change status text, changing the key with the old one and through an EKM
// agent, destroying it after the secured logical drives, key identifiers,
// the remaining items, and secrets: what the trace carries of them, that
// they show up nowhere, and bad input at their prompts.
#include <string>
#include <vector>

#include "security_support.h"

namespace {

using namespace ctrltest;
using sectest::Between;
using sectest::HexOf;
using sectest::kKeyPrompt;
using sectest::kTooShort;
using sectest::kWeak;
using sectest::NowhereIn;
using sectest::Rule;

constexpr int kKeyMenu = 12;

// A Korvane controller with drive security: drives 10 and 11 are
// self-encrypting and hold LD 0 (RAID 1, secured when `securedLd`), drive
// 12 is not self-encrypting; `tables` follow (key management, ...).
std::string KeyScenario(const std::string& capabilities, const std::string& tables = "", bool securedLd = false,
                        const std::string& faults = "") {
    std::string drives;
    for (int id = 10; id <= 12; ++id)
        drives += F("[[korvane.controllers.drives]]\ndevice_id = %d\nsize_mb = 1144641\nsecurity = %d\n", id, id < 12);
    return ctrltest::KorvaneScenario(
        "", "[korvane.controllers.capabilities]\nsecurity = true\n" + capabilities + drives +
                "[[korvane.controllers.arrays]]\ndrives = [10, 11]\n[[korvane.controllers.logical_drives]]\n"
                "target_id = 0\nraid = 1\narrays = [0]\nencryption = " + (securedLd ? "1" : "0") + "\n" + tables,
        faults);
}

std::string KeyTable(const std::string& keys) { return "[korvane.controllers.key_management]\n" + keys; }

std::string DcmdFault(unsigned opcode, unsigned occurrence, unsigned status) {
    return F("[[korvane.faults]]\ntype = 6\ncode = 3\nopcode = %u\noccurrence = %u\nstatus = %u\n", opcode, occurrence,
             status);
}

// Trace lines of one direct-command opcode.
std::vector<std::string> DcmdTrace(const RunResult& r, unsigned opcode) {
    std::vector<std::string> out;
    for (const std::string& line : TraceFor(r, 6, 3))
        if (line.find(F("opcode=0x%08X", opcode)) != std::string::npos) out.push_back(line);
    return out;
}

std::string Pad(const std::string& hex, size_t bytes) { return hex + std::string(bytes * 2 - hex.size(), '0'); }

const char kSuggested[] =
    "\nPress 1 to use the controller generated securitykey and 0 to enter a security key. SUGGESTED SECURITY KEY : \"";
const char kPassPrompt[] = "\nEnter the Pass Phrase key (Noecho): ";
const char kKeyIdOffer[] =
    "\nEnter the security key identifier (String with max 255 chars) or Enter to use the controller generated key "
    "identifier \"";
const char kKeyIdUsed[] = "\nKey Identifier being used : \"";

TEST(KeyCreate, LocalKeyWithTheSuggestedIdentifierThenSecuredAlready) {
    RunResult r = sectest::RunMenu(KeyScenario(""), kKeyMenu,
                                   "1\n0\nshort1\n0\nMy#Secret9\nPass#Phrase7\n\n\n1\n\n5\n\n\n");
    std::string offered = Between(r.out, kKeyIdOffer, "\"");
    std::string used = Between(r.out, kKeyIdUsed, "\"");
    EXPECT_FALSE(used.empty());
    EXPECT_EQ(offered, used);
    EXPECT_TRUE(ContainsInOrder(
        r.out, {Rule(false), kSuggested, kKeyPrompt, kTooShort, kSuggested, kKeyPrompt, Rule(true), kPassPrompt,
                kKeyIdOffer, kKeyIdUsed + used + "\"\nPress ENTER to continue",
                "\nController secured already. Use Rekey OR destroy existing to create new key\n",
                "\nEnter the Device ID (default 65535):", "\nKeyID : " + used + "\nPress ENTER to continue"}));
    std::vector<std::string> create = DcmdTrace(r, 0x01150100);
    ASSERT_EQ(create.size(), 1u);
    EXPECT_EQ(TraceField(create[0], "dlen"), "364");
    EXPECT_EQ(TraceField(create[0], "dflags"), "1");
    EXPECT_EQ(TraceField(create[0], "mbox"), std::string(24, '0'));
    // Security key, pass phrase and backup pass phrase masked; the identifier as sent.
    EXPECT_EQ(TraceField(create[0], "data"), std::string(216, '*') + Pad(HexOf(used), 256));
    EXPECT_TRUE(NowhereIn(r, {"My#Secret9", "Pass#Phrase7", "short1"}));
}

TEST(KeyCreate, FiveWeakKeysEndTheLoopAndTheFifthIsSent) {
    RunResult r = sectest::RunMenu(KeyScenario("", KeyTable("suggestions = false\n")), kKeyMenu,
                                   "1\nshort\nalllower1!\nALLUPPER1!\nNoDigits!!\nNospecial9\nPass#Phrase7\n\n\n");
    const std::string noHw = "\nNo HW available to generate pass-phrase\n";
    EXPECT_TRUE(ContainsInOrder(r.out, {noHw + kKeyPrompt + kTooShort, noHw + kKeyPrompt + kWeak,
                                        noHw + kKeyPrompt + kWeak, noHw + kKeyPrompt + kWeak,
                                        noHw + kKeyPrompt + kWeak, Rule(true) + kPassPrompt,
                                        "\n   CreateKey: Invalid parameters\n"}));
    EXPECT_EQ(CountOf(r.out, kKeyPrompt), 5);
    EXPECT_EQ(DcmdTrace(r, 0x01150100).size(), 1u);
}

// Representative rows, the odd ones and the texts that differ between the two.
TEST(KeyCreate, CreateAndChangeStatusTexts) {
    struct Case {
        unsigned status;
        const char* create;
        std::string change;
    };
    const std::vector<Case> cases = {
        {3, "\n   CreateKey: Invalid parameters\n", "\n   ChangeKey: Invalid parameters\n"},
        {67, "\n   CreateKey:   Lock key can only be created once\n", "\n   ChangeKey:   Lock key can only be created once\n"},
        {68, "\n   CreateKey:\tThis type of lock key cannot be backedup \n",
         "\n   ChangeKey:\tThis type of lock key cannot be backedup \n"},
        {90, "\nCreateKey: No EKM boot agent detected \n", "\nCHANGE KEY failed with return value : 90\n"},
        {0x33, "\nCREATE KEY failed with return value : 0x33\n", "\nCHANGE KEY failed with return value : 51\n"},
    };
    std::string faults, input;
    std::vector<std::string> expected;
    unsigned occurrence = 0;
    // CreateKey through the EKM agent asks nothing more; ChangeKey without
    // EKM and without a key sends the create command with empty parameters.
    for (const Case& c : cases) {
        faults += DcmdFault(0x01150100, ++occurrence, c.status);
        input += "1\nY\n\n";
        expected.push_back(c.create + std::string("\n Please reboot the system for the changes to occur\n"));
    }
    for (const Case& c : cases) {
        faults += DcmdFault(0x01150100, ++occurrence, c.status);
        input += "3\nN\n\n";
        expected.push_back(c.change + "\nPress ENTER to continue");
    }
    RunResult r = sectest::RunMenu(
        KeyScenario("ekm = true\nlock_key_reboot_required = true\n", KeyTable("ekm_agent = true\n"), false, faults),
        kKeyMenu, input);
    EXPECT_TRUE(ContainsInOrder(r.out, expected));
    std::vector<std::string> creates = DcmdTrace(r, 0x01150100);
    ASSERT_EQ(creates.size(), 2 * cases.size());
    EXPECT_EQ(TraceField(creates.front(), "mbox"), "10" + std::string(22, '0'));  // 16: EKM
    EXPECT_EQ(TraceField(creates.back(), "mbox"), std::string(24, '0'));
    EXPECT_EQ(CountOf(r.out, "EKMS is supported, do you want to use it (Y/N)"), (int)cases.size());
}

TEST(KeyChange, LocalChangeIsCompletedWithTheOldKey) {
    const std::string keys = KeyTable("key = \"Old#Key123\"\npass_phrase = \"Old#Phrase1\"\nkey_id = \"OLD-ID\"\n");
    RunResult r = sectest::RunMenu(KeyScenario("", keys), kKeyMenu,
                                   "3\nweakkey12\nNew#Key456\nBad#Key999\n\n3\nNew#Key456\nOld#Key123\n\n"
                                   "3\nThird#Key7\nOld#Key123\n\n");
    const std::string changePrompts = Rule(false) + "\nEnter new security key:\n" + kKeyPrompt;
    const std::string oldPrompts = Rule(false) + "\n\nEnter old security key:\n" + kKeyPrompt;
    const std::string refused = "\n   reKey:\tHost authentication failed \n";
    EXPECT_TRUE(ContainsInOrder(r.out, {changePrompts + kWeak + kKeyPrompt, oldPrompts, refused,
                                        changePrompts, oldPrompts + "\nPress ENTER to continue", changePrompts,
                                        oldPrompts, refused}));
    EXPECT_EQ(CountOf(r.out, refused), 2);
    std::vector<std::string> creates = DcmdTrace(r, 0x01150100), rekeys = DcmdTrace(r, 0x01150700);
    ASSERT_EQ(rekeys.size(), 3u);
    EXPECT_EQ(TraceField(creates[0], "mbox"), "04" + std::string(22, '0'));
    EXPECT_EQ(TraceField(rekeys[0], "dlen"), "104");
    EXPECT_EQ(TraceField(rekeys[0], "data"), std::string(208, '*'));
    EXPECT_TRUE(NowhereIn(r, {"Old#Key123", "New#Key456", "Bad#Key999", "Third#Key7"}));
}

TEST(KeyChange, ThroughTheEkmAgentOrWithoutIt) {
    const std::string capabilities = "ekm = true\n";
    RunResult agent = sectest::RunMenu(KeyScenario(capabilities, KeyTable("ekm = true\nekm_agent = true\n")),
                                       kKeyMenu, "3\nY\n\n");
    EXPECT_TRUE(ContainsInOrder(agent.out, {"EKMS is supported do you want to use it (Y/N)",
                                            "\n Rekeying in EKM \n\nPress ENTER to continue"}));
    std::vector<std::string> bios = DcmdTrace(agent, 0x010C0100), creates = DcmdTrace(agent, 0x01150100),
                             rekeys = DcmdTrace(agent, 0x01150700);
    ASSERT_EQ(bios.size(), 1u);
    EXPECT_EQ(TraceField(bios[0], "dlen") + "/" + TraceField(bios[0], "dflags"), "64/2");
    ASSERT_EQ(creates.size(), 1u);
    EXPECT_EQ(TraceField(creates[0], "mbox"), "14" + std::string(22, '0'));  // 20: change through EKM
    ASSERT_EQ(rekeys.size(), 1u);
    EXPECT_EQ(TraceField(rekeys[0], "dlen"), "0");
    EXPECT_EQ(TraceField(rekeys[0], "status"), "0x0");

    // Bound to EKM but no agent answers: the two lines, then the create
    // command with empty parameters, which the firmware refuses (key exists).
    RunResult none = sectest::RunMenu(KeyScenario(capabilities, KeyTable("ekm = true\n")), kKeyMenu, "3\nY\n\n");
    EXPECT_TRUE(ContainsInOrder(none.out, {"\n EKMC is not present\n\n Please clear the secured configuration to use LKM \n",
                                           "\n   ChangeKey:   Lock key can only be created once\n"}));
    creates = DcmdTrace(none, 0x01150100);
    ASSERT_EQ(creates.size(), 1u);
    EXPECT_EQ(TraceField(creates[0], "mbox"), std::string(24, '0'));
    EXPECT_EQ(TraceField(creates[0], "data"), std::string(216, '*') + std::string(512, '0'));
}

TEST(KeyDestroy, SecuredDrivesAreDeletedOnlyWhenConfirmed) {
    RunResult r = sectest::RunMenu(
        KeyScenario("", KeyTable("key = \"Ctrl#Key11\"\npass_phrase = \"Ctrl#Phrase1\"\n"), true,
                    DcmdFault(0x01150900, 1, 75)),
        kKeyMenu, "4\n\n\n4\nN\n\n\n4\nx\n\n4\nyes\n\n4\n\n");
    const std::string question =
        "LD 0 is secure. Do you want to delete it ?(Y=Yes | [ANY OTHER INPUT / ENTER]=No)\n";
    const std::string confirm =
        "Do you want to delete the lock key now ? Please confirm(Y=Yes | [ANY OTHER INPUT / ENTER]=No)";
    EXPECT_TRUE(ContainsInOrder(
        r.out, {question + "Vd is still secure. Cannot destroy lock key now\n\nPress ENTER to continue",
                question + confirm + "Cannot destroy lock key now\n", "\nNo LDs in the system\n" + confirm +
                "\nDestroy the controller lock key\n", "\nNo LDs in the system\n" + confirm + "\nPress ENTER to continue",
                "Lock key has not been assigned to controller\n"}));
    std::vector<std::string> deletes = TraceFor(r, 3, 3);
    ASSERT_EQ(deletes.size(), 1u);
    EXPECT_EQ(TraceField(deletes[0], "ref"), "0100000000000000");  // sequence number 1, target id 0
    std::vector<std::string> destroys = DcmdTrace(r, 0x01150900);
    ASSERT_EQ(destroys.size(), 2u);
    EXPECT_EQ(TraceField(destroys[1], "dlen") + TraceField(destroys[1], "status"), "00x0");
}

TEST(KeyIds, DefaultDeviceDrivesAndANewIdentifier) {
    RunResult r = sectest::RunMenu(
        KeyScenario("", KeyTable("key = \"Ctrl#Key11\"\npass_phrase = \"Ctrl#Phrase1\"\nkey_id = \"OLD-ID\"\n")),
        kKeyMenu, "5\n\n\n5\n12\n\n6\n12\nNEW-ID\n\n6\n\nNEW-ID rest\n\n5\n\n\n");
    EXPECT_TRUE(ContainsInOrder(
        r.out, {"\nKeyID : OLD-ID\nPress ENTER", "\nDeviceId must be secured to retrieve keyID.\n",
                "\nEnter the Key ID :\nFW only supports command for controller\n", "\nEnter the Key ID :\nPress ENTER",
                "\nKeyID : NEW-ID\nPress ENTER"}));
    std::vector<std::string> gets = DcmdTrace(r, 0x01150301), sets = DcmdTrace(r, 0x01150302);
    ASSERT_EQ(gets.size(), 3u);
    ASSERT_EQ(sets.size(), 2u);
    EXPECT_EQ(TraceField(gets[0], "mbox"), "FFFF" + std::string(20, '0'));
    EXPECT_EQ(TraceField(gets[1], "mbox"), "0C00" + std::string(20, '0'));
    EXPECT_EQ(TraceField(sets[0], "mbox"), "0C" + std::string(22, '0'));
    EXPECT_EQ(TraceField(sets[1], "data"), Pad(HexOf("NEW-ID"), 256));
}

TEST(KeyMenu, UnlockSuggestionAndSecureVirtualDrive) {
    RunResult r = sectest::RunMenu(KeyScenario("", "", false, DcmdFault(0x01150200, 2, 34)), kKeyMenu,
                                   "2\n\n7\n\n7\n\n8\n\n");
    EXPECT_TRUE(ContainsInOrder(
        r.out, {"\nThis functionality is unsupported for now. UNLOCK works only for TPMs\n\nPress ENTER",
                "Please enter choice :\nPress ENTER",
                "\nNo HW available to generate pass-phrase\nSuggested PassPhrase is : \n",
                "\nThis option is to make a VD secure in case of all PDs being FDE capeable.\n\nCurrently FDE is not "
                "supported.\n"}));
    std::vector<std::string> unlock = DcmdTrace(r, 0);
    ASSERT_EQ(unlock.size(), 1u);
    EXPECT_EQ(TraceField(unlock[0], "dlen"), "0");
    EXPECT_EQ(DcmdTrace(r, 0x01150200).size(), 2u);
}

TEST(Secrets, EmptyLongAndEndOfInputAtTheirPrompts) {
    // The foreign preset's locked drives need a 32-character key here: the
    // characters typed after the 32nd are not part of it.
    const std::string key32 = "Aa1#" + std::string(28, 'k');
    std::string scenario = sectest::Preset("foreign");
    scenario.replace(scenario.find("Origin#Key42"), 12, key32);
    RunResult longKey = sectest::RunMenu(scenario, 6, "5\n\n" + key32 + "EXTRA\n" + "9\n");
    EXPECT_TRUE(ContainsInOrder(longKey.out, {kKeyPrompt + std::string(kTooShort) + kKeyPrompt,
                                              F("%-45s %d\n", "Number of Foreign Guids", 3)}));
    std::vector<std::string> unlock = DcmdTrace(longKey, 0x01150800);
    ASSERT_EQ(unlock.size(), 1u);
    EXPECT_EQ(TraceField(unlock[0], "status"), "0x0");
    EXPECT_TRUE(NowhereIn(longKey, {key32, "EXTRA"}));

    RunSpec spec;
    spec.scenarioText = KeyScenario("");
    spec.input = StartInput("12\n1\n0\n");
    RunResult ended = RunTool(spec);
    EXPECT_TRUE(ContainsInOrder(ended.out, {kKeyPrompt, "UnInitializeLibrary successful"}));
    EXPECT_TRUE(DcmdTrace(ended, 0x01150100).empty());
}

}  // namespace

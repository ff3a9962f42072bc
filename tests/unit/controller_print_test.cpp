// Controller information and property printers on crafted records, through
// a fake library entry point: back-end address branches, coercion modes per
// family, strip sizes, RAID-level texts, the power-save window, and records
// whose counts run past their arrays.
#include <gtest/gtest.h>
#include <stdarg.h>

#include <string>
#include <vector>

#include "controller.h"

namespace {

struct Fake {
    KV_CTRL_INFO info{};
    _KV_MFC_DEFAULTS mfc{};
    U32 infoStatus = 0;
    U32 mfcStatus = 0;
    int calls = 0;
} gFake;

U32 FakeEntry(_TL_LIB_CMD_PARAM_T* b) {
    ++gFake.calls;
    if (b->cmdType == TL_CTRL_CMD_TYPE && b->cmd == TL_GET_CTRL_INFO) {
        if (gFake.infoStatus) return gFake.infoStatus;
        memcpy(b->pData, &gFake.info, sizeof gFake.info);
        return 0;
    }
    if (b->cmdType == TL_PASSTHRU_CMD_TYPE && b->cmd == TL_DCMD_PASSTHRU) {
        auto* in = static_cast<_TL_DCMD_INPUT_T*>(b->pData);
        if (in->opCode == KV_DCMD_CTRL_MFC_DEFAULTS_GET) {
            if (gFake.mfcStatus) return gFake.mfcStatus;
            memcpy(in->pData, &gFake.mfc, sizeof gFake.mfc);
            return 0;
        }
    }
    return TL_STATUS_UNSUPPORTED_CMD;
}

std::string F(const char* fmt, ...) TLT_PRINTF(1, 2);
std::string F(const char* fmt, ...) {
    char buf[512];
    va_list ap;
    va_start(ap, fmt);
    vsnprintf(buf, sizeof buf, fmt, ap);
    va_end(ap);
    return buf;
}

int CountOf(const std::string& s, const std::string& needle) {
    int n = 0;
    for (size_t at = s.find(needle); at != std::string::npos; at = s.find(needle, at + needle.size())) ++n;
    return n;
}

// The text between the first occurrence of `from` and the next `to`.
std::string Between(const std::string& s, const std::string& from, const std::string& to) {
    size_t a = s.find(from);
    if (a == std::string::npos) return "<missing " + from + ">";
    a += from.size();
    size_t b = s.find(to, a);
    return s.substr(a, b == std::string::npos ? std::string::npos : b - a);
}

class CtrlPrint : public ::testing::Test {
  protected:
    void SetUp() override {
        gFake = Fake{};
        pfnProcessLibCommandKV = FakeEntry;
        pfnProcessLibCommandPX2 = FakeEntry;
        libKVPresent = libPX2Present = 1;
        pfnProcessLibCommand = FakeEntry;
        memset(&gCtrlList, 0, sizeof gCtrlList);
        gCtrlList.count = 2;
        gCtrlList.ctrlId[0] = 0x00000000u; // Korvane
        gCtrlList.ctrlId[1] = 0x02000001u; // PX2
        gSelController = 0;
        gBVTMode = 0;
        oldFp_ = fp;
        fp = stderr; // no paging: the pager stops only while reports go to standard output
    }
    void TearDown() override {
        fp = oldFp_;
        gSelController = -1;
    }
    std::string PrintInfo() {
        testing::internal::CaptureStdout();
        PrintCtrlInfo(&gFake.info);
        return testing::internal::GetCapturedStdout();
    }
    std::string PrintProps(KV_CTRL_PROP* p) {
        testing::internal::CaptureStdout();
        PrintCtrlProperties(p);
        return testing::internal::GetCapturedStdout();
    }
    FILE* oldFp_ = nullptr;
};

std::string AddrLine(int i, U64 a) { return F("\t\t%d : %016llx\n", i, static_cast<unsigned long long>(a)); }

TEST_F(CtrlPrint, TwelveDevicePortsWithMoreThan8PhysPrintsOnlyNonZeroFromBothArrays) {
    KV_CTRL_INFO& i = gFake.info;
    i.deviceInterface.portCount = 12;
    i.adapterOperations.supportMoreThan8Phys = 1;
    i.deviceInterface.portAddr[0] = 0x500605B000000001ull;
    i.deviceInterface.portAddr[3] = 0x500605B000000004ull;
    i.deviceInterfacePortAddr2[1] = 0x500605B000000010ull;
    i.deviceInterfacePortAddr2[7] = 0x500605B000000018ull;
    std::string out = PrintInfo();
    std::string expected = F("\t%-20s\n", "Backend SAS addresses") + AddrLine(0, 0x500605B000000001ull) +
                           AddrLine(3, 0x500605B000000004ull) + AddrLine(9, 0x500605B000000010ull) +
                           AddrLine(15, 0x500605B000000018ull);
    EXPECT_EQ(Between(out, F("\t%-20s : %d\n", "Port Count", 12), "\nList of components residing in flash\n"),
              F("\t%-20s : ", "Device Interface") + "\n" + expected);
}

TEST_F(CtrlPrint, TwelveDevicePortsWithoutTheBitWalkTheFirstArrayPastItsEnd) {
    KV_CTRL_INFO& i = gFake.info;
    i.deviceInterface.portCount = 12;
    for (int k = 0; k < 8; ++k) i.deviceInterface.portAddr[k] = 0x5000000000000100ull + k;
    i.deviceInterfacePortAddr2[0] = 0x5FFFFFFFFFFFFFFFull; // not reached in this branch
    i.imageCheckWord = 0x11223344;
    i.imageComponentCount = 0; // bytes 176..183 hold the ninth "address"
    memcpy(i.imageComponent[0].name, "ABCDEFGH", 8);
    std::string out = PrintInfo();
    std::string lines = Between(out, F("\t%-20s\n", "Backend SAS addresses"), "\nList of components");
    std::string expected;
    for (int k = 0; k < 8; ++k) expected += AddrLine(k, 0x5000000000000100ull + k);
    U64 name;
    memcpy(&name, "ABCDEFGH", 8);
    expected += AddrLine(8, 0x11223344ull) + AddrLine(9, name) + AddrLine(10, 0) + AddrLine(11, 0);
    EXPECT_EQ(lines, expected);
}

TEST_F(CtrlPrint, CountsBeyondTheRecordStopAtItsEnd) {
    KV_CTRL_INFO& i = gFake.info;
    i.hostInterface.portCount = 255;
    i.deviceInterface.portCount = 255;
    i.imageComponentCount = 0xFFFFFFFFu;
    memset(i.productName, 'P', sizeof i.productName);     // no terminator
    memset(i.packageVersion, 'V', sizeof i.packageVersion); // no terminator
    memset(i.expanderFwVersion, 'E', sizeof i.expanderFwVersion);
    i.hwPresent.expander = 1;
    std::string out = PrintInfo();
    // Each loop reads the 8-byte words that lie inside the 2048 bytes: host
    // addresses from offset 40 reach index 250, device addresses from 112
    // reach index 241.
    EXPECT_EQ(CountOf(out, "\t\t241 : "), 2);
    EXPECT_EQ(CountOf(out, "\t\t242 : "), 1);
    EXPECT_EQ(CountOf(out, "\t\t250 : "), 1);
    EXPECT_EQ(CountOf(out, "\t\t251 : "), 0);
    EXPECT_NE(out.find(F("%-25s : %s\n", "Product Name", std::string(80, 'P').c_str())), std::string::npos);
    EXPECT_NE(out.find(F("%-20s : %s\n", "FW Package Version", std::string(96, 'V').c_str())), std::string::npos);
    EXPECT_NE(out.find("\tOn board expander FwVersion : EEEEEEEEEEEE\n"), std::string::npos);
    // Components from offset 184, 72 bytes each: the 25th (index 24) is the last inside.
    EXPECT_NE(out.find("\tImageComponent [ 24 ] :\n"), std::string::npos);
    EXPECT_EQ(out.find("\tImageComponent [ 25 ] :\n"), std::string::npos);
}

TEST_F(CtrlPrint, StripSizesRaidLevelsAndDriveLimits) {
    KV_CTRL_INFO& i = gFake.info;
    i.stripeSizeOptions.min = 0;
    i.stripeSizeOptions.max = 7;
    std::string out = PrintInfo();
    EXPECT_NE(out.find(F("\t%-10s : %dK (DDF:%d)\n", "Minimum", 0, 0) + F("\t%-10s : %dK (DDF:%d)\n", "Maximum", 64, 7)),
              std::string::npos);
    // No RAID bit: only the inverted spanning line and the SRL line.
    EXPECT_EQ(Between(out, "\nSupported RAID levels\n", "\nSupported Adapter options\n"),
              "\tRAID level 0 with spanning\n\tSRL 3 not supported\n");
    EXPECT_EQ(out.find("PDs for RAID Level"), std::string::npos);

    i.raidLevels.raidLevel_00_unsupported = 1;
    i.raidLevels.raidLevel_1 = 1;
    i.raidLevels.raidLevel_1E0_RLQ0 = 1;
    i.raidLevels.raidLevel_60 = 1;
    i.pdsForRaidLevels[KV_PDS_RAID1] = (2 << 4) | 2;
    i.pdsForRaidLevels[KV_PDS_RAID1E0_RLQ0] = (32 << 4) | 4;
    i.pdsForRaidLevels[KV_PDS_RAID60] = (0xFFF << 4) | 0xF;
    i.stripeSizeOptions.min = 32;
    out = PrintInfo();
    EXPECT_EQ(Between(out, "\nSupported RAID levels\n", "\nSupported Adapter options\n"),
              "\tRAID level 1\n\tRAID level 6 with spanning\n\tRAID level PRL 11 with spanning\n\tSRL 3 not supported\n");
    EXPECT_NE(out.find(F("\t%-10s : %dK (DDF:%d)\n", "Minimum", 0, 32)), std::string::npos);
    std::string limits = F("\n%-32s : %d\n", "Minimum PDs for RAID Level 1", 2) +
                         F("\n%-32s : %d\n", "Maximum PDs for RAID Level 1", 2) +
                         F("\n%-32s : %d\n", "Minimum PDs for RAID Level PRL 11 with spanning", 4) +
                         F("\n%-32s : %d\n", "Maximum PDs for RAID Level PRL 11 with spanning", 32) +
                         F("\n%-32s : %d\n", "Minimum PDs for RAID Level 60", 15) +
                         F("\n%-32s : %d\n", "Maximum PDs for RAID Level 60", 4095) +
                         F("\n%-32s : %d\n", "Maximum supported PDs", 0);
    EXPECT_NE(out.find(limits), std::string::npos) << out;
}

TEST_F(CtrlPrint, PowerStateTextWithoutLineEndAndAdapterStatusPairs) {
    KV_CTRL_INFO& i = gFake.info;
    i.adapterStatus.supportPdFwDownload = 1;
    i.adapterStatus.lockKeyFailed = 1;
    std::string out = PrintInfo();
    EXPECT_NE(out.find("\tPower state : Controller will take care of spinning the drives, \t\t\t\t  Please Avoid "
                       "spinning the drives prior to Add VD\nSupported physical drive mix on controllers, encl, LD\n"),
              std::string::npos);
    EXPECT_NE(out.find(F("\n%-20s\n", "Controller is not assigned a lock key\n") +
                       F("\n%-20s\n", "Failed to get lock key on bootup\n") +
                       F("\n%-20s\n", "Lock key has been backed up\n") +
                       F("\n%-20s\n", "Bios was detected during boot\n") +
                       F("\n%-20s\n", "PD FW download in progress") +
                       F("\n%-20s\n", "Controller cache is not pinned") + F("%-20s : %s\n", "FW Package Version", "")),
              std::string::npos);
}

TEST_F(CtrlPrint, CoercionModeThreeDependsOnFamily) {
    KV_CTRL_PROP p{};
    p.coercionMode = 3;
    p.alarmEnable = 1;
    gSelController = 0; // Korvane: no value, no line end
    std::string out = PrintProps(&p);
    EXPECT_NE(out.find(F("%-45s : ", "Drive capacity coercion mode") + F("%-45s : %s\n", "Alarm Enable", "ENABLE")),
              std::string::npos);
    gSelController = 1; // PX2
    out = PrintProps(&p);
    EXPECT_NE(out.find(F("%-45s : ", "Drive capacity coercion mode") + "Zero Coercion\n"), std::string::npos);
}

TEST_F(CtrlPrint, PowerSaveWindowWrapsMidnight) {
    gFake.info.ldOperations.supportPowerSavings = 1;
    gFake.info.properties.defaultLdPSPolicy = 0xFE;
    KV_CTRL_PROP p{};
    p.disableLdPSTime = 22 * 60 + 59;
    p.disableLdPSInterval = 5;
    std::string out = PrintProps(&p);
    EXPECT_NE(out.find(F("%-45s : %s \n", "Default Power Save Policy is", "None")), std::string::npos);
    EXPECT_NE(out.find(F("%-45s : %d\n", "SpinDown Configured drives enabled ", 0) +
                       F("%-45s : %d\n", "Power Saving Start Time ", 22) +
                       F("%-45s : %d\n", "Power Saving End Time ", 3)),
              std::string::npos);
}

TEST_F(CtrlPrint, PowerSaveLinesNeedBothFetchesAndOneOfTheTwoConditions) {
    KV_CTRL_PROP p{};
    // Neither the capability nor the manufacturing bit: no power-save lines.
    std::string out = PrintProps(&p);
    EXPECT_EQ(out.find("Power Save"), std::string::npos);
    EXPECT_EQ(out.find("Power Saving Start Time"), std::string::npos);

    // Bit 3 of disablePowerSavings alone is enough; policy 1 reads "Auto".
    gFake.mfc.disablePowerSavings = 0x08;
    gFake.info.properties.defaultLdPSPolicy = 1;
    out = PrintProps(&p);
    EXPECT_NE(out.find(F("%-45s : %s \n", "Default Power Save Policy is", "Auto")), std::string::npos);
    EXPECT_NE(out.find(F("%-45s : %d\n", "SpinDown Configured drives enabled ", 1)), std::string::npos);
    gFake.mfc.disablePowerSavings = 0x07;
    out = PrintProps(&p);
    EXPECT_EQ(out.find("Default Power Save Policy is"), std::string::npos);

    // A failing manufacturing fetch prints its own text and suppresses the lines.
    gFake.info.ldOperations.supportPowerSavings = 1;
    gFake.mfcStatus = 0x21;
    out = PrintProps(&p);
    EXPECT_NE(out.find("GetMFCDefaultsFunc : ProcessLibCommandCall failed ;  rval = 0x21\n"), std::string::npos);
    EXPECT_EQ(out.find("Default Power Save Policy is"), std::string::npos);
    gFake.mfcStatus = TL_STATUS_INVALID_CTRL;
    out = PrintProps(&p);
    EXPECT_NE(out.find("GetMFCDefaultsFunc: Invalid controller\n"), std::string::npos);

    // A failing information fetch does too.
    gFake.mfcStatus = 0;
    gFake.infoStatus = 0x8009;
    out = PrintProps(&p);
    EXPECT_NE(out.find("GetCtrlInfoFunc : ProcessLibCommandCall failed; rval = 0x8009\n"), std::string::npos);
    EXPECT_EQ(out.find("Power Saving Start Time"), std::string::npos);
}

TEST_F(CtrlPrint, LoadBalanceAndYesNoTexts) {
    KV_CTRL_PROP p{};
    p.loadBalanceMode = 2; // no text, not even a line end
    p.OnOffProperties.useFdeOnly = 1;
    p.disableAutoRebuild = 1;
    std::string out = PrintProps(&p);
    EXPECT_NE(out.find(F("%-45s : ", "Load Balance Mode") + F("%-45s : %d\n", "SpinDownUnconfigured drives enabled", 0)),
              std::string::npos);
    EXPECT_NE(out.find(F("%-45s : %s\n", "Only allow FDE drive based encryption", "YES")), std::string::npos);
    EXPECT_NE(out.find(F("%-45s : %s\n", "Disable AutoRebuild", "TRUE")), std::string::npos);
    p.loadBalanceMode = 1;
    out = PrintProps(&p);
    EXPECT_NE(out.find(F("%-45s : ", "Load Balance Mode") + "No load balance\n"), std::string::npos);
}

TEST(CtrlDecoders, CoercionTablesPerFamily) {
    EXPECT_STREQ(CoercionModeText(TL_FAMILY_KV, 0), "None\n");
    EXPECT_STREQ(CoercionModeText(TL_FAMILY_PX, 2), "1 GB\n");
    EXPECT_STREQ(CoercionModeText(TL_FAMILY_PX, 3), "");
    EXPECT_STREQ(CoercionModeText(TL_FAMILY_PX3, 0), "1 GB\n");
    EXPECT_STREQ(CoercionModeText(TL_FAMILY_PX2, 2), "Adaptive Coercion\n");
    EXPECT_STREQ(CoercionModeText(TL_FAMILY_PX2, 4), "");
    EXPECT_STREQ(CoercionModeText(-1, 1), "128 MB\n");
}

TEST(CtrlDecoders, PowerPolicyChoices) {
    int valid = 0;
    EXPECT_EQ(PowerPolicyFromChoice(0, 7, &valid), 7);
    EXPECT_EQ(valid, 1);
    EXPECT_EQ(PowerPolicyFromChoice(2, 1, &valid), 0xFE);
    EXPECT_EQ(PowerPolicyFromChoice(3, 1, &valid), 2);
    EXPECT_EQ(PowerPolicyFromChoice(4, 1, &valid), 4);
    EXPECT_EQ(PowerPolicyFromChoice(7, 1, &valid), 1);
    EXPECT_EQ(valid, 0);
    EXPECT_EQ(PowerPolicyFromChoice(static_cast<U16>(65537), 9, &valid), 1); // 65537 reduced to 16 bits is 1
    EXPECT_EQ(valid, 1);
}

TEST(CtrlDecoders, QueryValuesAndEndHour) {
    EXPECT_EQ(PDQueryValue(KV_PD_QUERY_STATE, 3), 16);
    EXPECT_EQ(PDQueryValue(KV_PD_QUERY_STATE, 8), 64);
    EXPECT_EQ(PDQueryValue(KV_PD_QUERY_STATE, 9), 0);
    EXPECT_EQ(PDQueryValue(KV_PD_QUERY_STATE, 5), 20);
    EXPECT_EQ(PDQueryValue(KV_PD_QUERY_SPEED, 3), 3);
    EXPECT_EQ(PDQueryValue(KV_PD_QUERY_SPEED, 4), 0);
    EXPECT_EQ(PDQueryValue(KV_PD_QUERY_MEDIA_TYPE, 2), 0);
    EXPECT_EQ(PDQueryValue(KV_PD_QUERY_EXPOSED_TO_HOST, 1), 0);
    EXPECT_EQ(PowerSaveEndHour(22, 5), 3);
    EXPECT_EQ(PowerSaveEndHour(10, 13), 23);
    EXPECT_EQ(PowerSaveEndHour(23, 1), 0);
}

}  // namespace

// The logical drive policy decoders, the drive state text, and the drive
// and logical drive reports on crafted records: the branches a simulated
// drive cannot show (undefined states, security and power states, boot
// partition, progress, failed enclosure reads) and counts past the record.
#include "config.h"
#include "fake_library.h"
#include "ld.h"
#include "pd.h"

namespace {

std::string S35(const char* text) { return F("%-35s\n", text); }
std::string L35(const char* label, int v) { return F("%-35s : %d\n", label, v); }

TEST(LdPolicyDecoders, PrintedTexts) {
    struct Case {
        void (*print)(U8);
        U8 value;
        const char* text;
    };
    const Case cases[] = {
        {PrintReadCachePolicy, 0x0C, "Adaptive Read Ahead\n"}, {PrintReadCachePolicy, 0x04, "Read Ahead\n"},
        {PrintReadCachePolicy, 0x08, "No Read Ahead\n"},       {PrintWriteCachePolicy, 0x10, "Write through\n"},
        {PrintWriteCachePolicy, 0x11, "Write Back\n"},         {PrintCachePolicy, 0x60, "Cached IO\n"},
        {PrintCachePolicy, 0x20, "Direct IO\n"},               {PrintCachePolicy, 0x40, "Direct IO\n"},
        {PrintPdCachePolicy, 0, "UNCHANGED\n"},                {PrintPdCachePolicy, 1, "ENABLED\n"},
        {PrintPdCachePolicy, 2, "DISABLED\n"},                 {PrintPdCachePolicy, 7, "7\n"},
        {PrintAccessPolicy, 0x12, "Read Only\n"},              {PrintAccessPolicy, 0x15, "21\n"},
        {PrintAccessPolicy, 0x03, "Blocked\n"},                {PrintAccessPolicy, 0x00, "Read Write\n"},
        {PrintPowerPolicy, 4, "No Power Policy"},              {PrintPowerPolicy, 6, "MAX WITHOUT CACHE"},
        {PrintPowerPolicy, 0, "Controller Default"},           {PrintPowerPolicy, 254, "NONE"},
    };
    for (const Case& c : cases) EXPECT_EQ(Printed([&] { c.print(c.value); }), c.text) << int(c.value);
    char buf[19];
    memset(buf, 'x', sizeof buf);
    EXPECT_STREQ(getPSPolicy(buf, 4), "Max Without Cache");
    EXPECT_STREQ(getPSPolicy(buf, 6), "No Power Policy");
    EXPECT_STREQ(getPSPolicy(buf, 254), "None");
}

TEST(PdStateText, ShieldStatesAreUndefinedAndTheBufferIsCleared) {
    char buf[65];
    EXPECT_STREQ(GetPDStateString(0x90, buf, sizeof buf), "UNDEFINED : 0x90");
    EXPECT_STREQ(GetPDStateString(64, buf, sizeof buf), "JBOD");
    memset(buf, 'x', sizeof buf);
    GetPDStateString(17, buf, sizeof buf);
    EXPECT_STREQ(buf, "FAILED");
    for (size_t i = strlen("FAILED"); i < sizeof buf; ++i) ASSERT_EQ(buf[i], '\0') << i;
}

class PdReport : public FakeLibraryTest {
protected:
    void SetUp() override {
        FakeLibraryTest::SetUp();
        memset(&pd, 0, sizeof pd);
        pd.ref = {5, 2};
        pd.enclDeviceId = 9;
        pd.slotNumber = 3;
        pd.interfaceType = 2;
        pd.pathInfo.count = 1;
        pd.pathInfo.sasAddr[0] = 0x5000C50000000A01ull;
        // The boot-sector read of an active drive finds a bootable partition
        // when `bootable` is set.
        gFake.answer = [this](_TL_LIB_CMD_PARAM_T* b, U32*) {
            if (b->cmdType != TL_PASSTHRU_CMD_TYPE || b->cmd != TL_SCSI_PASSTHRU) return false;
            static_cast<U8*>(b->pData)[64 + 446] = bootable ? 0x80 : 0;
            return true;
        };
    }
    std::string Report() {
        gFake.Set(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, info);
        return Printed([&] { EXPECT_EQ(PrintPDInfo(&pd), 0); });
    }
    // The report from `from` on.
    std::string ReportFrom(const std::string& from) {
        std::string out = Report();
        return out.substr(std::min(out.find(from), out.size()));
    }
    _KV_PD_INFO pd;
    KV_CTRL_INFO info{};
    bool bootable = false;
};

TEST_F(PdReport, StatementsSecurityAndPowerStates) {
    pd.unusableInCurrentConfig = 1;
    pd.allowedOps.foreignImportNotAllowed = 1;
    pd.notSupported = 1;
    pd.notCertified = 1;
    pd.allowedOps.makeSystem = 1;
    pd.security.w = 0x3F;  // FDE capable and enabled, secured, locked, foreign key, EKMS
    pd.allowedOps.fwDownloadNotAllowed = 1;
    pd.mediaType = 1;
    bootable = true;
    EXPECT_EQ(ReportFrom("Is Bad Block Table Full"),
              F("%-35s : %ld\n", "Is Bad Block Table Full", 0L) + S35("This drive is in Incompatible state") +
                  S35("This drive can not be imported as foreign config.") + S35("This drive is non-supported") +
                  S35("This drive is non-certified") + F("%-35s :\n", "This drive can be made JBOD type") +
                  S35("This drive supports FDE.") + S35("This drive security is enabled.") +
                  S35("This drive is FDE locked.") + S35("This drive is secured by a foreign lock key.") +
                  S35("This drive is secured by a EKMS.") + S35("FW download not allowed on this PD.") +
                  S35("Boot Partition is present on this PD.") + F("%-35s : %s\n", "Mediatype", "SSD") +
                  S35("Drive Active."));
    const _TL_LIB_CMD_PARAM_T& read = gFake.blocks.back();
    EXPECT_EQ(read.cmdType, TL_PASSTHRU_CMD_TYPE);
    EXPECT_EQ(read.pdRef.deviceId, 5);

    struct Case {
        U16 security;
        U8 powerState;
        std::string tail;
    };
    const std::string notForeign = S35("This drive is not secured by a foreign lock key.") +
                                   S35("This drive is not secured by a EKMS.") + S35("FW download allowed on this PD.");
    const Case cases[] = {
        {0x01, 1, S35("This drive is unlocked.") + notForeign + F("%-35s : %s\n", "Mediatype", "HDD") + S35("Drive spun down.")},
        {0x04, 255, S35("This drive is secured by controller encryption.") + notForeign +
                        F("%-35s : %s\n", "Mediatype", "HDD") + S35("Drive transitioning between power states.")},
        {0x00, 7, S35("This drive is not secured by controller encryption.") + notForeign +
                      F("%-35s : %s\n", "Mediatype", "HDD") + S35("Drive Unknow power state.")},
    };
    memset(&pd.allowedOps, 0, sizeof pd.allowedOps);
    pd.mediaType = 0;
    for (const Case& c : cases) {
        pd.security.w = c.security;
        pd.powerState = c.powerState;
        gFake.blocks.clear();
        std::string out = Report();
        EXPECT_NE(out.find(S35(c.security & 1 ? "This drive supports FDE." : "This drive does not support FDE.") +
                           S35("This drive security is not enabled.") + c.tail),
                  std::string::npos)
            << out;
        EXPECT_EQ(gFake.Count(TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU), 0u);  // no boot-sector read unless active
    }
}

TEST_F(PdReport, FailedEnclosureRead) {
    info.adapterOperations.supportEnclEnumeration = 1;  // and the controller lists no enclosure
    EXPECT_NE(Report().find(L35("Sequence Number", 2) + S35("Device is not inside an enclosure") +
                            L35("Slot number of drive", 3) + F("%-35s : ", "SCSI Device Type")),
              std::string::npos);
    pd.ref.deviceId = 9;  // the enclosure itself
    pd.scsiDevType = 13;
    std::string out = Report();
    EXPECT_EQ(out.rfind("\nEnclosure Information\n--------------------------\n", 0), 0u);
    EXPECT_NE(out.find(L35("Sequence Number", 2) + S35("GetEnclInfoFunc failed") + F("%-35s : ", "SCSI Device Type")),
              std::string::npos);
}

TEST_F(PdReport, PathsPortSpeedStateAndProgress) {
    info.adapterOperations.supportMultipath = 1;
    pd.pathInfo = {5, 0, {1, 2}, {0x5000C50000000A01ull, 0x5000C50000000A02ull}};  // the record holds two
    pd.connectedPortBitmap = 0x08;
    pd.deviceSpeed = 9;
    pd.fwState = 128;
    pd.state.forcedPDGUID = 1;
    pd.state.isForeign = 1;
    pd.state.intf = 7;
    pd.copyBackPartnerId = 12;
    pd.enclPartnerDeviceId = 4;
    pd.progInfo.active.w = 0x2F;  // rebuild, patrol read, clear, copyback, locate
    pd.progInfo.rbld = {13107, {10}};
    pd.progInfo.patrol = {26214, {20}};
    pd.progInfo.clear = {65535, {30}};
    std::string out = Report();
    EXPECT_NE(out.find(L35("Path Count", 5) + L35("Is Path Broken", 0) + F("%s%-20d : %d\n", "Connector Index", 0, 1) +
                       F("%s%-20d : %d\n", "Connector Index", 1, 2) +
                       "SAS Addresses\n\t0 : 5000c50000000a01\n\t1 : 5000c50000000a02\n" + F("\n%-35s\n", "Inquiry Data")),
              std::string::npos);
    EXPECT_NE(out.find(L35("Connected Adapter Port", 3) + F("%-35s : ", "Speed") + "\n" +
                       F("%-35s : ", "Link Speed") + "Unknown\n"),
              std::string::npos);
    EXPECT_EQ(pd.connectedPortBitmap, 0);  // shifted to zero in the record
    EXPECT_NE(out.find(F("%-35s : ", "Firmware State") + "UNDEFINED : 0x80\n"), std::string::npos);
    EXPECT_NE(out.find(F("%-35s : ", "DDF State\n") + "\tForced PD GUID\n\tForeign\n\tNot defined\n"), std::string::npos);
    const char* elapsed = "%-35s : Progress = %f; Elapsed Seconds = %d\n";
    const std::string tail = F("%-35s : %ld\n", "Partner Device ID", 12L) + F("%-35s : %ld\n", "Is Bad Block Table Full", 0L) +
                             F("%-35s : %ld\n", "Encl Partner Device ID", 4L);
    EXPECT_NE(out.find(F("%-35s :\n", "Locate is active on this PD") + F("%-35s :\n", "Drive Progress Information") +
                       F(elapsed, "Rebuild in progress", 20.0, 10) + F(elapsed, "Patrol Read in progress", 40.0, 20) +
                       F(elapsed, "Clear in progress", 100.0, 30) + F(elapsed, "Copyback in progress", 20.0, 10) + tail),
              std::string::npos)
        << out;

    info.adapterOperations2.supportPointInTimeProgress = 1;
    const char* remaining = "%-35s : Progress = %f; RemainingTime in Secs = %f\n";
    EXPECT_NE(Report().find(F(remaining, "Rebuild in progress", 20.0, 800.0) +
                            F(remaining, "Patrol Read in progress", 40.0, 1200.0) +
                            F(remaining, "Clear in progress", 100.0, 0.0) + F(remaining, "Copyback in progress", 20.0, 800.0)),
              std::string::npos);

    pd.progInfo.active.w = 0x08;  // copyback alone: no heading
    out = Report();
    EXPECT_EQ(out.find("Drive Progress Information"), std::string::npos);
    EXPECT_NE(out.find(F(remaining, "Copyback in progress", 20.0, 800.0)), std::string::npos);
}

class LdReport : public FakeLibraryTest {
protected:
    void SetUp() override {
        FakeLibraryTest::SetUp();
        Reset();
    }
    void Reset() {
        memset(&ld, 0, sizeof ld);
        ld.properties.ldRef.targetId = 3;
        ld.params.state = 3;
        ld.params.stripeSize = 7;
    }
    std::string Config() {
        gFake.Set(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, info);
        return Printed([&] { PrintLDConfig(&ld, nullptr); });
    }
    _KV_LD_CONFIG ld;
    KV_CTRL_INFO info{};
};

std::string L30(const char* label, const char* text) { return F("%-30s : ", label) + text + "\n"; }

TEST_F(LdReport, InitStateConsistencyEncryptionAndStripTexts) {
    struct Case {
        void (*set)(_KV_LD_CONFIG&);
        std::string line;
    };
    const Case cases[] = {
        {[](_KV_LD_CONFIG& l) { l.params.initState = 1; }, L30("Init Progress State", "Quick init in progress")},
        {[](_KV_LD_CONFIG& l) { l.params.initState = 2; }, L30("Init Progress State", "Full init in progress")},
        {[](_KV_LD_CONFIG& l) { l.params.initState = 9; }, F("%-30s : ", "Init Progress State") + "Unknown Init State : 9\n"},
        {[](_KV_LD_CONFIG& l) { l.params.state = 9; }, F("%-30s : ", "State") + "Undefined; val = 0x9\n"},
        {[](_KV_LD_CONFIG& l) { l.params.isConsistent = 5; }, F("%-30s : ", "Consistentcy") + "Unknown State : 5\n"},
        {[](_KV_LD_CONFIG& l) { l.params.badBlocksExist = 1; }, L30("BadBlocks", "Bad blocks exist for LD")},
        {[](_KV_LD_CONFIG& l) { l.params.isCachePinned = 1; }, L30("Pinned Cache", "LD has pinned controller cache")},
        {[](_KV_LD_CONFIG& l) { l.params.encryptionType = 1; }, L30("Encryption type", "FDE drive encryption")},
        {[](_KV_LD_CONFIG& l) { l.params.encryptionType = 2; }, L30("Encryption type", "Controller-based encryption")},
        {[](_KV_LD_CONFIG& l) { l.params.stripeSize = 32; }, F("%-30s : %d (%dK)\n", "Strip Size per DDF", 32, 0)},
        {[](_KV_LD_CONFIG& l) { l.properties.noBGI = 1; }, L30("Background Initialization", "Disabled")},
    };
    for (const Case& c : cases) {
        Reset();
        c.set(ld);
        std::string out = Config();
        EXPECT_NE(out.find(c.line), std::string::npos) << c.line << "\n" << out;
    }
}

TEST_F(LdReport, RaidLevel17ByFamilyAndPowerPolicies) {
    struct Case {
        int selected;
        U8 prl;
        std::string line;
    };
    const Case cases[] = {
        {0, 17, L30("Primary RAID Level", "1(1E)")}, {1, 17, L30("Primary RAID Level", "17")},
        {2, 17, L30("Primary RAID Level", "0x11")},  {3, 17, L30("Primary RAID Level", "0x11")},
        {2, 5, L30("Primary RAID Level", "5")},      {0, 6, L30("Primary RAID Level", "6")},
    };
    for (const Case& c : cases) {
        gSelController = c.selected;
        ld.params.PRL = c.prl;
        EXPECT_NE(Config().find(c.line + F("%-30s : %d\n", "RAID Level Qualifier", 0)), std::string::npos) << c.line;
    }
    info.ldOperations.supportPowerSavings = 1;
    ld.properties.defaultPSPolicy = 6;
    ld.properties.currentPSPolicy = 254;
    std::string out = Config();
    std::string policies = L30("Default Power Policy", "LD shall not cache writes to maximise power savings") +
                           L30("Current Power Policy", "LD power savings are disabled");
    EXPECT_EQ(out.substr(out.size() - policies.size()), policies);
    gFake.statuses[{TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO}] = 0x8009;
    out = Printed([&] { EXPECT_EQ(PrintLDConfig(&ld, nullptr), 0x8009u); });
    EXPECT_EQ(out.find("Power Policy"), std::string::npos);
}

TEST_F(LdReport, ProgressLocateAndSize) {
    gBVTMode = 1;  // the target id is the BVT logical drive
    gLdID = 3;
    std::vector<U8> record(sizeof(_KV_LD_INFO), 0);
    auto* li = reinterpret_cast<_KV_LD_INFO*>(record.data());
    li->ldConfig = ld;
    li->size = 4096ull << 11;
    li->clusterOwnerDeviceId = 7;
    li->progInfo.active.w = 0x4F;  // check consistency, both initialisations, reconstruction, locate
    li->progInfo.cc = {13107, {10}};
    li->progInfo.bgi = {26214, {20}};
    li->progInfo.fgi = {65535, {30}};
    li->progInfo.recon = {0, {40}};
    gFake.records[{TL_LD_CMD_TYPE, TL_GET_LD_INFO}] = record;
    auto run = [&] {
        gFake.Set(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, info);
        return Printed([] { EXPECT_EQ(GetLDInfo(), 0); });
    };
    const std::string size = F("%-30s: %-64s\n", "Total size of the logical drive(in MB)", "4096");
    std::string owner = F("%-30s: %d\n", "Logical Drive owner's Device ID", 7) +
                        F("%-30s : \n", "Firmware generated VPD page") + "\n";
    for (int i = 0; i < 16; ++i) owner += "00  ";
    std::string out = run();
    EXPECT_NE(out.find(size + F("%-30s :\n", "Locate is active on this VD") + "Progress Information\n" +
                       F("\tCheck Consistency in progress : Progress = %f; Elapsed Secs = %d\n", 20.0, 10) +
                       F("\tBackground Initialization in progress : Progress = %f; Elapsed Secs = %d\n", 40.0, 20) +
                       F("\tForeground Initialization in progress : Progress = %f; Elapsed Secs = %d\n", 100.0, 30) +
                       F("\tReconstruction in progress : Progress = %f; Elapsed Secs = %d\n", 0.0, 40) +
                       owner + "\n"),
              std::string::npos)
        << out;
    for (const auto& b : gFake.blocks) EXPECT_TRUE(b.cmdType != TL_LD_CMD_TYPE || b.ldRef.targetId == 3);

    info.adapterOperations2.supportPointInTimeProgress = 1;
    EXPECT_NE(run().find("Progress Information\n" +
                         F("\tCheck Consistency in progress : Progress = %f; RemainingTime in Secs = %f\n", 20.0, 800.0) +
                         F("\tBackground Initialization in progress : Progress = %f; RemainingTime in Secs = %f\n", 40.0,
                           1200.0) +
                         F("\tForeground Initialization in progress : Progress = %f; RemainingTime in Secs = %f\n",
                           100.0, 0.0) +
                         F("\tReconstruction in progress : Progress = %f; RemainingTime in Secs = %f\n", 0.0, 4000.0)),
              std::string::npos);
}

}  // namespace

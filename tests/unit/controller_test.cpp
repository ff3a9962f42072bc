// Controller operations and printers on crafted records: direct commands
// without a mailbox, BVT-mode behaviour, the information and property
// printers' branches, and list records whose counts run past what they hold.
#include "controller.h"
#include "enclosure.h"
#include "fake_library.h"
#include "kfistat.h"

namespace {

std::string AddrLine(int i, U64 a) { return F("\t\t%d : %016llx\n", i, static_cast<unsigned long long>(a)); }

using CtrlOps = FakeLibraryTest;

TEST_F(CtrlOps, DcmdWithoutMailbox) {
    std::vector<U8> onArrival;
    gFake.answer = [&](_TL_LIB_CMD_PARAM_T* b, U32*) {
        auto* in = static_cast<_TL_DCMD_INPUT_T*>(b->pData);
        onArrival.assign(static_cast<U8*>(in->pData), static_cast<U8*>(in->pData) + in->dataTransferLength);
        return false;
    };
    U8 buffer[16];
    memset(buffer, 0xAB, sizeof buffer);
    EXPECT_EQ(SendDcmdWithNoMBox(0x01020304u, TL_DCMD_DIR_FROM_CTRL, buffer, sizeof buffer), 0u);
    EXPECT_EQ(gFake.blocks[0].ctrlId, 7u);
    const _TL_DCMD_INPUT_T& in = gFake.dcmds[0];
    EXPECT_EQ(in.dataTransferLength, 16u);
    EXPECT_EQ(in.flags, TL_DCMD_DIR_FROM_CTRL);
    for (U8 m : in.mbox.b) EXPECT_EQ(m, 0);
    EXPECT_EQ(onArrival, std::vector<U8>(16, 0));  // data from the controller: zeroed first
    memset(buffer, 0xAB, sizeof buffer);
    SendDcmdWithNoMBox(0x01020305u, TL_DCMD_DIR_TO_CTRL, buffer, 4);
    EXPECT_EQ(onArrival, std::vector<U8>(4, 0xAB));  // data to the controller: as it stands

    U32 secs = 0, now = 0x12345678;
    gFake.SetDcmd(KV_DCMD_CTRL_TIME_SECS_GET, now);
    EXPECT_EQ(GetCtrlTimeFunc(&secs), 0u);
    EXPECT_EQ(secs, now);
    EXPECT_EQ(gFake.dcmds.back().dataTransferLength, 4u);

    gFake.dcmdStatuses[KV_DCMD_CTRL_TIME_SECS_GET] = TL_STATUS_INVALID_CTRL;
    gFake.dcmdStatuses[1] = 0x2B;
    EXPECT_EQ(Printed([&] { GetCtrlTimeFunc(&secs); }), "   SendDcmdWithNoMBox: Invalid controller\n");
    EXPECT_EQ(Printed([] { SendDcmdWithNoMBox(1, 0, nullptr, 0); }), "   SendDcmdWithNoMBox: Command failed; rval = 0x2B\n");
}

TEST_F(CtrlOps, SetPropertiesInBvtModeWritesBackWithoutPrompts) {
    gBVTMode = 1;
    KV_CTRL_PROP props{};
    props.seqNum = 0x1234;
    props.rebuildRate = 77;
    props.OnOffProperties.enableJBOD = 1;
    gFake.Set(TL_CTRL_CMD_TYPE, TL_GET_CTRL_PROPERTIES, props);
    KV_CTRL_PROP written{};
    gFake.answer = [&](_TL_LIB_CMD_PARAM_T* b, U32*) {
        if (b->cmd == TL_SET_CTRL_PROPERTIES) memcpy(&written, b->pData, sizeof written);
        return false;
    };
    EXPECT_EQ(Printed([] { EXPECT_EQ(SetCtrlProperties(), 0u); }), "SetCtrlProperties : ProcessLibCommandCall successful\n");
    const _TL_LIB_CMD_PARAM_T& set = gFake.blocks.back();
    EXPECT_EQ(set.cmd, TL_SET_CTRL_PROPERTIES);
    EXPECT_EQ(memcmp(&written, &props, sizeof props), 0);
    EXPECT_EQ(set.genRef.ref_2b[0], 0x1234);
    EXPECT_EQ(set.dataSize, 64u);
    U16 seq = 0;
    EXPECT_EQ(GetCtrlSeqNum(&seq), 0u);
    EXPECT_EQ(seq, 0x1234);
}

KV_ENCL_LIST EnclList(std::initializer_list<U16> ids) {
    KV_ENCL_LIST l{};
    for (U16 id : ids) l.encl[l.count++].deviceId = id;
    return l;
}

TEST_F(CtrlOps, EnclosureListPicksTheBvtEnclosure) {
    gBVTMode = 1;
    gFake.Set(TL_CTRL_CMD_TYPE, TL_GET_ENCL_LIST, EnclList({0xFC, 0, 0x21, 0x22}));
    gEnclID = 0;
    Printed([] { EXPECT_EQ(GetEnclList(), 0u); });
    EXPECT_EQ(gEnclID, 0x21);

    gFake.Set(TL_CTRL_CMD_TYPE, TL_GET_ENCL_LIST, EnclList({0xFC, 0}));
    EXPECT_EQ(Printed([] { EXPECT_EQ(GetEnclList(), static_cast<U32>(-1)); }),
              "# of enclosures in the system : 2\nNo Enclosure Found\n");
}

TEST_F(CtrlOps, HostileEnclosureListStaysInsideTheRecord) {
    KV_ENCL_LIST l{};
    l.count = 1000;  // more than the 32 entries the list holds
    for (auto& e : l.encl) {
        e.slotOffset = 250;
        e.slotCount = 255;
        for (U16& id : e.pdId) id = 0xFFFF;
    }
    gFake.Set(TL_CTRL_CMD_TYPE, TL_GET_ENCL_LIST, l);
    std::string out = Printed([] { EXPECT_EQ(GetEnclList(), 0u); });
    EXPECT_EQ(CountOf(out, "Enclosure# "), 32);
    // Slot s of entry i is read at 8 + 144*i + 16 + 2*s: entry 0 reaches
    // slot 504 inside the list, entry 31 (pdId at 4488) has no slot 250
    // inside the 4616 bytes and prints none.
    EXPECT_EQ(CountOf(Between(out, "Enclosure# 0\n", "Enclosure# 1\n"), "\tSlot #"), 255);
    EXPECT_NE(out.find("\tSlot #                    504 : "), std::string::npos);
    EXPECT_EQ(CountOf(Between(out, "Enclosure# 31\n", "\n\n\n"), "\tSlot #"), 0);
}

TEST_F(CtrlOps, ListAndDistributionCountsStayInsideTheirRecords) {
    gBVTMode = 1;
    _TL_DRIVE_DISTRIBUTION_T d{};
    d.mappedDevicesCount = 100000;
    d.mappedDriveInfo[0] = {5, 9, 0, 0, {}};
    memset(d.mappedDriveInfo[0].osDriveName, 'N', sizeof d.mappedDriveInfo[0].osDriveName);  // unterminated
    gFake.Set(TL_CTRL_CMD_TYPE, TL_LD_DISTRIBUTION, d);
    std::string out = Printed([] { EXPECT_EQ(GetLDDistribution(1), 0u); });  // BVT mode: no question
    EXPECT_EQ(gOSDriveNum, 9u);
    EXPECT_EQ(gLdNumber, 5u);
    EXPECT_EQ(out.find("Do you want"), std::string::npos);
    EXPECT_NE(out.find("Mapped Devices Count : 100000\n"), std::string::npos);
    EXPECT_EQ(CountOf(out, "\nMapped Device# "), 300);
    EXPECT_NE(out.find("\tOS Drive Name  : " + std::string(20, 'N') + "\n"), std::string::npos);

    d.mappedDevicesCount = -3;  // a negative count prints no entry
    d.mappedDriveInfo[0].osDriveNumber = 4;
    gFake.Set(TL_CTRL_CMD_TYPE, TL_PD_DISTRIBUTION, d);
    out = Printed([] { EXPECT_EQ(GetPDDistribution(), 0u); });
    EXPECT_NE(out.find("Mapped Devices Count : -3\n"), std::string::npos);
    EXPECT_EQ(CountOf(out, "Mapped Device# "), 0);
    EXPECT_EQ(gOSDriveNum, 9u);

    std::vector<U8> ext(sizeof(_TL_DRIVE_DISTRIBUTION_EX_T), 0);
    reinterpret_cast<_TL_DRIVE_DISTRIBUTION_EX_T*>(ext.data())->mappedDevicesCount = 257;
    gFake.records[{TL_CTRL_CMD_TYPE, TL_LD_DISTRIBUTION_EX}] = ext;
    gFake.records[{TL_CTRL_CMD_TYPE, TL_PD_DISTRIBUTION_EX}] = ext;
    EXPECT_EQ(CountOf(Printed([] { GetExtLDDistribution(1); }), "Mapped Device# "), 256);
    EXPECT_EQ(CountOf(Printed([] { GetExtPDDistribution(); }), "Mapped Device# "), 256);

    std::vector<U8> lds(sizeof(KV_LD_LIST), 0);
    auto* ldList = reinterpret_cast<KV_LD_LIST*>(lds.data());
    ldList->ldCount = 70000;
    ldList->ldList[255] = {{9, 0, 3}, 0, 4096ull << 11};
    gFake.records[{TL_CTRL_CMD_TYPE, TL_GET_LD_LIST}] = lds;
    out = Printed([] { EXPECT_EQ(GetLDList(), 0u); });
    EXPECT_EQ(CountOf(out, "Logical Drive# "), 256);
    EXPECT_NE(out.find("Logical Drive# 255\n" + F("\t%-20s : %d\n", "Target ID", 9) +
                       F("\t%-20s : %d\n", "Sequence Number", 3) + F("\t%-20s : %s MB\n", "Size", "4096") + "\n"),
              std::string::npos);
}

TEST_F(CtrlOps, DeviceListConnectorLookupsStayInsideTheTable) {
    KV_CTRL_INFO info{};
    info.adapterOperations.supportEnclEnumeration = 1;
    gFake.Set(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, info);
    KV_SAS_CONNECTORS conns{};
    conns.count = 200;  // the table holds eight
    for (int i = 0; i < 8; ++i) {
        conns.connectors[i].location = 2;
        snprintf(conns.connectors[i].name, sizeof conns.connectors[i].name, "Port %d", i);
    }
    gFake.SetDcmd(KV_DCMD_SAS_CONNECTORS_GET, conns);
    KV_ENCL_LIST encls = EnclList({1, 2});
    encls.encl[0].enclConnectorIndex = 100;
    encls.encl[1].enclConnectorIndex = 7;
    encls.encl[1].enclPosition = 4;
    gFake.Set(TL_CTRL_CMD_TYPE, TL_GET_ENCL_LIST, encls);
    std::vector<U8> rec(sizeof(KV_PD_LIST), 0);
    auto* l = reinterpret_cast<KV_PD_LIST*>(rec.data());
    l->count = 5000;
    for (auto& a : l->addr) a = {3, 3, 0, 8, 13, 0, {0, 0}};  // enclosures on connector 8: none
    l->addr[0] = {1, 1, 6, 7, 13, 0, {0, 0}};    // an enclosure on connector 7
    l->addr[1] = {20, 1, 0, 3, 0, 0, {0, 0}};    // a drive in enclosure 1 (connector 100)
    l->addr[2] = {21, 2, 1, 5, 0, 0, {0, 0}};    // a drive in enclosure 2 (connector 7)
    gFake.records[{TL_CTRL_CMD_TYPE, TL_GET_PD_LIST}] = rec;
    std::string out = Printed([] { EXPECT_EQ(GetPDList(), 0u); });
    auto connector = [](int position) {
        return F("\t%-25s : %d\n", "Enclosure Position in Chain", position) +
               F("\t%-25s : %s\n", "Connector Location", "Internal") + F("\t%-25s : %s\n", "Connector Name", "Port 7");
    };
    EXPECT_EQ(Between(out, F("\t%-25s : 0x%X\n", "Device ID", 1), F("\t%-25s : ", "SCSI Device Type")),
              F("\t%-25s\n", "Device is an enclosure") + connector(6));
    EXPECT_EQ(Between(out, F("\t%-25s : 0x%X\n", "Device ID", 20), F("\t%-25s : ", "SCSI Device Type")),
              F("\t%-25s\n", "Device is within enclosure") + F("\t%-25s : 0x%X\n", "Enclosure's Device ID", 1) +
                  F("\t%-25s : %d\n", "Slot number", 3));
    EXPECT_EQ(Between(out, F("\t%-25s : 0x%X\n", "Device ID", 21), F("\t%-25s : ", "SCSI Device Type")),
              F("\t%-25s\n", "Device is within enclosure") + F("\t%-25s : 0x%X\n", "Enclosure's Device ID", 2) +
                  connector(4) + F("\t%-25s : %d\n", "Slot number", 5));
    EXPECT_EQ(CountOf(out, "Physical Device# "), 256);
    EXPECT_EQ(CountOf(out, "Connector Name"), 2);
    EXPECT_EQ(CountOf(out, "Device is an enclosure"), 1);
}

using CtrlPrint = FakeLibraryTest;

std::string PrintInfo(KV_CTRL_INFO& info) {
    return Printed([&] { PrintCtrlInfo(&info); });
}

TEST_F(CtrlPrint, TwelveDevicePortsWithMoreThan8PhysPrintOnlyNonZeroFromBothArrays) {
    KV_CTRL_INFO i{};
    i.deviceInterface.portCount = 12;
    i.adapterOperations.supportMoreThan8Phys = 1;
    i.deviceInterface.portAddr[0] = 0x500605B000000001ull;
    i.deviceInterface.portAddr[3] = 0x500605B000000004ull;
    i.deviceInterfacePortAddr2[1] = 0x500605B000000010ull;
    i.deviceInterfacePortAddr2[7] = 0x500605B000000018ull;
    EXPECT_EQ(Between(PrintInfo(i), F("\t%-20s : %d\n", "Port Count", 12), "\nList of components residing in flash\n"),
              F("\t%-20s : ", "Device Interface") + "\n" + F("\t%-20s\n", "Backend SAS addresses") +
                  AddrLine(0, 0x500605B000000001ull) + AddrLine(3, 0x500605B000000004ull) +
                  AddrLine(9, 0x500605B000000010ull) + AddrLine(15, 0x500605B000000018ull));
}

TEST_F(CtrlPrint, TwelveDevicePortsWithoutTheBitWalkTheFirstArrayPastItsEnd) {
    KV_CTRL_INFO i{};
    i.deviceInterface.portCount = 12;
    for (int k = 0; k < 8; ++k) i.deviceInterface.portAddr[k] = 0x5000000000000100ull + k;
    i.deviceInterfacePortAddr2[0] = 0x5FFFFFFFFFFFFFFFull;  // not reached in this branch
    i.imageCheckWord = 0x11223344;                         // bytes 176..183 hold the ninth "address"
    memcpy(i.imageComponent[0].name, "ABCDEFGH", 8);
    std::string expected;
    for (int k = 0; k < 8; ++k) expected += AddrLine(k, 0x5000000000000100ull + k);
    U64 name;
    memcpy(&name, "ABCDEFGH", 8);
    expected += AddrLine(8, 0x11223344ull) + AddrLine(9, name) + AddrLine(10, 0) + AddrLine(11, 0);
    EXPECT_EQ(Between(PrintInfo(i), F("\t%-20s\n", "Backend SAS addresses"), "\nList of components"), expected);
}

TEST_F(CtrlPrint, CountsBeyondTheRecordStopAtItsEnd) {
    KV_CTRL_INFO i{};
    i.hostInterface.portCount = 255;
    i.deviceInterface.portCount = 255;
    i.imageComponentCount = 0xFFFFFFFFu;
    memset(i.productName, 'P', sizeof i.productName);        // no terminator
    memset(i.packageVersion, 'V', sizeof i.packageVersion);  // no terminator
    memset(i.expanderFwVersion, 'E', sizeof i.expanderFwVersion);
    i.hwPresent.expander = 1;
    std::string out = PrintInfo(i);
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

TEST_F(CtrlPrint, StripSizesAndDriveLimitNibbles) {
    KV_CTRL_INFO i{};
    i.stripeSizeOptions.max = 32;  // 2^32 / 2 does not fit: 0
    i.raidLevels.raidLevel_60 = 1;
    i.pdsForRaidLevels[KV_PDS_RAID60] = (0xFFF << 4) | 0xF;
    std::string out = PrintInfo(i);
    EXPECT_NE(out.find(F("\t%-10s : %dK (DDF:%d)\n", "Minimum", 0, 0) + F("\t%-10s : %dK (DDF:%d)\n", "Maximum", 0, 32)),
              std::string::npos);
    EXPECT_NE(out.find(F("\n%-32s : %d\n", "Minimum PDs for RAID Level 60", 15) +
                       F("\n%-32s : %d\n", "Maximum PDs for RAID Level 60", 4095) +
                       F("\n%-32s : %d\n", "Maximum supported PDs", 0)),
              std::string::npos);
}

std::string PrintProps(KV_CTRL_PROP& p) {
    return Printed([&] { PrintCtrlProperties(&p); });
}

TEST_F(CtrlPrint, PowerSaveLinesNeedBothFetchesAndOneOfTheTwoConditions) {
    KV_CTRL_INFO info{};
    _KV_MFC_DEFAULTS mfc{};
    KV_CTRL_PROP p{};
    p.disableLdPSTime = 22 * 60 + 59;
    p.disableLdPSInterval = 5;
    auto set = [&] {
        gFake.Set(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, info);
        gFake.SetDcmd(KV_DCMD_CTRL_MFC_DEFAULTS_GET, mfc);
    };
    // Neither the capability nor the manufacturing bit 3: no power-save lines.
    mfc.disablePowerSavings = 0x07;
    set();
    std::string out = PrintProps(p);
    EXPECT_EQ(out.find("Power Save"), std::string::npos);
    EXPECT_EQ(out.find("Power Saving Start Time"), std::string::npos);

    // Bit 3 alone is enough; the policy is the fresh record's, the window
    // the printed record's: 22:59 plus 5 hours ends at 3.
    mfc.disablePowerSavings = 0x08;
    info.properties.defaultLdPSPolicy = 1;
    set();
    out = PrintProps(p);
    EXPECT_NE(out.find(F("%-45s : %s \n", "Default Power Save Policy is", "Auto")), std::string::npos);
    EXPECT_NE(out.find(F("%-45s : %d\n", "SpinDown Configured drives enabled ", 1) +
                       F("%-45s : %d\n", "Power Saving Start Time ", 22) + F("%-45s : %d\n", "Power Saving End Time ", 3)),
              std::string::npos);
    mfc.disablePowerSavings = 0;
    info.ldOperations.supportPowerSavings = 1;
    info.properties.defaultLdPSPolicy = 0xFE;
    set();
    EXPECT_NE(PrintProps(p).find(F("%-45s : %s \n", "Default Power Save Policy is", "None") + F("%-45s : %d\n", "# of seconds between predictive fail polls", 0)),
              std::string::npos);

    // A failing fetch prints its own text and suppresses the lines.
    gFake.dcmdStatuses[KV_DCMD_CTRL_MFC_DEFAULTS_GET] = 0x21;
    out = PrintProps(p);
    EXPECT_NE(out.find("GetMFCDefaultsFunc : ProcessLibCommandCall failed ;  rval = 0x21\n"), std::string::npos);
    EXPECT_EQ(out.find("Default Power Save Policy is"), std::string::npos);
    gFake.dcmdStatuses[KV_DCMD_CTRL_MFC_DEFAULTS_GET] = TL_STATUS_INVALID_CTRL;
    EXPECT_NE(PrintProps(p).find("GetMFCDefaultsFunc: Invalid controller\n"), std::string::npos);
    gFake.dcmdStatuses.clear();
    gFake.statuses[{TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO}] = 0x8009;
    out = PrintProps(p);
    EXPECT_NE(out.find("GetCtrlInfoFunc : ProcessLibCommandCall failed; rval = 0x8009\n"), std::string::npos);
    EXPECT_EQ(out.find("Power Saving Start Time"), std::string::npos);
}

TEST_F(CtrlPrint, LoadBalanceAndYesNoTexts) {
    KV_CTRL_PROP p{};
    p.loadBalanceMode = 2;  // no text, not even a line end
    p.OnOffProperties.useFdeOnly = 1;
    p.disableAutoRebuild = 1;
    std::string out = PrintProps(p);
    EXPECT_NE(out.find(F("%-45s : ", "Load Balance Mode") + F("%-45s : %d\n", "SpinDownUnconfigured drives enabled", 0)),
              std::string::npos);
    EXPECT_NE(out.find(F("%-45s : %s\n", "Only allow FDE drive based encryption", "YES")), std::string::npos);
    EXPECT_NE(out.find(F("%-45s : %s\n", "Disable AutoRebuild", "TRUE")), std::string::npos);
    p.loadBalanceMode = 1;
    EXPECT_NE(PrintProps(p).find(F("%-45s : ", "Load Balance Mode") + "No load balance\n"), std::string::npos);
}

}  // namespace

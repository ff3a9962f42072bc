// The event renderer on crafted event records, one case per argument type,
// with the capability-dependent location rules; and the event log's BVT
// path without prompts. The library is a fake entry point.
#include <gtest/gtest.h>

#include <stdio.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include "event_group.h"
#include "fake_library.h"
#include "kfistat.h"

namespace {

class EventText : public FakeLibraryTest {
  protected:
    void SetUp() override {
        FakeLibraryTest::SetUp();
        memset(&gCtrlData, 0, sizeof gCtrlData);
        // Connector 1 of both the library's table and the cache.
        KV_SAS_CONNECTORS connectors{};
        connectors.count = 2;
        connectors.connectors[1].location = 3;
        memcpy(connectors.connectors[1].name, "Port A", 6);
        gFake.SetDcmd(KV_DCMD_SAS_CONNECTORS_GET, connectors);
        gCtrlData.sasConnectors = connectors;
        // Enclosure 8: position 2 in the chain, on connector 1.
        std::vector<U8> list(sizeof(KV_ENCL_LIST), 0);
        auto* encl = reinterpret_cast<KV_ENCL_LIST*>(list.data());
        encl->count = 1;
        encl->encl[0].deviceId = 8;
        encl->encl[0].enclPosition = 2;
        encl->encl[0].enclConnectorIndex = 1;
        gFake.records[{TL_CTRL_CMD_TYPE, TL_GET_ENCL_LIST}] = list;
    }
    static std::string Render(const KV_EVT_DETAIL& e, const KV_CTRL_INFO* info = nullptr) {
        char* text = nullptr;
        size_t size = 0;
        FILE* s = open_memstream(&text, &size);
        GenerateEventTextInfo(s, &e, info);
        fclose(s);
        std::string out(text, size);
        free(text);
        return out;
    }
    // The text after the "Argument Type Value" line, without the closing blank lines.
    static std::string Argument(const KV_EVT_DETAIL& e, const KV_CTRL_INFO* info = nullptr) {
        std::string out = Render(e, info);
        size_t at = out.find("Argument Type Value: ");
        at = out.find('\n', at) + 1;
        return out.substr(at, out.size() - at - 2);
    }
    static KV_EVT_DETAIL Event(U8 argType, U16 locale = KV_EVT_LOCALE_PD) {
        KV_EVT_DETAIL e{};
        e.argType = argType;
        e.cl.locale = locale;
        return e;
    }
};

TEST_F(EventText, FixedLinesThenArgument) {
    KV_EVT_DETAIL e = Event(KV_EVT_ARGS_LD, KV_EVT_LOCALE_LD);
    e.seqNum = 4711;
    e.code = 0x51;
    e.cl.eventClass = 2;
    memcpy(e.description, "Disk failed", 11);
    e.args.ld.targetId = 3;
    e.args.ld.ldIndex = 7;
    EXPECT_EQ(Render(e),
              "Event Sequence Number : 4711\nTimestamp : 1/1/2000 ; 0:0:0\nEvent code : 81\nLocale : LD event\n"
              "Class : Critical\nDescription of the event : Disk failed\nArgument Type Value: 2\n"
              "Argument Type : KV_EVT_ARGS_LD\n\tLogical Drive Target ID : 3\n\tFirmware LD Number : 7\n\n\n");
}

TEST_F(EventText, LocaleByCodeClassUndefinedAndUnterminatedDescription) {
    KV_EVT_DETAIL e = Event(KV_EVT_ARGS_LD, 0);
    e.code = 0x120;
    EXPECT_NE(Render(e).find("Locale : PD event\nClass : Information\n"), std::string::npos);
    e.code = 0x300;
    e.cl.eventClass = -2;
    memset(e.description, 'x', sizeof e.description);
    std::string out = Render(e);
    EXPECT_NE(out.find("Locale : Class : Undefined : FE\n"), std::string::npos);
    EXPECT_NE(out.find("Description of the event : " + std::string(128, 'x') + "\nArgument"), std::string::npos);
    e.cl.locale = 0x0020;
    EXPECT_NE(Render(e).find("Locale : Controller event\n"), std::string::npos);
}

TEST_F(EventText, UnknownTypeDumpsAllArgumentBytes) {
    KV_EVT_DETAIL e = Event(20);
    for (int i = 0; i < 96; ++i) e.args.b[i] = static_cast<U8>(i);
    std::string expected = "Alternate argument access via byte : \n";
    for (int i = 0; i < 96; ++i) {
        char b[8];
        snprintf(b, sizeof b, "%s%.2X  ", i % 16 == 0 ? "\n" : "", i);
        expected += b;
    }
    EXPECT_EQ(Argument(e), expected + "\n");
}

TEST_F(EventText, LogicalDriveArguments) {
    KV_EVT_DETAIL e = Event(KV_EVT_ARGS_LD_COUNT);
    e.args.ldCount.ld.targetId = 1;
    e.args.ldCount.count = 9;
    const std::string ld1 = "\tLogical Drive Target ID : 1\n\tFirmware LD Number : 0\n";
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_LD_COUNT\n" + ld1 + "\tCount : 9\n");

    e = Event(KV_EVT_ARGS_LD_LBA);
    e.args.ldLba.lba = 0xFFFFFFFFFFFFFFFFull;
    e.args.ldLba.ld.targetId = 1;
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_LD_LBA\n\tLBA : 9007199254740991 MB\n" + ld1);

    e = Event(KV_EVT_ARGS_LD_OWNER);
    e.args.ldOwner.ld.targetId = 1;
    e.args.ldOwner.prevOwner = 4;
    e.args.ldOwner.newOwner = 0xFFFFFFFF;
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_LD_OWNER\n" + ld1 +
                               "\tPrevious Owner : 4\n\tNew Owner : 4294967295\n");

    e = Event(KV_EVT_ARGS_LD_LBA_PD_LBA);
    e.args.ldLbaPdLba.ldLba = 4096;
    e.args.ldLbaPdLba.pdLba = 2047;
    e.args.ldLbaPdLba.ld.targetId = 1;
    e.args.ldLbaPdLba.pd = {0x1C, 2, 5};
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_LD_LBA_PD_LBA\n\tLD LBA : 2 MB\n\tPD LBA : 0 MB\n" + ld1 +
                               "\tPhysical Device ID : 0x1C\n\tEnclosure Index : 2\n\tSlot Number : 5\n");

    e = Event(KV_EVT_ARGS_LD_STATE);
    e.args.ldState.ld.targetId = 1;
    e.args.ldState.prevState = 3;
    e.args.ldState.newState = 2;
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_LD_STATE\n" + ld1 + "\tPrevious State : 3\n\tNew State : 2\n");

    // The strip line's format has no valid conversion: its text is printed.
    e = Event(KV_EVT_ARGS_STRIP);
    e.args.strip.strip = 77;
    e.args.strip.ld.targetId = 1;
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_STRIP\n\tStrip : %-64u\n" + ld1);

    e = Event(KV_EVT_ARGS_LD_PROP);
    e.args.ldProp.ld.targetId = 0x21;
    e.args.b[26] = 0x11;
    e.args.b[58] = 0x22;
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_LD_PROP\n\tLogical Device ID : 0x21\n"
                           "\tLD New Prop : 0x22\n\tLD OLD Prop : 0x11\n");
}

TEST_F(EventText, ProgressElapsedOrRemaining) {
    KV_EVT_DETAIL e = Event(KV_EVT_ARGS_PD_PROG);
    e.args.pdProg.pd = {0x10, 1, 4};
    e.args.pdProg.prog = {32768, 30};
    const std::string head = "Argument Type : KV_EVT_ARGS_PD_PROG\n\tPhysical Device ID : 0x10\n"
                             "\tEnclosure Index : 1\n\tSlot Number : 4\n\tProgress : 50.000763\n";
    KV_CTRL_INFO info{};
    EXPECT_EQ(Argument(e, &info), head + "\tElapsed Seconds : 30\n");
    info.adapterOperations2.supportPointInTimeProgress = 1;
    // (100 - 50.000763) x 30 in single precision.
    EXPECT_EQ(Argument(e, &info), head + "\tRemainingTime in Secs : 1499.977051\n");

    e = Event(KV_EVT_ARGS_LD_PROG);
    e.args.ldProg.prog = {65535, 7};
    EXPECT_NE(Argument(e).find("\tProgress : 100.000000\n\tElapsed Seconds : 7\n"), std::string::npos);
}

TEST_F(EventText, DriveArguments) {
    const std::string drive = "\tPhysical Device ID : 0x1C\n\tEnclosure Index : 2\n\tSlot Number : 5\n";
    KV_EVT_DETAIL e = Event(KV_EVT_ARGS_CDB_SENSE);
    e.args.cdbSense.pd = {0x1C, 2, 5};
    e.args.cdbSense.cdbLength = 6;
    e.args.cdbSense.senseLength = 18;
    e.args.cdbSense.cdb[0] = 0x28;
    e.args.cdbSense.sense[63] = 0x70;
    std::string zeros16 = "\n";
    for (int i = 0; i < 16; ++i) zeros16 += "00  ";
    std::string sense;
    for (int i = 0; i < 64; ++i) sense += std::string(i % 16 == 0 ? "\n" : "") + (i == 63 ? "70  " : "00  ");
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_CDB_SENSE\n" + drive +
                               "\tLength of CDB : 6\n\tLength of request sense data : 18\n\tCDB : \n\n28  " +
                               zeros16.substr(5) + "\n\tSense Data :\n" + sense + "\n");

    e = Event(KV_EVT_ARGS_PD_ERR);
    e.args.pdErr.pd = {0x1C, 2, 5};
    e.args.pdErr.err = 3;
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_PD_ERR\n" + drive + "\tError : 3\n");

    e = Event(KV_EVT_ARGS_PD_LBA);
    e.args.pdLba.lba = 2048 * 10;
    e.args.pdLba.pd = {0x1C, 2, 5};
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_PD_LBA\n\tLBA : 10 MB\n" + drive);

    e = Event(KV_EVT_ARGS_PD_LBA_LD);
    e.args.pdLbaLd.lba = 2048;
    e.args.pdLbaLd.pd = {0x1C, 2, 5};
    e.args.pdLbaLd.ld = {4, 5, 0};
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_PD_LBA_LD\n\tLBA : 1 MB\n" + drive +
                               "\tLogical Drive Target ID : 4\n\tFirmware LD Number : 5\n");

    e = Event(KV_EVT_ARGS_PD_STATE);
    e.args.pdState.pd = {0x1C, 2, 5};
    e.args.pdState.prevState = 0x18;
    e.args.pdState.newState = 0x10;
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_PD_STATE\n" + drive + "\tPrevious State : 24\n\tNew State : 16\n");

    e = Event(KV_EVT_ARGS_PD_PATHINFO);
    e.args.pdPathInfo.pd = {0x1C, 2, 5};
    e.args.pdPathInfo.pathOrError = 1;
    e.args.pdPathInfo.sasAddr = 0x500605B0000272D0ull;
    const std::string tail = "\tSAS Addr : 500605b0000272d0\n";
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_PD_PATHINFO\n" + drive + "\tError : 1\n" + tail);
    e.code = 0x121;
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_PD_PATHINFO\n" + drive + "\tPath : 1\n" + tail);
}

TEST_F(EventText, PlainValueArguments) {
    KV_EVT_DETAIL e = Event(KV_EVT_ARGS_PCI);
    e.args.pci = {0x1000, 0x5D, 0x1028, 0x1F};
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_PCI\n\tVendor ID : 0x1000\n\tDevice ID : 0x5D\n"
                           "\tSub-Vendor ID : 0x1028\n\tSub-Device ID : 0x1F\n");
    e = Event(KV_EVT_ARGS_RATE);
    e.args.rate = 30;
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_RATE\n\tRate : 30\n");
    e = Event(KV_EVT_ARGS_STR);
    memset(e.args.str, 'q', sizeof e.args.str); // no terminator: the whole field, nothing after it
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_STR\n\tString : " + std::string(96, 'q') + "\n");
    e = Event(KV_EVT_ARGS_TIME);
    e.args.time.rtc = 0xFF000E10;
    e.args.time.elapsedSeconds = 3600;
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_TIME\n\tRTC :  Time elapsed since power on : 0 years, "
                           "0 months, 0 days; 1:0:0 (h:m:s)\n\tElapsed Seconds since power-on : 3600\n");
}

TEST_F(EventText, PdLocationFollowsTheCachedCapabilities) {
    KV_EVT_DETAIL e = Event(KV_EVT_ARGS_PD);
    e.args.pd = {0x0C, 0xFF, 1};
    const std::string head = "Argument Type : KV_EVT_ARGS_PD\n\tPhysical Device ID : 0xC\n";
    EXPECT_EQ(Argument(e), head + "\tEnclosure Index : 255\n\tSlot Number : 1\n");
    gCtrlData.ctrlInfo.adapterOperations.supportEnclEnumeration = 1;
    EXPECT_EQ(Argument(e), head + "\tPD is not inside Enclosure\n\tSlot Number : 1\n");
    e.args.pd.enclIndex = 8;
    EXPECT_EQ(Argument(e), head + "\tEnclosure Device ID : 0x8\n\tSlot Number : 1\n");
    e.cl.locale = KV_EVT_LOCALE_ENCL;
    EXPECT_EQ(Argument(e), head + "\tEnclosure Position in Chain : 8\n\tConnector Location : External\n"
                                  "\tConnector Name : Port A\n");
    e.args.pd.slotNumber = 2; // past the cached connector count
    EXPECT_EQ(Argument(e), head);
}

TEST_F(EventText, PdAddressByCapabilities) {
    KV_EVT_DETAIL e = Event(KV_EVT_ARGS_PD_ADDRESS);
    auto& a = e.args.pdAddr;
    a.deviceId = 0x1A;
    a.enclDeviceId = 8;
    a.enclIndex = 2;
    a.slotNumber = 1;
    a.scsiDevType = 0;
    a.connectedPortBitmap = 0x2D; // bits 0, 2, 3 and 5
    a.sasAddr[0] = 0x5000C50000000005ull;
    a.sasAddr[1] = 0x00000001FFFFFFFFull;
    const std::string head = "Argument Type : KV_EVT_ARGS_PD_ADDRESS\n\tPhysical Device ID : 0x1A\n"
                             "\tEnclosure DeviceID : 8\n\tScsi Device Type : 0\n\tSas Addr for port 0 : 5\n"
                             "\tSas Addr for port 1 : -1\n";
    EXPECT_EQ(Argument(e), head + "\tEnclosure Index : 2\n\tSlot Number : 1\n\tConnected port numbers : 0 , 2 , \n");
    gCtrlData.ctrlInfo.adapterOperations.supportEnclEnumeration = 1;
    gCtrlData.ctrlInfo.adapterOperations.supportMoreThan8Phys = 1;
    EXPECT_EQ(Argument(e), head + "\tEnclosure Position in Chain : 2\n\tConnector Location : External\n"
                                  "\tConnector Name : Port A\n\tConnected port number for path 0 : 13\n"
                                  "\tConnected port number for path 1 : 2\n");
    a.slotNumber = 0xFF;
    EXPECT_EQ(Argument(e).find("Connector Location"), std::string::npos);
}

TEST_F(EventText, DrivePairAndFruReadTheControllerAfresh) {
    KV_EVT_DETAIL e = Event(KV_EVT_ARGS_PD_PD);
    e.args.pdPair.dest = {0x0C, 3, 1};
    e.args.pdPair.src = {0x0D, 4, 2};
    // Without enclosure enumeration both drives show the destination's bytes.
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_PD_PD\n\tSrc Physical Device ID : 0xD\n"
                           "\tEnclosure Index : 3\n\tSlot Number : 1\n\tDest Physical Device ID : 0xC\n"
                           "\tEnclosure Index : 3\n\tSlot Number : 1\n");

    KV_CTRL_INFO info{};
    info.adapterOperations.supportEnclEnumeration = 1;
    gFake.Set(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, info);
    e = Event(KV_EVT_ARGS_PD_FRU);
    e.args.pdFru.pd = {8, 8, 1};
    memcpy(e.args.pdFru.fru, "FRU-1", 5);
    EXPECT_EQ(Argument(e), "Argument Type : KV_EVT_ARGS_PD_FRU\n\tPhysical Device ID : 0x8\n"
                           "\tEnclosure DeviceID : 8\n\tEnclosure Position in Chain : 2\n"
                           "\tConnector Location : External\n\tConnector Name : Port A\n\tSlot Number : 1\n"
                           "\tFRU : FRU-1\n");
    e.args.pdFru.pd.deviceId = 0x0C; // no enclosure has this id
    EXPECT_NE(Argument(e).find("\tPD is not inside an enclosure\n\tSlot Number : 1\n"), std::string::npos);
    e.cl.locale = KV_EVT_LOCALE_SAS;
    EXPECT_NE(Argument(e).find("0xC\n\tEnclosure Position in Chain : 8\n\tConnector Location : External\n"),
              std::string::npos);
}

TEST_F(EventText, EventDetailsInBvtModeFetchOneEventFromTheNewest) {
    gBVTMode = 1;
    KV_EVT_LOG_INFO log{};
    log.newestSeqNum = 42;
    gFake.Set(TL_EVENT_CMD_TYPE, TL_GET_EVENT_SEQUENCE_INFO, log);
    std::vector<U8> list(KV_EVT_LIST_SIZE(1), 0);
    reinterpret_cast<KV_EVT_LIST*>(list.data())->count = 1;
    KV_EVT_DETAIL e = Event(KV_EVT_ARGS_RATE);
    e.seqNum = 42;
    memcpy(list.data() + KV_EVT_LIST_HEADER_SIZE, &e, sizeof e);
    gFake.records[{TL_EVENT_CMD_TYPE, TL_GET_EVENT_DETAILS}] = list;
    std::string out = Printed([] { EXPECT_EQ(GetEventDetails(), 0u); });
    EXPECT_NE(out.find("Enter your choice (default = 3)--->\nEVENT DETAILS\n------------\nTotal number of events = 1\n"
                       "\nDetails of Event : 0\nEvent Sequence Number : 42\n"),
              std::string::npos);
    const _TL_LIB_CMD_PARAM_T* fetch = nullptr;
    for (const auto& b : gFake.blocks)
        if (b.cmdType == TL_EVENT_CMD_TYPE && b.cmd == TL_GET_EVENT_DETAILS) fetch = &b;
    ASSERT_NE(fetch, nullptr);
    EXPECT_EQ(fetch->evtRef.seqNum, 42u);
    EXPECT_EQ(fetch->cmdParam_4b[0], 0x0000FFFFu); // all locales, class Info
    EXPECT_EQ(fetch->dataSize, 8u + 256u);
}

} // namespace

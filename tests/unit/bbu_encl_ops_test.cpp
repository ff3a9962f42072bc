// Battery and enclosure operations against a fake library entry point: the
// next-learn arithmetic, controller time as calendar text, the status
// printer's branches by battery type, the mode list's statuses and a hostile
// mode count, and the BVT-mode inputs of both groups.
#include <stdlib.h>
#include <time.h>

#include <string>
#include <vector>

#include "bbu.h"
#include "enclosure.h"
#include "fake_library.h"

namespace {

// Thursday 2026-01-15 10:30:00 in controller time.
constexpr U32 kThursday = 821788200u;

// The shared fake, with the controller clock set, the data of every block
// kept as sent, and the mode list answered per call: `modeStatuses[i]` for
// call i when non-zero, else `modeCount` followed by bytes 0x11.
class BbuEnclOps : public FakeLibraryTest {
  protected:
    void SetUp() override {
        FakeLibraryTest::SetUp();
        setenv("TZ", "UTC", 1);
        tzset();
        gFake.SetDcmd(KV_DCMD_CTRL_TIME_SECS_GET, kThursday);
        gFake.answer = [this](_TL_LIB_CMD_PARAM_T* b, U32* status) { return Answer(b, status); };
    }
    bool Answer(_TL_LIB_CMD_PARAM_T* b, U32* status) {
        const U8* data = static_cast<const U8*>(b->pData);
        lastData.assign(data, data ? data + b->dataSize : data);
        if (b->cmdType != TL_PASSTHRU_CMD_TYPE || b->cmd != TL_DCMD_PASSTHRU) return false;
        auto* in = static_cast<_TL_DCMD_INPUT_T*>(b->pData);
        if (in->opCode != KV_DCMD_BBU_MODES_GET) return false;
        modeQueries.push_back(*in);
        const size_t call = modeQueries.size() - 1;
        *status = call < modeStatuses.size() ? modeStatuses[call] : 0;
        if (*status == 0) {
            memset(in->pData, 0x11, in->dataTransferLength);
            memcpy(in->pData, &modeCount, sizeof modeCount);
        }
        return true;
    }
    void NewModeList(std::vector<U32> statuses, U32 count) {
        gFake.blocks.clear();
        modeQueries.clear();
        modeStatuses = std::move(statuses);
        modeCount = count;
    }
    std::vector<U8> lastData;
    std::vector<_TL_DCMD_INPUT_T> modeQueries;
    std::vector<U32> modeStatuses;
    U32 modeCount = 0;
};

TEST(NextLearnTime, DaysHoursMinutesAndSecondsByTheSchedulingRules) {
    const U32 clock = 1000000;
    // Wednesday 10:30:00 to Friday 08:00: one whole day, 21 hours, 30 minutes.
    EXPECT_EQ(NextLearnTime(clock, 3, 10, 30, 0, 5, 8), clock + 86400u + 21 * 3600u + 30 * 60u);
    // Friday 22:15:20 to Monday 06:00, across the week's end: 2 days, 7 hours, 44 minutes, 40 seconds.
    EXPECT_EQ(NextLearnTime(clock, 5, 22, 15, 20, 1, 6), clock + 2 * 86400u + 7 * 3600u + 44 * 60u + 40u);
    // Later the same day: Tuesday 09:10:05 to 14:00.
    EXPECT_EQ(NextLearnTime(clock, 2, 9, 10, 5, 2, 14), clock + 4 * 3600u + 49 * 60u + 55u);
    // On the hour of the chosen day itself the rules add a day and an hour.
    EXPECT_EQ(NextLearnTime(clock, 2, 9, 0, 0, 2, 9), clock + 24 * 3600u + 60 * 60u);
    // Saturday to Sunday gives no whole day, and the hour count is 16 bits:
    // 5 - 10 - 1 hours wraps.
    EXPECT_EQ(NextLearnTime(clock, 6, 10, 5, 0, 0, 5), clock + 65530u * 3600u + 55 * 60u);
}

TEST_F(BbuEnclOps, ControllerTimeAsCalendarTextWithTheYearBeforeTheTime) {
    EXPECT_EQ(Printed([] { DisplayinHumanReadableFormat(821788200u); }), "Thu Jan 15 2026 10:30:00 \n");
    EXPECT_EQ(Printed([] { DisplayinHumanReadableFormat(0); }), "Sat Jan  1 2000 00:00:00 \n");
}

TEST_F(BbuEnclOps, StatusWithoutBatteryAndForAnIbbu) {
    KV_BBU_STATUS st{};
    EXPECT_EQ(Printed([&] { PrintBBUStatus(&st); }),
              F("\t%-30s\n\n", "___Printing BBU Status___") + "No Battery Present\n");

    st.batteryType = 1;
    st.voltage = 4012;
    st.current = -450;
    st.temperature = 31;
    st.detail.ibbu = {7, 88, 1, 2, 650, 81, 3, 47, {}};
    EXPECT_EQ(Printed([&] { PrintBBUStatus(&st); }),
              F("\t%-30s\n\n", "___Printing BBU Status___") + F("\t%-30s ", "BBU Battery Type: ") + "IBBU" +
                  F("\n\t%-30s %d %s\n", "BBU Voltage", 4012, "mV") + F("\t%-30s %d %s\n", "BBU Current", -450, "mA") +
                  F("\t%-30s %d %s\n", "BBU Temperature", 31, "deg C") + "\tBattery Backup Charge Time : " +
                  "\t47 hours\n" + F("\t%-30s", "Firmware Status") + F("%-25s\n", "0") +
                  F("\t\t%-25s\n", "Temperature Normal") + F("\t%-30s %d\n", "IBBU Gas Guage Status", 7) +
                  F("\t%-30s %d\n", "IBBU Relative State Of Charge", 88) +
                  F("\t%-30s %d\n", "IBBU Charger System State", 1) + F("\t%-30s %d\n", "IBBU Charger System Ctrl", 2) +
                  F("\t%-30s %d mAh\n", "IBBU Charging Current", 650) +
                  F("\t%-30s %d mAh\n", "IBBU Absolute State Of Charge", 81) + F("\t%-30s %d mAh\n", "IBBU Max Error", 3));
}

TEST_F(BbuEnclOps, StatusWarningsFlagsAndCapacitorPacks) {
    KV_BBU_STATUS st{};
    st.batteryType = 2;
    st.fwStatus.w = 0x7FFF;  // every flag with a line
    st.detail.ibbu.retentionTime = 48;
    std::string out = Printed([&] { PrintBBUStatus(&st); });
    std::string flags = F("\t%-30s", "Firmware Status") + F("\t%-25s\n", "Battery Needs To Be Replaced");
    for (const char* t : {"Charge Active", "Discharge Active", "I2C Errors Detected", "Learn Cycle Active",
                          "Learn Cycle Failed", "Learn Cycle Requested", "Learn Cycle Timeout", "Pack Missing",
                          "Temperature High", "Voltage Low", "Transparent Learn Enable"})
        flags += F("\t\t%-25s\n", t);
    EXPECT_NE(out.find("BBU" + F("\n\t%-25s\n", "Battery FW Status is Non-Operational")), std::string::npos) << out;
    EXPECT_NE(out.find("\tBattery Backup Charge Time : \t48 hours +\n" + flags), std::string::npos) << out;

    // TMM-C: the design's device name is the type, no warning whatever the bits.
    st.batteryType = 6;
    st.fwStatus.w = 0x34A43;
    KV_BBU_DESIGN_INFO design{};
    memcpy(design.deviceName, "TMMC-ABC", 8);  // a full field
    gFake.Set(TL_BBU_CMD_TYPE, TL_GET_BBU_DESIGN_INFO, design);
    out = Printed([&] { PrintBBUStatus(&st); });
    EXPECT_NE(out.find(F("\n\t%-30s %s\n", "BBU Battery Type: ", "TMMC-ABC") + F("\n\t%-30s", "BBU Voltage")),
              std::string::npos) << out;
    EXPECT_EQ(out.find("Non-Operational"), std::string::npos);
    EXPECT_EQ(gFake.blocks.back().cmd, TL_GET_BBU_DESIGN_INFO);

    // IBBU08 with a sub-type reads the design too; its failure ends the report.
    st.batteryType = 5;
    st.subType = 1;
    gFake.statuses[{TL_BBU_CMD_TYPE, TL_GET_BBU_DESIGN_INFO}] = 0x22;
    int rval = 0;
    out = Printed([&] { rval = PrintBBUStatus(&st); });
    EXPECT_EQ(rval, 0x22);
    EXPECT_EQ(out, F("\t%-30s\n\n", "___Printing BBU Status___") +
                       "GetBBUDesignInfo : ProcessLibCommandCall failed; rval = 0x22\n");
}

// Date fields are printed as the record holds them, impossible or not; full
// text fields print whole and no further.
TEST_F(BbuEnclOps, DesignRecordWithAnImpossibleDateAndFullTextFields) {
    KV_BBU_DESIGN_INFO d{};
    d.mfgDate.w = 0xFFFFFFFFu;
    memcpy(d.deviceName, "DEVNAME8", 8);
    memcpy(d.deviceChemistry, "CHEMX", 5);
    memcpy(d.moduleVersion, "MODVER08", 8);
    d.bbuMode = 0xFF;  // the next field is not text
    std::string out = Printed([&] { PrintBBUDesignInfo(&d, 1, 1); });
    EXPECT_NE(out.find(F("\t%-30s %d-%d-%d\n", "BBU Design Date", 15, 31, 65535)), std::string::npos) << out;
    EXPECT_NE(out.find(F("\t%-30s %s \n", "BBU Device name", "DEVNAME8") +
                       F("\t%-30s %s \n", "BBU Module Version", "MODVER08")),
              std::string::npos);
    EXPECT_NE(out.find(F("\t%-30s %s\n", "BBU Device Chemistry", "CHEMX")), std::string::npos);
    // Without modes the design ends with the mode list's note and a line end.
    EXPECT_NE(out.find(F("\n\t%-30s %d\n", "Current BBU Mode :", 255) + "\n\n BBU Modes not available\n\n"),
              std::string::npos);
}

TEST_F(BbuEnclOps, ModeListStatusesAndAHostileCount) {
    NewModeList({34}, 0);
    EXPECT_EQ(Printed([] { GetAvailableBBUModes(); }), "No Supported HW Present\n");
    NewModeList({61}, 0);
    EXPECT_EQ(Printed([] { GetAvailableBBUModes(); }), "Hardware Unsupported\n");
    NewModeList({0, 61}, 1);
    EXPECT_EQ(Printed([] { GetAvailableBBUModes(); }),
              "GetAvailableBBUModes : ProcessLibCommandCall failed ;  rval = 0x3D\n");
    NewModeList({}, 0);
    EXPECT_EQ(Printed([] { GetAvailableBBUModes(); }), "\n\n BBU Modes not available\n");
    const _TL_DCMD_INPUT_T& q = modeQueries[0];
    EXPECT_EQ(q.opCode, 0x05070100u);
    EXPECT_EQ(q.mbox.b[0], 2);
    EXPECT_EQ(q.dataTransferLength, 12u);
    EXPECT_EQ(gFake.blocks[0].dataSize, sizeof(_TL_DCMD_INPUT_T));

    // A count far beyond any mode list: the list asked for (and printed) is bounded.
    NewModeList({}, 0xFFFFFFFFu);
    std::string out = Printed([] { GetAvailableBBUModes(); });
    ASSERT_EQ(modeQueries.size(), 2u);
    EXPECT_EQ(modeQueries[1].dataTransferLength, 256u * 12u);
    EXPECT_EQ(CountOf(out, F("\t%-30s : %d\n", "BBU MODE ID", 0x11)), 256) << out.substr(0, 400);
}

TEST_F(BbuEnclOps, BvtModeTakesItsInputsWithoutPrompts) {
    gBVTMode = 1;
    KV_BBU_PROPERTIES props{};
    props.autoLearnPeriod = 2592000;
    props.nextLearnTime = kThursday;
    props.learnDelayInterval = 7;
    props.autoLearnMode = 1;
    gFake.Set(TL_BBU_CMD_TYPE, TL_GET_BBU_PROPERTIES, props);
    std::string out = Printed([] { SetBBUProperties(); });
    EXPECT_EQ(out, "\nBBU Learn Scheduled at - Thu Jan 15 2026 10:30:00 \n\nSetBBUProperties completed successfully.\n");
    ASSERT_EQ(lastData.size(), sizeof(KV_BBU_PROPERTIES));
    KV_BBU_PROPERTIES sent;
    memcpy(&sent, lastData.data(), sizeof sent);
    EXPECT_EQ(sent.learnDelayInterval, 100);
    EXPECT_EQ(sent.autoLearnMode, 1);
    EXPECT_EQ(sent.nextLearnTime, 821788200u);

    // Scheduling in BVT mode: Sunday, hour 0, from Thursday 10:30:00.
    KV_BBU_PROPERTIES p{};
    Printed([&] { SetAutoLearnParameters(&p); });
    EXPECT_EQ(p.nextLearnTime, 821788200u + 2 * 86400u + 13 * 3600u + 30 * 60u);

    gEnclID = 9;
    EXPECT_EQ(Printed([] { LocateEncl(); }), "LocateEncl : ProcessLibCommandCall Successfull\n");
    EXPECT_EQ(gFake.blocks.back().enclRef.deviceId, 9);
    EXPECT_EQ(Printed([] { SetEnclElement(); }), "");
    const _TL_LIB_CMD_PARAM_T& set = gFake.blocks.back();
    EXPECT_EQ(set.cmdParam_1b[0], 4);
    EXPECT_EQ(set.dataSize, 32u);
    EXPECT_EQ(lastData[0], 50);
    EXPECT_EQ(lastData[1], 45);
    Printed([] { GetEnclElement(); });
    EXPECT_EQ(gFake.blocks.back().cmd, TL_GET_ENCL_ELEMENT);
    EXPECT_EQ(gFake.blocks.back().cmdParam_1b[0], 4);
    EXPECT_EQ(gFake.blocks.back().cmdParam_1b[1], 0);
    EXPECT_EQ(gFake.blocks.back().enclRef.deviceId, 9);
}

}  // namespace

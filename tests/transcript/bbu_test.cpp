// Battery menu items against the simulator: status and capacity of a
// charged unit, the default preset's learn cycle driven to completion on a
// stepping clock and a learn that fails, design information with the mode list, properties read
// and written with the learn delay rule and the weekday/hour scheduling,
// sleep, units without a battery or with a capacitor pack, failure texts.
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "controller_support.h"

namespace {

using namespace ctrltest;

// The clock starts on Thursday 2026-01-15 10:30:00 (UTC, the tool's zone in
// these runs); `step` virtual seconds pass at every command.
std::string Clock(int step = 0) {
    return F("[clock]\nmode = \"fixed\"\nstart = \"2026-01-15 10:30:00\"\nstep = %d.0\n", step);
}

std::string BbuScenario(const std::string& bbuKeys, int step = 0, const std::string& faults = "") {
    return Clock(step) + KorvaneScenario("", "[korvane.controllers.bbu]\n" + bbuKeys, faults);
}

// A charged BBU whose gauge only moves by charging and learning.
const std::string kPlainBbu = "type = \"bbu\"\nfull_charge_capacity = 1100\nself_discharge_rate = 0\n"
                              "learn_discharge_rate = 500\ncharge_rate = 1000\ntemperature = 29\n";

RunResult RunBbu(const std::vector<std::string>& items, const std::string& scenarioText) {
    RunSpec spec;
    spec.scenarioText = scenarioText;
    spec.env["TZ"] = "UTC";
    std::string input = "7\n";
    for (const std::string& item : items) input += item + std::string(30, '\n');
    spec.input = StartInput(input);
    return RunTool(spec);
}

std::string Failure(const char* name, unsigned rval) { return F("%s : ProcessLibCommandCall failed; rval = 0x%X\n", name, rval); }
std::string FwLine(const char* text) { return F("\t\t%-25s\n", text); }
const std::string kFwStatus = F("\t%-30s", "Firmware Status");
const std::string kStatusHeading = F("\t%-30s\n\n", "___Printing BBU Status___");

TEST(BbuStatus, ChargedUnitAndItsCapacity) {
    RunResult r = RunBbu({"1\n", "2\n"}, BbuScenario(kPlainBbu + "cycle_count = 12\n"));
    std::string out = Unpaged(r.out);
    // Voltage at full charge: design 3700 mV x (0.89 + 0.25).
    EXPECT_TRUE(ContainsInOrder(out, {
        kStatusHeading + F("\t%-30s ", "BBU Battery Type: ") + "BBU" + F("\n\t%-30s %d %s\n", "BBU Voltage", 4218, "mV") +
            F("\t%-30s %d %s\n", "BBU Current", 0, "mA") + F("\t%-30s %d %s\n", "BBU Temperature", 29, "deg C") +
            // The BBU detail's bytes under the retention time are its bad block count (0).
            "\tBattery Backup Charge Time : \t0 hours\n" + kFwStatus + F("%-25s\n", "0") + FwLine("Temperature Normal") +
            F("\t%-30s %d\n", "BBU Gas Guage Status", 0xA0) + F("\t%-30s %d\n", "BBU Relative State Of Charge", 100) +
            F("\t%-30s %d\n", "BBU Charger Status", 1) + F("\t%-30s %d mAh\n", "BBU Remaining Capacity", 1100) +
            F("\t%-30s %d mAh\n", "BBU Full Charge Capacity", 1100) + F("\t%-30s %d\n", "Is BBU SOH Good", 1),
        F("\t%-30s\n\n", "___Printing BBU Capacity Info___") + F("\t%-30s %d\n", "Relative State Of Charge", 100) +
            F("\t%-30s %d\n", "Absolute State Of Charge", 91) + F("\t%-30s %d mAh\n", "Remaining Capacity", 1100) +
            F("\t%-30s %d mAh\n", "Full Charge Capacity", 1100) + F("\t%-30s %d mins\n", "Run Time to Empty", 65535) +
            F("\t%-30s %d mins\n", "Average Time to Empty", 65535) +
            F("\t%-30s %d mins\n", "Average Time to Full", 65535) + F("\t%-30s %d\n", "Cycle Count", 12) +
            F("\t%-30s %d\n", "Maximum Error", 2) + F("\t%-30s %d\n", "Remaining Capacity Alarm", 122) +
            F("\t%-30s %d\n", "Remaining Time Alarm", 10),
    }));
    for (int code : {0, 1}) {
        const std::string t = FirstTrace(r, 5, code);
        EXPECT_EQ(TraceField(t, "ref"), "0000000000000000");
        EXPECT_EQ(TraceField(t, "size"), code == 0 ? "64" : "48");
    }
}

// The default preset on a clock that moves an hour at every command. Its
// unit (1154 mAh, learn discharge 450 mA, charge 700 mA) discharges to 10 %
// in about 8300 s and recharges in about 5300 s.
TEST(BbuLearn, DefaultPresetLearnCycleRunsToCompletion) {
    std::ifstream preset(std::string(TARSEL_SOURCE_DIR) + "/sim/scenarios/default.toml");
    std::stringstream text;
    text << preset.rdbuf() << "\n" << Clock(3600);
    RunResult r = RunBbu({"3\n", "1\n", "1\n", "1\n", "1\n", "2\n"}, text.str());
    std::string out = Unpaged(r.out);
    const std::string active = kFwStatus + FwLine("Discharge Active") + FwLine("Learn Cycle Active");
    EXPECT_TRUE(ContainsInOrder(out, {
        "LearnBBU : ProcessLibCommandCall Successful\n", active, active,
        kFwStatus + FwLine("Charge Active") + FwLine("Learn Cycle Active"),
        kFwStatus + F("%-25s\n", "0") + FwLine("Temperature Normal"), F("\t%-30s %d\n", "Cycle Count", 1),
    }));
    EXPECT_EQ(TraceField(FirstTrace(r, 5, 3), "size"), "0");
}

TEST(BbuLearn, FailedLearnAsksForANewPackAndASecondRequestJoinsTheFirst) {
    RunResult r = RunBbu({"3\n", "3\n", "1\n", "1\n"}, BbuScenario(kPlainBbu + "learn_result = \"fail\"\n", 3600));
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {
        "LearnBBU : ProcessLibCommandCall Successful\n", "LearnBBU : ProcessLibCommandCall Successful\n",
        // Replace-pack is among the BBU's non-operational bits.
        F("\t%-30s ", "BBU Battery Type: ") + "BBU" + F("\n\t%-25s\n", "Battery FW Status is Non-Operational") +
            F("\n\t%-30s", "BBU Voltage"),
        kFwStatus + F("\t%-25s\n", "Battery Needs To Be Replaced") + FwLine("Charge Active") +
            FwLine("Learn Cycle Failed"),
    }));
}

TEST(BbuDesign, DesignDataAndTheModeList) {
    const std::string design = kPlainBbu +
        "mfg_date = \"2023-11-07\"\nserial_number = 4660\nspecification_info = 49\npack_config = 320\n"
        "chemistry = \"LiFeP\"\napp_data = 5\nmfg_data = [1, 2, 0xAB, 4, 5, 6, 7, 0xEF]\nmode = 7\n"
        "modes = [{ id = 7, retention_hours = 48, service_life_years = 3, max_temperature = 45 },\n"
        "         { id = 9, retention_hours = 12, service_life_years = 5, max_temperature = 55, transparent_learn = true }]\n";
    RunResult r = RunBbu({"4\n"}, BbuScenario(design));
    std::string out = Unpaged(r.out);
    auto mode = [](int id, int hours, int years, int temp, int tl) {
        return F("\t%-30s : %d\n", "BBU MODE ID", id) + F("\t%-30s : %d Hours\n", "BBU Retention Time", hours) +
               F("\t%-30s : %d Years\n", "BBU ServiceLife", years) +
               F("\t%-30s : %d Degree C Max Temperature\n", "BBU Temperature", temp) +
               F("\t%-30s : %d\n", "BBU Transparent Learn", tl) + "\n\n";
    };
    EXPECT_TRUE(ContainsInOrder(out, {
        F("\t%-30s\n\n", "___Printing BBU Design Info___") + F("\t%-30s %d-%d-%d\n", "BBU Design Date", 11, 7, 2023) +
            F("\t%-30s %d mAh\n", "BBU Design Capacity", 1215) + F("\t%-30s %d mV\n", "BBU Design Voltage", 3700) +
            F("\t%-30s %d\n", "BBU Specification Info", 49) + F("\t%-30s %d\n", "BBU Serial Number", 4660) +
            F("\t%-30s %d\n", "BBU pack & Status Config", 320) + F("\t%-30s %s\n", "BBU Device Chemistry", "LiFeP") +
            F("\t%-30s %d\n", "BBU TransparentLearns", 0) + F("\t%-30s %d\n", "BBU AppData", 5) +
            F("\t%-30s ", "BBU Manufacturer Data") + "0102AB04050607EF" + F("\n\t%-30s %d\n", "Current BBU Mode :", 7) +
            F("\n\n\t%-30s", "BBU Modes Available\n") + "-----------------\n" + mode(7, 48, 3, 45, 0) +
            mode(9, 12, 5, 55, 1) + "\n",
    }));
    std::vector<std::string> modeQueries;
    for (const std::string& t : TraceFor(r, 6, 3))
        if (TraceField(t, "opcode") == "0x05070100") modeQueries.push_back(t);
    ASSERT_EQ(modeQueries.size(), 2u);
    EXPECT_EQ(TraceField(modeQueries[0], "dflags"), "2");
    EXPECT_EQ(TraceField(modeQueries[1], "dlen"), "24");  // 12 bytes per mode
}

TEST(BbuDesign, CapacitorPackAndAUnitWithoutModes) {
    RunResult r = RunBbu({"1\n", "4\n", "7\n"}, BbuScenario("type = \"tmm-c\"\nmodule_version = \"2.10\"\n"));
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {
        kStatusHeading + F("\n\t%-30s %s\n", "BBU Battery Type: ", "TMM-C") + F("\n\t%-30s", "BBU Voltage"),
        F("\t%-30s %s \n", "BBU Device name", "TMM-C") + F("\t%-30s %s \n", "BBU Module Version", "2.10") +
            F("\t%-30s %d Joules\n", "BBU Design Capacity", 237) + F("\t%-30s %d mV\n", "BBU Design Voltage", 9500) +
            F("\t%-30s %d\n", "BBU Serial Number", 10815) + F("\t%-30s %s\n", "BBU Device Chemistry", "CAP"),
        // A capacitor pack has no sleep mode.
        Failure("BBUSleep", 0x3D),
    }));
    EXPECT_EQ(out.find("BBU Specification Info"), std::string::npos);

    r = RunBbu({"4\n"}, BbuScenario("type = \"ibbu\"\n"));
    EXPECT_TRUE(ContainsInOrder(Unpaged(r.out), {F("\n\t%-30s %d\n", "Current BBU Mode :", 0) +
                                                 "Hardware Unsupported\n\n"}));
}

TEST(BbuAbsent, EveryItemWithoutABattery) {
    RunResult r = RunBbu({"1\n", "2\n", "3\n", "4\n", "5\n", "7\n"}, BbuScenario("type = \"none\"\n"));
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {
        kStatusHeading + "No Battery Present\n", Failure("GetBBUCapacity", 0x22), Failure("LearnBBU", 0x22),
        // The design item reads the status silently first.
        "Please enter choice :" + Failure("GetBBUDesignInfo", 0x22),
        Failure("GetBBUProperties", 0x22), Failure("BBUSleep", 0x22),
    }));
}

// Next learn one day after the clock's start, seven hours of delay, warn mode.
const std::string kProps = kPlainBbu + "next_learn_in = 86400\nlearn_delay = 100\nauto_learn_mode = \"warn\"\n";

std::string PropLines(const char* next, int delay, const char* mode) {
    return F("%-35s:%d\n", "BBU Auto Learn Period in seconds", 2592000) + F("%-35s", "BBU Next Learn Time") + next +
           " \n" + F("%-30s %d\n", "BBU Learn Delay Interval (in Hours)", delay) + F("%-35s\n", mode);
}

const std::string kDelayPrompt = F("%-50s : (current = %d)", "Number of hours to delay a learn cycle; not greater than 7 days", 100);

TEST(BbuProperties, DelaySumRuleAndSchedulingByWeekdayAndHour) {
    // Delay: Enter alone asks again, 100 + 100 is refused, 68 is taken.
    // Mode: Enter keeps warn and schedules. Day 7 is out of range; Thursday
    // is today, so 9 o'clock (past) and 24 are refused; 15 is taken.
    RunResult r = RunBbu({"5\n", "6\n\n100\n68\n\n7\n4\n9\n24\n15\n", "5\n"}, BbuScenario(kProps));
    std::string out = Unpaged(r.out);
    const std::string day = "Enter the day of the week you want to schedule the Relearn (Sun-0, Mon-1, Tue-2. .) --->";
    const std::string hour = "Enter the Time in 24 hour format you want to schedule the Relearn --->";
    EXPECT_TRUE(ContainsInOrder(out, {
        PropLines("Fri Jan 16 2026 10:30:00", 100, "BBU Auto Learn Mode: Warn"),
        "NOTE : Default current values are given alongside; Please press ENTER to retain those values\n" + kDelayPrompt +
            kDelayPrompt + "\nThe entered number of hours exceed 168 hours. Please try again.\n" +
            kDelayPrompt + F("%-50s : (current = %d)", "Please select the bbu auto learn mode(0-auto, 1-Disabled, 2-Warn)", 2) +
            day + day + hour + hour + hour +
            // Thursday 10:30:00 to 15:00 the same day: 15 - 10 - 1 hours and 30 minutes.
            "\nBBU Learn Scheduled at - Thu Jan 15 2026 15:00:00 \n\nSetBBUProperties completed successfully.\n",
        PropLines("Thu Jan 15 2026 15:00:00", 68, "BBU Auto Learn Mode: Warn"),
    }));
    const std::string set = FirstTrace(r, 5, 5);
    EXPECT_EQ(TraceField(set, "size"), "32");
    // Period 2592000, next learn 821804400 (Thu 15:00), delay 68, warn mode, mode 3.
    EXPECT_EQ(TraceField(set, "data").substr(0, 22), "008D270070BDFB30440203");
}

TEST(BbuProperties, FullWeekDelayIsNotAskedAndARefusedWriteStillCloses) {
    // Auto-learn mode 5 does not exist: the controller refuses the write.
    const std::string keys = kPlainBbu + "learn_delay = 168\nnext_learn_in = 3600\n";
    RunResult r = RunBbu({"6\n5\n"}, BbuScenario(keys));
    std::string out = Unpaged(r.out);
    EXPECT_EQ(out.find("Number of hours to delay"), std::string::npos);
    EXPECT_TRUE(ContainsInOrder(out, {
        F("%-50s : (current = %d)", "Please select the bbu auto learn mode(0-auto, 1-Disabled, 2-Warn)", 0) +
            Failure("SetBBUProperties", 0x3) +
            "\nBBU Learn Scheduled at - Thu Jan 15 2026 11:30:00 \n\nSetBBUProperties completed successfully.\n",
    }));
    // The delay is written as 0, the typed mode as 5.
    EXPECT_EQ(TraceField(FirstTrace(r, 5, 5), "data").substr(16, 6), "000503");
}

TEST(BbuSleep, SleepThenRefusalsAndFailureTexts) {
    RunResult r = RunBbu({"7\n", "7\n", "3\n", "1\n", "4\n"}, BbuScenario(kPlainBbu, 0, Fault(5, 0, 0x800A)));
    EXPECT_TRUE(ContainsInOrder(r.out, {
        "\nBBUSleep : BBU Sleep command completed successfully.\n", Failure("BBUSleep", 0x32),
        // A learn request wakes the pack.
        "LearnBBU : ProcessLibCommandCall Successful\n", "Please enter choice :Invalid controller\n",
        "Please enter choice :Invalid controller\n",
    }));
    r = RunBbu({"7\n"}, BbuScenario(kPlainBbu, 0, Fault(5, 6, 0x800A)));
    EXPECT_TRUE(ContainsInOrder(r.out, {"BBUSleep : Invalid controller\n"}));
}

}  // namespace

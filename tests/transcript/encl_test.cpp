// Enclosure menu items against the simulator: the element status of the
// default preset's drives in their slots, the configuration page, scenario
// element faults in both status forms, thresholds set and read back,
// locate and shutdown with the firmware's refusals, and the failure texts.
#include <string>
#include <vector>

#include "controller_support.h"

namespace {

using namespace ctrltest;

// Runs enclosure menu items; each entry is an item number with its answers.
// Blank lines after each answer the pager's pauses and "Press ENTER"; the
// menu's number prompt skips the rest.
RunResult RunEncl(const std::vector<std::string>& items, const std::string& scenarioText = "") {
    std::string input = "10\n";
    for (const std::string& item : items) input += item + std::string(30, '\n');
    return RunWith(scenarioText.empty() ? "default" : scenarioText, input);
}

const std::string kIdPrompt = F("\t%-30s ", "Enter Enclosure Device Id");
std::string Count(const char* label, int n, bool first = false) { return F(first ? "\t%-30s %d\n" : "\n\t%-30s %d\n", label, n); }
std::string Heading(const char* label, int i) { return F("\n\t%-30s %-d\n", label, i); }
std::string Line(const char* label, const char* text) { return F("\t%-30s %s\n", label, text); }
std::string Failure(const char* name, unsigned rval) { return F("%s : ProcessLibCommandCall failed; rval = 0x%X\n", name, rval); }

// Enclosure 20: two slots (a drive in the second), a supply with AC and DC
// faults, a stopped fan, a sensor at 33 degrees, a door lock left open and
// a voltage sensor reading -2 V on a 12 V rail. Enclosure 21 holds only an
// unconfigured drive.
std::string ElementScenario() {
    return KorvaneScenario("", R"(
[[korvane.controllers.enclosures]]
device_id = 20
slots = 2
power_supplies = 2
fans = 2
temp_sensors = 1
alarms = 1
sims = 1
vendor = "JBODWRKS"
product = "KV24 EXPANDER 12"
counts = { door_lock = 1, voltage_sensor = 1, sas_expander = 0, enclosure = 1 }
[[korvane.controllers.enclosures.elements]]
type = "power_supply"
index = 1
status = "critical"
flags = ["ac-failed", "dc-under-voltage"]
[[korvane.controllers.enclosures.elements]]
type = "cooling"
index = 0
status = "critical"
[[korvane.controllers.enclosures.elements]]
type = "temperature_sensor"
index = 0
reading = 33
[[korvane.controllers.enclosures.elements]]
type = "door_lock"
index = 0
flags = ["unlocked"]
[[korvane.controllers.enclosures.elements]]
type = "voltage_sensor"
index = 0
reading = -2000
[[korvane.controllers.enclosures]]
device_id = 21
slots = 1
[[korvane.controllers.drives]]
device_id = 1
enclosure = 20
slot = 1
size_mb = 1144641
[[korvane.controllers.drives]]
device_id = 2
enclosure = 21
slot = 0
size_mb = 1144641
)");
}

TEST(EnclStatus, DefaultPresetListsTheDrivesInTheirSlots) {
    // Enclosure 9 numbers its eight slots from 4; drives sit in slots 4 to 7.
    RunResult r = RunEncl({"2\n9\n"});
    std::string out = Unpaged(r.out);
    std::vector<std::string> expected = {kIdPrompt + "\n", F("\t%-30s\n\n", "___Printing Enclosure Info___"),
                                         Count("Number of Slots", 8, true)};
    for (int i = 0; i < 8; ++i) {
        expected.push_back(Heading("Slot", i));
        expected.push_back(Line("Slot Status", i < 4 ? "OK" : "Not Installed"));
    }
    expected.push_back(Count("Number of Power Supplies", 2));
    expected.push_back(Count("Number of Fans", 3));
    expected.push_back(Heading("Fan", 0) + Line("Fan Speed", "Medium Speed") + Line("Fan Status", "OK"));
    expected.push_back(Count("Number of Temperature Sensors", 1));
    expected.push_back(Count("Number of Alarms", 1));
    expected.push_back(Count("Number of SIM Modules", 2));
    expected.push_back(Heading("SIM Module", 0) + Line("SIM :", "Report set") + Line("SIM Module Status", "OK"));
    EXPECT_TRUE(ContainsInOrder(out, expected));
    const std::string trace = FirstTrace(r, 8, 1);
    EXPECT_EQ(TraceField(trace, "ref"), "0900000000000000");
    EXPECT_EQ(TraceField(trace, "size"), "1024");
}

TEST(EnclStatus, ScenarioFaultsInTheShortAndTheExtendedForm) {
    RunResult r = RunEncl({"2\n20\n", "6\n20\n"}, ElementScenario());
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {
        Count("Number of Slots", 2, true), Heading("Slot", 0) + Line("Slot Status", "Not Installed"),
        Heading("Slot", 1) + Line("Slot Status", "OK"),
        Heading("Power Supply ", 1) + Line("Power Supply", "AC Failed") + Line("Power Supply", "DC Under Voltage") +
            Line("Power Supply Status", "Critical"),
        // A failed fan stands still: no speed line.
        Heading("Fan", 0) + Line("Fan Status", "Critical"), Heading("Fan", 1) + Line("Fan Speed", "Medium Speed"),
        Heading("Temp Sensor", 0) + F("\t%-30s %d\n", "Temperature:", 33 + 20) + Line("Temperature Sensor Status", "OK"),
        // Critical elements sound the alarm.
        Heading("Alarm", 0) + Line("Alarm Status :", "Critical Sound if Alarm Not Muted") + Line("Alarm Status", "OK"),
    }));
    EXPECT_TRUE(ContainsInOrder(out, {
        F("\t%-30s\n\n", "___Printing Enclosure Ex Info___"), Count("Device Count", 2, true),
        Heading("Cooling fans", 0) + Line("Cooling Status", "Critical"),
        Count("Number of Door Locks", 1) + Heading("Door lock", 0) + Line("Door lock ", "Unlocked") +
            Line("Door lock Status", "OK"),
        Count("Number of Voltage Sensor", 1) + Heading("Voltage Sensor ", 0) + Line("Voltage Sensor", "Crit Under") +
            Line("Voltage Sensor Status", "Critical") + F("\t%-30s -%u milliVolts\n", "Voltage Value:", 2000u),
    }));
    EXPECT_EQ(TraceField(FirstTrace(r, 8, 5), "size"), "2048");
}

TEST(EnclConfig, IdentityAndElementTypes) {
    RunResult r = RunEncl({"1\n20\n", "1\n77\n"}, ElementScenario());
    std::string out = Unpaged(r.out);
    auto type = [](const char* name, const char* text, int count) {
        return F("\t%-30s : ", "Element Type") + name + F("\n\t%-30s : %s\n", "Type Descriptor Text", text) +
               F("\t%-30s : %d\n", "Possible Element Count", count) + F("\t%-30s : %d\n", "Sub Enclosure Id", 0) + "\n";
    };
    EXPECT_TRUE(ContainsInOrder(out, {
        F("\t%-30s", "Enter Enclosure Device Id ") + "\n", F("\t%-30s : %s\n", "Vendor ID", "JBODWRKS"),
        F("\t%-30s : %s\n", "Product ID", "KV24 EXPANDER 12"), F("\t%-30s : %s\n", "Product Revision Level", "0E12"),
        "\n" + type("Device", "Drive Slots", 2) + type("Power Supply", "Power Supplies", 2) +
            type("Fan", "Cooling Fans", 2) + type("Temperature Sensor", "Temperature Sensors", 1) +
            type("Door Lock", "Door Locks", 1) + type("Alarm", "Audible Alarm", 1) +
            type("Controller Electronics (SIM)", "Enclosure Services Controller", 1) +
            type("Enclosure", "Enclosure", 1) + type("Voltage Sensor", "Voltage Sensors", 1),
        Failure("GetEnclConfigInfo", 0xC),
    }));
}

TEST(EnclElement, ThresholdsSetChangeTheStatusAndReadBack) {
    RunResult r = RunEncl({"3\n20\n50\n30\n", "2\n20\n", "7\n20\n\n0\n", "3\n20\n90\n30\n", "7\n20\n1\n0\n",
                           "7\n20\n2\n0\n", "7\n20\n9\n0\n"},
                          ElementScenario());
    // A successful set prints nothing after its prompts.
    EXPECT_TRUE(ContainsInOrder(r.out, {kIdPrompt + "\nEnter High Warning Value for Temp Sensor "
                                        "Enter Low Warning Value for Temp Sensor \nPress ENTER to continue"}));
    std::string out = Unpaged(r.out);
    auto element = [](const char* type, int index, int hc, int lc, int hw, int lw) {
        return "ProcessLibCommand Successful. Get Element data is shown below.\n" + F("Element Type: %s\n", type) +
               F("Element Index: %d\n", index) + F("High critical value: %d\n", hc) +
               F("Low critical value: %d\n", lc) + F("High Warning value: %d\n", hw) + F("Low Warning value: %d\n", lw);
    };
    EXPECT_TRUE(ContainsInOrder(out, {
        // 33 degrees reads 53, at or over the new high warning of 50.
        Heading("Temp Sensor", 0) + F("\t%-30s %d\n", "Temperature:", 53) +
            Line("Temperature Sensor Status", "Non Critical"),
        F("%-50s : (default = 0)", "Please select the element type(0-Temp, 1-Voltage, 2-Current)") +
            F("\t%-30s ", "Enter element index(zero based)") + element("Temperature", 0, 85, 20, 50, 30),
        // A high warning above the critical threshold is refused.
        Failure("SetEnclElement", 0x3),
        element("Voltage", 0, 20, 20, 10, 10),
        // No current sensor; an unlisted choice sends type 0.
        Failure("GetEnclElement", 0x3), Failure("GetEnclElement", 0x3),
    }));
    const auto sets = TraceFor(r, 8, 2);
    ASSERT_EQ(sets.size(), 2u);
    EXPECT_EQ(TraceField(sets[0], "ref"), "1400000000000000");
    EXPECT_EQ(TraceField(sets[0], "param"), "0400000000000000");
    EXPECT_EQ(TraceField(sets[0], "size"), "32");
    EXPECT_EQ(TraceField(sets[0], "data").substr(0, 8), "321E0000");
    // Element type and index in parameter bytes 0 and 1: current sensor 0, unlisted choice 0.
    const auto gets = TraceFor(r, 8, 6);
    ASSERT_EQ(gets.size(), 4u);
    EXPECT_EQ(TraceField(gets[2], "param").substr(0, 4), "1300");
    EXPECT_EQ(TraceField(gets[3], "param").substr(0, 4), "0000");
}

TEST(EnclLocateShutdown, RefusalsAndAPoweredDownEnclosure) {
    // Enclosure 21 holds only an unconfigured drive, so it may be shut down.
    RunResult r = RunEncl({"4\n20\n", "4\n99\n", "5\n21\n", "2\n21\n", "5\n21\n", "4\n21\n"}, ElementScenario());
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {
        kIdPrompt + "\nLocateEncl : ProcessLibCommandCall Successfull\n",
        Failure("LocateEncl", 0xC),
        kIdPrompt + "\nShutdownEncl : ProcessLibCommandCall Successfull\n",
        Heading("Slot", 0) + Line("Slot Status", "Not Available"),
        Heading("Power Supply ", 0) + Line("Power Supply", "Device is Off") + Line("Power Supply Status", "Not Available"),
        Failure("ShutdownEncl", 0x32), Failure("LocateEncl", 0x32),
    }));
    EXPECT_EQ(TraceField(FirstTrace(r, 8, 4), "size"), "0");
    EXPECT_EQ(TraceField(FirstTrace(r, 8, 3), "ref"), "1400000000000000");
}

// The default preset's enclosures hold array members and spares.
TEST(EnclLocateShutdown, EnclosureWithConfiguredDrivesStaysUp) {
    RunResult r = RunEncl({"5\n8\n"});
    EXPECT_TRUE(ContainsInOrder(r.out, {kIdPrompt + "\n" + Failure("ShutdownEncl", 0x32)}));
}

TEST(EnclFailures, InvalidControllerAndTheSharedStatusText) {
    const std::string faults = Fault(8, 5, 0x32) + Fault(8, 1, 0x800A) + Fault(8, 3, 0x800A) + Fault(8, 6, 0x2D);
    RunResult r = RunEncl({"6\n20\n", "2\n20\n", "4\n20\n", "7\n20\n\n0\n"}, KorvaneScenario("", "", faults));
    EXPECT_TRUE(ContainsInOrder(r.out, {Failure("GetEnclStatus", 0x32), kIdPrompt + "\nInvalid controller\n",
                                        kIdPrompt + "\nInvalid controller\n", Failure("GetEnclElement", 0x2D)}));
}

// The controller's health report counts the element statuses and the
// battery's own conditions.
TEST(EnclHealth, ControllerHealthCountsElementsAndTheBattery) {
    const std::string scenario = ElementScenario() + "[korvane.controllers.bbu]\npack_missing = true\n";
    RunResult r = RunWith(scenario, "3\n22\n" + std::string(30, '\n'));
    auto counts = [](int optimal, int critical) {
        std::string s;
        const int values[] = {optimal, critical, 0, 0, 0, 0, 0};
        const char* labels[] = {"Optimal Count", "Critical Count", "Non Critical Count", "UnRecoverable Count",
                                "Not Installed Count", "Unknown Count", "Not Available Count"};
        for (int i = 0; i < 7; ++i) s += F("\t%-35s %d\n", labels[i], values[i]);
        return s;
    };
    EXPECT_TRUE(ContainsInOrder(Unpaged(r.out), {
        "\nEnclosure 0 Health\nPower Supply Health\n" + counts(1, 1) + "\nFan Health\n" + counts(1, 1) +
            "\nTemp Sensor Health\n" + counts(1, 0) + "\nSIM Health\n" + counts(1, 0),
        "BBU Health\n\tPack Missing\n\tVoltage Normal\n\tTemperature Normal\n",
    }));
}

}  // namespace

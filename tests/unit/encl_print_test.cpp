// Enclosure report decoders on crafted records: element positions from the
// counts of earlier groups, per-type flag lines, fan speed codes, signed
// voltages, the configuration page's type headers and texts, and records
// whose counts or lengths point past their end.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "enclosure.h"
#include "fake_library.h"

namespace {

std::string Count(const char* label, int n, bool first = false) { return F(first ? "\t%-30s %d\n" : "\n\t%-30s %d\n", label, n); }
std::string Heading(const char* label, int i) { return F("\n\t%-30s %-d\n", label, i); }
std::string Line(const char* label, const char* text) { return F("\t%-30s %s\n", label, text); }

class EnclPrint : public FakeLibraryTest {};

void SetElement(_TL_ENCL_ELEMENT_T& e, U8 b1, U8 b2, U8 b3, U32 status) {
    e.sesStatus[1] = b1;
    e.sesStatus[2] = b2;
    e.sesStatus[3] = b3;
    e.status = status;
}

TEST_F(EnclPrint, EmptyEnclosurePrintsOnlyTheCountLines) {
    auto st = std::make_unique<_TL_ENCL_STATUS_T>();
    EXPECT_EQ(Printed([&] { PrintEnclStatus(st.get()); }),
              F("\t%-30s\n\n", "___Printing Enclosure Info___") + Count("Number of Slots", 0, true) +
                  Count("Number of Power Supplies", 0) + Count("Number of Fans", 0) +
                  Count("Number of Temperature Sensors", 0) + Count("Number of Alarms", 0) +
                  Count("Number of SIM Modules", 0));

}

// Records follow the groups in order: one slot, two supplies, four fans,
// one sensor, one alarm, one SIM.
TEST_F(EnclPrint, ShortStatusDecodesEachGroupAtItsPosition) {
    auto st = std::make_unique<_TL_ENCL_STATUS_T>();
    st->slotCount = 1;
    st->psCount = 2;
    st->fanCount = 4;
    st->tsCount = 1;
    st->alarmCount = 1;
    st->simCount = 1;
    _TL_ENCL_ELEMENT_T* e = st->element;
    SetElement(e[0], 0, 0, 0, 5);
    SetElement(e[1], 0, 0x0E, 0x1B, 2);   // every supply flag
    SetElement(e[2], 0, 0, 0, 9);
    SetElement(e[3], 0, 0, 2, 1);         // speed code 2: no speed line
    SetElement(e[4], 0, 0, 7, 1);
    SetElement(e[5], 0, 0, 0xF9, 1);      // code 1 under other bits
    SetElement(e[6], 0, 0, 4, 3);
    SetElement(e[7], 0, 52, 0, 1);
    SetElement(e[8], 0, 0, 0x46, 1);
    SetElement(e[9], 0, 0x01, 0, 7);
    std::string out = Printed([&] { PrintEnclStatus(st.get()); });
    std::string expected =
        F("\t%-30s\n\n", "___Printing Enclosure Info___") + Count("Number of Slots", 1, true) + Heading("Slot", 0) +
        Line("Slot Status", "Not Installed") + Count("Number of Power Supplies", 2) + Heading("Power Supply ", 0) +
        Line("Power Supply", "DC Failed") + Line("Power Supply", "AC Failed") + Line("Power Supply", "Device is Off") +
        Line("Power Supply", "Over Temperature Failed") + Line("Power Supply", "DC Over Current") +
        Line("Power Supply", "DC Under Voltage") + Line("Power Supply", "DC Over Voltage") +
        Line("Power Supply Status", "Critical") + Heading("Power Supply ", 1) +
        Line("Power Supply Status", "INVALID STATUS VALUE") + Count("Number of Fans", 4) + Heading("Fan", 0) +
        Line("Fan Status", "OK") + Heading("Fan", 1) + Line("Fan Speed", "High Speed") + Line("Fan Status", "OK") +
        Heading("Fan", 2) + Line("Fan Speed", "Low Speed") + Line("Fan Status", "OK") + Heading("Fan", 3) +
        Line("Fan Speed", "Medium Speed") + Line("Fan Status", "Non Critical") +
        Count("Number of Temperature Sensors", 1) + Heading("Temp Sensor", 0) + F("\t%-30s %d\n", "Temperature:", 52) +
        Line("Temperature Sensor Status", "OK") + Count("Number of Alarms", 1) + Heading("Alarm", 0) +
        Line("Alarm Status :", "Alarm Muted") + Line("Alarm Status :", "Critical Sound if Alarm Not Muted") +
        Line("Alarm Status :", "Non Critical Sound if Alarm Not Muted") + Line("Alarm Status", "OK") +
        Count("Number of SIM Modules", 1) + Heading("SIM Module", 0) + Line("SIM :", "Report set") +
        Line("SIM Module Status", "Not Available");
    EXPECT_EQ(out, expected);
}

// The skipped groups (enclosure, transceivers, languages, ports) still
// position the voltage sensors; flags and values of the later groups.
TEST_F(EnclPrint, ExtendedStatusSkipsGroupsButCountsTheirRecords) {
    auto ex = std::make_unique<_TL_ENCL_STATUS_EX_T>();
    ex->doorLockCount = 1;
    ex->nonVolatileCacheCount = 1;
    ex->invalidOpReasonCount = 1;
    ex->upsCount = 1;
    ex->enclEntryCount = 2;
    ex->languageCount = 1;
    ex->voltageSensorCount = 2;
    ex->currentSensorCount = 1;
    _TL_ENCL_ELEMENT_T* e = ex->element;
    SetElement(e[0], 0, 0, 0x01, 1);        // door lock
    SetElement(e[1], 0x03, 0, 0, 1);        // cache: size multiplier 3
    SetElement(e[2], 0x81, 1, 1, 2);        // invalid op: type 2, Spec01..03
    SetElement(e[3], 30, 0xFF, 0x02, 1);    // UPS: every flag
    SetElement(e[4], 0xFF, 0xFF, 0xFF, 0);  // enclosure records: not printed
    SetElement(e[5], 0xFF, 0xFF, 0xFF, 0);
    SetElement(e[6], 0xFF, 0xFF, 0xFF, 0);  // language
    const U16 minus200 = static_cast<U16>(-200);
    SetElement(e[7], 0x0F, minus200 & 0xFF, minus200 >> 8, 2);
    SetElement(e[8], 0, 0xB0, 0x04, 1);     // 0x04B0 = 1200 -> 12000 mV
    std::string out = Printed([&] { PrintEnclStatusEx(ex.get()); });
    const std::string upsFlags = Line("UPS Status:", "AC Fail") + Line("UPS Status:", "AC High") +
                                 Line("UPS Status:", "AC Low") + Line("UPS Status:", "AC Qual") +
                                 Line("UPS Status:", "Battery Fail") + Line("UPS Status:", "DC Fail") +
                                 Line("UPS Status:", "Intf Fail") + Line("UPS Status:", "UPS Fail") +
                                 Line("UPS Status:", "Warn");
    std::string expected =
        Count("Number of Door Locks", 1) + Heading("Door lock", 0) + Line("Door lock ", "Unlocked") +
        Line("Door lock Status", "OK") + Count("Number of Alarms", 0) + Count("Number of SES CTRL ELEC", 0) +
        Count("Number of SCC CTRL ELEC", 0) + Count("Number of Non Volatile Cache", 1) +
        Heading("Non Volatile Cache", 0) + Line("Non Volatile Status", "OK") + F("\t%-30s %d\n", "SizeMulti:", 3) +
        Count("Number of Invalid Op Reason", 1) + Heading("Invalid Op Reason", 0) +
        Line("Invalid Op Reason Status", "Critical") + F("\t%-30s %d\n", "Invalid Op Type:", 2) +
        Line("Invalid Op Status :", "Spec01") + Line("Invalid Op Status :", "Spec02") +
        Line("Invalid Op Status :", "Spec03") + Count("Number of UPS", 1) + Heading("UPS", 0) +
        Line("UPS Status", "OK") + F("\t%-30s %d\n", "UPS Status:", 30) + upsFlags + Count("Number of Display", 0) +
        Count("Number of KeyPad", 0) + Count("Number of Voltage Sensor", 2) + Heading("Voltage Sensor ", 0) +
        Line("Voltage Sensor", "Crit Over") + Line("Voltage Sensor", "Crit Under") +
        Line("voltage Sensor", "Warn Over") + Line("Voltage Sensor", "Warn Under") +
        Line("Voltage Sensor Status", "Critical") + F("\t%-30s -%u milliVolts\n", "Voltage Value:", 2000u) +
        Heading("Voltage Sensor ", 1) + Line("Voltage Sensor Status", "OK") +
        F("\t%-30s %u milliVolts\n", "Voltage Value:", 12000u);
    const size_t at = out.find(Count("Number of Door Locks", 1));
    ASSERT_NE(at, std::string::npos) << out;
    EXPECT_EQ(out.substr(at), expected);
}

TEST_F(EnclPrint, HostileCountsStopAtTheEndOfTheRecord) {
    auto st = std::make_unique<_TL_ENCL_STATUS_T>();
    st->slotCount = 0xFFFFFFFFu;
    st->psCount = 5;
    std::string out = Printed([&] { PrintEnclStatus(st.get()); });
    EXPECT_NE(out.find(Heading("Slot", TL_ENCL_STATUS_ELEMENTS - 1)), std::string::npos);
    EXPECT_EQ(out.find(Heading("Slot", TL_ENCL_STATUS_ELEMENTS)), std::string::npos);
    // The later groups lie wholly past the record: only their count lines.
    EXPECT_NE(out.find(Count("Number of Power Supplies", 5)), std::string::npos);
    EXPECT_EQ(out.find(Heading("Power Supply ", 0)), std::string::npos);

    auto ex = std::make_unique<_TL_ENCL_STATUS_EX_T>();
    memset(reinterpret_cast<U8*>(ex.get()) + offsetof(_TL_ENCL_STATUS_EX_T, deviceCount), 0xFF, SES_EX_GROUP_COUNT);
    out = Printed([&] { PrintEnclStatusEx(ex.get()); });
    EXPECT_NE(out.find(Heading("Device ", TL_ENCL_STATUS_EX_ELEMENTS - 1)), std::string::npos);
    // 255 devices then 255 supplies: the record holds 239 in all.
    EXPECT_EQ(out.find(Heading("Device ", TL_ENCL_STATUS_EX_ELEMENTS)), std::string::npos);
    EXPECT_EQ(out.find(Heading("Power Supply ", 0)), std::string::npos);
    EXPECT_NE(out.find(Count("Number of Voltage Sensor", 255)), std::string::npos);
}

// Writes a configuration page: identity, `vendor` vendor-specific bytes,
// then the headers and texts given.
struct TypeDesc {
    U8 type, count, subEncl;
    std::string text;
};

std::unique_ptr<_TL_ENCL_CONFIG_T> Config(U32 vendor, const std::vector<TypeDesc>& types) {
    auto cfg = std::make_unique<_TL_ENCL_CONFIG_T>();
    U8* rec = reinterpret_cast<U8*>(cfg.get());
    memcpy(rec + 36, "VENDORXY", 8);  // a full field: no terminator in the record
    memcpy(rec + 44, "PRODUCT", 7);
    memcpy(rec + 60, "0E12", 4);
    cfg->vendorSpecificLen = vendor;
    rec[26] = static_cast<U8>(types.size());
    size_t hdr = 64 + vendor, text = hdr + 4 * types.size();
    for (const TypeDesc& t : types) {
        const U8 h[4] = {t.type, t.count, t.subEncl, static_cast<U8>(t.text.size())};
        memcpy(rec + hdr, h, 4);
        memcpy(rec + text, t.text.data(), t.text.size());
        hdr += 4;
        text += t.text.size();
    }
    return cfg;
}

std::string TypeBlock(const char* name, const char* text, int count, int sub) {
    return F("\t%-30s : ", "Element Type") + name + F("\n\t%-30s : %s\n", "Type Descriptor Text", text) +
           F("\t%-30s : %d\n", "Possible Element Count", count) + F("\t%-30s : %d\n", "Sub Enclosure Id", sub) + "\n";
}

TEST_F(EnclPrint, ConfigurationNamesTypesAndWalksTheTexts) {
    auto cfg = Config(0, {{1, 12, 0, "Drive Slots"}, {0x50, 1, 2, ""}, {128, 3, 0, "OEM"}, {23, 4, 1, "Bays"}});
    std::string out = Printed([&] { PrintEnclConfigInfo(cfg.get()); });
    EXPECT_EQ(out, F("\t%-30s : %s\n", "Vendor ID", "VENDORXY") + F("\t%-30s : %s\n", "Product ID", "PRODUCT") +
                       F("\t%-30s : %s\n", "Product Revision Level", "0E12") + "\n" +
                       TypeBlock("Device", "Drive Slots", 12, 0) + TypeBlock("Unknown (0x50)", "", 1, 2) +
                       TypeBlock("Vendor Specific", "OEM", 3, 0) + TypeBlock("Slot Device", "Bays", 4, 1));
}

TEST_F(EnclPrint, ConfigurationVendorBlockAndHostileLengths) {
    // Vendor-specific bytes move the headers.
    auto cfg = Config(8, {{2, 2, 0, "PSU"}});
    std::string out = Printed([&] { PrintEnclConfigInfo(cfg.get()); });
    EXPECT_NE(out.find(F("\n\t%-30s\n\n", "__Vendor Specific Info End__") + "\n" + TypeBlock("Power Supply", "PSU", 2, 0)),
              std::string::npos);

    // Headers past the record are not read; a text running past it is cut.
    cfg = Config(0, {});
    cfg->vendorSpecificLen = 0xFFFFFFF0u;
    reinterpret_cast<U8*>(cfg.get())[26] = 255;
    out = Printed([&] { PrintEnclConfigInfo(cfg.get()); });
    EXPECT_EQ(out.find("Element Type"), std::string::npos);

    cfg = Config(1024 - 64 - 4 - 2, {});
    U8* rec = reinterpret_cast<U8*>(cfg.get());
    rec[26] = 1;
    const U8 h[4] = {4, 1, 0, 200};
    memcpy(rec + 1024 - 6, h, 4);
    rec[1022] = 'A';
    rec[1023] = 'B';
    out = Printed([&] { PrintEnclConfigInfo(cfg.get()); });
    EXPECT_NE(out.find(TypeBlock("Temperature Sensor", "AB", 1, 0)), std::string::npos);
}

}  // namespace

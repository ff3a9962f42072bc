// Enclosure group printers: the SES configuration report and the element
// status in the short and the extended form. Element records are located by
// the counts of the groups before them; the counts come from the record, so
// every lookup is checked against the record's own capacity.
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <span>

#include "enclosure.h"

namespace {

// One indicator bit of an element's SES status bytes and the text printed
// when it is set. `label` overrides the group's flag label.
struct ElementFlag {
    U8 byte;
    U8 mask;
    const char* text;
    const char* label = nullptr;
};

// The element record at `index` among `capacity` records, or null when the
// index lies past the record.
const _TL_ENCL_ELEMENT_T* ElementAt(const _TL_ENCL_ELEMENT_T* records, size_t capacity, U64 index) {
    return index < capacity ? &records[index] : nullptr;
}

void PrintFlags(const _TL_ENCL_ELEMENT_T& e, const char* label, std::span<const ElementFlag> flags) {
    for (const ElementFlag& f : flags)
        if (e.sesStatus[f.byte] & f.mask) my_printf("\t%-30s %s\n", f.label ? f.label : label, f.text);
}

const ElementFlag kPowerSupplyFlags[] = {
    {3, 0x01, "DC Failed"},       {3, 0x02, "AC Failed"},        {3, 0x10, "Device is Off"},
    {3, 0x08, "Over Temperature Failed"}, {2, 0x02, "DC Over Current"}, {2, 0x04, "DC Under Voltage"},
    {2, 0x08, "DC Over Voltage"},
};

const ElementFlag kAlarmFlags[] = {
    {3, 0x40, "Alarm Muted"},
    {3, 0x02, "Critical Sound if Alarm Not Muted"},
    {3, 0x04, "Non Critical Sound if Alarm Not Muted"},
};

const ElementFlag kDoorLockFlags[] = {{3, 0x01, "Unlocked"}};

const ElementFlag kUpsFlags[] = {
    {2, 0x10, "AC Fail"}, {2, 0x40, "AC High"},  {2, 0x80, "AC Low"},   {2, 0x20, "AC Qual"}, {3, 0x02, "Battery Fail"},
    {2, 0x08, "DC Fail"}, {2, 0x01, "Intf Fail"}, {2, 0x04, "UPS Fail"}, {2, 0x02, "Warn"},
};

// "Warn Over" carries a lower-case label of its own.
const ElementFlag kVoltageFlags[] = {
    {1, 0x02, "Crit Over"},
    {1, 0x01, "Crit Under"},
    {1, 0x08, "Warn Over", "voltage Sensor"},
    {1, 0x04, "Warn Under"},
};

void PowerSupplyDetails(const _TL_ENCL_ELEMENT_T& e) { PrintFlags(e, "Power Supply", kPowerSupplyFlags); }
void AlarmDetails(const _TL_ENCL_ELEMENT_T& e) { PrintFlags(e, "Alarm Status :", kAlarmFlags); }
void DoorLockDetails(const _TL_ENCL_ELEMENT_T& e) { PrintFlags(e, "Door lock ", kDoorLockFlags); }

void FanDetails(const _TL_ENCL_ELEMENT_T& e) {
    const char* speed = FanSpeedText(e.sesStatus[3] & 0x07);
    if (speed) my_printf("\t%-30s %s\n", "Fan Speed", speed);
}

void TemperatureDetails(const _TL_ENCL_ELEMENT_T& e) { my_printf("\t%-30s %d\n", "Temperature:", e.sesStatus[2]); }

void SimDetails(const _TL_ENCL_ELEMENT_T& e) {
    if (e.sesStatus[2] & 0x01) my_printf("\t%-30s %s\n", "SIM :", "Report set");
}

void NonVolatileCacheAfter(const _TL_ENCL_ELEMENT_T& e) { my_printf("\t%-30s %d\n", "SizeMulti:", e.sesStatus[1] & 0x03); }

void InvalidOpAfter(const _TL_ENCL_ELEMENT_T& e) {
    my_printf("\t%-30s %d\n", "Invalid Op Type:", e.sesStatus[1] >> 6);
    if ((e.sesStatus[1] & 0x3F) == 1) my_printf("\t%-30s %s\n", "Invalid Op Status :", "Spec01");
    if (e.sesStatus[2] == 1) my_printf("\t%-30s %s\n", "Invalid Op Status :", "Spec02");
    if (e.sesStatus[3] == 1) my_printf("\t%-30s %s\n", "Invalid Op Status :", "Spec03");
}

void UpsAfter(const _TL_ENCL_ELEMENT_T& e) {
    my_printf("\t%-30s %d\n", "UPS Status:", e.sesStatus[1]);
    PrintFlags(e, "UPS Status:", kUpsFlags);
}

void VoltageDetails(const _TL_ENCL_ELEMENT_T& e) { PrintFlags(e, "Voltage Sensor", kVoltageFlags); }

// Signed 16 bits, byte 3 high and byte 2 low, in units of 10 mV.
void VoltageAfter(const _TL_ENCL_ELEMENT_T& e) {
    const int value = static_cast<S16>(static_cast<U16>((e.sesStatus[3] << 8) | e.sesStatus[2]));
    if (value < 0)
        my_printf("\t%-30s -%u milliVolts\n", "Voltage Value:", static_cast<unsigned>(-value) * 10u);
    else
        my_printf("\t%-30s %u milliVolts\n", "Voltage Value:", static_cast<unsigned>(value) * 10u);
}

using Details = void (*)(const _TL_ENCL_ELEMENT_T&);

// One element group of a status report. Groups without a count label are
// not printed; their counts still position the records after them.
struct ElementGroup {
    const char* countLabel;
    const char* elementLabel;
    const char* statusLabel;
    Details before = nullptr;  // lines between the heading and the status line
    Details after = nullptr;   // lines after the status line
};

// Prints one group: its count line, then per element the heading, the
// detail lines and the status line. `first` is the index of the group's
// first record.
void PrintGroup(const ElementGroup& g, const char* countFormat, U64 count, const _TL_ENCL_ELEMENT_T* records,
                size_t capacity, U64 first) {
    my_printf(countFormat, g.countLabel, static_cast<int>(count));
    for (U64 i = 0; i < count; ++i) {
        const _TL_ENCL_ELEMENT_T* e = ElementAt(records, capacity, first + i);
        if (e == nullptr) break;
        my_printf("\n\t%-30s %-d\n", g.elementLabel, static_cast<int>(i));
        if (g.before) g.before(*e);
        PrintEnclEleStatus(g.statusLabel, static_cast<int>(e->status));
        if (g.after) g.after(*e);
    }
}

// Groups of the short status record: slots, power supplies, fans,
// temperature sensors, alarms, SIM modules.
const ElementGroup kShortGroups[] = {
    {"Number of Slots", "Slot", "Slot Status"},
    {"Number of Power Supplies", "Power Supply ", "Power Supply Status", PowerSupplyDetails},
    {"Number of Fans", "Fan", "Fan Status", FanDetails},
    {"Number of Temperature Sensors", "Temp Sensor", "Temperature Sensor Status", TemperatureDetails},
    {"Number of Alarms", "Alarm", "Alarm Status", AlarmDetails},
    {"Number of SIM Modules", "SIM Module", "SIM Module Status", SimDetails},
};

// Groups of the extended status record, one per element type 1 to 25.
const ElementGroup kExGroups[SES_EX_GROUP_COUNT] = {
    {"Device Count", "Device ", "Device Status"},
    {"Number of Power Supplies", "Power Supply ", "Power Supply Status", PowerSupplyDetails},
    {"Number of Cooling fans", "Cooling fans", "Cooling Status"},
    {"Number of Temperature Sensors", "Temp Sensor", "Temperature Sensor Status", TemperatureDetails},
    {"Number of Door Locks", "Door lock", "Door lock Status", DoorLockDetails},
    {"Number of Alarms", "Alarm", "Alarm Status", AlarmDetails},
    {"Number of SES CTRL ELEC", "SES Ctrl Elec", "SES Ctrl Elec Status"},
    {"Number of SCC CTRL ELEC", "SCC Ctrl Elec", "SCC Ctrl Elec Status"},
    {"Number of Non Volatile Cache", "Non Volatile Cache", "Non Volatile Status", nullptr, NonVolatileCacheAfter},
    {"Number of Invalid Op Reason", "Invalid Op Reason", "Invalid Op Reason Status", nullptr, InvalidOpAfter},
    {"Number of UPS", "UPS", "UPS Status", nullptr, UpsAfter},
    {"Number of Display", "Display", "Display Status"},
    {"Number of KeyPad", "Key Pad", "Key Pad Status"},
    {nullptr, nullptr, nullptr},  // enclosure
    {nullptr, nullptr, nullptr},  // transceiver ports
    {nullptr, nullptr, nullptr},  // languages
    {nullptr, nullptr, nullptr},  // communication ports
    {"Number of Voltage Sensor", "Voltage Sensor ", "Voltage Sensor Status", VoltageDetails, VoltageAfter},
    // Current sensors, ports, sub-enclosures, array devices, expanders and
    // connectors are not printed.
};

// Copies a fixed-width text field into a terminated buffer of size n + 1.
void CopyText(char* out, const U8* field, size_t n) {
    memcpy(out, field, n);
    out[n] = '\0';
}

}  // namespace

const char* EnclElementStatusText(int status) {
    switch (status) {
    case SES_STATUS_UNSUPPORTED: return "Unsupported";
    case SES_STATUS_OK: return "OK";
    case SES_STATUS_CRITICAL: return "Critical";
    case SES_STATUS_NON_CRITICAL: return "Non Critical";
    case SES_STATUS_UNRECOVERABLE: return "Unrecoverable";
    case SES_STATUS_NOT_INSTALLED: return "Not Installed";
    case SES_STATUS_UNKNOWN: return "Unknown";
    case SES_STATUS_NOT_AVAILABLE: return "Not Available";
    default: return "INVALID STATUS VALUE";
    }
}

const char* EnclElementTypeName(U8 type, char* buffer, size_t size) {
    static const char* const kNames[] = {
        nullptr, "Device", "Power Supply", "Fan", "Temperature Sensor", "Door Lock", "Alarm",
        "Controller Electronics (SIM)", "Controller Electronics (SCC)", "Non-volatile Cache",
        "Invalid Operation Reason", "Uninterruptable Power Supply", "Display", "Key Pad Entry", "Enclosure",
        "SCSI Transceiver Port", "Language", "Communication Port", "Voltage Sensor", "Current Sensor",
        "SCSI Target Port", "SCSI Initiator Port", "Sub Enclosure", "Slot Device",
    };
    if (type == SES_TYPE_VENDOR_SPECIFIC) return "Vendor Specific";
    if (type < sizeof kNames / sizeof kNames[0] && kNames[type] != nullptr) return kNames[type];
    snprintf(buffer, size, "Unknown (0x%X)", type);
    return buffer;
}

const char* FanSpeedText(U8 code) {
    if (code == 1) return "Low Speed";
    if (code == 4) return "Medium Speed";
    if (code > 6) return "High Speed";
    return nullptr;
}

void PrintEnclEleStatus(const char* s, int status) { my_printf("\t%-30s %s\n", s, EnclElementStatusText(status)); }

int PrintEnclConfigInfo(_TL_ENCL_CONFIG_T* config) {
    const U8* rec = reinterpret_cast<const U8*>(config);
    const size_t size = sizeof(*config);
    char text[256];

    CopyText(text, rec + TL_ENCL_CFG_VENDOR_ID, 8);
    my_printf("\t%-30s : %s\n", "Vendor ID", text);
    CopyText(text, rec + TL_ENCL_CFG_PRODUCT_ID, 16);
    my_printf("\t%-30s : %s\n", "Product ID", text);
    CopyText(text, rec + TL_ENCL_CFG_REVISION, 4);
    my_printf("\t%-30s : %s\n", "Product Revision Level", text);

    if (config->vendorSpecificLen != 0) {
        my_printf("\n\t%-30s\n\n", "__Vendor Specific Info__ (Hex Dump)");
        // The bytes are copied but the number printed is where the copy
        // lies, not the bytes themselves.
        U8 vendor[52];
        memcpy(vendor, rec + TL_ENCL_CFG_VENDOR_BYTES, sizeof vendor);
        my_printf("\n\t%-30x \n", static_cast<unsigned>(reinterpret_cast<uintptr_t>(vendor)));
        my_printf("\n\t%-30s\n\n", "__Vendor Specific Info End__");
    }
    my_printf("\n");

    const U8 typeCount = rec[TL_ENCL_CFG_TYPE_COUNT];
    const U64 headers = TL_ENCL_CFG_VENDOR_BYTES + static_cast<U64>(config->vendorSpecificLen);
    U64 textAt = headers + 4u * typeCount;
    for (unsigned t = 0; t < typeCount; ++t) {
        const U64 at = headers + 4u * t;
        if (at + sizeof(_TL_ENCL_TYPE_DESC_HDR) > size) break;
        _TL_ENCL_TYPE_DESC_HDR hdr;
        memcpy(&hdr, rec + at, sizeof hdr);

        char name[24];
        my_printf("\t%-30s : ", "Element Type");
        my_printf("%s", EnclElementTypeName(hdr.elementType, name, sizeof name));

        // The descriptor text, cut where the record ends.
        const size_t avail = textAt < size ? static_cast<size_t>(size - textAt) : 0;
        const size_t n = hdr.textLength < avail ? hdr.textLength : avail;
        CopyText(text, n ? rec + textAt : rec, n);
        my_printf("\n\t%-30s : %s\n", "Type Descriptor Text", text);
        my_printf("\t%-30s : %d\n", "Possible Element Count", hdr.possibleCount);
        my_printf("\t%-30s : %d\n", "Sub Enclosure Id", hdr.subEnclId);
        my_printf("\n");
        textAt += hdr.textLength;
    }
    return 0;
}

int PrintEnclStatus(_TL_ENCL_STATUS_T* status) {
    my_printf("\t%-30s\n\n", "___Printing Enclosure Info___");
    const U32 counts[] = {status->slotCount, status->psCount, status->fanCount,
                          status->tsCount,   status->alarmCount, status->simCount};
    U64 first = 0;
    for (size_t g = 0; g < sizeof counts / sizeof counts[0]; ++g) {
        PrintGroup(kShortGroups[g], g == 0 ? "\t%-30s %d\n" : "\n\t%-30s %d\n", counts[g], status->element,
                   TL_ENCL_STATUS_ELEMENTS, first);
        first += counts[g];
    }
    return 0;
}

int PrintEnclStatusEx(_TL_ENCL_STATUS_EX_T* status) {
    my_printf("\t%-30s\n\n", "___Printing Enclosure Ex Info___");
    const U8* counts = reinterpret_cast<const U8*>(status) + offsetof(_TL_ENCL_STATUS_EX_T, deviceCount);
    U64 first = 0;
    for (size_t g = 0; g < SES_EX_GROUP_COUNT; ++g) {
        const ElementGroup& group = kExGroups[g];
        if (group.countLabel != nullptr)
            PrintGroup(group, g == 0 ? "\t%-30s %d\n" : "\n\t%-30s %d\n", counts[g], status->element,
                       TL_ENCL_STATUS_EX_ELEMENTS, first);
        first += counts[g];
    }
    return 0;
}

void showbits(short value) {
    puts("Beginning of showbits");
    const unsigned bits = static_cast<U16>(value);
    for (int i = 15; i >= 0; --i) putchar((bits >> i) & 1u ? '1' : '0');
    puts("End of showbits");
}

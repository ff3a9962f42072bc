// Battery backup unit printers: status, capacity, design information,
// properties, and controller time as calendar text. Text fields of the
// records are printed through terminated copies bounded by their widths.
#include <string.h>
#include <time.h>

#include <span>

#include "bbu.h"
#include "ctrl_misc.h"

namespace {

// Firmware-status bits for which a battery of the type counts as not
// operational.
U32 NonOperationalMask(U8 type) {
    switch (type) {
    case KV_BBU_TYPE_IBBU: return 0x0C73;
    case KV_BBU_TYPE_BBU: return 0x0C01;
    case KV_BBU_TYPE_IBBU08: return 0x0C03;
    default: return 0;
    }
}

struct StatusFlag {
    U32 mask;
    const char* text;
};

// Firmware-status lines after "Battery Needs To Be Replaced", in print order.
const StatusFlag kFwStatusLines[] = {
    {1u << 3, "Charge Active"},         {1u << 4, "Discharge Active"},    {1u << 9, "I2C Errors Detected"},
    {1u << 6, "Learn Cycle Active"},    {1u << 7, "Learn Cycle Failed"},  {1u << 5, "Learn Cycle Requested"},
    {1u << 8, "Learn Cycle Timeout"},   {1u << 0, "Pack Missing"},        {1u << 2, "Temperature High"},
    {1u << 1, "Voltage Low"},           {1u << 13, "Transparent Learn Enable"},
};

// A fixed-width text field as a terminated string.
template <size_t N>
struct FieldText {
    char s[N + 1];
    explicit FieldText(const char (&field)[N]) {
        memcpy(s, field, N);
        s[N] = '\0';
    }
};

void PrintFirmwareStatus(_KV_BBU_FW_STATUS fw) {
    my_printf("\t%-30s", "Firmware Status");
    if (fw.w == 0) {
        my_printf("%-25s\n", "0");
        // The temperature-high bit is clear whenever the word is zero.
        my_printf("\t\t%-25s\n", "Temperature Normal");
        return;
    }
    if (fw.replacePack) my_printf("\t%-25s\n", "Battery Needs To Be Replaced");
    for (const StatusFlag& f : kFwStatusLines)
        if (fw.w & f.mask) my_printf("\t\t%-25s\n", f.text);
}

void PrintGasGauge(const KV_BBU_STATUS& st) {
    if (st.batteryType == KV_BBU_TYPE_IBBU) {
        const _KV_IBBU_STATE& d = st.detail.ibbu;
        my_printf("\t%-30s %d\n", "IBBU Gas Guage Status", d.gasGuageStatus);
        my_printf("\t%-30s %d\n", "IBBU Relative State Of Charge", d.relativeStateOfCharge);
        my_printf("\t%-30s %d\n", "IBBU Charger System State", d.chargerSystemState);
        my_printf("\t%-30s %d\n", "IBBU Charger System Ctrl", d.chargerSystemCtrl);
        my_printf("\t%-30s %d mAh\n", "IBBU Charging Current", d.chargingCurrent);
        my_printf("\t%-30s %d mAh\n", "IBBU Absolute State Of Charge", d.absoluteStateOfCharge);
        my_printf("\t%-30s %d mAh\n", "IBBU Max Error", d.maxError);
    } else if (st.batteryType == KV_BBU_TYPE_BBU) {
        const _KV_BBU_STATE& d = st.detail.bbu;
        my_printf("\t%-30s %d\n", "BBU Gas Guage Status", d.gasGuageStatus);
        my_printf("\t%-30s %d\n", "BBU Relative State Of Charge", d.relativeStateOfCharge);
        my_printf("\t%-30s %d\n", "BBU Charger Status", d.chargerStatus);
        my_printf("\t%-30s %d mAh\n", "BBU Remaining Capacity", d.remainingCapacity);
        my_printf("\t%-30s %d mAh\n", "BBU Full Charge Capacity", d.fullChargeCapacity);
        my_printf("\t%-30s %d\n", "Is BBU SOH Good", d.isSOHGood);
    }
}

}  // namespace

const char* BBUTypeName(U8 type) {
    static const char* const kNames[] = {"No BBU", "IBBU", "BBU", "ZCR Legacy BBU", "ITBBU3", "IBBU08", "TMM-C"};
    return type < sizeof kNames / sizeof kNames[0] ? kNames[type] : "UNKNOWN BBU TYPE!!";
}

int PrintBBUStatus(KV_BBU_STATUS* status) {
    const KV_BBU_STATUS& st = *status;
    my_printf("\t%-30s\n\n", "___Printing BBU Status___");
    if (st.batteryType == KV_BBU_TYPE_NONE) {
        my_printf("No Battery Present\n");
        return 0;
    }
    if (st.batteryType < KV_BBU_TYPE_TMMC && !(st.batteryType == KV_BBU_TYPE_IBBU08 && st.subType != 0)) {
        my_printf("\t%-30s ", "BBU Battery Type: ");
        my_printf("%s", BBUTypeName(st.batteryType));
        if (st.fwStatus.w & NonOperationalMask(st.batteryType))
            my_printf("\n\t%-25s\n", "Battery FW Status is Non-Operational");
    } else {
        // Capacitor packs name themselves in the design information.
        KV_BBU_DESIGN_INFO design{};
        U32 rval = GetBBUDesignInfoFunc(&design);
        if (rval != 0) return static_cast<int>(rval);
        my_printf("\n\t%-30s %s\n", "BBU Battery Type: ", FieldText(design.deviceName).s);
    }
    my_printf("\n\t%-30s %d %s\n", "BBU Voltage", st.voltage, "mV");
    my_printf("\t%-30s %d %s\n", "BBU Current", st.current, "mA");
    my_printf("\t%-30s %d %s\n", "BBU Temperature", st.temperature, "deg C");
    my_printf("\tBattery Backup Charge Time : ");
    if (st.detail.ibbu.retentionTime < 48)
        my_printf("\t%d hours\n", st.detail.ibbu.retentionTime);
    else
        my_printf("\t48 hours +\n");
    PrintFirmwareStatus(st.fwStatus);
    PrintGasGauge(st);
    return 0;
}

void PrintBBUCapacity(KV_BBU_CAPACITY_INFO* capacity) {
    const KV_BBU_CAPACITY_INFO& c = *capacity;
    my_printf("\t%-30s\n\n", "___Printing BBU Capacity Info___");
    my_printf("\t%-30s %d\n", "Relative State Of Charge", c.relativeStateOfCharge);
    my_printf("\t%-30s %d\n", "Absolute State Of Charge", c.absoluteStateOfCharge);
    my_printf("\t%-30s %d mAh\n", "Remaining Capacity", c.remainingCapacity);
    my_printf("\t%-30s %d mAh\n", "Full Charge Capacity", c.fullChargeCapacity);
    my_printf("\t%-30s %d mins\n", "Run Time to Empty", c.runTimeToEmpty);
    my_printf("\t%-30s %d mins\n", "Average Time to Empty", c.averageTimeToEmpty);
    my_printf("\t%-30s %d mins\n", "Average Time to Full", c.averageTimeToFull);
    my_printf("\t%-30s %d\n", "Cycle Count", c.cycleCount);
    my_printf("\t%-30s %d\n", "Maximum Error", c.maxError);
    my_printf("\t%-30s %d\n", "Remaining Capacity Alarm", c.remainingCapacityAlarm);
    my_printf("\t%-30s %d\n", "Remaining Time Alarm", c.reminingTimeAlarm);
}

void PrintBBUDesignInfo(KV_BBU_DESIGN_INFO* design, int display_device_name, int display_module_version_for_tmmc) {
    const KV_BBU_DESIGN_INFO& d = *design;
    my_printf("\t%-30s\n\n", "___Printing BBU Design Info___");
    my_printf("\t%-30s %d-%d-%d\n", "BBU Design Date", d.mfgDate.month, d.mfgDate.day, d.mfgDate.year);
    if (display_device_name) {
        my_printf("\t%-30s %s \n", "BBU Device name", FieldText(d.deviceName).s);
        if (display_module_version_for_tmmc) my_printf("\t%-30s %s \n", "BBU Module Version", FieldText(d.moduleVersion).s);
        my_printf("\t%-30s %d Joules\n", "BBU Design Capacity", d.designCapacity);
    } else {
        my_printf("\t%-30s %d mAh\n", "BBU Design Capacity", d.designCapacity);
    }
    my_printf("\t%-30s %d mV\n", "BBU Design Voltage", d.designVoltage);
    if (!display_device_name) my_printf("\t%-30s %d\n", "BBU Specification Info", d.specificationInfo);
    my_printf("\t%-30s %d\n", "BBU Serial Number", d.serialNumber);
    if (!display_device_name) my_printf("\t%-30s %d\n", "BBU pack & Status Config", d.packStatConfiguration);
    my_printf("\t%-30s %s\n", "BBU Device Chemistry", FieldText(d.deviceChemistry).s);
    my_printf("\t%-30s %d\n", "BBU TransparentLearns", d.transparentLearns);
    my_printf("\t%-30s %d\n", "BBU AppData", d.appData);
    my_printf("\t%-30s ", "BBU Manufacturer Data");
    for (U8 b : d.mfgData) my_printf("%.2X", b);  // two hexadecimal digits per byte
    my_printf("\n\t%-30s %d\n", "Current BBU Mode :", d.bbuMode);
    GetAvailableBBUModes();
    my_printf("\n");
}

void PrintBBUProperties(KV_BBU_PROPERTIES* props) {
    // The controller's manufacturing page 2 (the factory battery settings)
    // comes first; its failure line does not stop the properties.
    GetMFCManufacturingInfo2();
    const KV_BBU_PROPERTIES& p = *props;
    my_printf("%-35s:%d\n", "BBU Auto Learn Period in seconds", static_cast<int>(p.autoLearnPeriod));
    my_printf("%-35s", "BBU Next Learn Time");
    DisplayinHumanReadableFormat(p.nextLearnTime);
    my_printf("%-30s %d\n", "BBU Learn Delay Interval (in Hours)", p.learnDelayInterval);
    switch (p.autoLearnMode) {
    case KV_BBU_AUTO_LEARN_AUTO: my_printf("%-35s\n", "BBU Auto Learn Mode: Auto"); break;
    case KV_BBU_AUTO_LEARN_DISABLED: my_printf("%-35s\n", "BBU Auto Learn Mode: Disabled"); break;
    case KV_BBU_AUTO_LEARN_WARN: my_printf("%-35s\n", "BBU Auto Learn Mode: Warn"); break;
    default: my_printf("%-35s\n", "BBU Auto Learn Mode: Unknown!!"); break;
    }
}

struct tm ControllerLocalTime(U32 seconds) {
    struct tm base {};
    base.tm_year = 100;
    base.tm_mon = 0;
    base.tm_mday = 1;
    base.tm_isdst = -1;
    const time_t t = mktime(&base) + static_cast<time_t>(seconds);
    struct tm local {};
    localtime_r(&t, &local);
    return local;
}

int DisplayinHumanReadableFormat(unsigned int nextLearnTime) {
    const struct tm local = ControllerLocalTime(nextLearnTime);
    // The standard 24-character calendar form "Www Mmm dd hh:mm:ss yyyy",
    // printed with the year before the time of day.
    char text[64];
    if (strftime(text, sizeof text, "%a %b %e %H:%M:%S %Y", &local) < 24) text[0] = '\0';
    my_printf("%.11s%.4s %.9s\n", text, strlen(text) >= 24 ? text + 20 : "", strlen(text) >= 24 ? text + 11 : "");
    return 0;
}

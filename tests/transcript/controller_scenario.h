// The scenario behind the controller tests' exact values: one Korvane
// controller with two enclosures (the second with slots numbered from 4),
// sixteen disks, four logical drives and two hot spares. Kept here rather
// than taken from a shipped preset so that the expected lines do not move
// when a preset is retuned.
#ifndef TARSELTEST_CONTROLLER_SCENARIO_H
#define TARSELTEST_CONTROLLER_SCENARIO_H

#include <string>

namespace ctrltest {

inline std::string CtrlDrive(int id, int encl, int slot, const char* iface, const char* media, const char* speed,
                             const std::string& addresses, int bitmap = 1) {
    return "[[korvane.controllers.drives]]\ndevice_id = " + std::to_string(id) + "\nenclosure = " + std::to_string(encl) +
           "\nslot = " + std::to_string(slot) + "\ninterface = \"" + iface + "\"\nmedia = \"" + media +
           "\"\nsize_mb = 1144641\ndevice_speed = \"" + speed + "\"\nport_bitmap = " + std::to_string(bitmap) +
           "\nsas_addresses = [" + addresses + "]\n";
}

inline std::string CtrlScenario() {
    std::string s = R"(
[korvane]
mode = "simulation"

[[korvane.controllers]]
id = 0
product_name = "Korvane SAS 9371-8i"
serial = "SV52118934"
package_version = "24.21.0-0148"
chip_revision = "C1"
pci = { vendor = 0x1E3C, device = 0x0073, subvendor = 0x1E3C, subdevice = 0x9371 }
host_interface = 0x02
host_ports = 0
device_interface = 0x3E
device_ports = 8
device_sas_addresses = [0x5001E3C0A1B2C300, 0x5001E3C0A1B2C301, 0x5001E3C0A1B2C302, 0x5001E3C0A1B2C303,
                        0x5001E3C0A1B2C304, 0x5001E3C0A1B2C305, 0x5001E3C0A1B2C306, 0x5001E3C0A1B2C307]
image_check_word = 0x0C3A5F17
temperature_roc = 58
temperature_ctrl = 41
nvram_kb = 32
memory_mb = 1024
flash_mb = 16
expander_fw_version = "0.88.12"

[[korvane.controllers.flash]]
name = "APP"
version = "4.740.00-8452"
build_date = "Nov 12 2025"
build_time = "10:21:33"

[[korvane.controllers.flash]]
name = "BIOS"
version = "6.36.00.3"
build_date = "Oct 30 2025"
build_time = "17:02:11"

[korvane.controllers.limits]
max_arms = 32
max_spans = 8
max_arrays = 128
max_lds = 64
max_pds = 240
max_ded_hsps = 32
max_global_hsps = 32
ddf_size = 512
max_lds_per_array = 16
partitions_in_ddf = 1
strip_size_min = 7
strip_size_max = 11

[korvane.controllers.capabilities]
raid_levels = 0x1F7
adapter_operations = 0x008C1FBF
ld_operations = 0x523F
pd_operations = 0x407
pd_mix_support = 0x27
hw_present = 0x0C35
encl_enumeration = true
more_than_8_phys = true
security = false
expander = true

[korvane.controllers.pds_for_raid_levels]
raid0 = [1, 32]
raid1 = [2, 32]
raid5 = [3, 32]
raid6 = [3, 32]
raid10 = [4, 256]
raid50 = [6, 256]
raid60 = [6, 256]

[korvane.controllers.properties]
seqNum = 1
predFailPollInterval = 300
intThrottleCount = 16
intThrottleTimeUs = 50
rebuildRate = 30
patrolReadRate = 30
bgiRate = 30
ccRate = 30
reconRate = 30
cacheFlushInterval = 4
spinupDriveCount = 4
spinupDelay = 12
coercionMode = 2
alarmEnable = 1
eccBucketSize = 15
eccBucketLeakRate = 1440
exposeEnclosureDevices = 1
maintainPdFailHistory = 1
spinDownTime = 30
defaultLdPSPolicy = 0xFE
spinupEnclDriveCount = 2
spinupEnclDelay = 6
SMARTerEnabled = true

[korvane.controllers.mfc]
disable_power_savings = 0

[[korvane.controllers.connectors]]
location = "internal"
name = "Port 0 - 3"

[[korvane.controllers.connectors]]
location = "internal"
name = "Port 4 - 7"

[[korvane.controllers.connectors]]
location = "external"
name = "Port 8 - 11"

[[korvane.controllers.connectors]]
location = "external"
name = "Port 12 - 15"

[korvane.controllers.driver]
signature = "TARSELSIM"
os_name = "Linux"
os_version = "6.1.0-27"
name = "tarsel_sas"
version = "07.700.52.00"
release_date = "2025-10-01"

[[korvane.controllers.enclosures]]
device_id = 8
index = 0
slots = 12
slot_offset = 0
power_supplies = 2
fans = 4
temp_sensors = 2
alarms = 1
sims = 1
type = "ses"
position = 1
connector = 0
sas_address = 0x500E3C0000A0083D

[[korvane.controllers.enclosures]]
device_id = 9
index = 1
slots = 8
slot_offset = 4
power_supplies = 2
fans = 3
temp_sensors = 1
alarms = 1
sims = 2
type = "ses"
position = 1
connector = 2
sas_address = 0x500E3C0000A0093D
)";
    s += CtrlDrive(10, 8, 0, "sas", "ssd", "12G", "0x5000C500A3B400A1, 0x5000C500A3B400A2");
    s += CtrlDrive(11, 8, 1, "sas", "ssd", "12G", "0x5000C500A3B400B1, 0x5000C500A3B400B2");
    for (int id = 12; id <= 15; ++id) s += CtrlDrive(id, 8, id - 10, "sas", "hdd", "12G", std::to_string(0x5000C500A3B40000ll + id));
    for (int id = 16; id <= 19; ++id) s += CtrlDrive(id, 8, id - 10, "sata", "hdd", "6G", std::to_string(0x5000C500A3B40000ll + id));
    s += CtrlDrive(20, 8, 10, "sas", "hdd", "12G", std::to_string(0x5000C500A3B40000ll + 20));
    s += CtrlDrive(21, 8, 11, "sata", "ssd", "6G", std::to_string(0x5000C500A3B40000ll + 21));
    s += CtrlDrive(22, 9, 4, "sas", "hdd", "12G", "0x5000C500A3B40161, 0x5000C500A3B40162", 4);
    s += CtrlDrive(23, 9, 5, "sas", "hdd", "12G", "0x5000C500A3B40171, 0x5000C500A3B40172", 4);
    s += CtrlDrive(24, 9, 6, "sata", "hdd", "6G", std::to_string(0x5000C500A3B40000ll + 24), 4);
    s += CtrlDrive(25, 9, 7, "sas", "hdd", "12G", std::to_string(0x5000C500A3B40000ll + 25), 4);
    s += R"(
[[korvane.controllers.arrays]]
ref = 0
drives = [10, 11]

[[korvane.controllers.arrays]]
ref = 1
drives = [12, 13, 14, 15]

[[korvane.controllers.arrays]]
ref = 2
drives = [16, 17]

[[korvane.controllers.arrays]]
ref = 3
drives = [18, 19]

[[korvane.controllers.logical_drives]]
target_id = 0
raid = 1
arrays = [0]
size_mb = "all"

[[korvane.controllers.logical_drives]]
target_id = 1
raid = 5
arrays = [1]
size_mb = 1048576

[[korvane.controllers.logical_drives]]
target_id = 2
raid = 5
arrays = [1]
size_mb = "all"

[[korvane.controllers.logical_drives]]
target_id = 3
raid = 10
arrays = [2, 3]
size_mb = "all"

[[korvane.controllers.hot_spares]]
drive = 20

[[korvane.controllers.hot_spares]]
drive = 25
arrays = [1]
)";
    return s;
}

}  // namespace ctrltest

#endif

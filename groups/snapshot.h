// System group: the system snapshot report of the selected controller and
// its recording as a simulator scenario (snapshot.cpp,
// snapshot_record.cpp; docs/snapshot.md).
#ifndef TARSELTEST_SNAPSHOT_H
#define TARSELTEST_SNAPSHOT_H

#include <stdio.h>

#include <memory>
#include <string>
#include <vector>

#include "tarseltest.h"

/* System menu item 12. */
U32 GetSystemSnapshot(void);

/* One drive of the device list with its record (status 0 when read). */
struct TltSnapshotDevice {
    _KV_PD_ADDRESS addr;
    U32 status;
    _KV_PD_INFO info;
};

/* One logical drive's partition table (status 0 when read). */
struct TltSnapshotPartition {
    U32 targetId;
    U32 osDrive;
    U32 status;
    std::vector<U8> info;  /* a _TL_PARTITION_INFO_T */
};

/* What the snapshot reads of the selected controller, each piece with the
   status of its fetch; a piece that failed is reported as missing. */
struct TltSnapshot {
    U32 verStatus = 0;
    _TL_LIB_VER_T ver{};
    U32 infoStatus = 0;
    KV_CTRL_INFO info{};
    U32 pciStatus = 0;
    _TL_PCI_INFO_T pci{};
    bool outOfBand = false;   /* driver, distribution and partitions are not asked out of band */
    U32 drvStatus = 0;
    KV_DRV_DRIVER_VERSION drv{};
    U32 bbuStatus = 0;
    KV_BBU_STATUS bbu{};
    U32 enclStatus = 0;
    std::vector<U8> enclList;   /* a KV_ENCL_LIST */
    U32 pdStatus = 0;
    std::vector<TltSnapshotDevice> devices;
    U32 cfgStatus = 0;
    std::unique_ptr<_KV_CONFIG_DATA, void (*)(void*)> cfg{nullptr, free};
    U32 distStatus = 0;
    std::vector<TltSnapshotPartition> partitions;

    const KV_ENCL_LIST* encl() const { return reinterpret_cast<const KV_ENCL_LIST*>(enclList.data()); }
};

/* Reads every piece through the fetch functions of the groups. */
void ReadSnapshot(TltSnapshot* s);
/* The report, through my_printf (to fp). */
void PrintSystemSnapshot(const TltSnapshot& s);
/* The selected controller as a simulator scenario (TOML); returns the
   status of the controller information read (0: `out` holds the text). */
U32 RecordScenario(const TltSnapshot& s, std::string* out);

#endif

// Physical drive group: drive record, report, sequence number, state text.
#include "pd.h"

#include <string.h>

#include "config.h"
#include "controller.h"
#include "enclosure.h"

namespace {

// Text of a negotiated speed code; `family` decides the text of code 0
// (PX2 and PX3 print "0"); null for a code without text.
const char* PDSpeedText(U8 speed, int family, bool isLinkSpeed) {
    switch (speed) {
    case 0:
        if (!isLinkSpeed && (family == TL_FAMILY_PX2 || family == TL_FAMILY_PX3)) return "0";
        return "Unknown";
    case 1: return "1.5Gbps";
    case 2: return "3.0Gbps";
    case 3: return "6.0Gbps";
    case 4: return "12.0Gbps";
    default: return nullptr;
    }
}

// Highest set bit of a port bitmap, found by shifting the byte right until
// it is zero; the byte is left zero.
int ConnectedPortFromBitmap(U8* bitmap) {
    int port = 0;
    while ((*bitmap = (U8)(*bitmap >> 1)) != 0) ++port;
    return port;
}

constexpr U32 kStatusDeviceNotFound = 12;

constexpr U8 kLogSenseOpcode = 0x4D;
constexpr U8 kLogSenseCurrentCumulative = 0x40;
constexpr U32 kLogPageBytes = 32;
constexpr U8 kTemperaturePage = 0x0D;
constexpr U8 kUnknownTemperature = 255;

const char* const kConnectorLocations[4] = {"Unknown", "Reserved", "Internal", "External"};

float Percent(U16 progress) { return (float)progress / 65535.0f * 100.0f; }

void PrintProgressLine(const char* label, const _KV_PROGRESS& slot, bool pointInTime) {
    float pct = Percent(slot.progress);
    if (pointInTime) {
        float remaining = (100.0f - pct) * (float)slot.elapsedSecs;
        my_printf("%-35s : Progress = %f; RemainingTime in Secs = %f\n", label, (double)pct, (double)remaining);
    } else {
        my_printf("%-35s : Progress = %f; Elapsed Seconds = %d\n", label, (double)pct, slot.elapsedSecs);
    }
}

}  // namespace

int FirePDInfo(_KV_PD_INFO* pdInfo, unsigned short deviceId) {
    memset(pdInfo, 0, sizeof(*pdInfo));
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PD_CMD_TYPE, TL_GET_PD_INFO);
    blk.pdRef.deviceId = deviceId;
    blk.pdRef.seqNum = 0;
    blk.dataSize = sizeof(*pdInfo);
    blk.pData = pdInfo;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == kStatusDeviceNotFound)
        printf("Device ID not found\n");
    else if (rval == TL_STATUS_INVALID_CTRL)
        printf("Invalid controller\n");
    else if (rval != 0)
        printf("GetPDInfo : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    return (int)rval;
}

int GetPDSequenceNumber(unsigned short deviceId, unsigned short* seqNum) {
    _KV_PD_INFO info;
    int rval = FirePDInfo(&info, deviceId);
    if (rval == 0) *seqNum = info.ref.seqNum;
    return rval;
}

char* GetPDStateString(unsigned short fwState, char* bufState, int bufSize) {
    memset(bufState, 0, (size_t)bufSize);
    const char* text = nullptr;
    switch (fwState) {
    case KV_PD_STATE_UNCONFIGURED_GOOD: text = "UNCONFIGURED GOOD"; break;
    case KV_PD_STATE_UNCONFIGURED_BAD: text = "UNCONFIGURED BAD"; break;
    case KV_PD_STATE_HOT_SPARE: text = "HOT SPARE"; break;
    case KV_PD_STATE_OFFLINE: text = "OFFLINE"; break;
    case KV_PD_STATE_FAILED: text = "FAILED"; break;
    case KV_PD_STATE_REBUILD: text = "REBUILD"; break;
    case KV_PD_STATE_ONLINE: text = "ONLINE"; break;
    case KV_PD_STATE_COPYBACK: text = "COPYBACK"; break;
    case KV_PD_STATE_SYSTEM: text = "JBOD"; break;
    default: break;
    }
    if (text != nullptr)
        snprintf(bufState, (size_t)bufSize, "%s", text);
    else
        snprintf(bufState, (size_t)bufSize, "UNDEFINED : 0x%X", fwState);
    return bufState;
}

void PrintPDInquiryData(unsigned char* inquiry) {
    char vendor[9] = {0}, product[17] = {0}, revision[5] = {0}, specific[33] = {0};
    memcpy(vendor, inquiry + 8, 8);
    memcpy(product, inquiry + 16, 16);
    memcpy(revision, inquiry + 32, 4);
    memcpy(specific, inquiry + 36, 32);
    my_printf("%-25s : %s\n", "Vendor ID", vendor);
    my_printf("%-25s : %s\n", "Product ID", product);
    my_printf("%-25s : %s\n", "Product Revision Level", revision);
    my_printf("%-25s : %s\n", "Vendor Specific Info", specific);
}

int PrintPDInfo(_KV_PD_INFO* pd) {
    _KV_CTRL_INFO ci;
    U32 status = GetCtrlInfoFunc(&ci);
    if (status != 0) return (int)status;
    U8 page[kLogPageBytes];
    memset(page, 0, sizeof page);

    const bool isEncl = pd->enclDeviceId == pd->ref.deviceId;
    my_printf(isEncl ? "\nEnclosure Information\n" : "\nPhysical Drive Information\n");
    my_printf("--------------------------\n");
    my_printf("%-35s : %d\n", "Device ID", pd->ref.deviceId);
    my_printf("%-35s : %d\n", "Sequence Number", pd->ref.seqNum);

    if (ci.pdOperations.supportTemperature) {
        if (pd->temperature == kUnknownTemperature) {
            if (SCSISENSEPassthru(pd->ref.deviceId, kTemperaturePage, page) == 0)
                my_printf("%-35s : %d\n", "PD Temperature", page[9]);
        } else {
            my_printf("%-35s : %d\n", "PD Temperature", pd->temperature);
        }
    }

    if (ci.adapterOperations.supportEnclEnumeration) {
        _KV_SAS_CONNECTORS conn;
        memset(&conn, 0, sizeof conn);
        if (GetSASConnectorFunc(&conn) != 0) conn.count = 0;
        // The table holds eight connectors whatever count it reports.
        U32 connCount = conn.count < 8 ? conn.count : 8;
        _KV_ENCL_INFO encl;
        memset(&encl, 0, sizeof encl);
        if (GetEnclInfoFunc(pd->enclDeviceId, &encl) != 0) {
            my_printf("%-35s\n", isEncl ? "GetEnclInfoFunc failed" : "Device is not inside an enclosure");
        } else {
            if (!isEncl) my_printf("%-35s : 0x%X\n", "Enclosure's device ID", pd->enclDeviceId);
            if (encl.enclConnectorIndex < connCount) {
                const _KV_SAS_CONNECTOR_INFO& c = conn.connectors[encl.enclConnectorIndex];
                char name[17] = {0};
                memcpy(name, c.name, 16);
                my_printf("%-35s : %d\n", "Enclosure Position in Chain", encl.enclPosition);
                my_printf("%-35s : %s\n", "Connector Location",
                          c.location < 4 ? kConnectorLocations[c.location] : kConnectorLocations[0]);
                my_printf("%-35s : %s\n", "Connector Name", name);
            }
        }
        if (!isEncl) my_printf("%-35s : %d\n", "Slot number of drive", pd->slotNumber);
    } else {
        my_printf("%-35s : 0x%X\n", "Enclosure's device ID", pd->enclDeviceId);
        my_printf("%-35s : 0x%X\n", "Firmware internal enclosure index", pd->enclIndex);
    }

    my_printf("%-35s : ", "SCSI Device Type");
    switch (pd->scsiDevType) {
    case 0: printf("DISK\n"); break;
    case 1: printf("TAPE\n"); break;
    case 3: printf("PROCESSOR\n"); break;
    case 5: printf("CDROM\n"); break;
    case 13: printf("SES ENCLOSURE\n"); break;
    default: printf("UNKNOWN\n"); break;
    }
    my_printf("%-35s : ", "InterfaceType");
    switch (pd->interfaceType) {
    case 1: printf("Parallel SCSI\n"); break;
    case 2: printf("SAS\n"); break;
    case 3: printf("SATA\n"); break;
    case 4: printf("FC\n"); break;
    default: break; // no text and no line end
    }
    my_printf("%-35s : %ld\n", "userDataBlockSize", (long)pd->userDataBlockSize);
    my_printf("%-35s : %ld\n", "emulatedBlockSize", (long)pd->emulatedBlockSize);
    my_printf("%-35s : %d\n", "Path Count", pd->pathInfo.count);
    my_printf("%-35s : %d\n", "Is Path Broken", pd->pathInfo.isPathBroken & 0x0F);

    // The record holds two paths whatever count it reports.
    int paths = pd->pathInfo.count < 2 ? pd->pathInfo.count : 2;
    if (ci.adapterOperations.supportMultipath)
        for (int i = 0; i < paths; ++i)
            my_printf("%s%-20d : %d\n", "Connector Index", i, pd->pathInfo.connectorIndex[i]);
    my_printf("SAS Addresses\n");
    for (int i = 0; i < paths; ++i) {
        char addr[17] = {0};
        U64 sas = pd->pathInfo.sasAddr[i];
        FormatSASAddr(sas, addr);
        my_printf("\t%d : %s\n", i, addr);
    }

    my_printf("\n%-35s\n", "Inquiry Data");
    PrintPDInquiryData(pd->inquiryData);
    my_printf("\n%-35s :\n", "VPD Page 83");
    HexDump(stdout, pd->vpdPage83, sizeof pd->vpdPage83);
    my_printf("\n%-35s : %d\n", "Not supported by OEM", pd->notSupported);

    if (ci.adapterOperations.supportMoreThan8Phys) {
        U64 sas0 = pd->pathInfo.sasAddr[0], sas1 = pd->pathInfo.sasAddr[1];
        if (sas0 != 0) my_printf("%-37s : %d\n", "First Connected Adapter Port", pd->connectedPortNumbers & 0x0F);
        if (sas1 != 0) my_printf("%-37s : %d\n", "Second Connected Adapter Port", pd->connectedPortNumbers >> 4);
    } else {
        int port = ConnectedPortFromBitmap(&pd->connectedPortBitmap);
        my_printf("%-35s : %d\n", "Connected Adapter Port", port);
    }

    int family = SelectedFamily();
    const char* speed = PDSpeedText(pd->deviceSpeed, family, false);
    my_printf("%-35s : ", "Speed");
    my_printf("%s\n", speed ? speed : "");
    const char* link = PDSpeedText(pd->linkSpeed, family, true);
    my_printf("%-35s : ", "Link Speed");
    my_printf("%s\n", link ? link : "");

    my_printf("%-35s : %ld\n", "Media Error Count", (long)pd->mediaErrCount);
    my_printf("%-35s : %ld\n", "Other Error Count", (long)pd->otherErrCount);
    my_printf("%-35s : %ld\n", "Predictive Fail Count", (long)pd->predFailCount);

    char state[65];
    my_printf("%-35s : ", "Firmware State");
    my_printf("%s\n", GetPDStateString(pd->fwState, state, sizeof state));
    my_printf(pd->disabledForRemoval ? "Disabled for Removal\n" : "Not Disabled for Removal\n");

    my_printf("%-35s : ", "DDF State\n");
    if (pd->state.forcedPDGUID) my_printf("\tForced PD GUID\n");
    if (pd->state.inVD) my_printf("\tIn VD\n");
    if (pd->state.isGlobalSpare) my_printf("\tGlobal Spare\n");
    if (pd->state.isSpare) my_printf("\tSpare\n");
    if (pd->state.isForeign) my_printf("\tForeign\n");
    switch (pd->state.intf) {
    case 0: my_printf("\tUnknown\n"); break;
    case 1: my_printf("\tParallel SCSI\n"); break;
    case 2: my_printf("\tSAS\n"); break;
    case 3: my_printf("\tSATA\n"); break;
    case 4: my_printf("\tFiber Channel\n"); break;
    default: my_printf("\tNot defined\n"); break;
    }

    char size[32];
    my_printf("%-35s : %s MB\n", "Raw size", Print64(pd->rawSize >> 11, size, sizeof size));
    my_printf("%-35s : %s MB\n", "Non-coerced size", Print64(pd->nonCoercedSize >> 11, size, sizeof size));
    my_printf("%-35s : %s MB\n", "Coerced size", Print64(pd->coercedSize >> 11, size, sizeof size));

    const _KV_PD_PROGRESS& prog = pd->progInfo;
    if (prog.active.locate) my_printf("%-35s :\n", "Locate is active on this PD");
    if (prog.active.rbld || prog.active.patrol || prog.active.clear)
        my_printf("%-35s :\n", "Drive Progress Information");
    bool pit = ci.adapterOperations2.supportPointInTimeProgress;
    if (prog.active.rbld) PrintProgressLine("Rebuild in progress", prog.rbld, pit);
    if (prog.active.patrol) PrintProgressLine("Patrol Read in progress", prog.patrol, pit);
    if (prog.active.clear) PrintProgressLine("Clear in progress", prog.clear, pit);
    if (prog.active.copyBack) PrintProgressLine("Copyback in progress", prog.rbld, pit);

    if (pd->copyBackPartnerId < 65535) my_printf("%-35s : %ld\n", "Partner Device ID", (long)pd->copyBackPartnerId);
    my_printf("%-35s : %ld\n", "Is Bad Block Table Full", (long)pd->badBlockTableFull);
    if (ci.adapterOperations.supportMultipath)
        my_printf("%-35s : %ld\n", "Encl Partner Device ID", (long)pd->enclPartnerDeviceId);

    if (pd->unusableInCurrentConfig) my_printf("%-35s\n", "This drive is in Incompatible state");
    if (pd->allowedOps.foreignImportNotAllowed) my_printf("%-35s\n", "This drive can not be imported as foreign config.");
    my_printf("%-35s\n", pd->notSupported ? "This drive is non-supported" : "This drive is supported");
    my_printf("%-35s\n", pd->notCertified ? "This drive is non-certified" : "This drive is certified");
    if (pd->allowedOps.makeSystem) my_printf("%-35s :\n", "This drive can be made JBOD type");
    my_printf("%-35s\n", pd->security.fdeCapable ? "This drive supports FDE." : "This drive does not support FDE.");
    my_printf("%-35s\n",
              pd->security.fdeEnabled ? "This drive security is enabled." : "This drive security is not enabled.");
    if (pd->security.fdeCapable)
        my_printf("%-35s\n", pd->security.locked ? "This drive is FDE locked." : "This drive is unlocked.");
    else
        my_printf("%-35s\n", pd->security.secured ? "This drive is secured by controller encryption."
                                                  : "This drive is not secured by controller encryption.");
    my_printf("%-35s\n", pd->security.foreign ? "This drive is secured by a foreign lock key."
                                              : "This drive is not secured by a foreign lock key.");
    my_printf("%-35s\n",
              pd->security.needsEKM ? "This drive is secured by a EKMS." : "This drive is not secured by a EKMS.");
    my_printf("%-35s\n", pd->allowedOps.fwDownloadNotAllowed ? "FW download not allowed on this PD."
                                                             : "FW download allowed on this PD.");

    if (pd->powerState == 0 && CheckDevicePartition(pd->ref.deviceId))
        my_printf("%-35s\n", "Boot Partition is present on this PD.");
    my_printf("%-35s : %s\n", "Mediatype", pd->mediaType ? "SSD" : "HDD");
    my_printf("%-35s\n", PDPowerStateText(pd->powerState));
    return 0;
}

const char* PDPowerStateText(U8 powerState) {
    switch (powerState) {
    case 0: return "Drive Active.";
    case 1: return "Drive spun down.";
    case 255: return "Drive transitioning between power states.";
    default: return "Drive Unknow power state.";
    }
}

int GetPDInfo(void) {
    int deviceId = 0;
    if (gBVTMode) {
        deviceId = gUnconfPdList[0];
    } else {
        printf("Enter the Physical Device ID--->");
        ReadIntLine(&deviceId);
    }
    numLines = 0;
    _KV_PD_INFO info;
    int rval = FirePDInfo(&info, (unsigned short)deviceId);
    if (rval == 0) PrintPDInfo(&info);
    return rval;
}

int SCSISENSEPassthru(unsigned short devId, unsigned char PAGE, unsigned char* pData) {
    constexpr U32 kBytes = TL_SCSI_PASSTHRU_HEADER_SIZE + kLogPageBytes;
    U8 buffer[kBytes];
    memset(buffer, 0, sizeof buffer);
    auto* request = reinterpret_cast<_TL_SCSI_PASSTHRU_T*>(buffer);
    request->targetId = devId;
    request->cmd = 1;
    request->lun = 0;
    request->dir = 2;
    request->timeout = 0;
    request->cdbLength = 10;
    request->cdb[0] = kLogSenseOpcode;
    request->cdb[2] = (U8)(PAGE | kLogSenseCurrentCumulative);
    request->cdb[7] = 0;
    request->cdb[8] = (U8)kLogPageBytes;
    request->dataSize = kLogPageBytes;

    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU);
    blk.dataSize = kBytes;
    blk.pData = request;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == 0) {
        printf("Returned SCSI status for the command : 0x%X\n", request->scsiStatus);
        memcpy(pData, request->data, kLogPageBytes);
    } else {
        printf("ProcessLibCommandCall failed!! retVal 0x%X\n", rval);
    }
    return (int)rval;
}

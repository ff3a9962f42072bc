// Build verification logging: the API-name table, the per-call status block
// and the parameter dump of failing calls.
#include <string.h>
#include <time.h>

#include "bvt_groups.h"
#include "tarseltest.h"

int gPrintEnable;
int gPRL = 1;
int gNumDisks = 2;

namespace {

// One row per command type: a 32-character type name and 25 command names
// of 50 characters. The out-of-band type has a row of its own so that its
// calls log their names instead of indexing past the table.
struct ApiNames {
    char cmdType[32];
    char cmd[25][50];
};

ApiNames my[10];

void SetRow(int type, const char* typeName, std::initializer_list<const char*> names) {
    snprintf(my[type].cmdType, sizeof(my[type].cmdType), "%s", typeName);
    int code = 0;
    for (const char* n : names) snprintf(my[type].cmd[code++], sizeof(my[type].cmd[0]), "%s", n);
}

} // namespace

const char kBVTLog[] = "BVTlog.txt";
const char kBVTErrorLog[] = "BVTErrorLog.txt";

void myInitAPICalls(void) {
    memset(my, 0, sizeof(my));
    SetRow(TL_SYSTEM_CMD_TYPE, "TL_SYSTEM_CMD_TYPE",
           {"TL_INIT_LIB", "TL_REGISTER_AEN", "TL_UNREGISTER_AEN", "TL_GET_CTRL_LIST", "TL_GET_LIB_VER",
            "TL_GET_SYSTEM_HEALTH", "TL_GET_LIB_PARAMETERS", "TL_SET_LIB_PARAMETERS", "TL_GET_PARTITION_INFO"});
    SetRow(TL_CTRL_CMD_TYPE, "TL_CTRL_CMD_TYPE",
           {"TL_GET_CTRL_INFO", "TL_GET_CTRL_PROPERTIES", "TL_SET_CTRL_PROPERTIES", "TL_FLASH_CTRL_FIRMWARE",
            "TL_GET_PD_LIST", "TL_GET_ENCL_LIST", "TL_GET_TOPOLOGY_INFO", "TL_GET_ALARM", "TL_ENABLE_ALARM",
            "TL_DISABLE_ALARM", "TL_SILENCE_ALARM", "TL_GET_PCI_INFO", "TL_LD_DISTRIBUTION", "TL_GET_LD_LIST",
            "TL_GET_PATROL_READ_STATUS_INFO", "TL_GET_PATROL_READ_PROPERTIES", "TL_SET_PATROL_READ_PROPERTIES",
            "TL_START_PATROL_READ_OPERATION", "TL_STOP_PATROL_READ_OPERATION", "TL_GET_DRIVER_VER",
            "TL_GET_CTRL_HEALTH", "TL_PD_DISTRIBUTION", "TL_CTRL_SELF_CHECK_DIAGNOSTIC",
            "TL_GET_ALL_LDS_ALLOWED_OPERATION"});
    SetRow(TL_PD_CMD_TYPE, "TL_PD_CMD_TYPE",
           {"TL_GET_PD_INFO", "TL_MAKE_ONLINE", "TL_MAKE_OFFLINE", "TL_REPLACE_MISSING_PD", "TL_MARK_PD_MISSING",
            "TL_START_REBUILD", "TL_CANCEL_REBUILD", "TL_GET_PD_PROGRESS", "TL_START_LOCATE_PD",
            "TL_STOP_LOCATE_PD", "TL_MAKE_GLOBAL_HOTSPARE", "TL_MAKE_DEDICATED_HOTSPARE",
            "TL_GET_DEDICATED_HOTSPARE_INFO", "TL_REMOVE_HOTSPARE", "TL_PREPARE_PD_FOR_REMOVAL",
            "TL_UNDO_PREPARE_PD_FOR_REMOVAL", "TL_GET_LD_OF_PD", "TL_FORMAT_PD", "TL_ABORT_FORMAT_PD",
            "TL_SET_PD_STATE", "TL_GET_PD_ALLOWED_OPERATION", "TL_MAKE_HOTSPARE"});
    SetRow(TL_LD_CMD_TYPE, "TL_LD_CMD_TYPE",
           {"TL_GET_LD_INFO", "TL_GET_LD_PROPERTIES", "TL_SET_LD_PROPERTIES", "TL_DELETE_LD",
            "TL_START_LOCATE_LD", "TL_STOP_LOCATE_LD", "TL_START_CHECK_CONSISTENCY",
            "TL_CANCEL_CHECK_CONSISTENCY", "TL_GET_LD_PROGRESS", "TL_START_INITIALIZATION",
            "TL_CANCEL_INITIALIZATION", "TL_GET_PD_IN_LD", "TL_START_RECONSTRUCTION",
            "TL_GET_RECONSTRUCTION_INFO", "TL_GET_LD_ALLOWED_OPERATION", "TL_GET_PARTITION_INFO"});
    SetRow(TL_CONFIG_CMD_TYPE, "TL_CONFIG_CMD_TYPE",
           {"TL_READ_CONFIG", "TL_ADD_CONFIG", "TL_CLEAR_CONFIG", "TL_SCAN_FOR_FOREIGN_CONFIG",
            "TL_READ_FOREIGN_CONFIG", "TL_READ_CONFIG_AFTER_IMPORT", "TL_IMPORT_FOREIGN_CONFIG",
            "TL_CLEAR_FOREIGN_CONFIG", "TL_GET_ARRAY_INFO", "TL_GET_CONFIG_ALLOWED_OPERATION", "TL_RESIZE_ARRAY"});
    SetRow(TL_BBU_CMD_TYPE, "TL_BBU_CMD_TYPE",
           {"TL_GET_BBU_STATUS", "TL_GET_BBU_CAPACITY_INFO", "TL_GET_BBU_DESIGN_INFO", "TL_BBU_LEARN",
            "TL_GET_BBU_PROPERTIES", "TL_SET_BBU_PROPERTIES", "TL_BBU_SLEEP"});
    SetRow(TL_PASSTHRU_CMD_TYPE, "TL_PASSTHRU_CMD_TYPE",
           {"TL_SCSI_PASSTHRU", "TL_SMP_PASSTHRU", "TL_STP_PASSTHRU", "TL_DCMD_PASSTHRU"});
    SetRow(TL_EVENT_CMD_TYPE, "TL_EVENT_CMD_TYPE",
           {"TL_GET_EVENT_SEQUENCE_INFO", "TL_GET_EVENT_DETAILS", "TL_CLEAR_EVENTS"});
    SetRow(TL_ENCL_CMD_TYPE, "TL_ENCL_CMD_TYPE",
           {"TL_GET_ENCL_CONFIG", "TL_GET_ENCL_STATUS", "TL_SET_ENCL_ELEMENT", "TL_LOCATE_ENCL",
            "TL_SHUTDOWN_ENCL"});
    SetRow(TL_OOB_CMD_TYPE, "TL_OOB_CMD_TYPE",
           {"TL_OOB_STATUS_POLL", "TL_OOB_REGISTER_OBJ_INFO", "TL_OOB_UNREGISTER_OBJ_INFO",
            "TL_OOB_SUSPENDRESUME"});
}

const char* BVTTypeName(U8 cmdType) { return cmdType < 10 ? my[cmdType].cmdType : ""; }

const char* BVTCommandName(U8 cmdType, U8 cmd) { return cmdType < 10 && cmd < 25 ? my[cmdType].cmd[cmd] : ""; }

static void CalendarNow(char* text, size_t size) {
    time_t now = time(nullptr);
    struct tm tmv;
    localtime_r(&now, &tmv);
    char buf[64];
    asctime_r(&tmv, buf);
    snprintf(text, size, "%s", buf);
}

void BVTPrintStatus(const char* desc, const char* api, int rval, double timetorun) {
    if (!gPrintEnable) return;
    FILE* log = fopen(kBVTLog, "a");
    FILE* err = fopen(kBVTErrorLog, "a");
    if (log) {
        fprintf(log, "*****%s*****\n", desc);
        fprintf(log, "API called: %s\n", api);
        fprintf(log, "Return Value: 0x%X\n", (unsigned)rval);
    }
    if (rval == 0 && timetorun <= 2.0) {
        if (log) fprintf(log, "Status: PASSED\n");
    } else {
        if (err) {
            fprintf(err, "*****%s*****\n", desc);
            fprintf(err, "API called: %s\n", api);
            fprintf(err, "Return Value: 0x%X\n", (unsigned)rval);
        }
        if (rval != 0) {
            if (log) fprintf(log, "Status: !!!!!FAILED!!!!!\n\n");
            if (err) fprintf(err, "Status: !!!!!FAILED!!!!!\n");
        } else {
            if (log) fprintf(log, "Status: PASSED\n");
            if (err) fprintf(err, "Status: PASSED\n");
        }
        if (timetorun > 2.0 && err)
            fprintf(err, "!!!!!WARNING!!!!!API runtime:%.2lf seconds (exceeded threshold of 2 seconds)\n", timetorun);
        char stamp[64];
        CalendarNow(stamp, sizeof(stamp));
        if (log) fprintf(log, "Time Stamp: %s", stamp);
        if (err) fprintf(err, "Time Stamp: %s", stamp);
    }
    if (log) fclose(log);
    if (err) fclose(err);
}

void DumpParams(const _TL_LIB_CMD_PARAM_T* block) {
    char line[64];
    std::string dump = "API PARAMETERS:\n";
    snprintf(line, sizeof line, "\tController ID: %d\n", (int)block->ctrlId);
    dump += line;
    line[0] = '\0';
    switch (block->cmdType) {
    case TL_PD_CMD_TYPE: snprintf(line, sizeof line, "\tPhysical Device ID:%d\n", block->pdRef.deviceId); break;
    case TL_ENCL_CMD_TYPE: snprintf(line, sizeof line, "\tEnclosure Device ID:%d\n", block->enclRef.deviceId); break;
    case TL_LD_CMD_TYPE: snprintf(line, sizeof line, "\tLogical Drive ID:%d\n", block->ldRef.targetId); break;
    case TL_EVENT_CMD_TYPE:
        if (block->cmd == TL_GET_EVENT_DETAILS)
            snprintf(line, sizeof line, "\tEvent Seq Num:%d\n", (int)block->evtRef.seqNum);
        break;
    default: break;
    }
    dump += line;
    dump += "\n";
    JUnitAttachDump(dump);
    FILE* err = fopen(kBVTErrorLog, "a");
    if (!err) return;
    fputs(dump.c_str(), err);
    fclose(err);
}

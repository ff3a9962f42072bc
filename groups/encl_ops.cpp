// Enclosure menu items: the SES configuration, the element status in the
// short and the extended form, element thresholds, locate and shutdown.
// Each item asks for the enclosure's device id (in BVT mode it takes
// gEnclID without asking), issues one enclosure command and prints the
// result or one failure line.
#include <stdlib.h>
#include <string.h>

#include <memory>

#include "enclosure.h"
#include "lib_failure.h"

namespace {

// Reads the enclosure device id into the block's enclosure reference. The
// configuration item asks with its own layout of the prompt.
void AskEnclosureId(_TL_LIB_CMD_PARAM_T* blk, bool configPrompt) {
    int id = 0;
    if (gBVTMode) {
        id = gEnclID;
    } else {
        if (configPrompt)
            printf("\t%-30s", "Enter Enclosure Device Id ");
        else
            printf("\t%-30s ", "Enter Enclosure Device Id");
        ReadIntLine(&id);
        printf("\n");
    }
    blk->enclRef.deviceId = static_cast<U16>(id);
}

// Starts an enclosure command for the enclosure the operator names.
void PrepareEnclCommand(_TL_LIB_CMD_PARAM_T* blk, U8 cmd, bool configPrompt = false) {
    InitCmdBlock(blk, TL_ENCL_CMD_TYPE, cmd);
    AskEnclosureId(blk, configPrompt);
}

U32 SendWithData(_TL_LIB_CMD_PARAM_T* blk, void* data, U32 size) {
    blk->dataSize = size;
    blk->pData = data;
    return ProcessLibCommandCall(blk);
}

// An enclosure command with no parameters beyond the enclosure.
U32 SendEnclCommand(U8 cmd, void* data, U32 size, bool configPrompt = false) {
    _TL_LIB_CMD_PARAM_T blk;
    PrepareEnclCommand(&blk, cmd, configPrompt);
    return SendWithData(&blk, data, size);
}

// Reads a number (scanf "%d" style); the value stays `fallback` when the
// line holds no number.
int AskNumber(const char* prompt, int fallback) {
    printf("%s", prompt);
    int value = fallback;
    ReadIntLine(&value);
    return value;
}

}  // namespace

U32 GetEnclConfigInfo(void) {
    _TL_ENCL_CONFIG_T config{};
    U32 rval = SendEnclCommand(TL_GET_ENCL_CONFIG, &config, sizeof config, true);
    if (rval != 0) return PrintLibFailure("GetEnclConfigInfo", rval);
    numLines = 0;
    PrintEnclConfigInfo(&config);
    return 0;
}

U32 GetEnclStatus(void) {
    auto status = std::make_unique<_TL_ENCL_STATUS_T>();
    U32 rval = SendEnclCommand(TL_GET_ENCL_STATUS, status.get(), sizeof(_TL_ENCL_STATUS_T));
    if (rval != 0) return PrintLibFailure("GetEnclStatus", rval);
    numLines = 0;
    PrintEnclStatus(status.get());
    return 0;
}

U32 GetEnclStatusEx(void) {
    auto status = std::make_unique<_TL_ENCL_STATUS_EX_T>();
    U32 rval = SendEnclCommand(TL_GET_ENCL_STATUS_EX, status.get(), sizeof(_TL_ENCL_STATUS_EX_T));
    // The extended report shares the short report's failure text.
    if (rval != 0) return PrintLibFailure("GetEnclStatus", rval);
    PrintEnclStatusEx(status.get());
    return 0;
}

U32 SetEnclElement(void) {
    _TL_ENCL_SET_ELEM_DATA_T data{};
    _TL_LIB_CMD_PARAM_T blk;
    PrepareEnclCommand(&blk, TL_SET_ENCL_ELEMENT);
    int high = 50, low = 45;
    if (!gBVTMode) {
        high = AskNumber("Enter High Warning Value for Temp Sensor ", 0);
        low = AskNumber("Enter Low Warning Value for Temp Sensor ", 0);
    }
    data.tsThreshold.highWarning = static_cast<U8>(high);
    data.tsThreshold.lowWarning = static_cast<U8>(low);
    blk.cmdParam_1b[0] = SES_TYPE_TEMPERATURE_SENSOR;
    U32 rval = SendWithData(&blk, &data, sizeof data);
    if (rval != 0) return PrintLibFailure("SetEnclElement", rval);
    return 0;
}

U32 LocateEncl(void) {
    U32 rval = SendEnclCommand(TL_LOCATE_ENCL, nullptr, 0);
    if (rval != 0) return PrintLibFailure("LocateEncl", rval);
    puts("LocateEncl : ProcessLibCommandCall Successfull");
    return 0;
}

U32 ShutdownEncl(void) {
    U32 rval = SendEnclCommand(TL_SHUTDOWN_ENCL, nullptr, 0);
    if (rval != 0) return PrintLibFailure("ShutdownEncl", rval);
    puts("ShutdownEncl : ProcessLibCommandCall Successfull");
    return 0;
}

U32 GetEnclElement(void) {
    _TL_ENCL_GET_ELEM_DATA_T data{};
    _TL_LIB_CMD_PARAM_T blk;
    PrepareEnclCommand(&blk, TL_GET_ENCL_ELEMENT);

    U8 choice = 0;
    if (!gBVTMode) {
        printf("%-50s : (default = 0)", "Please select the element type(0-Temp, 1-Voltage, 2-Current)");
        char line[50];
        if (CheckENTER(line) == 0) choice = static_cast<U8>(atoi(line));
    }
    U8 type = 0;
    const char* name = "";
    switch (choice) {
    case 0: type = SES_TYPE_TEMPERATURE_SENSOR; name = "Temperature"; break;
    case 1: type = SES_TYPE_VOLTAGE_SENSOR; name = "Voltage"; break;
    case 2: type = SES_TYPE_CURRENT_SENSOR; name = "Current"; break;
    default: break;  // type 0 and no name
    }
    U8 index = 0;
    if (!gBVTMode) {
        printf("\t%-30s ", "Enter element index(zero based)");
        int typed = 0;
        ReadIntLine(&typed);
        index = static_cast<U8>(typed);
    }
    blk.cmdParam_1b[0] = type;
    blk.cmdParam_1b[1] = index;
    U32 rval = SendWithData(&blk, &data, sizeof data);
    if (rval != 0) return PrintLibFailure("GetEnclElement", rval);
    puts("ProcessLibCommand Successful. Get Element data is shown below.");
    printf("Element Type: %s\n", name);
    printf("Element Index: %d\n", index);
    printf("High critical value: %d\n", data.highCritical);
    printf("Low critical value: %d\n", data.lowCritical);
    printf("High Warning value: %d\n", data.highWarning);
    printf("Low Warning value: %d\n", data.lowWarning);
    return 0;
}

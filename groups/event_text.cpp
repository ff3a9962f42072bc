// Event text: one renderer for every controller event, whether delivered to
// the callback or read back from the event log. It writes a fixed sequence
// of lines and then decodes the event's typed argument. Every text field of
// the record is read only up to its own width.
#include <string.h>

#include <memory>
#include <new>

#include "enclosure.h"
#include "event_group.h"

namespace {

// Room for the time stamp text (InterpretTime writes at most 112 characters).
constexpr size_t kTimeText = 128;
// Room for a 64-bit decimal (Print64).
constexpr int kNumberText = 65;

// Prints a fixed-width text field up to its first terminator.
void PrintField(FILE* s, const char* format, const char* field, size_t width) {
    fprintf(s, format, static_cast<int>(strnlen(field, width)), field);
}

const char* LocaleLine(const KV_EVT_DETAIL& e) {
    switch (e.cl.locale) {
    case 0x0001: return "LD event\n";
    case 0x0002: return "PD event\n";
    case 0x0004: return "Enclosure event\n";
    case 0x0008: return "BBU event\n";
    case 0x0010: return "SAS event\n";
    case 0x0020: return "Controller event\n";
    case 0x0040: return "Configuration change event\n";
    case 0x0080: return "Cluster event\n";
    case 0xFFFF: return "All\n";
    default: break;
    }
    // Without a known locale the event code decides.
    switch (e.code) {
    case 0x4F: case 0x8A: case 0x8B: return "LD event\n";
    case 0x76: case 0x84: case 0x85: case 0x86: case 0x87: case 0x88: case 0x89: case 0xF4: case 0xF5:
    case 0x106: case 0x120: case 0x121: case 0x12A: case 0x14D: case 0x14E: case 0x188: case 0x189:
        return "PD event\n";
    case 0x0B: case 0x143: case 0x144: case 0x145: case 0x146: return "Controller event\n";
    case 0x02: return "BBU event\n";
    case 0xE7: case 0xE8: return "Configuration change event\n";
    default: return "";
    }
}

void PrintClass(FILE* s, S8 eventClass) {
    switch (eventClass) {
    case 0: fputs("Information\n", s); break;
    case 1: fputs("Warning\n", s); break;
    case 2: fputs("Critical\n", s); break;
    case 3: fputs("Fatal\n", s); break;
    case 4: fputs("Dead (visible after next controller boot)\n", s); break;
    default: fprintf(s, "Undefined : %X\n", static_cast<unsigned>(static_cast<U8>(eventClass))); break;
    }
}

void PrintDrive(FILE* s, const _KV_EVT_ARG_PD& pd) {
    fprintf(s, "\tPhysical Device ID : 0x%X\n", pd.deviceId);
    fprintf(s, "\tEnclosure Index : %d\n", pd.enclIndex);
    fprintf(s, "\tSlot Number : %d\n", pd.slotNumber);
}

void PrintLd(FILE* s, const _KV_EVT_ARG_LD& ld) {
    fprintf(s, "\tLogical Drive Target ID : %d\n", ld.targetId);
    fprintf(s, "\tFirmware LD Number : %d\n", ld.ldIndex);
}

// An LBA shown in megabytes (blocks shifted right by 11).
void PrintMegabytes(FILE* s, const char* format, U64 lba) {
    char text[kNumberText];
    fprintf(s, format, Print64(lba >> 11, text, sizeof text));
}

void PrintProgress(FILE* s, const _KV_EVT_ARG_PROGRESS& prog, const KV_CTRL_INFO* ctrlInfo) {
    const float percent = static_cast<float>(prog.progress / 65535.0 * 100);
    fprintf(s, "\tProgress : %f\n", static_cast<double>(percent));
    if (ctrlInfo != nullptr && ctrlInfo->adapterOperations2.supportPointInTimeProgress)
        fprintf(s, "\tRemainingTime in Secs : %f\n", static_cast<double>((100 - percent) * prog.elapsedSecs));
    else
        fprintf(s, "\tElapsed Seconds : %d\n", prog.elapsedSecs);
}

U32 ConnectorCount(const KV_SAS_CONNECTORS& c) { return c.count < 8 ? c.count : 8; }

void PrintConnector(FILE* s, const KV_SAS_CONNECTORS& c, U32 index, int position) {
    fprintf(s, "\tEnclosure Position in Chain : %d\n", position);
    fprintf(s, "\tConnector Location : %s\n", ConnectorTypeText(c.connectors[index].location));
    PrintField(s, "\tConnector Name : %.*s\n", c.connectors[index].name, sizeof c.connectors[index].name);
}

// Location of the drive of a PD event, by the cached controller capabilities.
void PrintPdLocation(FILE* s, const KV_EVT_DETAIL& e, const _TLT_CTRL_DATA& cache) {
    const U8 encl = e.args.pd.enclIndex;
    const U8 slot = e.args.pd.slotNumber;
    if (!cache.ctrlInfo.adapterOperations.supportEnclEnumeration) {
        fprintf(s, "\tEnclosure Index : %d\n", encl);
        fprintf(s, "\tSlot Number : %d\n", slot);
    } else if (e.cl.locale == KV_EVT_LOCALE_PD) {
        if (encl == 0xFF)
            fputs("\tPD is not inside Enclosure\n", s);
        else
            fprintf(s, "\tEnclosure Device ID : 0x%X\n", encl);
        fprintf(s, "\tSlot Number : %d\n", slot);
    } else if (slot < ConnectorCount(cache.sasConnectors)) {
        PrintConnector(s, cache.sasConnectors, slot, encl);
    }
}

void PrintPdAddress(FILE* s, const KV_EVT_DETAIL& e, const _TLT_CTRL_DATA& cache) {
    const auto& a = e.args.pdAddr;
    fprintf(s, "\tPhysical Device ID : 0x%X\n", a.deviceId);
    fprintf(s, "\tEnclosure DeviceID : %d\n", a.enclDeviceId);
    fprintf(s, "\tScsi Device Type : %d\n", a.scsiDevType);
    // The 64-bit addresses go to a "%d" conversion, which shows their low 32 bits.
    fprintf(s, "\tSas Addr for port 0 : %d\n", static_cast<int>(static_cast<U32>(a.sasAddr[0])));
    fprintf(s, "\tSas Addr for port 1 : %d\n", static_cast<int>(static_cast<U32>(a.sasAddr[1])));
    if (!cache.ctrlInfo.adapterOperations.supportEnclEnumeration) {
        fprintf(s, "\tEnclosure Index : %d\n", a.enclIndex);
        fprintf(s, "\tSlot Number : %d\n", a.slotNumber);
    } else {
        fprintf(s, "\tEnclosure Position in Chain : %d\n", a.enclIndex);
        const U8 connector = a.slotNumber;
        if (connector != 0xFF && connector < 8) {
            const _KV_SAS_CONNECTOR_INFO& c = cache.sasConnectors.connectors[connector];
            fprintf(s, "\tConnector Location : %s\n", ConnectorTypeText(c.location));
            PrintField(s, "\tConnector Name : %.*s\n", c.name, sizeof c.name);
        }
    }
    if (!cache.ctrlInfo.adapterOperations.supportMoreThan8Phys) {
        fputs("\tConnected port numbers : ", s);
        // Only the first three ports are looked at.
        for (int bit = 0; bit < 3; ++bit)
            if (a.connectedPortBitmap & (1u << bit)) fprintf(s, "%d , ", bit);
        fputs("\n", s);
    } else {
        fprintf(s, "\tConnected port number for path 0 : %d\n", a.connectedPortBitmap & 0x0F);
        fprintf(s, "\tConnected port number for path 1 : %d\n", a.connectedPortBitmap >> 4);
    }
}

struct ArgumentType {
    U8 type;
    const char* name;
};

const ArgumentType kArgumentTypes[] = {
    {KV_EVT_ARGS_CDB_SENSE, "CDB_SENSE"},     {KV_EVT_ARGS_LD, "LD"},
    {KV_EVT_ARGS_LD_COUNT, "LD_COUNT"},       {KV_EVT_ARGS_LD_LBA, "LD_LBA"},
    {KV_EVT_ARGS_LD_OWNER, "LD_OWNER"},       {KV_EVT_ARGS_LD_LBA_PD_LBA, "LD_LBA_PD_LBA"},
    {KV_EVT_ARGS_LD_PROG, "LD_PROG"},         {KV_EVT_ARGS_LD_STATE, "LD_STATE"},
    {KV_EVT_ARGS_STRIP, "STRIP"},             {KV_EVT_ARGS_PD, "PD"},
    {KV_EVT_ARGS_PD_ERR, "PD_ERR"},           {KV_EVT_ARGS_PD_LBA, "PD_LBA"},
    {KV_EVT_ARGS_PD_LBA_LD, "PD_LBA_LD"},     {KV_EVT_ARGS_PD_PROG, "PD_PROG"},
    {KV_EVT_ARGS_PD_STATE, "PD_STATE"},       {KV_EVT_ARGS_PCI, "PCI"},
    {KV_EVT_ARGS_RATE, "RATE"},               {KV_EVT_ARGS_STR, "STR"},
    {KV_EVT_ARGS_TIME, "TIME"},               {KV_EVT_ARGS_LD_PROP, "LD_PROP"},
    {KV_EVT_ARGS_PD_ADDRESS, "PD_ADDRESS"},   {KV_EVT_ARGS_PD_PD, "PD_PD"},
    {KV_EVT_ARGS_PD_FRU, "PD_FRU"},           {KV_EVT_ARGS_PD_PATHINFO, "PD_PATHINFO"},
};

const char* ArgumentName(U8 type) {
    for (const ArgumentType& t : kArgumentTypes)
        if (t.type == type) return t.name;
    return nullptr;
}

// The lines after the argument header, by type. `text` holds kTimeText
// characters.
void PrintArgument(FILE* s, const KV_EVT_DETAIL& e, const KV_CTRL_INFO* ctrlInfo, char* text) {
    const _KV_EVT_ARGS_UNION& a = e.args;
    _TLT_CTRL_DATA cache;
    switch (e.argType) {
    case KV_EVT_ARGS_CDB_SENSE:
        PrintDrive(s, a.cdbSense.pd);
        fprintf(s, "\tLength of CDB : %d\n", a.cdbSense.cdbLength);
        fprintf(s, "\tLength of request sense data : %d\n", a.cdbSense.senseLength);
        fputs("\tCDB : \n", s);
        HexDump(s, a.cdbSense.cdb, sizeof a.cdbSense.cdb);
        fputs("\tSense Data :\n", s);
        HexDump(s, a.cdbSense.sense, sizeof a.cdbSense.sense);
        break;
    case KV_EVT_ARGS_LD: PrintLd(s, a.ld); break;
    case KV_EVT_ARGS_LD_COUNT:
        PrintLd(s, a.ldCount.ld);
        fprintf(s, "\tCount : %d\n", static_cast<int>(a.ldCount.count));
        break;
    case KV_EVT_ARGS_LD_LBA:
        PrintMegabytes(s, "\tLBA : %s MB\n", a.ldLba.lba);
        PrintLd(s, a.ldLba.ld);
        break;
    case KV_EVT_ARGS_LD_OWNER:
        PrintLd(s, a.ldOwner.ld);
        fprintf(s, "\tPrevious Owner : %ld\n", static_cast<long>(a.ldOwner.prevOwner));
        fprintf(s, "\tNew Owner : %ld\n", static_cast<long>(a.ldOwner.newOwner));
        break;
    case KV_EVT_ARGS_LD_LBA_PD_LBA:
        PrintMegabytes(s, "\tLD LBA : %s MB\n", a.ldLbaPdLba.ldLba);
        PrintMegabytes(s, "\tPD LBA : %s MB\n", a.ldLbaPdLba.pdLba);
        PrintLd(s, a.ldLbaPdLba.ld);
        PrintDrive(s, a.ldLbaPdLba.pd);
        break;
    case KV_EVT_ARGS_LD_PROG:
        PrintLd(s, a.ldProg.ld);
        PrintProgress(s, a.ldProg.prog, ctrlInfo);
        break;
    case KV_EVT_ARGS_LD_STATE:
        PrintLd(s, a.ldState.ld);
        fprintf(s, "\tPrevious State : %ld\n", static_cast<long>(a.ldState.prevState));
        fprintf(s, "\tNew State : %ld\n", static_cast<long>(a.ldState.newState));
        break;
    case KV_EVT_ARGS_STRIP:
        // The line's format has no valid conversion; the C library prints it
        // as this text and reads no argument.
        fputs("\tStrip : %-64u\n", s);
        PrintLd(s, a.strip.ld);
        break;
    case KV_EVT_ARGS_PD:
        fprintf(s, "\tPhysical Device ID : 0x%X\n", a.pd.deviceId);
        CopyCtrlData(&cache);
        PrintPdLocation(s, e, cache);
        break;
    case KV_EVT_ARGS_PD_ERR:
        PrintDrive(s, a.pdErr.pd);
        fprintf(s, "\tError : %ld\n", static_cast<long>(a.pdErr.err));
        break;
    case KV_EVT_ARGS_PD_LBA:
        PrintMegabytes(s, "\tLBA : %s MB\n", a.pdLba.lba);
        PrintDrive(s, a.pdLba.pd);
        break;
    case KV_EVT_ARGS_PD_LBA_LD:
        PrintMegabytes(s, "\tLBA : %s MB\n", a.pdLbaLd.lba);
        PrintDrive(s, a.pdLbaLd.pd);
        PrintLd(s, a.pdLbaLd.ld);
        break;
    case KV_EVT_ARGS_PD_PROG:
        PrintDrive(s, a.pdProg.pd);
        PrintProgress(s, a.pdProg.prog, ctrlInfo);
        break;
    case KV_EVT_ARGS_PD_STATE:
        PrintDrive(s, a.pdState.pd);
        fprintf(s, "\tPrevious State : %d\n", static_cast<int>(a.pdState.prevState));
        fprintf(s, "\tNew State : %d\n", static_cast<int>(a.pdState.newState));
        break;
    case KV_EVT_ARGS_PCI:
        fprintf(s, "\tVendor ID : 0x%X\n", a.pci.vendorId);
        fprintf(s, "\tDevice ID : 0x%X\n", a.pci.deviceId);
        fprintf(s, "\tSub-Vendor ID : 0x%X\n", a.pci.subVendorId);
        fprintf(s, "\tSub-Device ID : 0x%X\n", a.pci.subDeviceId);
        break;
    case KV_EVT_ARGS_RATE: fprintf(s, "\tRate : %ld\n", static_cast<long>(a.rate)); break;
    case KV_EVT_ARGS_STR: PrintField(s, "\tString : %.*s\n", a.str, sizeof a.str); break;
    case KV_EVT_ARGS_TIME:
        InterpretTime(a.time.rtc, text);
        fprintf(s, "\tRTC : %s\n", text);
        fprintf(s, "\tElapsed Seconds since power-on : %ld\n", static_cast<long>(a.time.elapsedSeconds));
        break;
    case KV_EVT_ARGS_LD_PROP:
        fprintf(s, "\tLogical Device ID : 0x%X\n", a.ldProp.ld.targetId);
        fprintf(s, "\tLD New Prop : 0x%X\n", a.b[58]);
        fprintf(s, "\tLD OLD Prop : 0x%X\n", a.b[26]);
        break;
    case KV_EVT_ARGS_PD_ADDRESS:
        CopyCtrlData(&cache);
        PrintPdAddress(s, e, cache);
        break;
    case KV_EVT_ARGS_PD_PD:
        fprintf(s, "\tSrc Physical Device ID : 0x%X\n", a.pdPair.src.deviceId);
        PrintEvtArgsPd(&e, s, a.pdPair.src.deviceId);
        fprintf(s, "\tDest Physical Device ID : 0x%X\n", a.pdPair.dest.deviceId);
        PrintEvtArgsPd(&e, s, a.pdPair.dest.deviceId);
        break;
    case KV_EVT_ARGS_PD_FRU:
        fprintf(s, "\tPhysical Device ID : 0x%X\n", a.pdFru.pd.deviceId);
        PrintEvtArgsPd(&e, s, a.pdFru.pd.deviceId);
        PrintField(s, "\tFRU : %.*s\n", a.pdFru.fru, sizeof a.pdFru.fru);
        break;
    case KV_EVT_ARGS_PD_PATHINFO: {
        PrintDrive(s, a.pdPathInfo.pd);
        const bool path = e.code == 0x120 || e.code == 0x121;
        fprintf(s, path ? "\tPath : %ld\n" : "\tError : %ld\n", static_cast<long>(a.pdPathInfo.pathOrError));
        char address[17];
        FormatSASAddr(a.pdPathInfo.sasAddr, address);
        fprintf(s, "\tSAS Addr : %s\n", address);
        break;
    }
    default: break;
    }
}

} // namespace

void GenerateEventTextInfo(FILE* stream, const KV_EVT_DETAIL* event, const KV_CTRL_INFO* ctrlInfo) {
    const KV_EVT_DETAIL& e = *event;
    fprintf(stream, "Event Sequence Number : %ld\n", static_cast<long>(e.seqNum));
    std::unique_ptr<char[]> text(new (std::nothrow) char[kTimeText]());
    if (!text) {
        puts("GenerateEventTextInfo: calloc failed.");
        return;
    }
    InterpretTime(e.timeStamp, text.get());
    fprintf(stream, "Timestamp : %s\n", text.get());
    fprintf(stream, "Event code : %ld\n", static_cast<long>(e.code));
    fprintf(stream, "Locale : %s", LocaleLine(e));
    fputs("Class : ", stream);
    PrintClass(stream, e.cl.eventClass);
    PrintField(stream, "Description of the event : %.*s\n", e.description, sizeof e.description);
    fprintf(stream, "Argument Type Value: %d\n", e.argType);
    if (const char* name = ArgumentName(e.argType)) {
        fprintf(stream, "Argument Type : KV_EVT_ARGS_%s\n", name);
        PrintArgument(stream, e, ctrlInfo, text.get());
    } else {
        fputs("Alternate argument access via byte : \n", stream);
        HexDump(stream, e.args.b, sizeof e.args.b);
    }
    fputs("\n\n", stream);
}

void PrintEvtArgsPd(const KV_EVT_DETAIL* event, FILE* stream, U16 deviceId) {
    KV_CTRL_INFO info;
    GetCtrlInfoFunc(&info);
    const U8 encl = event->args.pd.enclIndex;
    const U8 slot = event->args.pd.slotNumber;
    if (!info.adapterOperations.supportEnclEnumeration) {
        fprintf(stream, "\tEnclosure Index : %d\n", encl);
        fprintf(stream, "\tSlot Number : %d\n", slot);
        return;
    }
    KV_SAS_CONNECTORS connectors;
    GetSASConnectorFunc(&connectors);
    const U32 count = ConnectorCount(connectors);
    if (event->cl.locale == KV_EVT_LOCALE_PD) {
        KV_ENCL_INFO enclosure;
        if (GetEnclInfoFunc(deviceId, &enclosure) == 0) {
            fprintf(stream, "\tEnclosure DeviceID : %d\n", encl);
            if (enclosure.enclConnectorIndex < count)
                PrintConnector(stream, connectors, enclosure.enclConnectorIndex, enclosure.enclPosition);
        } else {
            fputs("\tPD is not inside an enclosure\n", stream);
        }
        fprintf(stream, "\tSlot Number : %d\n", slot);
    } else if (slot < count) {
        PrintConnector(stream, connectors, slot, encl);
    }
}

// Controller group: the SAS topology. The firmware describes the domain as
// one buffer of linked nodes (links are byte offsets from the start of the
// buffer); the walk prints it as an indented tree, depth first from the
// controller's PHYs, visiting every expander once.
//
// The buffer comes from the library and is not trusted: every field is read
// through a bounds-checked accessor, a node whose fixed part does not lie
// inside the buffer is not visited, and a PHY list stops at the first entry
// that would run past the end. The walk of visited expanders is bounded by
// its 128-entry list, so neither a loop nor a deep chain can make it endless.
#include <string.h>

#include <string>
#include <vector>

#include "ctrl_ops.h"

namespace {

constexpr size_t kHeadPhyOffset = offsetof(_TL_TOPOLOGY_HEAD_NODE_T, phyList);
constexpr size_t kExpanderHeader = sizeof(_TL_TOPOLOGY_EXPANDER_NODE_T);
constexpr size_t kEndDeviceHeader = TL_TOPOLOGY_END_DEVICE_HEADER;
constexpr int kMaxExpanders = 128;
constexpr size_t kMaxIndent = 100;

// The received buffer; reads outside it are refused.
struct Area {
    const U8* data;
    size_t size;

    bool Has(size_t offset, size_t length) const { return offset <= size && length <= size - offset; }
    template <typename T>
    T Read(size_t offset) const {
        T v{};
        if (Has(offset, sizeof v)) memcpy(&v, data + offset, sizeof v);
        return v;
    }
};

struct Walk {
    Area area;
    U64* visited;   // ExpSASAddrList
    int* count;     // ExpCount
};

std::string FormatAddr(U64 address) {
    char buffer[17];
    memset(buffer, 0, sizeof buffer);
    FormatSASAddr(address, buffer);
    return buffer;
}

// Each level of the tree is indented one tab deeper than its parent, up to
// the 100 characters an indentation holds.
std::string ChildIndent(const std::string& indent) {
    return indent.size() < kMaxIndent ? indent + "\t" : indent;
}

bool IsExpander(U8 type) { return type == TL_EDGE_EXPANDER || type == TL_FANOUT_EXPANDER; }

void VisitEndDevice(const Area& area, size_t offset, const std::string& indent, int attachedPhyId) {
    if (!area.Has(offset, kEndDeviceHeader)) return;
    const char* s = indent.c_str();
    U8 numPhy = area.Read<U8>(offset + offsetof(_TL_TOPOLOGY_END_DEVICE_NODE_T, numPhy));
    my_printf("\n\t%s---Printing End Device Information---\n", s);
    my_printf("\t%sDevice Id is %d\n", s, area.Read<U16>(offset + offsetof(_TL_TOPOLOGY_END_DEVICE_NODE_T, deviceId)));
    my_printf("\t%sDevice Bitmap:", s);
    printDeviceBitmap(area.Read<TL_TOPOLOGY_DEVICE_BITMAP>(offset + offsetof(_TL_TOPOLOGY_END_DEVICE_NODE_T, deviceBitMap)));
    my_printf("\t%sNumber of Phys is %d\n", s, numPhy);
    for (int i = 0; i < numPhy; ++i) {
        size_t phy = offset + kEndDeviceHeader + static_cast<size_t>(i) * sizeof(_TL_TOPOLOGY_END_DEVICE_PHY_T);
        if (!area.Has(phy, sizeof(_TL_TOPOLOGY_END_DEVICE_PHY_T))) break;
        std::string addr = FormatAddr(area.Read<U64>(phy));
        my_printf("%s\tPhy %d SAS Address is %s ", s, i, addr.c_str());
        if (i == attachedPhyId)
            my_printf("\n%s\tthis is the target PHY for this path\n", s);
        else
            my_printf("\n");
    }
    my_printf("\n\t%s---End of End Device Information---\n", s);
}

void VisitExpander(const Walk& w, size_t offset, const std::string& indent) {
    const Area& area = w.area;
    if (!area.Has(offset, kExpanderHeader)) return;
    const char* s = indent.c_str();
    my_printf("\n%s---Printing Expander Information---\n", s);

    U64 sasAddr = area.Read<U64>(offset + offsetof(_TL_TOPOLOGY_EXPANDER_NODE_T, sasAddr));
    std::string addr = FormatAddr(sasAddr);
    for (int i = 0; i < *w.count; ++i) {
        if (w.visited[i] == sasAddr) {
            my_printf("%s Already Visited Expander SAS Address %s\n", s, addr.c_str());
            my_printf("\n%s---End of Expander Information---\n", s);
            return;
        }
    }
    // A domain of more expanders than the list holds is outside the
    // supported range: the extra ones are not walked.
    if (*w.count >= kMaxExpanders) {
        my_printf("\n%s---End of Expander Information---\n", s);
        return;
    }
    w.visited[(*w.count)++] = sasAddr;

    U8 type = area.Read<U8>(offset);
    U8 numPhy = area.Read<U8>(offset + offsetof(_TL_TOPOLOGY_EXPANDER_NODE_T, numPhy));
    my_printf("%sDevice Type is ", s);
    printDeviceType(type);
    my_printf("%sDevice Bitmap:", s);
    printDeviceBitmap(area.Read<TL_TOPOLOGY_DEVICE_BITMAP>(offset + offsetof(_TL_TOPOLOGY_EXPANDER_NODE_T, deviceBitMap)));
    my_printf("%sNumber of Phy is %d\n", s, numPhy);
    my_printf("%sSAS Address is %s\n", s, addr.c_str());

    const std::string child = ChildIndent(indent);
    const char* c = child.c_str();
    for (int i = 0; i < numPhy; ++i) {
        size_t phy = offset + kExpanderHeader + static_cast<size_t>(i) * sizeof(_TL_TOPOLOGY_EXPANDER_PHY_T);
        if (!area.Has(phy, sizeof(_TL_TOPOLOGY_EXPANDER_PHY_T))) break;
        U8 attachedType = area.Read<U8>(phy + offsetof(_TL_TOPOLOGY_EXPANDER_PHY_T, attachedDeviceType));
        U8 attachedPhyId = area.Read<U8>(phy + offsetof(_TL_TOPOLOGY_EXPANDER_PHY_T, attachedPhyId));
        U16 attachedOffset = area.Read<U16>(phy + offsetof(_TL_TOPOLOGY_EXPANDER_PHY_T, attachedDeviceOffset));
        my_printf("\n%s\tPhy %d attached Device type is ", s, i);
        printDeviceType(attachedType);
        my_printf("%s\tAttached Device Offset is %d\n", s, attachedOffset);
        if (attachedType == TL_END_DEVICE) {
            my_printf("%sAttached Phy ID %d\n", c, attachedPhyId);
            my_printf("%sVisiting Phy %d\n", c, i);
            // A link back to this expander's own node is printed, not followed.
            if (attachedOffset != offset) VisitEndDevice(area, attachedOffset, child, attachedPhyId);
        } else if (IsExpander(attachedType)) {
            my_printf("%sAttached Phy ID %d\n", c, attachedPhyId);
            my_printf("%sVisiting Phy %d\n", c, i);
            VisitExpander(w, attachedOffset, child);
        }
    }
    my_printf("\n%s---End of Expander Information---\n", s);
}

}  // namespace

void printDeviceType(U8 type) {
    switch (type) {
    case TL_NO_DEVICE: printf("No Device\n"); break;
    case TL_IOC: printf("IOC\n"); break;
    case TL_EDGE_EXPANDER: printf("Edge Expander\n"); break;
    case TL_FANOUT_EXPANDER: printf("Fanout Expander\n"); break;
    case TL_END_DEVICE: printf("End Device\n"); break;
    default: break;  // an unknown type prints nothing, not even a line end
    }
}

void printDeviceBitmap(TL_TOPOLOGY_DEVICE_BITMAP bitmap) {
    static const char* const kTokens[8] = {" SSP Iniator", " STP Iniator", " SMP Iniator", " SATA Host",
                                           " SSP Target", " STP Target",  " SMP Target",  " SATA Device"};
    if ((bitmap.deviceWord & 0xFFu) == 0) {
        printf(" No Bit is Set\n");
        return;
    }
    for (int bit = 0; bit < 8; ++bit)
        if (bitmap.deviceWord & (1u << bit)) printf("%s", kTokens[bit]);
    printf("\n");
}

void VisitTopologyBuffer(const void* data, size_t size) {
    const Area area{static_cast<const U8*>(data), size};
    my_printf("DISCOVERY STARTED ......\n");
    my_printf("HEAD NODE (IOC) -- \n");
    my_printf("\n\tDevice Type ");
    printDeviceType(area.Read<U8>(offsetof(_TL_TOPOLOGY_HEAD_NODE_T, deviceType)));
    U8 numPhy = area.Read<U8>(offsetof(_TL_TOPOLOGY_HEAD_NODE_T, numPhy));
    my_printf("\tnumPhy %d\n", numPhy);
    my_printf("\tTotal Size %dBytes\n", area.Read<U16>(offsetof(_TL_TOPOLOGY_HEAD_NODE_T, totalSize)));
    my_printf("\n\tEXPLORING PHYs\n\n");

    const std::string indent = "\t\t\t";
    U64 expSASAddrList[kMaxExpanders];
    memset(expSASAddrList, 0, sizeof expSASAddrList);
    int expCount = 0;
    const Walk walk{area, expSASAddrList, &expCount};

    for (int i = 0; i < numPhy; ++i) {
        // Entries past the sixteen of the head's own list are read from the
        // bytes that follow it, as long as they lie inside the buffer.
        size_t phy = kHeadPhyOffset + static_cast<size_t>(i) * sizeof(_TL_TOPOLOGY_HEAD_PHY_T);
        if (!area.Has(phy, sizeof(_TL_TOPOLOGY_HEAD_PHY_T))) break;
        my_printf("\t\tPHY%d:\n", i);
        U8 flags = area.Read<U8>(phy + 4);
        if (flags & 0x01) {
            // No line end: the next PHY's header follows on the same line.
            my_printf("\t\tPhy is disabled.");
            continue;
        }
        U8 attachedType = area.Read<U8>(phy + offsetof(_TL_TOPOLOGY_HEAD_PHY_T, attachedDeviceType));
        U8 attachedPhyId = area.Read<U8>(phy + offsetof(_TL_TOPOLOGY_HEAD_PHY_T, attachedPhyId));
        U16 attachedOffset = area.Read<U16>(phy + offsetof(_TL_TOPOLOGY_HEAD_PHY_T, attachedDeviceOffset));
        my_printf("\t\tAttached Device type is ");
        printDeviceType(attachedType);
        my_printf("\t\tAttached Device offset is %d\n", attachedOffset);
        my_printf("\t\tAttached Phy ID is %d\n\t\tVISITING PHY %d\n\n", attachedPhyId, i);
        if (attachedType == TL_END_DEVICE)
            VisitEndDevice(area, attachedOffset, indent, attachedPhyId);
        else if (IsExpander(attachedType))
            VisitExpander(walk, attachedOffset, indent);
    }
    my_printf("\n\t\t---End of Topology Information---\n");
}

void visitTopologyDFS(void* data) { VisitTopologyBuffer(data, TL_TOPOLOGY_BUFFER_SIZE); }

void visitExDFS(void* startdata, int deviceOffset, char* str, U64* ExpSASAddrList, int* ExpCount) {
    if (deviceOffset < 0) return;
    const Walk walk{{static_cast<const U8*>(startdata), TL_TOPOLOGY_BUFFER_SIZE}, ExpSASAddrList, ExpCount};
    VisitExpander(walk, static_cast<size_t>(deviceOffset), std::string(str, strnlen(str, kMaxIndent)));
}

void visitEdDFS(void* startdata, int deviceOffset, char* str, int attachedPhyId) {
    if (deviceOffset < 0) return;
    VisitEndDevice({static_cast<const U8*>(startdata), TL_TOPOLOGY_BUFFER_SIZE}, static_cast<size_t>(deviceOffset),
                   std::string(str, strnlen(str, kMaxIndent)), attachedPhyId);
}

U32 TopologyFunc(int size, void* buffer) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_TOPOLOGY_INFO);
    blk.dataSize = static_cast<U32>(size);
    blk.pData = buffer;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL)
        printf("Invalid controller\n");
    else if (rval != 0)
        printf("GetTopology : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    return rval;
}

U32 GetTopology(void) {
    std::vector<U8> buffer(TL_TOPOLOGY_BUFFER_SIZE, 0);
    U32 rval = TopologyFunc(TL_TOPOLOGY_BUFFER_SIZE, buffer.data());
    if (rval == 0) {
        numLines = 0;
        visitTopologyDFS(buffer.data());
        my_printf("\n\n");
    }
    return rval;
}

// Enclosure commands of the simulated library (type 8): the SES
// configuration page, the element status in the short and the extended
// form, element thresholds and indicators, identify and shutdown.
#include <cstring>
#include <memory>

#include "commands/registry.h"
#include "model/activity.h"
#include "model/encl.h"
#include "ses.h"

namespace tarselsim {

namespace {

// Descriptor texts of the configuration page, by element type.
constexpr const char* kDescriptorTexts[kSesTypeCount + 1] = {
    "",
    "Drive Slots",          "Power Supplies",      "Cooling Fans",       "Temperature Sensors",
    "Door Locks",           "Audible Alarm",       "Enclosure Services Controller", "SCC Controller",
    "Nonvolatile Cache",    "Invalid Operation Reasons", "UPS",          "Display",
    "Key Pad",              "Enclosure",           "Transceiver Ports",  "Languages",
    "Communication Ports",  "Voltage Sensors",     "Current Sensors",    "Target Ports",
    "Initiator Ports",      "Sub Enclosures",      "Array Device Slots", "SAS Expander",
    "SAS Connectors",
};

// Types reported by the short status, in record order: slots, power
// supplies, fans, temperature sensors, alarms, SIM modules.
constexpr U8 kShortTypes[] = {SES_TYPE_DEVICE,  SES_TYPE_POWER_SUPPLY, SES_TYPE_COOLING, SES_TYPE_TEMPERATURE_SENSOR,
                              SES_TYPE_ALARM, SES_TYPE_SES_CTRL_ELECTRONICS};

Enclosure* AddressedEnclosure(CmdContext& ctx) { return ctx.ctrl->findEnclosure(ctx.blk->enclRef.deviceId); }

// Answers with a record built from the addressed enclosure: checks the
// size, finds the enclosure, builds the record, copies it out.
template <typename Record, typename Build>
U32 AnswerRecord(CmdContext& ctx, Build build) {
    if (U32 rc = CheckData(ctx.blk, sizeof(Record))) return rc;
    Enclosure* e = AddressedEnclosure(ctx);
    if (!e) return KFI_STAT_DEVICE_NOT_FOUND;
    auto rec = std::make_unique<Record>();
    if (U32 rc = build(*ctx.ctrl, *e, *rec)) return rc;
    memcpy(ctx.blk->pData, rec.get(), sizeof(Record));
    return KFI_STAT_OK;
}

// A changing command on the addressed enclosure.
template <typename Change>
U32 ChangeEnclosure(CmdContext& ctx, size_t dataSize, Change change) {
    if (U32 rc = CheckData(ctx.blk, dataSize)) return rc;
    Enclosure* e = AddressedEnclosure(ctx);
    if (!e) return KFI_STAT_DEVICE_NOT_FOUND;
    return change(*e);
}

void PutPadded(U8* dst, size_t width, const std::string& text) {
    memset(dst, ' ', width);
    memcpy(dst, text.data(), std::min(width, text.size()));
}

// The revision the enclosure's own SES device reports.
std::string Revision(const Controller& c, const Enclosure& e) {
    for (const Drive& d : c.drives)
        if (d.deviceId == e.deviceId) return d.revision;
    return "";
}

U32 BuildConfig(const Controller& c, const Enclosure& e, _TL_ENCL_CONFIG_T& cfg) {
    U8* rec = reinterpret_cast<U8*>(&cfg);
    const size_t size = sizeof cfg;
    cfg.size = sizeof cfg;
    rec[16] = 0x01;  // configuration diagnostic page
    rec[24] = 0x11;  // one enclosure services process, this one
    for (int i = 0; i < 8; ++i) rec[28 + i] = static_cast<U8>(e.sasAddr >> (56 - 8 * i));
    PutPadded(rec + TL_ENCL_CFG_VENDOR_ID, 8, e.vendor);
    PutPadded(rec + TL_ENCL_CFG_PRODUCT_ID, 16, e.product);
    PutPadded(rec + TL_ENCL_CFG_REVISION, 4, Revision(c, e));

    size_t at = TL_ENCL_CFG_VENDOR_BYTES;
    const size_t vendorLen = std::min(e.vendorSpecific.size(), size - at);
    if (vendorLen) memcpy(rec + at, e.vendorSpecific.data(), vendorLen);
    cfg.vendorSpecificLen = static_cast<U32>(vendorLen);
    at += vendorLen;

    U8 types = 0;
    for (U8 t = 1; t <= kSesTypeCount; ++t)
        if (ElementCount(e, t) > 0) ++types;
    rec[TL_ENCL_CFG_TYPE_COUNT] = types;
    rec[27] = static_cast<U8>(36 + vendorLen);  // enclosure descriptor length
    size_t textAt = at + 4u * types;
    for (U8 t = 1; t <= kSesTypeCount && at + 4 <= size; ++t) {
        const int count = ElementCount(e, t);
        if (count == 0) continue;
        const size_t len = std::min(strlen(kDescriptorTexts[t]), textAt < size ? size - textAt : 0);
        const _TL_ENCL_TYPE_DESC_HDR hdr{t, static_cast<U8>(count), 0, static_cast<U8>(len)};
        memcpy(rec + at, &hdr, sizeof hdr);
        at += sizeof hdr;
        if (len) memcpy(rec + textAt, kDescriptorTexts[t], len);
        textAt += len;
        cfg.typeDsrptTxtLen += static_cast<U32>(len);
    }
    cfg.typeDsrptHdrLen = 4u * types;
    const size_t pageLength = textAt - 16 - 4;  // bytes after the page header
    rec[18] = static_cast<U8>(pageLength >> 8);
    rec[19] = static_cast<U8>(pageLength & 0xFF);
    return KFI_STAT_OK;
}

// Writes the records of the given types in order; returns the number written.
size_t PutElements(const Controller& c, const Enclosure& e, const U8* types, size_t typeCount,
                   _TL_ENCL_ELEMENT_T* out, size_t capacity) {
    size_t n = 0;
    for (size_t i = 0; i < typeCount; ++i)
        for (const EnclElement& el : e.elements) {
            if (el.type != types[i] || n >= capacity) continue;
            ElementStatusBytes(c, e, el, out[n].sesStatus);
            out[n].status = ElementStatusWord(c, e, el);
            ++n;
        }
    return n;
}

U32 BuildStatus(const Controller& c, const Enclosure& e, _TL_ENCL_STATUS_T& st) {
    st.size = sizeof st;
    U32* counts[] = {&st.slotCount, &st.psCount, &st.fanCount, &st.tsCount, &st.alarmCount, &st.simCount};
    for (size_t i = 0; i < sizeof kShortTypes; ++i) *counts[i] = static_cast<U32>(ElementCount(e, kShortTypes[i]));
    PutElements(c, e, kShortTypes, sizeof kShortTypes, st.element, TL_ENCL_STATUS_ELEMENTS);
    return KFI_STAT_OK;
}

U32 BuildStatusEx(const Controller& c, const Enclosure& e, _TL_ENCL_STATUS_EX_T& st) {
    st.size = sizeof st;
    U8 types[kSesTypeCount];
    U8* counts = reinterpret_cast<U8*>(&st) + offsetof(_TL_ENCL_STATUS_EX_T, deviceCount);
    for (U8 t = 1; t <= kSesTypeCount; ++t) {
        types[t - 1] = t;
        counts[t - 1] = static_cast<U8>(ElementCount(e, t));
    }
    PutElements(c, e, types, sizeof types, st.element, TL_ENCL_STATUS_EX_ELEMENTS);
    return KFI_STAT_OK;
}

U32 GetEnclConfig(CmdContext& ctx) { return AnswerRecord<_TL_ENCL_CONFIG_T>(ctx, BuildConfig); }
U32 GetEnclStatus(CmdContext& ctx) { return AnswerRecord<_TL_ENCL_STATUS_T>(ctx, BuildStatus); }
U32 GetEnclStatusEx(CmdContext& ctx) { return AnswerRecord<_TL_ENCL_STATUS_EX_T>(ctx, BuildStatusEx); }

// Thresholds of a temperature, voltage or current sensor; the element
// type is parameter byte 0, its index parameter byte 1.
U32 GetEnclElement(CmdContext& ctx) {
    const U8 type = ctx.blk->cmdParam_1b[0], index = ctx.blk->cmdParam_1b[1];
    return AnswerRecord<_TL_ENCL_GET_ELEM_DATA_T>(
        ctx, [&](const Controller&, Enclosure& e, _TL_ENCL_GET_ELEM_DATA_T& r) -> U32 {
            if (type != SES_TYPE_TEMPERATURE_SENSOR && type != SES_TYPE_VOLTAGE_SENSOR && type != SES_TYPE_CURRENT_SENSOR)
                return KFI_STAT_INVALID_PARAMETER;
            const EnclElement* el = FindElement(e, type, index);
            if (!el) return KFI_STAT_INVALID_PARAMETER;
            if (e.shutDown) return KFI_STAT_WRONG_STATE;
            r.highWarning = el->thresholds[0];
            r.lowWarning = el->thresholds[1];
            r.highCritical = el->thresholds[2];
            r.lowCritical = el->thresholds[3];
            return KFI_STAT_OK;
        });
}

// Element type in parameter byte 0, element index in the reference.
U32 SetEnclElement(CmdContext& ctx) {
    return ChangeEnclosure(ctx, sizeof(_TL_ENCL_SET_ELEM_DATA_T), [&](Enclosure& e) {
        return SetElement(ctx.lib, *ctx.ctrl, e, ctx.blk->cmdParam_1b[0], ctx.blk->enclRef.elementIndex,
                          static_cast<const U8*>(ctx.blk->pData));
    });
}

U32 LocateEncl(CmdContext& ctx) {
    return ChangeEnclosure(ctx, 0, [&](Enclosure& e) { return IdentifyEnclosure(ctx.lib, *ctx.ctrl, e); });
}

U32 ShutdownEncl(CmdContext& ctx) {
    return ChangeEnclosure(ctx, 0, [&](Enclosure& e) { return ShutdownEnclosure(ctx.lib, *ctx.ctrl, e); });
}

} // namespace

void RegisterEnclCommands() {
    RegisterCommand(TL_ENCL_CMD_TYPE, TL_GET_ENCL_CONFIG, GetEnclConfig);
    RegisterCommand(TL_ENCL_CMD_TYPE, TL_GET_ENCL_STATUS, GetEnclStatus);
    RegisterCommand(TL_ENCL_CMD_TYPE, TL_SET_ENCL_ELEMENT, SetEnclElement);
    RegisterCommand(TL_ENCL_CMD_TYPE, TL_LOCATE_ENCL, LocateEncl);
    RegisterCommand(TL_ENCL_CMD_TYPE, TL_SHUTDOWN_ENCL, ShutdownEncl);
    RegisterCommand(TL_ENCL_CMD_TYPE, TL_GET_ENCL_STATUS_EX, GetEnclStatusEx);
    RegisterCommand(TL_ENCL_CMD_TYPE, TL_GET_ENCL_ELEMENT, GetEnclElement);
    RegisterTicker(EnclosureTicker);
}

} // namespace tarselsim

// The simulator's answers to SMP and ATA passthrough where the tool never
// sends the request itself: an address no expander has, a function or PHY
// an expander does not know, a sector past the drive's end.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "kfistat.h"
#include "sata.h"
#include "simlib.h"
#include "smp.h"

namespace {

// An SMP request to `addr`: the status, and the response frame.
U32 Smp(SimLib& lib, U32 word, U64 addr, std::vector<U8> request, std::vector<U8>* response) {
    std::vector<U8> buf(TL_SMP_PASSTHRU_HEADER + request.size() + 64, 0);
    _TL_SMP_PASSTHRU_T hdr{};
    hdr.sasAddr = addr;
    hdr.requestLen = (U32)request.size();
    hdr.responseLen = 64;
    memcpy(buf.data(), &hdr, sizeof hdr);
    memcpy(buf.data() + TL_SMP_PASSTHRU_HEADER, request.data(), request.size());
    auto b = SimLib::Block(TL_PASSTHRU_CMD_TYPE, TL_SMP_PASSTHRU, word, buf.data(), (U32)buf.size());
    U32 st = lib.Call(b);
    memcpy(&hdr, buf.data(), sizeof hdr);
    const U8* frame = buf.data() + TL_SMP_PASSTHRU_HEADER + request.size();
    response->assign(frame, frame + std::min<U32>(hdr.responseLen, 64));
    return st;
}

TEST(SimPassthru, SmpRefusalsInTheFrameAndOutsideIt) {
    SimLib lib(0, "default");
    ASSERT_EQ(lib.Init(), 0u) << lib.error();
    const U32 word = lib.CtrlWord(0);
    // Enclosure 8's expander: the enclosure's address less one, 17 PHYs.
    const U64 expander = 0x500E3C0000A0083Cull;
    std::vector<U8> f;
    EXPECT_EQ(Smp(lib, word, expander + 7, {0x40, 0x00, 0xFF, 0, 0, 0, 0, 0}, &f), (U32)KFI_STAT_DEVICE_NOT_FOUND);
    EXPECT_EQ(Smp(lib, word, expander, {0x41, 0x00, 0xFF, 0, 0, 0, 0, 0}, &f), (U32)KFI_STAT_INVALID_PARAMETER)
        << "a response frame is no request";
    ASSERT_EQ(Smp(lib, word, expander, {0x40, 0x99, 0xFF, 0, 0, 0, 0, 0}, &f), 0u);
    ASSERT_EQ(f.size(), 4u);
    EXPECT_EQ(f[2], SMP_RESULT_UNKNOWN_FUNCTION);
    ASSERT_EQ(Smp(lib, word, expander, {0x40, 0x10, 0xFF, 2, 0, 0, 0, 0, 0, 17, 0, 0, 0, 0, 0, 0}, &f), 0u);
    EXPECT_EQ(f[2], SMP_RESULT_PHY_DOES_NOT_EXIST);
    ASSERT_EQ(Smp(lib, word, expander, {0x40, 0x10, 0xFF, 2, 0, 0, 0, 0, 0, 16, 0, 0, 0, 0, 0, 0}, &f), 0u);
    EXPECT_EQ(f[2], SMP_RESULT_ACCEPTED);
    EXPECT_EQ(f.size(), (size_t)SMP_DISCOVER_LEN);
}

TEST(SimPassthru, AtaSectorsAndTheirLimits) {
    SimLib lib(0, "default");
    ASSERT_EQ(lib.Init(), 0u) << lib.error();
    const U32 word = lib.CtrlWord(0);
    auto ata = [&](U16 id, U8 command, U32 lba, std::vector<U8>* data, U8* status) {
        std::vector<U8> buf(60 + data->size(), 0);
        _TL_STP_PASSTHRU_T hdr{};
        hdr.targetId = (U8)id;
        hdr.fis[0] = SATA_FIS_TYPE_REG_H2D, hdr.fis[1] = SATA_FIS_H2D_COMMAND_BIT, hdr.fis[2] = command;
        hdr.fis[4] = (U8)lba, hdr.fis[5] = (U8)(lba >> 8), hdr.fis[6] = (U8)(lba >> 16);
        hdr.fis[7] = (U8)(ATA_DEVICE_LBA | ((lba >> 24) & 0x0F));
        hdr.fis[12] = (U8)(data->size() / 512);
        hdr.fisResponseLen = 20;
        hdr.dataLen = (U32)data->size();
        memcpy(buf.data(), &hdr, sizeof hdr);
        memcpy(buf.data() + 60, data->data(), data->size());
        auto b = SimLib::Block(TL_PASSTHRU_CMD_TYPE, TL_STP_PASSTHRU, word, buf.data(), (U32)buf.size());
        U32 st = lib.Call(b);
        *status = buf[40 + SATA_FIS_D2H_OFF_STATUS];
        memcpy(data->data(), buf.data() + 60, data->size());
        return st;
    };
    std::vector<U8> sector(512, 0x5A);
    U8 status = 0;
    // Drive 21 (SATA) keeps what is written; a read returns it.
    ASSERT_EQ(ata(21, ATA_CMD_WRITE_SECTORS, 7, &sector, &status), 0u);
    EXPECT_EQ(status & SATA_STATUS_ERR, 0);
    std::vector<U8> back(512, 0);
    ASSERT_EQ(ata(21, ATA_CMD_READ_SECTORS, 7, &back, &status), 0u);
    EXPECT_EQ(back, sector);
    // The last sector of the 28-bit address space is read; two sectors from
    // there run past it, and an ATA error (status ERR) comes back.
    ASSERT_EQ(ata(21, ATA_CMD_READ_SECTORS, 0x0FFFFFFF, &back, &status), 0u);
    EXPECT_EQ(status & SATA_STATUS_ERR, 0);
    std::vector<U8> two(1024, 0);
    ASSERT_EQ(ata(21, ATA_CMD_READ_SECTORS, 0x0FFFFFFF, &two, &status), 0u);
    EXPECT_NE(status & SATA_STATUS_ERR, 0);
    // A SAS drive does not take ATA commands.
    EXPECT_EQ(ata(22, ATA_CMD_IDENTIFY_DEVICE, 0, &back, &status), (U32)KFI_STAT_PD_TYPE_WRONG);
}

}  // namespace
